// Sections written into containers: what stands there afterwards, and above all what stands there when something on
// the way fails.
#include <UT/UT_String.h>
#include <UT/UT_Temporary.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stream/FS_Writer.h>
#include <sys/stat.h>

#include <optional>
#include <ostream>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/FaultPlan.h"
#include "../support/ScratchDir.h"
#include "../support/Sections.h"
#include "Reading.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Result {
    bool done = false;
    std::string reason;
};

Result finish(FS_Writer& writer) {
    UT_String reason;
    const bool done = writer.finish(&reason);
    return {done, std::string(reason.view())};
}

class SectionCommit : public testing::Test {
protected:
    // Writes `bytes` to a section path that begins in the scratch directory.
    Result put(const std::string& destination, std::string_view bytes) const {
        FS_Writer writer(dir.path(destination).c_str());
        writer.getStream()->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return finish(writer);
    }
    Result remove(const std::string& destination) const {
        FS_Writer writer(dir.path(destination).c_str());
        const bool removed = writer.removeFile();
        Result result = finish(writer);
        EXPECT_EQ(result.done, removed);
        return result;
    }
    Sections sections(std::string_view name) const { return sectionsOf(dir.read(name)); }
    std::vector<std::string> leftOvers() const { return dir.names("tmp"); }
    struct stat status(const std::string& name) const {
        struct stat found {};
        EXPECT_EQ(::stat(dir.path(name).c_str(), &found), 0) << name;
        return found;
    }

    ScratchDir dir;
    WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
};

const Sections kOld = {{"a", "old a"}, {"b", ""}, {"c", std::string(200'000, 'c')}};

}  // namespace

TEST_F(SectionCommit, PutsASectionInItsPlaceAndLeavesTheOthers) {
    const std::string inner = containerBytes({{"x", "1"}, {"y", "2"}});
    const struct {
        const char* what;
        std::optional<std::string> before;
        const char *destination, *bytes;
        Sections after;
    } cases[] = {
        {"missing file", {}, "f?a", "new", {{"a", "new"}}},
        {"empty file", "", "f?a", "new", {{"a", "new"}}},
        {"nothing written", {}, "f?a", "", {{"a", ""}}},
        {"new name", inner, "f?z", "new", {{"x", "1"}, {"y", "2"}, {"z", "new"}}},
        {"known name", inner, "f?x", "longer than before", {{"x", "longer than before"}, {"y", "2"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::filesystem::remove(dir.path("f"));
        if (c.before) dir.write("f", *c.before);
        const Result result = put(c.destination, c.bytes);
        EXPECT_TRUE(result.done) << result.reason;
        EXPECT_EQ(sections("f"), c.after);
    }
    EXPECT_TRUE(put("levels?a?b?c", "1").done);
    EXPECT_EQ(sectionsOf(sectionsOf(sections("levels").at(0).second).at(0).second), (Sections{{"c", "1"}}));
    EXPECT_THAT(leftOvers(), IsEmpty());

    dir.write("f", containerBytes({{"first", "1"}, {"inner", inner}, {"empty", ""}}, "text"));
    EXPECT_TRUE(put("f?inner?x", "new").done);
    EXPECT_TRUE(put("f?empty?x", "new").done);
    const Sections outer = sections("f");
    ASSERT_EQ(outer.size(), 3u);
    EXPECT_EQ(outer[0].second, "1");
    EXPECT_EQ(sectionsOf(outer[1].second), (Sections{{"x", "new"}, {"y", "2"}}));
    EXPECT_EQ(sectionsOf(outer[2].second), (Sections{{"x", "new"}}));
    EXPECT_THAT(dir.read("f"), HasSubstr(packed("text"))) << "the description went";
}

TEST_F(SectionCommit, RemovesASectionAndLeavesTheOthers) {
    dir.write("f", containerBytes({{"a", "1"}, {"inner", containerBytes({{"x", "1"}, {"y", "2"}})}}));
    for (const char* destination : {"f?inner?x", "f?a", "f?unknown"}) EXPECT_TRUE(remove(destination).done);
    EXPECT_EQ(sections("f"), (Sections{{"inner", containerBytes({{"y", "2"}})}}));
    EXPECT_THAT(leftOvers(), IsEmpty());
}

// Only what is empty becomes a container. Everything else that isn't one is somebody's data.
TEST_F(SectionCommit, RefusesWhatExistsAndIsNoContainer) {
    for (const std::string& bytes :
         {std::string("I"), containerHead(0, 1), containerHead(1) + tableEntry("a", 0, -5)}) {
        SCOPED_TRACE(bytes);
        dir.write("f", bytes);
        const Result result = put("f?a", "new");
        EXPECT_FALSE(result.done);
        EXPECT_THAT(result.reason, HasSubstr(dir.path("f") + ": not a container; nothing was written"));
        EXPECT_EQ(remove("f?a").reason, result.reason);
        EXPECT_EQ(dir.read("f"), bytes);

        const std::string outer = containerBytes({{"in", bytes}});
        dir.write("f", outer);
        EXPECT_FALSE(put("f?in?a", "new").done);
        EXPECT_FALSE(put("f?in?a?deep", "new").done);
        EXPECT_FALSE(remove("f?in?a").done);
        EXPECT_EQ(dir.read("f"), outer);
        EXPECT_THAT(leftOvers(), IsEmpty());
    }
    dir.makeDirectory("d");
    EXPECT_THAT(put("d?a", "new").reason, HasSubstr("Is a directory"));
    dir.write("f", "x");
    EXPECT_THAT(put("f/g?a", "new").reason, HasSubstr("Not a directory"));
    EXPECT_THAT(put("no/g?a", "new").reason, HasSubstr("no/g: No such file or directory"));
    EXPECT_THAT(leftOvers(), IsEmpty());
}

// What was collected is the plain file that was written, however its path looks, and whatever helpers make of it.
TEST_F(SectionCommit, TakesNothingButWhatWasWritten) {
    WithVariable marked("TMPDIR", dir.makeDirectory("tmp/what?").c_str());
    const TestHelper greedy([&](const std::string& source) {
        return source.find("/tarvani-") != std::string::npos ? memoryStream("junk") : nullptr;
    });
    EXPECT_TRUE(put("f?in?a", "new").done);
    EXPECT_EQ(sectionsOf(sections("f").at(0).second), (Sections{{"a", "new"}}));
    EXPECT_THAT(dir.names("tmp/what?"), IsEmpty());
}

// A helper may read as a container what isn't one, or serve one that isn't there as a file.
TEST_F(SectionCommit, WritesOverNothingThatOnlyAHelperCanRead) {
    const ServesFile helper("/f", dir.write("later", "before:" + containerBytes(kOld)), false, false, 7);
    dir.write("f", "packed");
    EXPECT_THAT(put("f?a", "new").reason, HasSubstr("not a container as it is stored; nothing was written"));
    EXPECT_EQ(dir.read("f"), "packed");
    std::filesystem::remove(dir.path("f"));
    EXPECT_TRUE(put("f?a", "new").done);
    EXPECT_EQ(sections("f"), (Sections{{"a", "new"}, kOld[1], kOld[2]}));
}

// The other sections could not be brought back through half a pair.
TEST_F(SectionCommit, RefusesFiltersThatAreNoPair) {
    const std::string old = containerBytes({{"a", keyed("one")}, {"in", keyed(containerBytes({{"x", "1"}}))}});
    dir.write("f", old);
    for (const bool reads : {false, true}) {
        const ServesFile helper("/f", dir.path("f"), reads, !reads);
        for (const char* destination : {"f?a", "f?new", "f?in?x"}) EXPECT_FALSE(put(destination, "new").done);
        EXPECT_THAT(put("f?a", "new").reason, HasSubstr("its filters are no pair; nothing was written"));
        EXPECT_FALSE(remove("f?a").done);
        EXPECT_EQ(dir.read("f"), old);
    }
    EXPECT_THAT(leftOvers(), IsEmpty());
}

TEST_F(SectionCommit, RefusesWhatWouldBeIncomplete) {
    const std::string whole = containerBytes(kOld);
    const auto refuses = [&](const std::string& destination, const char* word) {
        const std::string before = dir.read("f");
        const Result result = put(destination, "new");
        EXPECT_FALSE(result.done);
        EXPECT_THAT(result.reason, HasSubstr(word));
        EXPECT_EQ(dir.read("f"), before);
        EXPECT_THAT(leftOvers(), IsEmpty());
    };
    // A stored section is cut short, at any level, also one that would be replaced by nothing at all.
    dir.write("f", whole.substr(0, whole.size() - 1));
    refuses("f?a", "section \"c\"");
    dir.write("f", containerHead(1) + tableEntry("in", 0, 50));
    refuses("f?in?a", "cannot be read");
    dir.write("f", containerBytes({{"in", containerHead(1) + tableEntry("x", 0, 50)}}));
    refuses("f?in?a", "section \"x\"");

    // The caller's stream failed.
    dir.write("f", whole);
    FS_Writer writer(dir.path("f?a").c_str());
    *writer.getStream() << "half of";
    writer.getStream()->setstate(std::ios::badbit);
    EXPECT_FALSE(finish(writer).done);
    EXPECT_FALSE(finish(writer).done) << "the answer stays";
    EXPECT_EQ(dir.read("f"), whole);
    EXPECT_THAT(leftOvers(), IsEmpty());
}

TEST_F(SectionCommit, WritesIntoTheSameFile) {
    dir.write("f", containerBytes(kOld));
    ASSERT_EQ(::chmod(dir.path("f").c_str(), 0640), 0);
    std::filesystem::create_hard_link(dir.path("f"), dir.path("hard"));
    std::filesystem::create_symlink("f", dir.path("soft"));
    const struct stat before = status("f");
    for (const char* bytes : {"a", "a longer text than the one that stood there before"}) {
        EXPECT_TRUE(put("soft?c", bytes).done);
        const struct stat after = status("f");
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_EQ(after.st_nlink, 2u);
        EXPECT_EQ(sections("hard").at(2).second, bytes);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path("soft")));
    EXPECT_THAT(dir.names(), ElementsAre("f", "hard", "soft", "tmp"));
}

TEST_F(SectionCommit, MakesANewFileWithTheModeOfTheMask) {
    std::filesystem::create_symlink("there", dir.path("dangling"));
    const mode_t mask = ::umask(027);
    EXPECT_TRUE(put("dangling?a", "new").done);
    ::umask(mask);
    EXPECT_EQ(status("there").st_mode & 07777, 0640u);
    EXPECT_EQ(sections("there"), (Sections{{"a", "new"}}));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.path("dangling")));
    EXPECT_THAT(dir.names(), ElementsAre("dangling", "there", "tmp"));
}

TEST_F(SectionCommit, TellsWhatIsForbidden) {
    const auto setMode = [&](const char* name, mode_t mode) { ASSERT_EQ(::chmod(dir.path(name).c_str(), mode), 0); };
    const std::string old = containerBytes(kOld);
    for (const char* name : {"readable", "closed"}) dir.write(name, old);
    setMode("tmp", 0777);
    setMode("readable", 0444);
    setMode("closed", 0200);
    setMode("", ::geteuid() == 0 ? 0755 : 0555);
    for (const char* name : {"readable", "closed", "missing"}) {
        const int status = inChild(
            [&] {
                const Result result = put(std::string(name) + "?a", "new");
                return !result.done && result.reason == dir.path(name) + ": Permission denied; nothing was written";
            },
            true);
        EXPECT_EQ(status, 0) << name;
    }
    setMode("", 0755);
    setMode("closed", 0600);
    EXPECT_EQ(dir.read("readable"), old);
    EXPECT_EQ(dir.read("closed"), old);
    EXPECT_THAT(dir.names(), ElementsAre("closed", "readable", "tmp"));
    EXPECT_THAT(leftOvers(), IsEmpty());
}

// Every call to the system fails once, and then from there on. Whatever happens, either the old content stands, or the
// new one, or the new one is whole where the reason says.
TEST_F(SectionCommit, NoFailedCallLosesTheOldContent) {
    const struct {
        const char* name;
        Call call;
        int error;
        bool ofOld, ofNew;  // the call belongs to the work on a file that exists, on a new one
    } kinds[] = {
        {"write", Call::Write, ENOSPC, true, true},
        {"copy_file_range", Call::CopyFileRange, EIO, true, false},
        {"fallocate", Call::Fallocate, ENOSPC, true, false},
        {"fallocate unknown", Call::Fallocate, EOPNOTSUPP, true, false},
        {"ftruncate", Call::Ftruncate, EIO, true, false},
        {"close", Call::Close, EDQUOT, true, true},
        {"rename", Call::Rename, EACCES, false, true},
        {"rename unknown", Call::Rename, EINVAL, false, true},
        {"temporary", Call::MakeTemporary, EMFILE, true, true},
    };
    const std::string whole = containerBytes({{"in", containerBytes(kOld)}, {"z", "last"}});
    for (const std::size_t size : {10u, 300'000u}) {  // the container shrinks, and grows
        for (const auto& kind : kinds) {
            for (const bool existing : {true, false}) {
                for (const bool onwards : {false, true}) {
                    int n = 0;
                    for (bool faulted = true; faulted && n < 1000; ++n) {
                        SCOPED_TRACE(testing::Message() << kind.name << " " << n << ", size " << size << ", existing "
                                                        << existing << ", onwards " << onwards);
                        if (existing) dir.write("f", whole);
                        FaultPlan plan(kind.call, n, kind.error, onwards);
                        const Result result = put("f?in?c", std::string(size, 'N'));
                        faulted = plan.lift();
                        ASSERT_TRUE(result.done || faulted) << result.reason;
                        // What the file system doesn't know is done another way.
                        ASSERT_TRUE(result.done || (kind.error != EOPNOTSUPP && kind.error != EINVAL)) << result.reason;
                        const std::vector<std::string> left = leftOvers();
                        if (result.done) {
                            const Sections inner = sectionsOf(sections("f").at(0).second);
                            ASSERT_EQ(inner.back(), std::make_pair(std::string("c"), std::string(size, 'N')));
                            ASSERT_THAT(left, IsEmpty());
                        } else if (!left.empty()) {
                            const Sections kept = sections("tmp/" + left.at(0));
                            ASSERT_THAT(result.reason, HasSubstr(dir.path("tmp/" + left.at(0))));
                            ASSERT_EQ(sectionsOf(kept.at(0).second).back().second.size(), size);
                            std::filesystem::remove(dir.path("tmp/" + left.at(0)));
                        } else {
                            ASSERT_THAT(result.reason, HasSubstr("; nothing was written"));
                            ASSERT_EQ(dir.exists("f") ? dir.read("f") : "", existing ? whole : "");
                        }
                        std::filesystem::remove(dir.path("f"));
                        ASSERT_THAT(dir.names(), ElementsAre("tmp")) << "something stayed beside the container";
                    }
                    EXPECT_LT(n, 1000);
                    EXPECT_EQ(n > 1, existing ? kind.ofOld : kind.ofNew) << kind.name;
                }
            }
        }
    }
}

// A program that is told to stop at any moment, and cleans up as UT_Temporary.h shows, leaves the old container or the
// new one.
TEST_F(SectionCommit, AnInterruptLeavesAWholeContainer) {
    const std::string old = containerBytes(kOld);
    int stopped = 0, held = 0;
    for (const Call call : {Call::Write, Call::CopyFileRange, Call::Fallocate, Call::Ftruncate, Call::Close,
                            Call::Rename, Call::MakeTemporary}) {
        for (const bool existing : {true, false}) {
            int code = 3;
            for (int n = 0; code != 0 && n < 1000; ++n) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(call) << " " << n << ", existing " << existing);
                if (existing) dir.write("f", old);
                const int status = inChild([&] {
                    ::signal(SIGTERM, [](int) {
                        UTremoveTemporaryFiles();
                        ::_exit(3);
                    });
                    FaultPlan plan(call, n, FaultPlan::kInterrupt);
                    return put("f?c", "new").done && !plan.lift();
                });
                ASSERT_TRUE(WIFEXITED(status));
                code = WEXITSTATUS(status);
                ASSERT_TRUE(code == 0 || code == 3);
                const bool changed = dir.exists("f") && sections("f").back().second == "new";
                if (!changed) {
                    ASSERT_EQ(dir.exists("f") ? dir.read("f") : "", existing ? old : "");
                }
                stopped += changed ? 0 : 1;
                held += changed && code == 3 ? 1 : 0;
                ASSERT_THAT(leftOvers(), IsEmpty());
                std::filesystem::remove(dir.path("f"));
                ASSERT_THAT(dir.names(), ElementsAre("tmp"));
            }
            EXPECT_EQ(code, 0);
        }
    }
    EXPECT_GT(stopped, 0);
    EXPECT_GT(held, 0) << "no signal came while the old bytes changed";
}
