// Raw lines of one input, joined at backslashes and counted, and the state of its open conditionals.
#include <UT/UT_IStream.h>
#include <preprocessor/CPP_File.h>
#include <preprocessor/Words.h>

#include <cstring>
#include <limits>
#include <string_view>

namespace {

// As a line counter and a counter of #else must not wrap.
void raise(int& counter) {
    if (counter < std::numeric_limits<int>::max()) ++counter;
}

enum class LineEnd { Newline, Backslash, Joins };

// Takes a backslash at the end of a line off, and tells what it means.
LineEnd takeLineEnd(UT_WorkBuffer& line) {
    if (line.last() != '\\') return LineEnd::Newline;
    line.truncate(line.length() - 1);
    return line.last() == '\\' ? LineEnd::Backslash : LineEnd::Joins;
}

}  // namespace

CPP_File::CPP_File(const CPP_File& other) {
    *this = other;
}

CPP_File& CPP_File::operator=(const CPP_File& other) {
    if (this == &other) return *this;
    // A copy that comes back to its original brings the original's own stream.
    const bool isReturned = ownsStream_ && stream == other.stream;
    if (!isReturned) close();
    stream = other.stream;
    lastPath = other.lastPath;
    lineNumber = other.lineNumber;
    ifStack = other.ifStack;
    name = other.name;
    continuedLines = other.continuedLines;
    crypted = other.crypted;
    refCount = other.refCount;
    ownsStream_ = isReturned;
    ungot_ = other.ungot_;
    return *this;
}

CPP_File::~CPP_File() {
    close();
}

bool CPP_File::adopt(CPP_Stream* source, const char* fileName) {
    if (stream) return false;
    stream = source;
    ownsStream_ = true;
    name = fileName ? fileName : "";
    setPath();
    return stream != nullptr;
}

int CPP_File::open(const char* fileName, CPP_Stream* source) {
    if (!adopt(source, fileName)) return 0;
    if (CPP_Stream::isStdin(name.buffer())) {
        stream->attachStream(CPP_Stream::getStdin());
    } else if (!name.isEmpty()) {
        stream->openPath(name.buffer());
    }
    return stream->isOpen() != 0;
}

int CPP_File::open(UT_IStream& input, CPP_Stream* source, const char* fileName) {
    if (!adopt(source, fileName)) return 0;
    stream->attachStream(&input);
    return stream->isOpen() != 0;
}

int CPP_File::open(std::FILE* input, CPP_Stream* source, const char* fileName) {
    if (!adopt(source, fileName)) return 0;
    stream->attachFile(input);
    return stream->isOpen() != 0;
}

int CPP_File::close() {
    if (ownsStream_) delete stream;
    stream = nullptr;
    return 1;
}

// The next line as it stands in the source. A NUL ends its text, whoever made it.
bool CPP_File::readSource(UT_WorkBuffer& line) {
    if (!stream->readLine(line)) return false;
    line.truncate(static_cast<int>(std::strlen(line.buffer())));
    if (stream->isCrypted()) crypted = 1;
    return true;
}

int CPP_File::getLine(UT_WorkBuffer& line) {
    if (!stream) return 0;
    if (!ungot_.isEmpty()) {
        line.assign(ungot_.view());
        ungot_.clear();
        return 1;
    }
    if (continuedLines > 0) {
        line.assign("\n");
        raise(lineNumber);
        --continuedLines;
        return 1;
    }
    // The first line is read in place: most lines are not joined.
    if (!readSource(line)) {
        line.clear();
        return 0;
    }
    const LineEnd end = takeLineEnd(line);
    if (end == LineEnd::Newline) line.append('\n');
    if (end == LineEnd::Joins && !joinFurtherLines(line)) return 0;
    raise(lineNumber);
    return 1;
}

// Appends the lines that a joined line goes on with. False if the input ends and there is no text at all.
bool CPP_File::joinFurtherLines(UT_WorkBuffer& line) {
    UT_WorkBuffer further;
    LineEnd end = LineEnd::Joins;
    while (end == LineEnd::Joins) {
        raise(continuedLines);
        if (!readSource(further)) return !line.isEmpty();
        end = takeLineEnd(further);
        line.append(further.view());
    }
    if (end == LineEnd::Newline) line.append('\n');
    return true;
}

void CPP_File::lineDirective(const char* text) {
    UT_String words(text, 1);
    char* found[3] = {};
    const int count = words.parseInPlace(found, 3);
    if (count > 0) lineNumber = cppwords::leadingNumber(found[0]);
    if (count > 1) name = found[1];
}

void CPP_File::ifDef(int state) {
    ifStack.append(getIfState() ? state : CPP_IF_DONE);
}

int CPP_File::elifDef(int state) {
    if (ifStack.isEmpty()) return 0;
    int& top = ifStack.last();
    if (top == CPP_IF_PENDING) {
        top = state == CPP_IF_PENDING || state == CPP_IF_ACTIVE ? state : CPP_IF_DONE;
    } else if (top <= CPP_IF_DONE || state != CPP_IF_ACTIVE) {
        top = CPP_IF_DONE;
    }
    return 1;
}

int CPP_File::elseDef(int state) {
    if (ifStack.isEmpty()) return 0;
    // Only the step from pending makes a branch live; a second one ends what the first one began.
    if (state != 0) raise(ifStack.last());
    return 1;
}

int CPP_File::endIf() {
    return ifStack.removeAt(std::int64_t{ifStack.entries()} - 1) >= 0;
}

void CPP_File::bumpRefCount(int delta) {
    refCount += delta;
    if (refCount <= 0) delete this;
}

void CPP_File::setPath() {
    lastPath.clear();
    const std::string_view text = name.view();
    const std::size_t slash = text.rfind('/');
    if (slash != text.npos) lastPath = text.substr(0, slash);
}
