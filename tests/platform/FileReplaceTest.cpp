// Temporary files, output to descriptors, and the replacement of files.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <platform/FileReplace.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <optional>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/FaultPlan.h"
#include "../support/ScratchDir.h"

using namespace platform;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class Files : public testing::Test {
protected:
    mode_t modeOf(const std::string& path) const {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }
    ino_t inodeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(::stat(dir.path(name).c_str(), &status), 0) << name;
        return status.st_ino;
    }
    Outcome replace(const std::string& name, std::string_view bytes, ReplaceBy how) const {
        ReplacementFile file(dir.path(name), how);
        file.stream() << bytes;
        return file.commit();
    }
    std::vector<std::string> temporaries() const { return dir.names("tmp"); }

    ScratchDir dir;
    WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
};

}  // namespace

TEST_F(Files, ATemporaryGoesWithItsObject) {
    {
        TempFile file = TempFile::make("-page.html");
        ASSERT_TRUE(file);
        EXPECT_THAT(file.path(), MatchesRegex(dir.path("tmp") + "/tarvani-......-page.html"));
        EXPECT_EQ(modeOf(file.path()), 0600u);
        EXPECT_TRUE(::fcntl(file.fd(), F_GETFD) & FD_CLOEXEC);
        const std::string first = file.path();
        TempFile moved = std::move(file);
        EXPECT_FALSE(file);
        EXPECT_EQ(moved.path(), first);
        moved = TempFile::make();
        EXPECT_THAT(temporaries().size(), 1u) << "the first went when it was replaced";
    }
    EXPECT_THAT(temporaries(), IsEmpty());
    std::string kept;
    {
        TempFile file = TempFile::make();
        file.keep();
        kept = file.path();
    }
    EXPECT_EQ(std::filesystem::remove(kept), true);

    InDirectory here(dir.path());
    WithVariable relative("TMPDIR", "tmp");
    EXPECT_EQ(TempFile::make().path().find(dir.path("tmp") + "/tarvani-"), 0u);
    WithVariable missing("TMPDIR", "no");
    const TempFile none = TempFile::make();
    EXPECT_FALSE(none);
    EXPECT_EQ(none.error(), ENOENT);
    WithVariable unset("TMPDIR", nullptr);
    EXPECT_EQ(TempFile::make().path().find("/tmp/tarvani-"), 0u);
}

TEST_F(Files, TheListOfTemporariesHoldsTheLiveOnesOfThisProcess) {
    std::optional<TempFile> first(TempFile::make()), gone(TempFile::make());
    gone.reset();
    TempFile kept = TempFile::make();
    kept.keep();
    {
        // Takes the place of the one that has gone; a longer name needs a place of its own.
        const TempFile again = TempFile::make(), longer = TempFile::make(std::string(100, 'n'));
        EXPECT_EQ(inChild([] {
                      removeTemporaries();  // they are the parent's
                      const TempFile own = TempFile::make();
                      removeTemporaries();
                      return ::access(own.path().c_str(), F_OK) != 0;
                  }),
                  0);
        EXPECT_EQ(temporaries().size(), 4u);
        errno = 17;
        removeTemporaries();
        EXPECT_EQ(errno, 17);
    }
    ASSERT_EQ(temporaries().size(), 1u);
    EXPECT_THAT(kept.path(), EndsWith(temporaries()[0]));
}

TEST_F(Files, OutputWritesAWholeBeginningAndRemembersTheFirstError) {
    std::string all;
    {
        FileOutput out(dir.path("f").c_str());
        for (const std::size_t size : {1u, 70'000u, 65'535u, 2u, 65'536u, 0u, 200'000u}) {
            const std::string bytes(size, static_cast<char>('a' + all.size() % 26));
            out << bytes << std::flush << 'x';
            all += bytes + 'x';
            EXPECT_EQ(out.tellp(), static_cast<std::streamoff>(all.size()));
        }
        out.seekp(1) << "seek";
        all.replace(1, 4, "seek");
        EXPECT_TRUE(out.close());
        EXPECT_TRUE(out.close());
        EXPECT_FALSE(out << 'y') << "closed";
    }
    EXPECT_EQ(dir.read("f"), all);

    for (int n = 0; n < 3; ++n) {
        FileOutput out(dir.path("g").c_str());
        FaultPlan plan(Call::Write, n, ENOSPC);
        for (int i = 0; i < 3 * 65'536; ++i) out.put('g');
        out.flush();
        ASSERT_TRUE(plan.lift());
        EXPECT_FALSE(out.close());
        EXPECT_EQ(out.error(), ENOSPC);
        EXPECT_EQ(dir.read("g"), std::string(static_cast<std::size_t>(n) * 65'536, 'g')) << "nothing behind a gap";
    }
    FileOutput out(dir.path("h").c_str());
    out << "h";
    FaultPlan plan(Call::Close, 0, EDQUOT);
    EXPECT_FALSE(out.close());
    EXPECT_EQ(out.error(), EDQUOT);
}

TEST_F(Files, NothingHappensBeforeTheCommit) {
    dir.write("old", "old");
    for (const ReplaceBy how : {ReplaceBy::Copy, ReplaceBy::Rename}) {
        for (const char* name : {"old", "new"}) {
            ReplacementFile file(dir.path(name), how);
            file.stream() << "new" << std::flush;
            EXPECT_EQ(dir.read("old"), "old");
            EXPECT_FALSE(dir.exists("new"));
        }
        EXPECT_THAT(dir.names(), ElementsAre("old", "tmp"));
        EXPECT_THAT(temporaries(), IsEmpty());
    }
    ReplacementFile file(dir.path("old"), ReplaceBy::Copy);
    file.stream() << "new";
    EXPECT_TRUE(file.commit().done);
    EXPECT_FALSE(file.commit().done);
    EXPECT_EQ(dir.read("old"), "new");
}

TEST_F(Files, ANewFileTakesNobodysName) {
    // Renaming without replacing is new to some file systems; linking does the same in two steps.
    for (const int error : {0, EINVAL}) {
        ReplacementFile file(dir.path("f"), ReplaceBy::Copy);
        file.stream() << "mine";
        dir.write("f", "another's");
        FaultPlan plan(Call::Rename, error == 0 ? 1 : 0, error);
        const Outcome outcome = file.commit();
        EXPECT_FALSE(outcome.done);
        EXPECT_EQ(outcome.reason, dir.path("f") + ": File exists; nothing was written");
        EXPECT_EQ(dir.read("f"), "another's");
        EXPECT_THAT(dir.names(), ElementsAre("f", "tmp"));
        std::filesystem::remove(dir.path("f"));
    }
}

TEST_F(Files, RenamingReplacesAFileThatCameMeanwhile) {
    ReplacementFile file(dir.path("f"), ReplaceBy::Rename);
    file.stream() << "mine";
    dir.write("f", "another's");
    EXPECT_TRUE(file.commit().done);
    EXPECT_EQ(dir.read("f"), "mine");
    EXPECT_THAT(dir.names(), ElementsAre("f", "tmp"));
}

TEST_F(Files, RenamingReplacesTheFileBehindALinkAndKeepsItsMode) {
    dir.write("d/f", "old");
    ASSERT_EQ(::chmod(dir.path("d/f").c_str(), 0604), 0);
    std::filesystem::create_symlink("d/f", dir.path("link"));
    const ino_t before = inodeOf("d/f");
    EXPECT_TRUE(replace("link", "new", ReplaceBy::Rename).done);
    EXPECT_NE(inodeOf("d/f"), before);
    EXPECT_EQ(dir.read("d/f"), "new");
    EXPECT_EQ(modeOf(dir.path("d/f")), 0604u);
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path("link")));
    EXPECT_THAT(dir.names("d"), ElementsAre("f"));
}

TEST_F(Files, RenamingGivesWayToCopyingWhereTheDirectoryIsClosed) {
    for (const char* path : {".", "tmp", "d"}) ASSERT_EQ(::chmod(dir.makeDirectory(path).c_str(), 0777), 0);
    dir.write("d/f", "old");
    ASSERT_EQ(::chmod(dir.path("d/f").c_str(), 0666), 0);
    ASSERT_EQ(::chmod(dir.path("d").c_str(), 0555), 0);
    const ino_t before = inodeOf("d/f");
    EXPECT_EQ(inChild([&] { return replace("d/f", "new", ReplaceBy::Rename).done; }, true), 0);
    EXPECT_EQ(dir.read("d/f"), "new");
    EXPECT_EQ(inodeOf("d/f"), before);
    EXPECT_THAT(temporaries(), IsEmpty());

    // Two that write over it at once would mix their bytes.
    const UniqueFd other(::open(dir.path("d/f").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    const auto waitInVain = [&] {
        ::ualarm(100000, 0);
        return replace("d/f", "mixed", ReplaceBy::Rename).done;
    };
    EXPECT_EQ(inChild(waitInVain, true), SIGALRM);
    EXPECT_EQ(dir.read("d/f"), "new");
}

// What is no regular file takes the bytes as they come.
TEST_F(Files, APipeTakesTheContent) {
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    const UniqueFd reader(::open(dir.path("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_TRUE(replace("pipe", "bytes", ReplaceBy::Copy).done);
    char bytes[8] = {};
    EXPECT_EQ(::read(reader.get(), bytes, sizeof bytes), 5);
    EXPECT_STREQ(bytes, "bytes");
}
