// index create: files and directories into a new container.
#include <UT/UT_FileUtil.h>
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <indexfile/FS_IndexWriter.h>
#include <stream/FS_Reader.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "LibraryPath.h"
#include "Save.h"
#include "Source.h"

namespace {

namespace fs = std::filesystem;

using FileId = std::pair<dev_t, ino_t>;

std::optional<FileId> identify(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return std::nullopt;
    return FileId(status.st_dev, status.st_ino);
}

// The files below a directory, as DIRECTORY/NAME. Links are followed; `above` holds the directories on the way down, so
// that a link to one of them is noticed.
void findFiles(const std::string& directory, std::vector<FileId>& above, std::vector<std::string>& files) {
    const std::optional<FileId> id = identify(directory);
    if (!id) throw Failure{directory, errorWords(errno)};
    if (std::find(above.begin(), above.end(), *id) != above.end())
        throw Failure{directory, "leads back to a directory that holds it"};
    above.push_back(*id);
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        const std::string name =
            directory + (directory.ends_with('/') ? "" : "/") + entries->path().filename().native();
        std::error_code unknown;
        switch (entries->status(unknown).type()) {
            case fs::file_type::regular:
                files.push_back(name);
                break;
            case fs::file_type::directory:
                findFiles(name, above, files);
                break;
            case fs::file_type::not_found:
                throw Failure{name, "a link to a file that isn't there"};
            default:
                throw Failure{name, unknown ? unknown.message() : "neither a file nor a directory"};
        }
    }
    if (error) throw Failure{directory, error.message()};
    above.pop_back();
}

// Names of files, each ended by a NUL: a hundred thousand are one stretch of memory.
class Names {
public:
    void add(std::string_view name) {
        text_ += name;
        text_ += '\0';
    }
    std::int64_t count() const { return std::count(text_.begin(), text_.end(), '\0'); }
    // Makes room for so many bytes of names, where that is known; what claims to be endless gets it as it comes.
    void expect(std::int64_t bytes) {
        constexpr std::int64_t kMost = 16 * 1024 * 1024;
        text_.reserve(text_.size() + static_cast<std::size_t>(std::clamp<std::int64_t>(bytes, 0, kMost)) + 1);
    }
    // Keeps the names for which `isWanted` gives true, in place.
    template <class IsWanted>
    void keepIf(IsWanted isWanted) {
        std::size_t kept = 0;
        for (std::size_t at = 0; at < text_.size();) {
            const std::string name(text_.c_str() + at);
            at += name.size() + 1;
            if (!isWanted(name)) continue;
            name.copy(text_.data() + kept, name.size());
            kept += name.size();
            text_[kept++] = '\0';
        }
        text_.resize(kept);
    }
    // Calls `use` with each name until it gives false. False then.
    template <class Use>
    bool forEach(Use use) const {
        for (std::size_t at = 0; at < text_.size();) {
            const std::string name(text_.c_str() + at);
            if (!use(name)) return false;
            at += name.size() + 1;
        }
        return true;
    }

private:
    std::string text_;
};

bool isDirectory(const std::string& path) {
    const LibraryPath parts(path);
    return parts.isLocal && parts.sections.empty() && UTisValidDirectory(parts.file.c_str());
}

void addExpanded(const std::string& path, Names& names) {
    if (!isDirectory(path)) return names.add(path);
    std::vector<FileId> above;
    std::vector<std::string> files;
    findFiles(path, above, files);
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) names.add(file);
}

void addListed(Source& source, Names& names) {
    names.expect(source.length());
    std::string rest;
    const auto addLine = [&] {
        if (rest.find('\0') != std::string::npos)
            throw Failure{source.name(), "a list has one name a line, and this one has a NUL in it"};
        if (!rest.empty()) names.add(rest);
        rest.clear();
    };
    for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
        for (std::size_t end; (end = piece.find('\n')) != std::string_view::npos; piece.remove_prefix(end + 1)) {
            rest += piece.substr(0, end);
            addLine();
        }
        rest += piece;
    }
    addLine();
}

// The names with the files of each directory instead of it, for files that have been read already.
Names expanded(const Names& names) {
    Names result;
    names.forEach([&](const std::string& name) {
        struct stat status {};
        const LibraryPath parts(name);
        if (parts.isLocal && ::stat(parts.file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
            !S_ISDIR(status.st_mode))
            throw Failure{name, "what can be read only once can't stand in a list with directories"};
        addExpanded(name, result);
        return true;
    });
    return result;
}

class Packer {
public:
    // `shown` is the target as the user named it.
    Packer(const std::string& target, const std::string& shown, const char* description)
        : path_(target), shown_(shown), description_(description) {
        // A container that isn't there yet can't be found among the files.
        const LibraryPath parts(target);
        inOnePass_ = parts.isLocal && parts.sections.empty();
        if (parts.isLocal) target_ = identify(parts.file);
    }

    // False when one of the names proves to be a directory: whether one is isn't asked before, since nearly all are
    // files and asking costs as much as opening.
    bool pack(Names& names) const { return inOnePass_ ? packInOnePass(names) : packByModel(names); }

private:
    bool packInOnePass(Names& names) const {
        FS_IndexWriter writer(path_.c_str());
        writer.setDescription(description_);
        // A name that comes again is the same file.
        names.keepIf([&](const std::string& name) {
            refuseUnreachable(name);
            return writer.addName(name.c_str());
        });
        UT_String reason;
        Progress progress(shown_, names.count(), true, Progress::Unit::Files);
        const bool added = names.forEach([&](const std::string& file) {
            refuseTarget(file);
            if (!writer.addFile(file.c_str(), &reason)) return refuseUnlessDirectory(file, reason);
            progress.advance(1);
            return true;
        });
        if (!added) return false;
        if (!writer.finish(&reason)) throw Failure{path_, reasonFor(path_, reason.view())};
        return true;
    }

    // For what takes only a stream.
    bool packByModel(const Names& names) const {
        FS_IndexFile index;
        if (description_ != nullptr) index.setDescription(description_);
        UT_String reason;
        const bool added = names.forEach([&](const std::string& file) {
            refuseUnreachable(file);
            refuseTarget(file);
            return index.linkSection(file.c_str(), file.c_str(), &reason) || refuseUnlessDirectory(file, reason);
        });
        if (added) saveContainer(index, path_);
        return added;
    }

    static void refuseUnreachable(const std::string& name) {
        if (name.find('?') != std::string::npos)
            throw Failure{name, "a section can't have a name with \"?\", which no path could reach"};
    }
    void refuseTarget(const std::string& file) const {
        if (target_ && identify(file) == target_) throw Failure{file, "is the container that is being made"};
    }
    // Always false.
    static bool refuseUnlessDirectory(const std::string& file, const UT_String& reason) {
        if (isDirectory(file)) return false;
        throw Failure{file, FS_Reader(file.c_str()).isGood() ? reasonFor(file, reason.view()) : whyUnreadable(file)};
    }

    const std::string path_, shown_;
    const char* const description_;
    std::optional<FileId> target_;
    bool inOnePass_ = false;
};

struct Request {
    Given<std::string> file;
    Given<std::vector<std::string>> description, directory, list, paths;
};

std::string absolute(const std::string& path) {
    UT_String text(path.c_str(), 1);
    UTmakeAbsoluteFilePath(text, nullptr);
    return std::string(text.view());
}

int create(const Request& request) {
    const std::string& file = *request.file;
    if (file == "-") throw Failure{file, "a container can't be made on standard output; name a file"};
    // Asked first, so that nobody waits for a container that has no place; said by the name that the user gave it.
    if (const std::string fault = whyUnwritable(file); !fault.empty()) throw Failure{file, fault};
    const LibraryPath named(file);
    if (named.isLocal && named.sections.empty() && UT_FileUtil::getFileSize(named.file.c_str()) > 0)
        if (const std::string fault = whyNoContainer(file); !fault.empty())
            throw Failure{file, fault + "; it stays as it is"};
    // FILE and LIST are meant from here, the files from the directory of -C.
    const std::string target = absolute(file);
    std::optional<Source> list;
    if (!request.list->empty()) list.emplace(request.list->front());
    if (!request.directory->empty()) {
        const std::string& directory = request.directory->front();
        if (::chdir(directory.c_str()) != 0) throw Failure{directory, errorWords(errno)};
    }
    Names names;
    for (const std::string& path : *request.paths) addExpanded(path, names);
    if (list) addListed(*list, names);
    const Packer packer(target, file, request.description->empty() ? nullptr : request.description->front().c_str());
    try {
        if (!packer.pack(names)) {
            names = expanded(names);
            if (!packer.pack(names)) throw Failure{file, "a directory came in the place of a file"};
        }
    } catch (const Failure& failure) {
        throw Failure{failure.path == target ? file : failure.path, failure.reason};
    }
    return 0;
}

}  // namespace

Action declareIndexCreate(CLI::App& app) {
    Request request;
    request.description = addOptionalText(app, "-d,--description TEXT", "the description of the container");
    request.directory = addOptionalText(app, "-C,--directory DIR", "go to this directory for the files");
    request.list = addOptionalText(app, "--files-from LIST",
                                   "more files, one name a line, behind the others; \"-\" is standard input");
    request.file = addText(app, "FILE", "the container; one that is there is replaced");
    request.paths = addTexts(app, "FILE_OR_DIR", 0,
                             "a file becomes a section of the name that is given here, with its time; a directory "
                             "stands for the files in it and below it, sorted");
    return [=] { return create(request); };
}
