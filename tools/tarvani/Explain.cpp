#include "Explain.h"

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_HttpReadHelper.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "Console.h"
#include "LibraryPath.h"

namespace {

// How many names, and how much of each, a line on a missing section shows.
constexpr int kMostNames = 8;
constexpr int kLongestName = 40;

std::string sectionCount(int count) {
    return count == 0 ? "no sections" : std::to_string(count) + (count == 1 ? " section" : " sections");
}

// Why a container can't be read as one, for a path that can be read.
std::string containerFault(const std::string& path) {
    FS_Reader reader(path.c_str());
    UT_IStream* const in = reader.isGood() ? reader.getStream() : nullptr;
    if (!in) return "can't be read";
    constexpr std::string_view kMagic = "INDX";
    char magic[kMagic.size()];
    const int got = in->bread(magic, static_cast<int>(sizeof(magic)));
    if (got == 0) return "not a container: it is empty";
    if (std::string_view(magic, static_cast<std::size_t>(got)) != kMagic) return "not a container";
    int version = 0;
    if (in->bread(&version, 1) != 1) return "damaged container: it ends in its header";
    if (version > 0)
        return "container of a newer version (" + std::to_string(version) + "); this program reads version 0";
    UT_String description;
    int count = 0;
    if (!in->readBinaryString(description, UT_ISTREAM_RLE32) || in->bread(&count, 1) != 1)
        return "damaged container: it ends in its header";
    if (count > 0 && FS_IndexFile(path.c_str()).getNumSections() == 0)
        return "damaged container: the table of its " + sectionCount(count) + " can't be read whole";
    return {};
}

// Why nothing is there by the name of a local file: `words`, or that it is an address such as "https://host".
std::string missing(const std::string& file, const std::string& words) {
    const std::size_t colon = file.find("://");
    if (colon == std::string::npos || file.find('/') < colon) return words;
    return "nothing serves addresses that begin with \"" + file.substr(0, colon + 1) + "\"";
}

// Why the outer file of a path can't be read.
std::string fileFault(const LibraryPath& path) {
    if (path.outer.empty()) return "an empty path names nothing";
    if (!path.isLocal) {
        const std::string fault = FS_HttpReadHelper::getErrorText(path.outer.c_str());
        if (!fault.empty()) return fault;
        return FS_Reader(path.outer.c_str()).isGood() ? "" : "can't be opened";
    }
    struct stat status {};
    if (::stat(path.file.c_str(), &status) != 0)
        return errno == ENOENT ? missing(path.file, errorWords(ENOENT)) : errorWords(errno);
    if (S_ISDIR(status.st_mode)) return errorWords(EISDIR);
    if (::access(path.file.c_str(), R_OK) != 0) return errorWords(errno);
    return {};
}

std::string parentOf(const std::string& file) {
    const std::size_t end = file.find_last_not_of('/');
    const std::size_t slash = end == std::string::npos ? end : file.rfind('/', end);
    if (slash == std::string::npos) return file.starts_with('/') ? "/" : ".";
    return slash == 0 ? "/" : file.substr(0, slash);
}

// What stands against making a new file.
std::string newFileFault(const std::string& file) {
    const std::string parent = parentOf(file);
    struct stat status {};
    if (::stat(parent.c_str(), &status) != 0)
        return errno == ENOENT ? missing(file, "no directory \"" + parent + "\"; make it first")
                               : parent + ": " + errorWords(errno);
    if (!S_ISDIR(status.st_mode)) return parent + ": " + errorWords(ENOTDIR);
    if (file.ends_with('/')) return "no directory \"" + file + "\", and a file name is needed";
    if (::lstat(file.c_str(), &status) == 0) return {};  // a link that leads nowhere yet
    if (::access(parent.c_str(), W_OK | X_OK) != 0) return parent + ": " + errorWords(errno) + " to make a file in it";
    return {};
}

std::string at(const std::string& level, const std::string& fault) {
    return (level.empty() ? "\"\"" : level) + ": " + fault;
}

// What stands against putting a section into the container that the outer file is.
std::string sectionFault(const LibraryPath& path) {
    for (std::size_t i = 0; i < path.sections.size(); ++i) {
        const std::string& name = path.sections[i];
        if (name.empty()) return "a section needs a name behind \"?\"";
        const std::string container = path.level(i);
        if (const std::string fault = containerFault(container); !fault.empty())
            return at(container, fault + "; it stays as it is");
        if (i + 1 == path.sections.size()) break;
        const FS_IndexFile index(container.c_str());
        if (index.getSectionDataSize(name.c_str()) == 0) break;  // new from here on, or an empty one to be filled
    }
    return {};
}

}  // namespace

std::string noSection(const FS_IndexFile& index, const std::string& name) {
    const int count = index.getNumSections();
    std::string text = "no section \"" + name + "\" (" + sectionCount(count);
    for (int i = 0; i < count && i < kMostNames; ++i) {
        UT_String shown(index.getSectionName(i), 1);
        shown.truncateMiddle(kLongestName);
        text += i == 0 ? ": " : ", ";
        text += shown.isEmpty() ? "\"\"" : shown.view();
    }
    return text + (count > kMostNames ? ", ...)" : ")");
}

std::string whyUnreadable(const std::string& text) {
    const LibraryPath path(text);
    if (const std::string fault = fileFault(path); !fault.empty()) {
        if (path.sections.empty() || text.empty()) return fault;
        const bool isName = ::access(text.c_str(), F_OK) == 0;
        return at(path.outer, fault) +
               (isName ? "; \"?\" begins a section, so no path leads to the file of that name" : "");
    }
    for (std::size_t i = 0; i < path.sections.size(); ++i) {
        const std::string container = path.level(i);
        if (const std::string fault = containerFault(container); !fault.empty()) return at(container, fault);
        const FS_IndexFile index(container.c_str());
        if (index.hasSection(path.sections[i].c_str())) continue;
        const std::string fault = noSection(index, path.sections[i]);
        return i + 1 == path.sections.size() ? fault : at(container, fault);
    }
    return "can't be read";
}

std::string whyNoContainer(const std::string& path) {
    return FS_Reader(path.c_str()).isGood() ? containerFault(path) : whyUnreadable(path);
}

std::string whyUnwritable(const std::string& text) {
    const LibraryPath path(text);
    if (path.outer.empty()) return "an empty path names nothing";
    const bool plain = path.sections.empty();
    if (!path.isLocal) {
        // Only what serves the prefix can tell, and of what isn't there yet nobody can.
        const FS_Info info(path.outer.c_str());
        if (!info.hasAccess(0) || info.hasAccess(2)) return {};
        return onlyRead(path);
    }
    struct stat status {};
    if (::stat(path.file.c_str(), &status) != 0) {
        const std::string fault = errno == ENOENT ? newFileFault(path.file) : errorWords(errno);
        if (!fault.empty()) return fault;
        for (const std::string& name : path.sections)
            if (name.empty()) return "a section needs a name behind \"?\"";
        return {};
    }
    if (S_ISDIR(status.st_mode))
        return plain ? errorWords(EISDIR) + "; give the name of a file in it" : at(path.outer, errorWords(EISDIR));
    if (::access(path.file.c_str(), W_OK) != 0)
        return plain ? errorWords(errno) : at(path.outer, errorWords(errno) + " to write it");
    if (plain || status.st_size == 0) return {};
    return sectionFault(path);
}

std::string onlyRead(const LibraryPath& path) {
    const std::string fault = "can only be read; write to a file or a section";
    return path.sections.empty() ? fault : at(path.outer, fault);
}

std::unique_ptr<FS_IndexFile> openContainer(const std::string& path) {
    auto index = std::make_unique<FS_IndexFile>(path.c_str());
    if (index->getNumSections() == 0)
        if (const std::string fault = whyNoContainer(path); !fault.empty()) throw Failure{path, fault};
    return index;
}
