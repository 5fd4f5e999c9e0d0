#pragma once
// What the tests of streams have in common: all bytes of a reader, what a writer says at its end, and helpers made of a
// function.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <gmock/gmock.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FS_Writer.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/Keyed.h"
#include "../support/Reading.h"
#include "../support/ScratchDir.h"
#include "../support/Sections.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

inline std::string bytesAt(const std::string& path) {
    FS_Reader reader(path.c_str());
    return reader.isGood() ? readAll(*reader.getStream()) : "not good";
}

// The name of the file behind a reader or its stream.
template <class Reader>
std::string fileNameOf(const Reader& reader) {
    UT_String name("of another");
    reader.getFilename(name);
    return std::string(name.view());
}

// All answers about one path, a letter for each that is yes, as paths.table explains them.
inline std::string answers(const FS_Info& info) {
    const bool all[] = {info.hasAccess(0),     info.hasAccess(1),        info.hasAccess(2),
                        info.getIsDirectory(), info.fileExists(),        info.canReadFile(),
                        info.canWriteFile(),   info.canWriteDirectory(), info.canDeleteFile()};
    std::string text = "erwdFRWDX";
    for (std::size_t i = 0; i < text.size(); ++i)
        if (!all[i]) text[i] = '-';
    return text;
}

// Why the output isn't where it belongs, or "done".
inline std::string finish(FS_Writer& writer) {
    UT_String reason;
    return writer.finish(&reason) ? "done" : std::string(reason.view());
}

inline FS_ReaderStream* memoryStream(const std::string& bytes, int time = 0) {
    return new FS_ReaderStream(bytes.data(), static_cast<int>(bytes.size()), time);
}

// Serves what its function gives a stream for, and remembers what it was asked.
class TestHelper : public FS_ReaderHelper {
public:
    using Serve = std::function<FS_ReaderStream*(const std::string&)>;
    explicit TestHelper(Serve serve = {}) : serve_(std::move(serve)) {}
    FS_ReaderStream* createStream(const char* source) override {
        asked.push_back(source);
        const Serve serve = serve_;  // it may end this helper
        return serve ? serve(source) : nullptr;
    }

    std::vector<std::string> asked;

private:
    Serve serve_;
};

// Serves what stands in a file behind its first bytes, for paths that end with the given one, through these factories.
inline TestHelper servesFile(const std::string& ending, const std::string& file, bool reads, bool writes,
                             int start = 0) {
    return TestHelper([=](const std::string& source) -> FS_ReaderStream* {
        if (!source.ends_with(ending)) return nullptr;
        KeyedReadFactory reader("key");
        KeyedWriteFactory writer("key");
        auto* const stream = new FS_ReaderStream(file.c_str());
        stream->getStream()->seekg(start, 0);
        if (reads) stream->setSubStreamReadFilterFactory(&reader);
        if (writes) stream->setSubStreamWriteFilterFactory(&writer);
        return stream;
    });
}
