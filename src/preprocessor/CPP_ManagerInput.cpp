// Finding and opening files, raw lines from the stack of open files, and the lines in which the preprocessor speaks.
#include <UT/UT_Path.h>
#include <UT/UT_PathSearch.h>
#include <preprocessor/CPP_ManagerWork.h>
#include <preprocessor/Words.h>

namespace {

constexpr std::size_t kMostIncludeName = 4096;

// The name in an operand of #include, which may stand in double quotes or in <>.
std::string_view nameIn(std::string_view operand, bool endsAtSpace) {
    if (operand.starts_with('"') || operand.starts_with('<')) {
        const char close = operand[0] == '"' ? '"' : '>';
        operand.remove_prefix(1);
        return operand.substr(0, operand.find(close));
    }
    return endsAtSpace ? cppwords::firstWord(operand, operand.npos) : operand;
}

}  // namespace

bool CPP_Manager::Work::isReadable(const std::string& path) {
    const auto known = readable_.find(path);
    if (known != readable_.end()) return known->second;
    remember(path.size());
    return readable_[path] = UTaccess(path.c_str(), 4) >= 0;
}

const std::string& CPP_Manager::Work::search(const UT_PathSearch& path, const std::string& name) {
    const auto known = found_.find(name);
    if (known != found_.end()) return known->second;
    UT_String result;
    path.findFile(result, name.c_str());
    remember(name.size() + result.view().size());
    return found_[name] = result.view();
}

// Makes room for an answer about so many characters: a text may name files without end.
void CPP_Manager::Work::remember(std::size_t characters) {
    constexpr std::size_t kEntry = 128, kMost = std::size_t{4} << 20;
    if (remembered_ > kMost) forgetFiles();
    remembered_ += kEntry + characters;
}

int CPP_Manager::open(const char* name, int search) {
    if (!name) return 0;
    if (CPP_Stream::isStdin(name)) {
        auto file = std::make_unique<CPP_File>();
        if (file->open(name, allocStream())) return push(std::move(file));
    }
    return openFile(name, search != 0);
}

int CPP_Manager::open(UT_IStream& source, const char* name) {
    auto file = std::make_unique<CPP_File>();
    return file->open(source, allocStream(), name) && push(std::move(file));
}

int CPP_Manager::open(std::FILE* source, const char* name) {
    auto file = std::make_unique<CPP_File>();
    return file->open(source, allocStream(), name) && push(std::move(file));
}

int CPP_Manager::close() {
    while (!files.isEmpty()) {
        CPP_File* const file = files.last();
        files.removeAt(files.entries() - 1);
        file->bumpRefCount(-1);
    }
    return 1;
}

// Makes a file the one being read; its marker comes before its first line. True.
bool CPP_Manager::push(std::unique_ptr<CPP_File> file) {
    if (files.isEmpty()) {
        work_->forgetFiles();
        work_->included = 0;
        work_->expansion.restart();
    } else if (pendingIsSource && !pendingLine.isEmpty()) {
        // A line that waits behind its marker belongs to the file that was read so far, and comes when that goes on.
        files.last()->ungetLine(pendingLine.view());
        pendingLine.clear();
    }
    files.append(file.get());
    file->bumpRefCount(1);
    const CPP_File& pushed = *file.release();
    if (flags & CPP_LINE_MARKERS) {
        UT_WorkBuffer marker;
        makeMarker(marker, 1, pushed);
        pendingLine = marker.view();
        pendingIsSource = false;
    }
    return true;
}

// Opens a file by the operand of an #include, or by a path where it isn't searched for.
bool CPP_Manager::openFile(std::string_view operand, bool search) {
    if (files.isEmpty()) work_->forgetFiles();
    const std::string path = findFile(operand, search);
    if (path.empty()) return false;
    auto file = std::make_unique<CPP_File>();
    return file->open(path.c_str(), allocStream()) && push(std::move(file));
}

// The path of a file, empty if it isn't found: as it stands if it says where it is, beside the including file, along
// the search path.
std::string CPP_Manager::findFile(std::string_view operand, bool search) {
    operand = cppwords::skipSpace(operand);
    const std::string name(nameIn(operand, (flags & CPP_OLD_INCLUDES) != 0));
    if (!search || name.empty()) return name;
    if (name.size() > kMostIncludeName) return {};
    if (UTfullPathSpecified(name.c_str()) && work_->isReadable(name)) return name;
    if (!files.isEmpty() && !operand.starts_with('<')) {
        const char* const directory = files.last()->getLastPath();
        const bool isHere = !directory || std::string_view(directory) == ".";
        const std::string beside = isHere ? name : directory + ("/" + name);
        if (work_->isReadable(beside)) return beside;
    }
    return work_->search(*searchPath, name);
}

// The next line before anything is done to it, or one that is to be delivered as it is.
CPP_Manager::RawLine CPP_Manager::getRawLine(UT_WorkBuffer& line) {
    line.clear();
    if (flags & CPP_STOPPED) return RawLine::None;
    if (!pendingLine.isEmpty()) {
        line.assign(pendingLine.view());
        pendingLine.clear();
        return pendingIsSource ? RawLine::Source : RawLine::Ready;
    }
    bool fileEnded = false;
    CPP_File* file = files.last();
    while (file && !file->getLine(line)) {
        fileEnded = true;
        endFile(line);
        if (!line.isEmpty()) return RawLine::Ready;
        file = files.last();
    }
    if (!file) return RawLine::None;
    if (file->isCrypted()) crypted = 1;
    work_->expansion.allowFor(line.view());
    if (!fileEnded || !(flags & CPP_LINE_MARKERS)) return RawLine::Source;
    // The including file goes on: the marker goes first, the line follows on the next call.
    pendingLine = line.view();
    pendingIsSource = true;
    makeMarker(line, file->getLineNumber(), *file);
    return RawLine::Ready;
}

// Takes the file that was read to its end off the stack. `line` is an error if a conditional is open in it, else empty.
void CPP_Manager::endFile(UT_WorkBuffer& line) {
    CPP_File* const file = files.last();
    line.clear();
    if (!file->isIfMatched()) makeError(line, file, "Missing #endif", "error");
    files.removeAt(files.entries() - 1);
    file->bumpRefCount(-1);
}

// Replaces `out` by a marker: the line behind it is that of the number in the file.
void CPP_Manager::makeMarker(UT_WorkBuffer& out, int lineNumber, const CPP_File& file) {
    out.sprintf("# %d \"%s\"\n", lineNumber, file.getName());
}

// Replaces `out` by an error or warning line, which ends in a newline only if the message does.
void CPP_Manager::makeError(UT_WorkBuffer& out, const CPP_File* file, std::string_view message, const char* kind) {
    UT_WorkBuffer line;
    line.sprintf("# %s cpp %s: ", kind, kind);
    if (file) {
        UT_WorkBuffer place;
        place.sprintf("\"%s\":%d ", file->getName(), file->getLineNumber());
        line.append(place.view());
    }
    line.append(message);
    out = std::move(line);
    if (std::string_view(kind) == "error") errorSeen = true;
}

void CPP_Manager::addBlankLine() {
    if (!files.isEmpty()) blankLines = 1;
}
