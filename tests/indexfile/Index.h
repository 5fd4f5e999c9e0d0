#pragma once
// What tests of containers do again and again.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "../support/Sections.h"

// A reader over bytes in memory.
inline FS_Reader* memoryReader(std::string_view bytes) {
    return new FS_Reader(new FS_ReaderStream(bytes.data(), static_cast<int>(bytes.size()), 77));
}

inline std::string restOf(UT_IStream& in) {
    std::string text;
    for (auto ready = in.buffered(); !ready.empty(); ready = in.buffered()) {
        text += ready;
        in.consume(ready.size());
    }
    return text;
}

// What a stream of the section gives; "(none)" without one.
inline std::string contentOf(const FS_IndexFile& index, const char* name) {
    const std::unique_ptr<FS_ReaderStream> stream(index.getSectionStream(name));
    return stream && stream->getStream() ? restOf(*stream->getStream()) : "(none)";
}

inline std::vector<std::string> namesOf(const FS_IndexFile& index) {
    std::vector<std::string> names;
    for (int i = 0; i < index.getNumSections(); ++i) names.emplace_back(index.getSectionName(i));
    return names;
}

// The bytes of writeFile; empty when it failed.
inline std::string written(FS_IndexFile& index) {
    std::ostringstream out;
    index.writeFile(out);
    return out.good() ? out.str() : "";
}

inline void add(FS_IndexFile& index, const char* name, std::string_view bytes, int time = 1000) {
    index.addSection(name, bytes.data(), static_cast<int>(bytes.size()), time);
}
