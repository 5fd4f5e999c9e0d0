// Sections written into containers: what stands there afterwards, and above all what stands there when something on
// the way fails.
#include <UT/UT_Temporary.h>
#include <signal.h>
#include <stream/FS_Info.h>
#include <sys/stat.h>

#include <ctime>
#include <optional>
#include <ostream>

#include "../support/FaultPlan.h"
#include "Streams.h"

namespace {

// A container as text: (name=content name(name=content)).
std::string treeOf(std::string_view bytes) {
    if (bytes.substr(0, 4) != "INDX") return "=" + std::string(bytes);
    std::string text = "(";
    for (const auto& [name, content] : sectionsOf(bytes)) text += (text == "(" ? "" : " ") + name + treeOf(content);
    return text + ")";
}

class SectionCommit : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(dir.names("tmp"), IsEmpty()) << "a temporary file stayed"; }
    // Writes `bytes` to a section path that begins in the scratch directory. Gives the reason, or "done".
    std::string put(const std::string& destination, std::string_view bytes) const {
        FS_Writer writer(dir.path(destination).c_str());
        writer.getStream()->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return finish(writer);
    }
    std::string remove(const std::string& destination) const {
        FS_Writer writer(dir.path(destination).c_str());
        const bool removed = writer.removeFile();
        const std::string reason = finish(writer);
        EXPECT_EQ(removed, reason == "done");
        return reason;
    }
    std::string tree(const std::string& name) const { return treeOf(dir.read(name)); }
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

TEST_F(SectionCommit, PutsASectionInItsPlaceOrTakesItOut) {
    const std::string inner = containerBytes({{"x", "1"}, {"y", "2"}}, "text");
    const std::string outer = containerBytes({{"a", "1"}, {"in", inner}, {"empty", ""}}, "text");
    const struct {
        std::optional<std::string> before;
        const char *destination, *bytes, *after;  // no bytes: the section goes
    } cases[] = {
        {{}, "f?a", "new", "(a=new)"},
        {{}, "f?a", "", "(a=)"},
        {{}, "f?a?b?c", "new", "(a(b(c=new)))"},
        {"", "f?a", "new", "(a=new)"},
        {containerBytes({}, "text"), "f?a", "new", "(a=new)"},
        {inner, "f?z", "new", "(x=1 y=2 z=new)"},
        {inner, "f?x", "longer than before", "(x=longer than before y=2)"},
        {outer, "f?in?x", "new", "(a=1 in(x=new y=2) empty=)"},
        {outer, "f?empty?x", "new", "(a=1 in(x=1 y=2) empty(x=new))"},
        {outer, "f?a", nullptr, "(in(x=1 y=2) empty=)"},
        {outer, "f?in?x", nullptr, "(a=1 in(y=2) empty=)"},
        {{}, "f?a", nullptr, "()"},
        {outer, "f?unknown", nullptr, "(a=1 in(x=1 y=2) empty=)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.destination << " gives " << c.after);
        std::filesystem::remove(dir.path("f"));
        if (c.before) dir.write("f", *c.before);
        const std::time_t start = std::time(nullptr);
        EXPECT_EQ(c.bytes ? put(c.destination, c.bytes) : remove(c.destination), "done");
        EXPECT_TRUE(!c.bytes || FS_Info(dir.path(c.destination).c_str()).getModTime() >= start - 1);
        EXPECT_EQ(tree("f"), c.after);
        EXPECT_EQ(dir.read("f").find(packed("text")) != std::string::npos, !c.before.value_or("").empty());
    }
}

// Only what is empty becomes a container. Everything else that isn't one is somebody's data, and what can't be read
// whole must not be written as if it were.
TEST_F(SectionCommit, RefusesWhatIsNoContainerAndWhatWouldBeIncomplete) {
    const std::string newer = containerHead(0, 1), damaged = containerHead(1) + tableEntry("a", 0, -5);
    const std::string whole = containerBytes(kOld), cut = containerHead(1) + tableEntry("in", 0, 50);
    const struct {
        std::string before;
        const char *destination, *reason;
    } cases[] = {
        {"I", "f?a", "/f: not a container; nothing was written"},
        {newer, "f?a", "not a container"},
        {damaged, "f?a", "not a container"},
        {containerBytes({{"in", "I"}}), "f?in?a", "not a container"},
        {containerBytes({{"in", newer}}), "f?in?a", "not a container"},
        {containerBytes({{"in", damaged}}), "f?in?a?deep", "not a container"},
        {whole.substr(0, whole.size() - 1), "f?a", "section \"c\""},
        {cut, "f?in?a", "cannot be read"},
        {containerBytes({{"in", cut}}), "f?in?a", "section \"in\""},
        {"x", "tmp?a", "Is a directory"},
        {"x", "f/g?a", "Not a directory"},
        {"x", "no/g?a", "no/g: No such file or directory"},
    };
    for (const auto& c : cases) {
        dir.write("f", c.before);
        EXPECT_THAT(put(c.destination, "new"), HasSubstr(c.reason));
        EXPECT_THAT(remove(c.destination), HasSubstr(c.reason));
        EXPECT_EQ(dir.read("f"), c.before);
        EXPECT_THAT(dir.names("tmp"), IsEmpty());
    }
    // The caller's stream failed.
    dir.write("f", whole);
    FS_Writer writer(dir.path("f?a").c_str());
    *writer.getStream() << "half of";
    writer.getStream()->setstate(std::ios::badbit);
    for (int i = 0; i < 2; ++i) EXPECT_NE(finish(writer), "done") << "the answer stays";
    EXPECT_EQ(dir.read("f"), whole);
}

// What was collected is the plain file that was written, however its path looks, and whatever helpers make of it.
TEST_F(SectionCommit, TakesNothingButWhatWasWritten) {
    const WithVariable marked("TMPDIR", dir.makeDirectory("tmp?").c_str());
    const TestHelper greedy([&](const std::string& source) {
        return source.find("/tarvani-") != std::string::npos ? memoryStream("junk") : nullptr;
    });
    EXPECT_EQ(put("f?in?a", "new"), "done");
    EXPECT_EQ(tree("f"), "(in(a=new))");
    EXPECT_THAT(dir.names("tmp?"), IsEmpty());
}

// A helper may read as a container what isn't one, serve one that isn't there as a file, or bring half a pair of
// filters, through which the other sections could not be brought back.
TEST_F(SectionCommit, WritesOverNothingThatOnlyAHelperCanRead) {
    const std::string old = containerBytes({{"a", keyed("one")}, {"in", keyed(containerBytes({{"x", "1"}}))}});
    dir.write("f", old);
    for (const bool reads : {false, true}) {
        const ServesFile helper("/f", dir.path("f"), reads, !reads);
        for (const char* destination : {"f?a", "f?new", "f?in?x"})
            EXPECT_THAT(put(destination, "new"), HasSubstr("its filters are no pair; nothing was written"));
        EXPECT_NE(remove("f?a"), "done");
        EXPECT_EQ(dir.read("f"), old);
    }
    const ServesFile helper("/f", dir.write("later", "before:" + containerBytes({{"b", "2"}})), false, false, 7);
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
    const struct stat before = status("f");
    for (const char* bytes : {"c", "a longer text than the one that stood there before"}) {
        EXPECT_EQ(put("to-f?c", bytes), "done");
        EXPECT_EQ(status("f").st_ino, before.st_ino);
        EXPECT_EQ(status("f").st_mode, before.st_mode);
        EXPECT_EQ(tree("hard"), "(a=old a b= c=" + std::string(bytes) + ")");
    }
    const mode_t mask = ::umask(027);
    for (const char* made : {"to-there?a", "plain"}) EXPECT_EQ(put(made, "new"), "done");
    ::umask(mask);
    for (const char* made : {"there", "plain"}) EXPECT_EQ(status(made).st_mode & 07777, 0640u);
    EXPECT_EQ(tree("there"), "(a=new)");
    for (const char* link : {"to-f", "to-there"}) EXPECT_TRUE(std::filesystem::is_symlink(dir.path(link)));
    EXPECT_THAT(dir.names(), ElementsAre("f", "hard", "plain", "there", "tmp", "to-f", "to-there"));
}

TEST_F(SectionCommit, TellsWhatIsForbidden) {
    const auto setMode = [&](const char* name, mode_t mode) { ASSERT_EQ(::chmod(dir.path(name).c_str(), mode), 0); };
    const std::string old = containerBytes(kOld);
    for (const char* name : {"readable", "closed"}) dir.write(name, old);
    const mode_t root = ::geteuid() == 0 ? 0755 : 0555;
    for (const auto& [name, mode] : {std::pair("readable", 0444u), {"closed", 0200u}, {"tmp", 0777u}, {"", root}})
        setMode(name, mode);
    checkInChild(true, [&] {
        for (const char* name : {"readable", "closed", "missing"})
            EXPECT_EQ(put(std::string(name) + "?a", "new"),
                      dir.path(name) + ": Permission denied; nothing was written");
    });
    for (const auto& [name, mode] : {std::pair("", 0755u), {"closed", 0600u}}) setMode(name, mode);
    for (const char* name : {"readable", "closed"}) EXPECT_EQ(dir.read(name), old);
    EXPECT_THAT(dir.names(), ElementsAre("closed", "readable", "tmp"));
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
    // Call number `nth` fails. Gives whether there was such a call.
    const auto fails = [&](const auto& kind, std::size_t size, bool existing, bool onwards, int nth) {
        const std::string bytes(size, 'N');
        if (existing) dir.write("f", whole);
        FaultPlan plan(kind.call, nth, kind.error, onwards);
        const std::string reason = put("f?in?c", bytes);
        const bool faulted = plan.lift(), done = reason == "done";
        EXPECT_TRUE(done || faulted) << reason;
        // What the file system doesn't know is done another way.
        EXPECT_TRUE(done || (kind.error != EOPNOTSUPP && kind.error != EINVAL)) << reason;
        const std::vector<std::string> left = dir.names("tmp");
        if (!done && left.empty()) {
            EXPECT_THAT(reason, HasSubstr("; nothing was written"));
            EXPECT_EQ(dir.exists("f") ? dir.read("f") : "", existing ? whole : "");
        } else {
            const std::string file = done ? "f" : "tmp/" + left[0];
            EXPECT_TRUE(done ? left.empty() : reason.find(dir.path(file)) != std::string::npos) << reason;
            EXPECT_EQ(tree(file), existing ? "(in(a=old a b= c=" + bytes + ") z=last)" : "(in(c=" + bytes + "))");
            std::filesystem::remove(dir.path(file));
        }
        std::filesystem::remove(dir.path("f"));
        EXPECT_THAT(dir.names(), ElementsAre("tmp")) << "something stayed beside the container";
        return faulted && !HasFailure();
    };
    for (const auto& kind : kinds) {
        for (int i = 0; i < 8; ++i) {
            const std::size_t size = (i & 1) != 0 ? 300'000 : 10;  // the container grows, or shrinks
            const bool existing = (i & 2) != 0, onwards = (i & 4) != 0;
            int n = 0;
            SCOPED_TRACE(testing::Message()
                         << kind.name << ", size " << size << ", existing " << existing << ", onwards " << onwards);
            while (n < 1000 && fails(kind, size, existing, onwards, n)) ++n;
            ASSERT_FALSE(HasFailure()) << "call " << n;
            EXPECT_LT(n, 1000);
            EXPECT_EQ(n > 0, existing ? kind.ofOld : kind.ofNew);
        }
    }
}

// A program that is told to stop at any moment, and cleans up as UT_Temporary.h shows, leaves the old container or the
// new one.
TEST_F(SectionCommit, AnInterruptLeavesAWholeContainer) {
    const std::string old = containerBytes(kOld);
    int stopped = 0, held = 0;
    // SIGTERM comes at call number `nth`. Gives whether there was such a call.
    const auto stops = [&](Call call, bool existing, int nth) {
        if (existing) dir.write("f", old);
        const int status = inChild([&] {
            ::signal(SIGTERM, [](int) {
                UTremoveTemporaryFiles();
                ::_exit(3);
            });
            FaultPlan plan(call, nth, FaultPlan::kInterrupt);
            return put("f?c", "new") == "done" && !plan.lift();
        });
        const bool came = status == 3 << 8, changed = dir.exists("f") && tree("f").ends_with("c=new)");
        EXPECT_TRUE(came || status == 0) << status;
        EXPECT_TRUE(changed || (dir.exists("f") ? dir.read("f") == old : !existing));
        stopped += changed ? 0 : 1;
        held += changed && came ? 1 : 0;
        std::filesystem::remove(dir.path("f"));
        EXPECT_THAT(dir.names(), ElementsAre("tmp"));
        EXPECT_THAT(dir.names("tmp"), IsEmpty());
        return came && !HasFailure();
    };
    for (const Call call : {Call::Write, Call::CopyFileRange, Call::Fallocate, Call::Ftruncate, Call::Close,
                            Call::Rename, Call::MakeTemporary}) {
        for (const bool existing : {true, false}) {
            int n = 0;
            while (n < 1000 && stops(call, existing, n)) ++n;
            ASSERT_TRUE(n < 1000 && !HasFailure()) << static_cast<int>(call) << ' ' << n << ", existing " << existing;
        }
    }
    EXPECT_GT(stopped, 0);
    EXPECT_GT(held, 0) << "no signal came while the old bytes changed";
}
