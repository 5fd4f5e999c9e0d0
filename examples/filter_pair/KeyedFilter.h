#pragma once
// A filter pair for the sections of a container: stored bytes are combined with a key, behind a header of four bytes.
// It hides nothing from anybody who looks twice; it shows all that a pair has to do. The two factories must have the
// same key to belong together.
//
//     KeyedWriteFactory writer("key");
//     KeyedReadFactory reader("key");
//     index.setFilters(&writer, &reader);  // stores clones
#include <UT/UT_ByteSource.h>
#include <UT/UT_IStream.h>
#include <UT/UT_StreamBufferFilter.h>
#include <UT/UT_WorkBuffer.h>
#include <stream/FS_FilterFactory.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// What both directions do to a byte of content.
class Key {
public:
    explicit Key(std::string text) : text_(text.empty() ? "key" : std::move(text)) {}
    // Combining a second time gives the byte back.
    char combine(char byte, std::int64_t position) const {
        const auto length = static_cast<std::int64_t>(text_.size());
        return static_cast<char>(byte ^ text_[static_cast<std::size_t>(position % length)]);
    }
    friend bool operator==(const Key& a, const Key& b) { return a.text_ == b.text_; }
    friend bool operator!=(const Key& a, const Key& b) { return !(a == b); }

private:
    std::string text_;
};

// Stands in front of the combined bytes, so that a reader knows a section that was stored this way.
inline constexpr std::string_view kKeyedHeader = "KEYD";
inline constexpr int kKeyedHeaderSize = 4;

// Content on its way out, block by block. One filter serves one section.
class KeyedBufferFilter : public UT_StreamBufferFilter {
public:
    explicit KeyedBufferFilter(Key key) : key_(std::move(key)) {}

    bool filter(const char* data, std::size_t count, bool /*last*/, UT_WorkBuffer& out) override {
        // An empty section has a header too: its only call brings no bytes.
        if (!started_) out.append(kKeyedHeader);
        started_ = true;
        for (std::size_t i = 0; i < count; ++i) out.append(key_.combine(data[i], position_++));
        return true;
    }

private:
    const Key key_;
    bool started_ = false;
    std::int64_t position_ = 0;
};

// Content on its way in: the stored bytes of one section, seen through the key. It holds on to the source below and
// not to the stream that it was made from, which goes right after.
class KeyedSource : public UT_ByteSource {
public:
    KeyedSource(const UT_IStream& stored, Key key)
        : below_(stored.getSource()),
          start_(stored.getSourceStart() + stored.tellg() + kKeyedHeaderSize),
          size_(stored.getSize() - stored.tellg() - kKeyedHeaderSize),
          key_(std::move(key)) {}

    std::int64_t size() const override { return size_ > 0 ? size_ : 0; }

    std::int64_t readAt(std::int64_t position, char* out, std::size_t count) override {
        if (position < 0 || !below_) return -1;
        if (position >= size()) return 0;
        const std::int64_t left = size() - position;
        if (static_cast<std::int64_t>(count) > left) count = static_cast<std::size_t>(left);
        const std::int64_t got = below_->readAt(start_ + position, out, count);
        for (std::int64_t i = 0; i < got; ++i) out[i] = key_.combine(out[i], position + i);
        return got;
    }

private:
    const std::shared_ptr<UT_ByteSource> below_;
    const std::int64_t start_;
    const std::int64_t size_;
    const Key key_;
};

class KeyedReadFactory : public FS_IStreamFilterFactory {
public:
    explicit KeyedReadFactory(std::string key) : key_(std::move(key)) {}
    const Key& key() const { return key_; }

    UT_IStream* createFilteredStream(UT_IStream* source) const override {
        return new UT_IStream(std::make_shared<KeyedSource>(*source, key_), UT_ISTREAM_BINARY);
    }
    FS_IStreamFilterFactory* clone() override { return new KeyedReadFactory(*this); }
    // Negative for what was not stored by this pair.
    int getUnfilteredSize(UT_IStream* source, int sectionSize) override {
        char header[kKeyedHeaderSize];
        if (sectionSize < kKeyedHeaderSize || source->bread(header, kKeyedHeaderSize) != kKeyedHeaderSize) return -1;
        return std::string_view(header, kKeyedHeaderSize) == kKeyedHeader ? sectionSize - kKeyedHeaderSize : -1;
    }

private:
    const Key key_;
};

class KeyedWriteFactory : public FS_WriteFilterFactory {
public:
    explicit KeyedWriteFactory(std::string key) : key_(std::move(key)) {}

    UT_StreamBufferFilter* createBufferFilter() override { return new KeyedBufferFilter(key_); }
    FS_WriteFilterFactory* clone() override { return new KeyedWriteFactory(*this); }
    // The table is written before the sections, so this must be exactly what the filter will give.
    int getFilteredSize(int size) override { return size <= INT_MAX - kKeyedHeaderSize ? size + kKeyedHeaderSize : -1; }
    bool isCompatible(FS_IStreamFilterFactory* other) override {
        const auto* const reader = dynamic_cast<KeyedReadFactory*>(other);
        return reader != nullptr && reader->key() == key_;
    }

private:
    const Key key_;
};
