// Sections written into containers: what stands there afterwards, and above all what stands there when something on
// the way fails.
#include <UT/UT_Temporary.h>
#include <signal.h>
#include <sys/stat.h>

#include <ctime>
#include <optional>

#include "../support/FaultPlan.h"
#include "../support/Rules.h"
#include "Streams.h"

namespace {

class SectionCommit : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(dir.names("tmp"), IsEmpty()) << "a temporary file stayed"; }
    // Writes `bytes` to a section path that begins in the scratch directory, or removes that section if there are none.
    // Gives the reason, or "done".
    std::string put(const std::string& destination, std::optional<std::string> bytes) const {
        FS_Writer writer(dir.path(destination).c_str());
        if (bytes) *writer.getStream() << *bytes;
        const bool removed = !bytes && writer.removeFile();
        const std::string reason = finish(writer);
        EXPECT_TRUE(bytes || removed == (reason == "done"));
        return reason;
    }
    std::string tree(const std::string& name) const { return treeOf(dir.read(name)); }
    std::string readOr(const std::string& name, const char* otherwise) const {
        return dir.exists(name) ? dir.read(name) : otherwise;
    }

    ScratchDir dir;
    WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
};

const Sections kOld = {{"a", "old a"}, {"b", ""}, {"c", std::string(200'000, 'c')}};

TEST_F(SectionCommit, PutsASectionInItsPlaceTakesItOutOrRefuses) {
    const auto commit = [&](const Columns& c) {
        const std::string before = c[0] == "none" ? "" : bytesOfTree(c[0]);
        std::filesystem::remove(dir.path("f"));
        if (c[0] != "none") dir.write("f", before);
        const std::time_t start = std::time(nullptr);
        const std::string reason = put(c[1], c[2] == "-" ? std::nullopt : std::optional(c[2]));
        EXPECT_EQ(readOr("f", "").find(packed("text")) == std::string::npos,
                  before.find(packed("text")) == std::string::npos)
            << "the description stays";
        if (reason == "done") {
            EXPECT_TRUE(c[2] == "-" || FS_Info(dir.path(c[1]).c_str()).getModTime() >= start - 1);
            return treeOf(dir.read("f"));
        }
        EXPECT_NE(put(c[1], {}), "done");
        EXPECT_EQ(dir.read("f"), before);
        EXPECT_THAT(dir.names("tmp"), IsEmpty());
        return reason.substr(dir.path("").size());
    };
    expectRules(TARVANI_RULES "/commits.rules", {{"put", commit}});
}

// What was collected is the plain file that was written, however its path looks, and whatever helpers make of it.
TEST_F(SectionCommit, TakesNothingButWhatWasWrittenAndThatWhole) {
    const WithVariable marked("TMPDIR", dir.makeDirectory("tmp?").c_str());
    const TestHelper greedy([&](const std::string& source) {
        return source.find("/tarvani-") != std::string::npos ? memoryStream("junk") : nullptr;
    });
    EXPECT_EQ(put("f?in?a", "new"), "done");
    FS_Writer half(dir.path("f?in?a").c_str());
    *half.getStream() << "half of";
    half.getStream()->setstate(std::ios::badbit);
    EXPECT_NE(finish(half), "done");
    EXPECT_EQ(tree("f"), "(in(a=new))");
    EXPECT_THAT(dir.names("tmp?"), IsEmpty());
}

// A helper may read as a container what isn't one, serve one that isn't there as a file, or bring half a pair of
// filters, through which the other sections could not be brought back.
TEST_F(SectionCommit, WritesOverNothingThatOnlyAHelperCanRead) {
    const std::string old = containerBytes({{"a", keyed("one")}, {"in", keyed(containerBytes({{"x", "1"}}))}});
    dir.write("f", old);
    for (const bool reads : {false, true}) {
        const TestHelper helper = servesFile("/f", dir.path("f"), reads, !reads);
        for (const char* destination : {"f?a", "f?new", "f?in?x"})
            EXPECT_THAT(put(destination, "new"), HasSubstr("its filters are no pair; nothing was written"));
        EXPECT_NE(put("f?a", {}), "done");
        EXPECT_EQ(dir.read("f"), old);
    }
    const TestHelper helper =
        servesFile("/f", dir.write("later", "before:" + containerBytes({{"b", "2"}})), false, false, 7);
    dir.write("f", "packed");
    EXPECT_THAT(put("f?a", "new"), HasSubstr("not a container as it is stored; nothing was written"));
    EXPECT_EQ(dir.read("f"), "packed");
    std::filesystem::remove(dir.path("f"));
    EXPECT_EQ(put("f?a", "new"), "done");
    EXPECT_EQ(tree("f"), "(b=2 a=new)");
}

TEST_F(SectionCommit, WritesIntoTheSameFileOrMakesOneWithTheModeOfTheMask) {
    dir.write("f", containerBytes(kOld));
    ASSERT_EQ(::chmod(dir.path("f").c_str(), 0640), 0);
    std::filesystem::create_hard_link(dir.path("f"), dir.path("hard"));
    for (const char* file : {"f", "there"}) std::filesystem::create_symlink(file, dir.path(std::string("to-") + file));
    for (const std::string bytes : {"c", "a longer text than the one that stood there before"}) {
        EXPECT_EQ(put("to-f?c", bytes), "done");
        EXPECT_EQ(tree("hard"), "(a=old a b= c=" + bytes + ")") << "no other name of the file";
    }
    const mode_t mask = ::umask(027);
    for (const char* made : {"to-there?a", "plain"}) EXPECT_EQ(put(made, "new"), "done");
    ::umask(mask);
    for (const char* name : {"f", "there", "plain"})
        EXPECT_EQ(std::filesystem::status(dir.path(name)).permissions(), std::filesystem::perms(0640)) << name;
    EXPECT_EQ(tree("there"), "(a=new)");
    for (const char* link : {"to-f", "to-there"}) EXPECT_TRUE(std::filesystem::is_symlink(dir.path(link)));
    EXPECT_THAT(dir.names(), ElementsAre("f", "hard", "plain", "there", "tmp", "to-f", "to-there"));
}

TEST_F(SectionCommit, TellsWhatIsForbidden) {
    const auto setModes = [&](const std::vector<std::pair<const char*, mode_t>>& modes) {
        for (const auto& [name, mode] : modes) ASSERT_EQ(::chmod(dir.path(name).c_str(), mode), 0);
    };
    const std::string old = containerBytes(kOld);
    for (const char* name : {"readable", "closed"}) dir.write(name, old);
    setModes({{"readable", 0444}, {"closed", 0200}, {"tmp", 0777}, {"", ::geteuid() == 0 ? 0755 : 0555}});
    checkInChild(true, [&] {
        for (const std::string name : {"readable", "closed", "missing"})
            EXPECT_EQ(put(name + "?a", "new"), dir.path(name) + ": Permission denied; nothing was written");
    });
    setModes({{"", 0755}, {"closed", 0600}});
    for (const char* name : {"readable", "closed"}) EXPECT_EQ(dir.read(name), old);
    EXPECT_THAT(dir.names(), ElementsAre("closed", "readable", "tmp"));
}

// The calls to the system of a commit into a file that exists, or a new one.
constexpr struct {
    const char* name;
    Call call;
    int error;
    bool existing;
} kCalls[] = {
    {"write", Call::Write, ENOSPC, true},
    {"write of a new file", Call::Write, ENOSPC, false},
    {"copy_file_range", Call::CopyFileRange, EIO, true},
    {"fallocate", Call::Fallocate, ENOSPC, true},
    {"fallocate, unknown", Call::Fallocate, EOPNOTSUPP, true},
    {"ftruncate", Call::Ftruncate, EIO, true},
    {"close", Call::Close, EDQUOT, true},
    {"close of a new file", Call::Close, EDQUOT, false},
    {"rename", Call::Rename, EACCES, false},
    {"rename, unknown", Call::Rename, EINVAL, false},
    {"temporary", Call::MakeTemporary, EMFILE, true},
    {"temporary of a new file", Call::MakeTemporary, EMFILE, false},
};

// What happens at call number 0, 1 and so on, until `happens` gives false: there was no such call.
void atEachCall(const std::function<bool(int)>& happens) {
    int n = 0;
    while (n < 1000 && !testing::Test::HasFailure() && happens(n)) ++n;
    EXPECT_TRUE(0 < n && n < 1000) << n;
    ASSERT_FALSE(testing::Test::HasFailure()) << "call " << n;
}

// Every call fails once, and then from there on. Whatever happens, either the old content stands, or the new one, or
// the new one is whole where the reason says.
TEST_F(SectionCommit, NoFailedCallLosesTheOldContent) {
    const std::string whole = containerBytes({{"in", containerBytes(kOld)}, {"z", "last"}});
    for (const auto& c : kCalls) {
        for (const int i : {0, 1, 2, 3}) {
            const std::string bytes((i & 1) != 0 ? 300'000 : 10, 'N');  // the container grows, or shrinks
            SCOPED_TRACE(testing::Message() << c.name << ", variant " << i);
            atEachCall([&](int nth) {
                if (c.existing) dir.write("f", whole);
                FaultPlan plan(c.call, nth, c.error, (i & 2) != 0);
                const std::string reason = put("f?in?c", bytes);
                const bool faulted = plan.lift(), done = reason == "done";
                // What the file system doesn't know is done another way.
                EXPECT_TRUE(done || (faulted && c.error != EOPNOTSUPP && c.error != EINVAL)) << reason;
                const std::vector<std::string> left = dir.names("tmp");
                if (!done && left.empty()) {
                    EXPECT_THAT(reason, HasSubstr("; nothing was written"));
                    EXPECT_EQ(readOr("f", ""), c.existing ? whole : "");
                } else {
                    const std::string file = done ? "f" : "tmp/" + left[0];
                    EXPECT_TRUE(done ? left.empty() : reason.find(dir.path(file)) != std::string::npos) << reason;
                    EXPECT_EQ(tree(file),
                              c.existing ? "(in(a=old a b= c=" + bytes + ") z=last)" : "(in(c=" + bytes + "))");
                    std::filesystem::remove(dir.path(file));
                }
                std::filesystem::remove(dir.path("f"));
                EXPECT_THAT(dir.names(), ElementsAre("tmp")) << "something stayed beside the container";
                return faulted;
            });
        }
    }
}

// A program that is told to stop at any moment, and cleans up as UT_Temporary.h shows, leaves the old container or the
// new one.
TEST_F(SectionCommit, AnInterruptLeavesAWholeContainer) {
    const std::string old = containerBytes(kOld);
    int stopped = 0, held = 0;
    for (const auto& c : kCalls) {
        SCOPED_TRACE(c.name);
        atEachCall([&](int nth) {
            if (c.existing) dir.write("f", old);
            const int status = inChild([&] {
                ::signal(SIGTERM, [](int) {
                    UTremoveTemporaryFiles();
                    ::_exit(3);
                });
                FaultPlan plan(c.call, nth, FaultPlan::kInterrupt);
                return put("f?c", "new") == "done" && !plan.lift();
            });
            const bool came = status == 3 << 8, changed = treeOf(readOr("f", "")).ends_with("c=new)");
            EXPECT_TRUE(came || status == 0) << status;
            EXPECT_TRUE(changed || readOr("f", "") == (c.existing ? old : ""));
            (changed ? held : stopped) += came;
            std::filesystem::remove(dir.path("f"));
            EXPECT_THAT(dir.names(), ElementsAre("tmp"));
            EXPECT_THAT(dir.names("tmp"), IsEmpty());
            return came;
        });
    }
    EXPECT_GT(stopped, 0);
    EXPECT_GT(held, 0) << "no signal came while the old bytes changed";
}

}  // namespace
