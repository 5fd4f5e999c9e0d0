// The section rule of reading paths. One of the sources of stream/ that call into indexfile/.
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <indexfile/SectionTable.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/OpenSection.h>

#include <string>

namespace {

struct Container {
    FS_Reader reader;
    std::string outermost;  // the path without its sections

    // Only what the search opened can carry filters, for a sub-stream inherits none. Whether they fit together and what
    // they make of sizes is FS_IndexFile's to tell, so such a container, which is the outermost, goes that way.
    bool carriesFilters() const {
        return reader.getSubStreamReadFilterFactory() != nullptr || reader.getSubStreamWriteFilterFactory() != nullptr;
    }
    std::optional<SectionPlace> find(std::string_view name) {
        return reader.isGood() ? findSection(*reader.getStream(), name) : std::nullopt;
    }
};

std::unique_ptr<FS_ReaderStream> enter(Container& container, std::string_view name) {
    if (container.carriesFilters()) {
        const FS_IndexFile index(container.outermost.c_str());
        return std::unique_ptr<FS_ReaderStream>(index.getSectionStream(std::string(name).c_str()));
    }
    const auto place = container.find(name);
    if (!place) return nullptr;
    std::unique_ptr<FS_ReaderStream> section(
        container.reader.shareDataAndGetSubstream(place->offset, place->size, place->size, nullptr));
    if (section) section->setModTime(place->modTime);
    return section;
}

// Opens what FS_IndexFile would read its table from. The reader has no stream where a level is missing.
Container openContainer(std::string_view path) {
    UT_String absolute(path);
    UTmakeAbsoluteFilePath(absolute, nullptr);
    if (absolute.isEmpty()) return {};
    const std::string_view whole = absolute.view();
    std::size_t mark = whole.find('?');
    Container container{FS_Reader(), std::string(whole.substr(0, mark))};
    container.reader = FS_Reader(container.outermost.c_str());
    while (mark != std::string_view::npos) {
        const std::size_t begin = mark + 1;
        mark = whole.find('?', begin);
        auto section = enter(container, whole.substr(begin, mark - begin));
        if (!section) return {};
        container.reader = FS_Reader(section.release());
    }
    return container;
}

}  // namespace

std::unique_ptr<FS_ReaderStream> openSection(std::string_view container, std::string_view name) {
    Container open = openContainer(container);
    return enter(open, name);
}

std::optional<SectionFacts> lookUpSection(std::string_view container, std::string_view name) {
    Container open = openContainer(container);
    if (open.carriesFilters()) {
        const FS_IndexFile index(open.outermost.c_str());
        const std::string text(name);
        if (!index.hasSection(text.c_str())) return std::nullopt;
        return SectionFacts{index.getSectionDataSize(text.c_str()), index.getSectionModTime(text.c_str())};
    }
    const auto place = open.find(name);
    if (!place) return std::nullopt;
    return SectionFacts{place->size, place->modTime};
}

std::unique_ptr<FS_IndexFile> openIndexFile(std::string_view path) {
    const Container open = openContainer(path);
    if (open.carriesFilters()) return std::make_unique<FS_IndexFile>(open.outermost.c_str());
    return std::make_unique<FS_IndexFile>(new FS_Reader(open.reader));
}
