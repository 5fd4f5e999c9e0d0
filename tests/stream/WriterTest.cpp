// Handles for writing: whom a destination goes to, plain files, copies, and what finish tells.
#include <stream/FS_WriterStream.h>

#include <cstdlib>
#include <sstream>

#include "Streams.h"

namespace {

// Takes what is written to destinations that begin with its name, and refuses it if it is to.
class UploadHelper : public FS_WriterHelper {
public:
    explicit UploadHelper(std::string prefix) : prefix_(std::move(prefix)) {}
    FS_WriterStream* createStream(const char* dest) override {
        asked.push_back(dest);
        return asked.back().starts_with(prefix_) ? new Upload(*this) : nullptr;
    }

    std::vector<std::string> asked, arrived;
    bool refuses = false;

private:
    struct Upload : FS_WriterStream {
        explicit Upload(UploadHelper& helper) : to(helper) { adoptStream(new std::ostringstream); }
        bool destroy(bool remove) override {
            if (getStream() == nullptr) return false;
            to.arrived.push_back(remove ? "(removed)" : dynamic_cast<std::ostringstream*>(getStream())->str());
            return FS_WriterStream::destroy(false) && !to.refuses;
        }
        UploadHelper& to;
    };
    const std::string prefix_;
};

class Writer : public testing::Test {
protected:
    const ScratchDir dir;
    const InDirectory here{dir.path()};
};

TEST_F(Writer, ReplacesAPlainFileFromTheMomentOfOpeningOrRemovesIt) {
    dir.write("f", "what stood there");
    for (const char* dest : {"f", "FILE:f"}) {
        FS_Writer writer(dest);
        EXPECT_EQ(dir.read("f"), "");
        *writer.getStream() << dest;
        for (int i = 0; i < 2; ++i) EXPECT_EQ(finish(writer), "done");
        EXPECT_EQ(dir.read("f"), dest);
        EXPECT_EQ(writer.getStream(), nullptr);
    }
    FS_Writer removed("f"), section("x.idx?a"), other("x.idx?b");
    const InDirectory elsewhere("/");
    *section.getStream() << "a";
    *other.getStream() << "b";
    EXPECT_THAT(dir.names(), ElementsAre("f")) << "nothing of a section before its end";
    for (FS_Writer* writer : {&section, &other}) EXPECT_EQ(finish(*writer), "done");
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), (Sections{{"a", "a"}, {"b", "b"}}));
    EXPECT_TRUE(removed.removeFile());
    EXPECT_FALSE(removed.removeFile());
    EXPECT_THAT(dir.names(), ElementsAre("x.idx")) << "relative to where it was opened";
}

TEST_F(Writer, FinishTellsInWordsWhatWentWrong) {
    const WithVariable tmpdir("TMPDIR", dir.path("no").c_str());
    const struct {
        std::string dest, reason;
        bool opens;
    } cases[] = {
        {dir.path("no/f"), dir.path("no/f") + ": No such file or directory", false},
        {dir.path(), dir.path() + ": Is a directory", false},
        {"/dev/full", "/dev/full: No space left on device", true},
        {"x?a", "temporary file in $TMPDIR: No such file or directory; nothing was written", false},
        {"file:file:f", "file:" + dir.path("f") + ": No such file or directory", false},  // taken off once
    };
    for (const auto& c : cases) {
        FS_Writer writer(c.dest.c_str());
        EXPECT_EQ(!writer.getStream()->fail(), c.opens);
        *writer.getStream() << "bytes";
        for (int i = 0; i < 2; ++i) EXPECT_EQ(finish(writer), c.reason) << "the answer stays";
    }
    for (const char* dest : {static_cast<const char*>(nullptr), ""}) {
        FS_Writer writer(dest);
        EXPECT_TRUE(writer.getStream() == nullptr && !writer.finish());
        EXPECT_NE(finish(writer), "done");
        EXPECT_FALSE(writer.removeFile());
    }
    FS_Writer marked("f"), closed("f"), missing("no/f");
    marked.getStream()->setstate(std::ios::failbit);
    EXPECT_THAT(finish(marked), HasSubstr("f: the output failed"));
    closed.close();
    EXPECT_NE(finish(closed), "done");
    EXPECT_FALSE(missing.removeFile());
    EXPECT_EQ(finish(missing), dir.path("no/f") + ": No such file or directory");
    EXPECT_THAT(dir.names(), ElementsAre("f"));
}

TEST_F(Writer, CopiesEndTogether) {
    FS_Writer other("g");
    {
        FS_Writer first("f"), second(first);
        other = first;  // the file g is finished here
        *first.getStream() << "first ";
        *second.getStream() << "second";
    }
    EXPECT_EQ(dir.read("f"), "") << "the last copy still lives";
    { *FS_Writer("x.idx?a").getStream() << "a"; }
    EXPECT_THAT(dir.names(), ElementsAre("f", "g", "x.idx")) << "a section goes to its container with the last handle";
    FS_Writer(other).close();
    EXPECT_EQ(dir.read("f"), "first second");
    EXPECT_EQ(other.getStream(), nullptr);
}

TEST_F(Writer, AsksTheNewestHelperFirstAndBeforeAnythingElse) {
    { const UploadHelper gone("up:"); }
    UploadHelper old("up"), young("up:");
    const UploadHelper copy(young);  // not registered
    FS_Writer writer("up:x.idx?a");
    *writer.getStream() << "bytes";
    EXPECT_EQ(finish(writer), "done");
    FS_Writer("upper").removeFile();
    FS_Writer("file:f").close();
    young.refuses = true;
    FS_Writer refused("up:y"), stays("up:z");
    EXPECT_EQ(finish(refused), "the output could not be finished");
    EXPECT_FALSE(stays.removeFile());
    EXPECT_EQ(finish(stays), "the output could not be removed");
    EXPECT_THAT(young.asked, ElementsAre("up:x.idx?a", "upper", "file:f", "up:y", "up:z"));
    EXPECT_THAT(old.asked, ElementsAre("upper", "file:f"));
    EXPECT_THAT(copy.asked, IsEmpty());
    EXPECT_THAT(young.arrived, ElementsAre("bytes", "", "(removed)")) << "nothing is finished after that";
    EXPECT_THAT(old.arrived, ElementsAre("(removed)"));
    EXPECT_THAT(dir.names(), ElementsAre("f"));
}

// Gone only after the list of helpers, which is made later.
std::unique_ptr<UploadHelper> theLastHelper;

TEST(WriterDeathTest, AHelperMayOutliveTheList) {
    const auto endsWithAHelper = [] {
        theLastHelper = std::make_unique<UploadHelper>("up:");
        std::exit(0);
    };
    EXPECT_EXIT(endsWithAHelper(), testing::ExitedWithCode(0), "");
}

}  // namespace
