// Output in the forms that UT_IStream reads back.
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Output.h>
#include <UT/UT_StreamBufferFilter.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string_view>

UT_StreamBufferFilter::~UT_StreamBufferFilter() = default;

namespace {

void writeInteger(std::ostream& out, std::int32_t value) {
    const auto v = static_cast<std::uint32_t>(value);
    const char bytes[4] = {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                           static_cast<char>(v >> 24)};
    out.write(bytes, 4);
}

// One block through the filter and out. The buffer is the caller's, so that it is used again for the next block.
bool filterBlock(std::ostream& out, std::string_view block, bool last, UT_StreamBufferFilter& filter,
                 UT_WorkBuffer& buffer) {
    buffer.assign({});
    if (!filter.filter(block.data(), block.size(), last, buffer)) {
        out.setstate(std::ios::failbit);
        return false;
    }
    out.write(buffer.buffer(), static_cast<std::streamsize>(buffer.length()));
    return out.good();
}

// A word that can stand without quotes: readString takes it back by white space alone.
bool isPlainWord(std::string_view text) {
    return !text.empty() && text.front() != '#' && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && c != '"' && c != '\\' && c != '\x7f';
    });
}

}  // namespace

std::ostream& UTwrite(std::ostream& out, const char* data, int count) {
    if (data != nullptr && count > 0) out.write(data, count);
    return out;
}

std::ostream& UTwrite(std::ostream& out, const int* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) writeInteger(out, values[i]);
    return out;
}

void UTsaveStringBinary(std::ostream& out, const char* text, UT_STRING_BINARY_IO) {
    const std::string_view bytes = textscan::viewOf(text);
    if (bytes.size() > static_cast<std::size_t>(INT_MAX)) {
        out.setstate(std::ios::failbit);
        return;
    }
    writeInteger(out, static_cast<std::int32_t>(bytes.size()));
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool UTwriteFiltered(std::ostream& out, const char* data, int count, UT_StreamBufferFilter* filter) {
    const std::string_view bytes(data, data ? static_cast<std::size_t>(std::max(count, 0)) : 0);
    if (filter != nullptr) {
        UT_WorkBuffer buffer;
        return filterBlock(out, bytes, true, *filter, buffer);
    }
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return out.good();
}

bool UTcopyStreamToStream(UT_IStream& in, std::ostream& out, unsigned count, UT_StreamBufferFilter* filter) {
    UT_WorkBuffer buffer;
    const bool toTheEnd = count == UT_COPY_ALL;
    std::uint64_t left = count;
    if (toTheEnd) left = UINT64_MAX;
    while (left > 0 && out.good()) {
        std::string_view block = in.buffered();
        if (block.empty()) break;
        block = block.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size())));
        if (filter == nullptr)
            out.write(block.data(), static_cast<std::streamsize>(block.size()));
        else if (!filterBlock(out, block, false, *filter, buffer))
            return false;
        in.consume(block.size());
        left -= block.size();
    }
    if (filter != nullptr && out.good() && !filterBlock(out, {}, true, *filter, buffer)) return false;
    return out.good() && in.getSource() && !in.hasFailed() && (toTheEnd || left == 0);
}

int UTcheckOutStream(std::ostream& out, const char* message, const char* second) {
    if (out.good()) return 1;
    std::fprintf(stderr, "%s%s%s\n", message ? message : "", second ? " " : "", second ? second : "");
    return 0;
}

std::ostream& operator<<(std::ostream& out, const UT_String& text) {
    const std::string_view bytes = text.view();
    if (isPlainWord(bytes)) return out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    constexpr std::string_view kEscaped = "\"\\\n\r\t";
    constexpr std::string_view kLetters = "\"\\nrt";
    out.put('"');
    for (const char c : bytes) {
        const std::size_t found = kEscaped.find(c);
        if (found == kEscaped.npos)
            out.put(c);
        else
            out.put('\\').put(kLetters[found]);
    }
    return out.put('"');
}
