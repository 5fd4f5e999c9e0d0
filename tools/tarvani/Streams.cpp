// cat, cp and rm.
#include <UT/UT_FileUtil.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Info.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Destination.h"
#include "Explain.h"
#include "LibraryPath.h"
#include "Save.h"
#include "Source.h"

namespace {

// The file behind a path, which "-" gives to a standard stream. False if there is none.
bool findFile(const std::string& path, int standardStream, struct stat& status) {
    if (path == "-") return ::fstat(standardStream, &status) == 0 && S_ISREG(status.st_mode);
    const LibraryPath parts(path);
    return parts.isLocal && ::stat(parts.file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Where "-" stands for one of them: a file that is read as it is written has no end, or loses what it held.
void refuseOwnStream(const std::string& from, const std::string& to) {
    struct stat in {
    }, out{};
    if (!findFile(from, STDIN_FILENO, in) || !findFile(to, STDOUT_FILENO, out)) return;
    if (in.st_dev != out.st_dev || in.st_ino != out.st_ino) return;
    if (to == "-") throw Failure{from, "is the file that standard output goes to"};
    throw Failure{to, "is the file that standard input comes from"};
}

void copyToOutput(const std::string& path) {
    Source source(path);
    refuseOwnStream(path, "-");
    Progress progress(source.name(), source.length(), ::isatty(STDOUT_FILENO) == 0);
    for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
        standardOutput().write(piece);
        // A person who types, or a program at the other end of a pipe, gets an answer at once.
        if (path == "-") standardOutput().flush();
        progress.advance(piece.size());
    }
}

void copy(const std::string& from, const std::string& to) {
    if (to == "-") return copyToOutput(from);
    // Everything that can be known before is asked before: opening a file for writing empties it.
    Source source(from);
    if (from == "-")
        refuseOwnStream(from, to);
    else
        refuseOverlap(from, to);
    source.requireWhole();
    Destination destination(to);
    destination.copyFrom(source);
}

void removeSection(const LibraryPath& path, const std::string& text) {
    const std::string container = path.level(path.sections.size() - 1);
    const std::string& name = path.sections.back();
    if (const std::string fault = whyNoContainer(container); !fault.empty())
        throw Failure{text, container + ": " + fault};
    FS_IndexFile index(container.c_str());
    if (!index.hasSection(name.c_str())) throw Failure{text, noSection(index, name)};
    if (!FS_Info(container.c_str()).hasAccess(2)) throw Failure{text, path.outer + ": " + errorWords(EACCES)};
    index.removeSection(name.c_str());
    try {
        saveContainer(index, container);
    } catch (const Failure& failure) {
        throw Failure{text, failure.path + ": " + failure.reason};
    }
}

void removeLocalFile(const LibraryPath& path, const std::string& text) {
    struct stat status {};
    if (::lstat(path.file.c_str(), &status) != 0) throw Failure{text, errorWords(errno)};
    if (S_ISDIR(status.st_mode)) throw Failure{text, errorWords(EISDIR)};
    // A link is removed, whatever may be done with the file that it leads to.
    if (!S_ISLNK(status.st_mode) && ::access(path.file.c_str(), W_OK) != 0)
        throw Failure{text, errorWords(errno) + ": it is write-protected"};
    if (UT_FileUtil::removeFile(path.file.c_str()) != 0) throw Failure{text, errorWords(errno)};
}

void remove(const std::string& text) {
    const LibraryPath path(text);
    if (path.outer.empty()) throw Failure{text, "an empty path names nothing"};
    if (!path.sections.empty()) return removeSection(path, text);
    if (!path.isLocal) throw Failure{text, "only files and sections can be removed"};
    removeLocalFile(path, text);
}

Action declareCat(CLI::App& app) {
    const auto paths = addTexts(app, "PATH", 1, "what to print; \"-\" is standard input");
    return [=] { return forEach(*paths, copyToOutput); };
}

Action declareCp(CLI::App& app) {
    const auto from = addText(app, "SOURCE", "what to copy; \"-\" is standard input");
    const auto to = addText(app, "DEST", "a file, a section, or \"-\" for standard output");
    return [=] {
        copy(*from, *to);
        return 0;
    };
}

Action declareRm(CLI::App& app) {
    const auto paths = addTexts(app, "PATH", 1, "a file or a section");
    return [=] { return forEach(*paths, remove); };
}

constexpr Subcommand kCommands[] = {
    {"cat", "Print the bytes of each path",
     "tarvani cat 'scene.idx?geo'\n"
     "tarvani cat header.txt - < body.txt",
     declareCat},
    {"cp", "Copy a file or a section to a file or a section",
     "tarvani cp new.geo 'scene.idx?geo'  # put a file into a container\n"
     "tarvani cp 'scene.idx?geo' geo.txt  # take it out\n"
     "make-it | tarvani cp - 'scene.idx?a?b'  # sections nest",
     declareCp,
     "A container that isn't there is made. The destination is opened only once the source was found readable, and a "
     "section is replaced whole or not at all."},
    {"rm", "Remove files or sections", "tarvani rm old.txt 'scene.idx?geo'", declareRm,
     "Of a link the link goes, not the file behind it. Directories and write-protected files are refused."},
};

}  // namespace

const std::span<const Subcommand> kStreamCommands = kCommands;
