#pragma once
// What tests of containers do again and again.
#include <UT/UT_String.h>
#include <gmock/gmock.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "../support/Reading.h"
#include "../support/Rules.h"
#include "../support/ScratchDir.h"
#include "../support/Sections.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A reader over bytes in memory, of the time 77.
inline FS_Reader* memoryReader(std::string_view bytes) {
    return new FS_Reader(new FS_ReaderStream(bytes.data(), static_cast<int>(bytes.size()), 77));
}

// What a stream of the section gives; "(none)" without one.
inline std::string contentOf(const FS_IndexFile& index, const char* name) {
    const std::unique_ptr<FS_ReaderStream> stream(index.getSectionStream(name));
    return stream && stream->getStream() ? readAll(*stream->getStream()) : "(none)";
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
inline Sections sectionsIn(FS_IndexFile& index) {
    return sectionsOf(written(index));
}

// The reason why the container could not be saved, or "done".
inline std::string save(FS_IndexFile& index, const std::string& path) {
    UT_String reason;
    return index.save(path.c_str(), &reason) ? "done" : std::string(reason.view());
}

inline void add(FS_IndexFile& index, const char* name, std::string_view bytes, int time = 1000) {
    index.addSection(name, bytes.data(), static_cast<int>(bytes.size()), time);
}

// The bytes that a row of tables.rules spells.
inline std::string spelledBytes(const std::string& row) {
    std::istringstream words(row);
    std::string bytes;
    for (std::string word; words >> word;) {
        const bool isNumber = word[0] == '-' || std::isdigit(word[0]) != 0;
        bytes += isNumber          ? packed(std::stoi(word))
                 : word[0] == '\'' ? packed(std::string_view(word).substr(1, word.size() - 2))
                                   : word;
    }
    return bytes;
}
