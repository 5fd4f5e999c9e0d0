// cat, cp and rm.
#include <UT/UT_FileUtil.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Info.h>
#include <stream/FS_Writer.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <ostream>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "Interrupt.h"
#include "LibraryPath.h"
#include "Save.h"
#include "Source.h"

namespace {

// A file whose end moves on as it is read has no end.
void refuseOwnOutput(const std::string& path) {
    const LibraryPath source(path);
    struct stat in {
    }, out{};
    if (!source.isLocal || ::fstat(STDOUT_FILENO, &out) != 0 || !S_ISREG(out.st_mode)) return;
    if (::stat(source.file.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
        throw Failure{path, "is the file that standard output goes to"};
}

void copyToOutput(const std::string& path) {
    Source source(path);
    if (path != "-") refuseOwnOutput(path);
    Progress progress(source.name(), source.length(), ::isatty(STDOUT_FILENO) == 0);
    for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
        standardOutput().write(piece);
        // A person who types, or a program at the other end of a pipe, gets an answer at once.
        if (path == "-") standardOutput().flush();
        progress.advance(piece.size());
    }
}

bool isRegularFile(const std::string& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Where cp writes to: it knows what a failure leaves behind.
class Destination {
public:
    explicit Destination(const std::string& path) : path_(path), parts_(path), writer_(path.c_str()) {
        if (!canGoOn()) throw failed();
        if (parts_.isLocal && parts_.sections.empty() && isRegularFile(parts_.file)) incomplete_.emplace(path);
    }

    // Half a source must never pass for a whole section, whatever ended the copy.
    ~Destination() { abandon(); }
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    void write(std::string_view bytes) {
        writer_.getStream()->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!canGoOn()) throw failed();
    }
    void finish() {
        UT_String reason;
        if (!writer_.finish(&reason)) throw failed(reason);
    }
    // Gives up what has been written, unless that is finished. Says what is left behind.
    std::string abandon() {
        if (writer_.getStream()) writer_.getStream()->setstate(std::ios::badbit);
        writer_.finish();
        return incomplete_ ? "; " + path_ + " is incomplete" : "";
    }

private:
    bool canGoOn() const { return writer_.getStream() && !writer_.getStream()->fail(); }
    Failure failed() {
        UT_String reason;
        writer_.finish(&reason);
        return failed(reason);
    }
    Failure failed(const UT_String& reason) const {
        return {path_, reasonFor(path_, reason.view()) + (incomplete_ ? "; the file is incomplete" : "")};
    }

    std::string path_;
    LibraryPath parts_;
    FS_Writer writer_;
    std::optional<IncompleteFile> incomplete_;  // a file that stands half-written until the end
};

void copy(const std::string& from, const std::string& to) {
    if (to == "-") return copyToOutput(from);
    // Everything that can be known before is asked before: opening a file for writing empties it.
    Source source(from);
    if (from != "-") refuseOverlap(from, to);
    if (const std::string fault = whyUnwritable(to); !fault.empty()) throw Failure{to, fault};

    Destination destination(to);
    Progress progress(to, source.length(), true);
    try {
        for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
            destination.write(piece);
            progress.advance(piece.size());
        }
    } catch (Failure& failure) {
        if (failure.path == source.name()) failure.reason += destination.abandon();
        throw;
    }
    destination.finish();
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
     "tarvani cat scene.idx?geo\n"
     "tarvani cat header.txt - < body.txt",
     declareCat},
    {"cp", "Copy a file or a section to a file or a section",
     "tarvani cp new.geo 'scene.idx?geo'      put a file into a container, which is made if it isn't there\n"
     "tarvani cp 'scene.idx?geo' geo.txt      take it out\n"
     "make-it | tarvani cp - 'scene.idx?a?b'  sections nest",
     declareCp},
    {"rm", "Remove files or sections", "tarvani rm old.txt 'scene.idx?geo'", declareRm},
};

}  // namespace

const std::span<const Subcommand> kStreamCommands = kCommands;
