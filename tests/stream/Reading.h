#pragma once
// What the tests of reading have in common: all bytes of a reader, helpers made of a function, and a filter pair.
#include <UT/UT_ByteSource.h>
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <stream/FS_FilterFactory.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

inline std::string bytesOf(UT_IStream* stream) {
    std::string bytes;
    char part[64];
    while (const int n = stream != nullptr ? stream->bread(part, sizeof part) : 0)
        bytes.append(part, static_cast<std::size_t>(n));
    return bytes;
}

inline std::string bytesAt(const std::string& path) {
    FS_Reader reader(path.c_str());
    return reader.isGood() ? bytesOf(reader.getStream()) : "not good";
}

inline std::string fileNameOf(const FS_Reader& reader) {
    UT_String name;
    reader.getFilename(name);
    return std::string(name.view());
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

// Sections stored with every byte turned, behind a mark of one byte.
class TurnedSource : public UT_ByteSource {
public:
    TurnedSource(std::shared_ptr<UT_ByteSource> stored, std::int64_t start, std::int64_t length)
        : stored_(std::move(stored)), start_(start + 1), length_(length - 1) {}
    std::int64_t size() const override { return length_; }
    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        if (position >= length_) return 0;
        count = std::min(count, static_cast<std::size_t>(length_ - position));
        const std::int64_t n = stored_->readAt(start_ + position, out, count);
        for (std::int64_t i = 0; i < n; ++i) out[i] = static_cast<char>(~out[i]);
        return n;
    }

private:
    std::shared_ptr<UT_ByteSource> stored_;
    std::int64_t start_;
    std::int64_t length_;
};

class TurnedReadFactory : public FS_IStreamFilterFactory {
public:
    TurnedReadFactory() { ++alive; }
    TurnedReadFactory(const TurnedReadFactory& other) : FS_IStreamFilterFactory(other) { ++alive; }
    ~TurnedReadFactory() override { --alive; }
    UT_IStream* createFilteredStream(UT_IStream* source) const override {
        return new UT_IStream(
            std::make_shared<TurnedSource>(source->getSource(), source->getSourceStart() + source->tellg(),
                                           source->getSize() - source->tellg()),
            UT_ISTREAM_BINARY);
    }
    FS_IStreamFilterFactory* clone() override { return new TurnedReadFactory(*this); }
    int getUnfilteredSize(UT_IStream*, int sectionSize) override { return sectionSize - 1; }

    static inline int alive = 0;
};

class TurnedWriteFactory : public FS_WriteFilterFactory {
public:
    UT_StreamBufferFilter* createBufferFilter() override { return nullptr; }
    FS_WriteFilterFactory* clone() override { return new TurnedWriteFactory(*this); }
    bool isCompatible(FS_IStreamFilterFactory* other) override {
        return dynamic_cast<TurnedReadFactory*>(other) != nullptr;
    }
};

inline std::string turned(std::string bytes) {
    for (char& c : bytes) c = static_cast<char>(~c);
    return "#" + bytes;
}
