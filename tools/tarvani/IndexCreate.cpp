// index create: files and directories into a new container.
#include <UT/UT_FileUtil.h>
#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
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

class Packer {
public:
    Packer(FS_IndexFile& index, const LibraryPath& target) : index_(index) {
        // A container that isn't there yet can't be found among the files.
        if (target.isLocal) target_ = identify(target.file);
    }

    void add(const std::string& path) {
        // Most names are files: whether one is a directory is asked when it proves to be none.
        UT_String reason;
        if (addFile(path, reason)) return;
        const LibraryPath parts(path);
        if (!parts.isLocal || !UTisValidDirectory(parts.file.c_str()))
            throw Failure{path,
                          FS_Reader(path.c_str()).isGood() ? reasonFor(path, reason.view()) : whyUnreadable(path)};
        std::vector<FileId> above;
        std::vector<std::string> files;
        findFiles(path, above, files);
        std::sort(files.begin(), files.end());
        for (const std::string& file : files)
            if (!addFile(file, reason)) throw Failure{file, reasonFor(file, reason.view())};
    }

    void addListed(Source& source) {
        std::string rest;
        for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
            for (std::size_t end; (end = piece.find('\n')) != std::string_view::npos; piece.remove_prefix(end + 1)) {
                rest += piece.substr(0, end);
                if (!rest.empty()) add(rest);
                rest.clear();
            }
            rest += piece;
        }
        if (!rest.empty()) add(rest);
    }

private:
    bool addFile(const std::string& path, UT_String& reason) {
        if (path.find('?') != std::string::npos)
            throw Failure{path, "a section can't have a name with \"?\", which no path could reach"};
        if (target_ && identify(path) == target_) throw Failure{path, "is the container that is being made"};
        return index_.linkSection(path.c_str(), path.c_str(), &reason);
    }

    FS_IndexFile& index_;
    std::optional<FileId> target_;
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
    FS_IndexFile index;
    if (!request.description->empty()) index.setDescription(request.description->front().c_str());
    Packer packer(index, LibraryPath(target));
    for (const std::string& path : *request.paths) packer.add(path);
    if (list) packer.addListed(*list);
    try {
        saveContainer(index, target);
    } catch (const Failure& failure) {
        throw Failure{failure.path == target ? file : failure.path, failure.reason};
    }
    return 0;
}

}  // namespace

Action declareIndexCreate(CLI::App& app) {
    Request request;
    request.description = addOptionalText(app, "-d TEXT", "the description of the container");
    request.directory = addOptionalText(app, "-C DIR", "go to this directory for the files");
    request.list = addOptionalText(app, "--files-from LIST",
                                   "more files, one name a line, behind the others; \"-\" is standard input");
    request.file = addText(app, "FILE", "the container; one that is there is replaced");
    request.paths = addTexts(app, "FILE_OR_DIR", 0,
                             "a file becomes a section of the name that is given here, with its time; a directory "
                             "stands for the files in it and below it, sorted");
    return [=] { return create(request); };
}
