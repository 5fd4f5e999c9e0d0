// Handles for writing: whom a destination goes to, plain files, copies, and what finish tells.
#include <UT/UT_String.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stream/FS_Writer.h>
#include <stream/FS_WriterStream.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>

#include "../support/Environment.h"
#include "../support/ScratchDir.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string reasonOf(FS_Writer& writer) {
    UT_String reason;
    return writer.finish(&reason) ? "done" : std::string(reason.view());
}

// Collects what is written when the stream is finished.
class Upload : public FS_WriterStream {
public:
    explicit Upload(std::vector<std::string>& arrived) : arrived_(arrived) { adoptStream(new std::ostringstream); }

    bool refuses = false;

protected:
    bool destroy(bool remove) override {
        if (getStream() == nullptr) return false;
        arrived_.push_back(remove ? "(removed)" : dynamic_cast<std::ostringstream*>(getStream())->str());
        return FS_WriterStream::destroy(false) && !refuses;
    }

private:
    std::vector<std::string>& arrived_;
};

class UploadHelper : public FS_WriterHelper {
public:
    explicit UploadHelper(std::string prefix) : prefix_(std::move(prefix)) {}
    FS_WriterStream* createStream(const char* dest) override {
        asked.push_back(dest);
        if (asked.back().compare(0, prefix_.size(), prefix_) != 0) return nullptr;
        auto stream = std::make_unique<Upload>(arrived);
        stream->refuses = refuses;
        return stream.release();
    }

    std::vector<std::string> asked, arrived;
    bool refuses = false;

private:
    std::string prefix_;
};

// Gone only after the list of helpers, which is made later.
std::unique_ptr<UploadHelper> theLastHelper;

}  // namespace

TEST(Writer, ReplacesAPlainFileFromTheMomentOfOpening) {
    ScratchDir dir;
    dir.write("f", "what stood there");
    InDirectory here(dir.path());
    for (const char* dest : {"f", "file:f", "FILE:f"}) {
        FS_Writer writer(dest);
        EXPECT_EQ(dir.read("f"), "");
        *writer.getStream() << dest;
        EXPECT_EQ(reasonOf(writer), "done");
        EXPECT_EQ(reasonOf(writer), "done") << "the answer stays";
        EXPECT_EQ(dir.read("f"), dest);
        EXPECT_EQ(writer.getStream(), nullptr);
    }
    EXPECT_THAT(dir.names(), ElementsAre("f"));
}

TEST(Writer, RemovesAPlainFile) {
    ScratchDir dir;
    dir.write("f", "what stood there");
    std::optional<InDirectory> here(dir.path());
    FS_Writer writer("f"), section("x.idx?a");
    here.reset();
    *section.getStream() << "a";
    EXPECT_EQ(reasonOf(section), "done");
    EXPECT_TRUE(dir.exists("x.idx")) << "relative to where it was opened";
    *writer.getStream() << "dropped";
    EXPECT_TRUE(writer.removeFile());
    EXPECT_FALSE(dir.exists("f"));
    EXPECT_FALSE(writer.removeFile());
    writer.close();
    EXPECT_FALSE(dir.exists("f"));
    FS_Writer missing(dir.path("no/f").c_str());
    EXPECT_FALSE(missing.removeFile());
    EXPECT_EQ(reasonOf(missing), dir.path("no/f") + ": No such file or directory");
}

TEST(Writer, FinishTellsInWordsWhatWentWrong) {
    ScratchDir dir;
    const struct {
        std::string dest, reason;
    } cases[] = {
        {dir.path("no/f"), dir.path("no/f") + ": No such file or directory"},
        {dir.path(), dir.path() + ": Is a directory"},
        {"/dev/full", "/dev/full: No space left on device"},
    };
    for (const auto& c : cases) {
        FS_Writer writer(c.dest.c_str());
        EXPECT_EQ(writer.getStream()->fail(), c.dest != "/dev/full");
        *writer.getStream() << "bytes";
        EXPECT_EQ(reasonOf(writer), c.reason);
        EXPECT_EQ(reasonOf(writer), c.reason) << "the answer stays";
    }
    FS_Writer marked(dir.path("f").c_str());
    marked.getStream()->setstate(std::ios::failbit);
    EXPECT_THAT(reasonOf(marked), HasSubstr("f: the output failed"));
    FS_Writer closed(dir.path("f").c_str());
    closed.close();
    EXPECT_NE(reasonOf(closed), "done");
    WithVariable tmpdir("TMPDIR", dir.path("no").c_str());
    FS_Writer section(dir.path("x.idx?a").c_str());
    EXPECT_TRUE(section.getStream()->fail());
    EXPECT_EQ(reasonOf(section), "temporary file in $TMPDIR: No such file or directory; nothing was written");
    EXPECT_FALSE(dir.exists("x.idx"));
}

TEST(Writer, NothingToWriteToIsNoCrash) {
    for (const char* dest : {static_cast<const char*>(nullptr), ""}) {
        FS_Writer writer(dest);
        EXPECT_EQ(writer.getStream(), nullptr);
        EXPECT_NE(reasonOf(writer), "done");
        EXPECT_FALSE(writer.removeFile());
        writer.close();
    }
    FS_WriterStream stream;
    EXPECT_EQ(stream.getStream(), nullptr);
    EXPECT_FALSE(stream.finish());
    EXPECT_FALSE(stream.removeFile());
}

TEST(Writer, CopiesEndTogether) {
    ScratchDir dir;
    FS_Writer other(dir.path("g").c_str());
    {
        FS_Writer first(dir.path("f").c_str());
        FS_Writer second(first);
        other = first;  // the file g is finished here
        *first.getStream() << "first ";
        *second.getStream() << "second";
        EXPECT_TRUE(dir.exists("g"));
    }
    EXPECT_EQ(dir.read("f"), "") << "the last copy still lives";
    { *FS_Writer(dir.path("x.idx?a").c_str()).getStream() << "a"; }
    EXPECT_TRUE(dir.exists("x.idx")) << "a section goes to its container with the last handle";
    FS_Writer last(other);
    last.close();
    EXPECT_EQ(dir.read("f"), "first second");
    EXPECT_EQ(other.getStream(), nullptr);

    FS_WriterStream stream(dir.path("h").c_str());
    {
        FS_WriterStream copy(stream);
        *copy.getStream() << "h";
    }
    ASSERT_NE(stream.getStream(), nullptr);
    EXPECT_TRUE(FS_WriterStream(stream).finish());
    EXPECT_EQ(stream.getStream(), nullptr);
    EXPECT_TRUE(stream.finish());
    EXPECT_EQ(dir.read("h"), "h");
}

TEST(Writer, AsksTheNewestHelperFirstAndBeforeAnythingElse) {
    ScratchDir dir;
    InDirectory here(dir.path());
    UploadHelper old("up"), young("up:");
    const UploadHelper copy(young);  // not registered
    FS_Writer writer("up:x.idx?a");
    EXPECT_THAT(young.asked, ElementsAre("up:x.idx?a"));
    EXPECT_THAT(old.asked, IsEmpty());
    EXPECT_THAT(copy.asked, IsEmpty());
    *writer.getStream() << "bytes";
    EXPECT_EQ(reasonOf(writer), "done");
    EXPECT_THAT(young.arrived, ElementsAre("bytes"));

    EXPECT_TRUE(FS_Writer("upper").removeFile());
    EXPECT_THAT(old.arrived, ElementsAre("(removed)"));
    FS_Writer("file:f").close();
    EXPECT_EQ(old.asked.back(), "file:f");
    EXPECT_THAT(dir.names(), ElementsAre("f"));

    young.refuses = true;
    FS_Writer refused("up:y");
    EXPECT_EQ(reasonOf(refused), "the output could not be finished");
    FS_Writer stays("up:z");
    EXPECT_FALSE(stays.removeFile());
    EXPECT_EQ(reasonOf(stays), "the output could not be removed");
    EXPECT_EQ(young.arrived.back(), "(removed)") << "nothing is finished after that";
}

TEST(WriterDeathTest, AHelperMayOutliveTheList) {
    EXPECT_EXIT(
        {
            theLastHelper = std::make_unique<UploadHelper>("up:");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}
