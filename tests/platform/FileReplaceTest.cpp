// Temporary files, output to descriptors, and the replacement of files.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <malloc.h>
#include <platform/FileReplace.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/FaultPlan.h"
#include "../support/ScratchDir.h"

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

// Works in a scratch directory; temporaries go to "tmp" in it.
class Files : public testing::Test {
protected:
    static struct stat statusOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status;
    }
    static Outcome replace(const std::string& name, std::string_view bytes, ReplaceBy how) {
        ReplacementFile file(name, how);
        file.stream() << bytes;
        return file.commit();
    }
    std::vector<std::string> temporaries() const { return dir.names("tmp"); }

    ScratchDir dir;
    WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
    InDirectory here{dir.path()};
};

}  // namespace

TEST_F(Files, ATemporaryGoesWithItsObjectUnlessItIsKept) {
    TempFile kept = TempFile::make();
    {
        TempFile file = TempFile::make("-page.html");
        kept.keep();
        const std::string first = file.path();
        EXPECT_THAT(first, MatchesRegex(dir.path("tmp") + "/tarvani-......-page.html"));
        EXPECT_EQ(statusOf(first).st_mode & 07777, 0600u);
        EXPECT_TRUE(::fcntl(file.fd(), F_GETFD) & FD_CLOEXEC);
        TempFile moved = std::move(file);
        EXPECT_TRUE(!file && moved.path() == first);
        moved = TempFile::make();
        EXPECT_FALSE(std::filesystem::exists(first)) << "it was replaced";
        moved.remove();
        EXPECT_TRUE(!moved && moved.fd() < 0) << "nothing holds its bytes any longer";
    }
    EXPECT_THAT(temporaries(), ElementsAre(std::filesystem::path(kept.path()).filename()));
    WithVariable missing("TMPDIR", "no");
    const TempFile none = TempFile::make();
    EXPECT_TRUE(!none && none.error() == ENOENT);
}

TEST_F(Files, TheListOfTemporariesHoldsTheLiveOnesOfThisProcess) {
    TempFile::make();
    TempFile kept = TempFile::make();
    kept.keep();
    {
        // A longer name than that of the one that has gone needs a place of its own.
        const TempFile longer = TempFile::make(std::string(100, 'n')), again = TempFile::make();
        const auto removeOwn = [] {
            removeTemporaries();  // they are the parent's
            const TempFile own = TempFile::make();
            removeTemporaries();
            return ::access(own.path().c_str(), F_OK) != 0;
        };
        EXPECT_EQ(inChild(removeOwn), 0);
        EXPECT_EQ(temporaries().size(), 3u);
        errno = 17;
        removeTemporaries();
        EXPECT_EQ(errno, 17);
        EXPECT_EQ(temporaries().size(), 1u);
    }
    const auto allocated = ::mallinfo2().uordblks;
    for (int i = 0; i < 1000; ++i) TempFile::make();
    EXPECT_LT(::mallinfo2().uordblks, allocated + 20'000) << "those that have gone still stand in the list";
}

TEST_F(Files, SeveralMayAskAtOnceWhetherOneIsInUse) {
    const std::string path = dir.write("asked", "");
    const auto bothAsk = [&] {
        const pid_t other = ::fork();
        for (int i = 0; i < 20'000; ++i) static_cast<void>(isInUse(path.c_str()));
        int status = -1;
        return other == 0 || (::waitpid(other, &status, 0) == other && status == 0);
    };
    EXPECT_EQ(inChild(bothAsk), 0) << "one was ended by a signal";
}

TEST_F(Files, OutputWritesAWholeBeginningAndRemembersTheFirstError) {
    std::string all;
    FileOutput whole("whole");
    for (const std::size_t size : {1u, 70'000u, 65'535u, 2u, 65'536u, 0u, 200'000u}) {
        const std::string bytes(size, static_cast<char>('a' + all.size() % 26));
        whole << bytes << std::flush << 'x';
        all += bytes + 'x';
        EXPECT_EQ(whole.tellp(), static_cast<std::streamoff>(all.size()));
    }
    whole.seekp(1) << "seek";
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(whole.close());
    EXPECT_FALSE(whole << 'y') << "closed";
    EXPECT_EQ(dir.read("whole"), all.replace(1, 4, "seek"));

    for (std::size_t n = 0; n < 3; ++n) {
        FileOutput out("cut");
        FaultPlan plan(Call::Write, static_cast<int>(n), ENOSPC);
        for (const char c : all.substr(0, 3 * 65'536)) out.put(c);
        out.flush();
        ASSERT_TRUE(plan.lift());
        EXPECT_TRUE(!out.close() && out.error() == ENOSPC);
        EXPECT_TRUE(dir.read("cut") == all.substr(0, n * 65'536)) << "something behind a gap";
    }
    FileOutput late("late");
    late << "h";
    FaultPlan plan(Call::Close, 0, EDQUOT);
    EXPECT_TRUE(!late.close() && late.error() == EDQUOT);
}

TEST_F(Files, NothingHappensBeforeTheCommitOfWhichThereIsOne) {
    dir.write("old", "old");
    for (const ReplaceBy how : {ReplaceBy::Copy, ReplaceBy::Rename}) {
        for (const char* name : {"old", "new"}) ReplacementFile(name, how).stream() << "new" << std::flush;
        EXPECT_EQ(dir.read("old"), "old");
        EXPECT_THAT(dir.names(), ElementsAre("old", "tmp"));
        EXPECT_THAT(temporaries(), IsEmpty());
    }
    ReplacementFile file("old", ReplaceBy::Copy);
    file.stream() << "new";
    for (const bool first : {true, false}) EXPECT_EQ(file.commit().done, first);
    EXPECT_EQ(dir.read("old"), "new");
}

TEST_F(Files, ANewFileTakesNobodysNameUnlessItIsToReplaceHim) {
    // Renaming without replacing is new to some file systems; linking does the same in two steps.
    for (const auto& [how, error] :
         {std::pair(ReplaceBy::Copy, 0), {ReplaceBy::Copy, EINVAL}, {ReplaceBy::Rename, 0}}) {
        ReplacementFile file("f", how);
        file.stream() << "mine";
        dir.write("f", "another's");
        FaultPlan plan(Call::Rename, error == 0 ? 1 : 0, error);
        const Outcome outcome = file.commit();
        EXPECT_EQ(outcome.done, how == ReplaceBy::Rename);
        EXPECT_EQ(outcome.reason, outcome.done ? "" : "f: File exists; nothing was written");
        EXPECT_EQ(dir.read("f"), outcome.done ? "mine" : "another's");
        EXPECT_THAT(dir.names(), ElementsAre("f", "tmp"));
        std::filesystem::remove("f");
    }
}

TEST_F(Files, RenamingReplacesTheFileBehindALinkAndGivesWayToCopyingWhereTheDirectoryIsClosed) {
    dir.write("d/f", "old");
    ASSERT_EQ(::chmod("d/f", 0666), 0);
    std::filesystem::create_symlink("d/f", "link");
    const ino_t before = statusOf("d/f").st_ino;
    EXPECT_TRUE(replace("link", "new", ReplaceBy::Rename).done);
    EXPECT_EQ(dir.read("d/f"), "new");
    EXPECT_EQ(statusOf("d/f").st_mode & 07777, 0666u);
    EXPECT_TRUE(std::filesystem::is_symlink("link"));
    EXPECT_THAT(dir.names("d"), ElementsAre("f"));
    const ino_t renamed = statusOf("d/f").st_ino;
    EXPECT_NE(renamed, before);

    for (const char* path : {".", "tmp"}) ASSERT_EQ(::chmod(path, 0777), 0);
    ASSERT_EQ(::chmod("d", 0555), 0);
    EXPECT_EQ(inChild([] { return replace("d/f", "newer", ReplaceBy::Rename).done; }, true), 0);
    EXPECT_EQ(dir.read("d/f"), "newer");
    EXPECT_EQ(statusOf("d/f").st_ino, renamed);
    EXPECT_THAT(temporaries(), IsEmpty());

    // Two that write over it at once would mix their bytes.
    const UniqueFd other(::open("d/f", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    const auto waitInVain = [] {
        ::ualarm(100000, 0);
        return replace("d/f", "mixed", ReplaceBy::Rename).done;
    };
    EXPECT_EQ(inChild(waitInVain, true), SIGALRM);
    EXPECT_EQ(dir.read("d/f"), "newer");
}

// What is no regular file takes the bytes as they come, also where a signal comes between.
TEST_F(Files, APipeTakesTheContent) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const UniqueFd reader(::open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    FaultPlan plan(Call::Write, 1, EINTR);  // call 0 goes to the temporary
    EXPECT_TRUE(replace("pipe", "bytes", ReplaceBy::Copy).done);
    EXPECT_TRUE(plan.lift());
    char bytes[8] = {};
    EXPECT_EQ(::read(reader.get(), bytes, sizeof bytes), 5);
    EXPECT_STREQ(bytes, "bytes");
}
