// Output lines: comments go, directives are carried out, text is expanded.
#include <UT/TextScan.h>
#include <UT/UT_Tarvani.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_Version.h>
#include <preprocessor/CPP_ManagerWork.h>
#include <preprocessor/TextBlocks.h>
#include <preprocessor/Words.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <utility>

// Those up to Elif are carried out wherever they stand, the others where lines are live.
enum class CPP_Manager::Directive {
    Ifdef,
    Ifndef,
    Else,
    Endif,
    If,
    Elif,
    Define,
    Undef,
    Include,
    Sinclude,
    Line,
    Passed,
    Unknown
};

CPP_Manager::Directive CPP_Manager::directiveOf(std::string_view word) {
    static constexpr std::pair<std::string_view, Directive> kDirectives[] = {
        {"ifdef", Directive::Ifdef},       {"ifndef", Directive::Ifndef}, {"else", Directive::Else},
        {"endif", Directive::Endif},       {"if", Directive::If},         {"elif", Directive::Elif},
        {"define", Directive::Define},     {"undef", Directive::Undef},   {"include", Directive::Include},
        {"sinclude", Directive::Sinclude}, {"line", Directive::Line},     {"pragma", Directive::Passed},
        {"ident", Directive::Passed},
    };
    for (const auto& [name, directive] : kDirectives) {
        if (name == word) return directive;
    }
    return Directive::Unknown;
}

namespace {

using cppwords::skipSpace;

constexpr std::size_t kMostDirective = 31;  // characters of a directive's word
constexpr int kHighest = std::numeric_limits<int>::max();

#define TARVANI_TEXT_OF(number) #number
#define TARVANI_VERSION_OF(major, minor, patch) \
    TARVANI_TEXT_OF(major) "." TARVANI_TEXT_OF(minor) "." TARVANI_TEXT_OF(patch)
constexpr char kVersion[] = TARVANI_VERSION_OF(TARVANI_VERSION_MAJOR, TARVANI_VERSION_MINOR, TARVANI_VERSION_PATCH);
#undef TARVANI_VERSION_OF
#undef TARVANI_TEXT_OF

// A directive that the environment control has expanded before it is read. Only the beginning of the word counts.
bool isExpandedDirective(std::string_view text) {
    return text.starts_with("include") || text.starts_with("sinclude") || text.starts_with("pragma");
}

bool isOldInclude(std::string_view text) {
    for (const std::string_view word : {"include", "sinclude"}) {
        if (text.starts_with(word) && text.size() > word.size() && textscan::isSpace(text[word.size()])) return true;
    }
    return false;
}

// Values of the variables in the operand of an include.
const char* includeVariable(const char* name, void*) {
    return std::string_view(name) == "__TVERSION__" ? kVersion : TarvaniGetenv(name);
}

// The first character from `at` on that taking comments and carriage returns out of a line has to look at, the length
// of the text if there is none.
std::size_t nextStop(std::string_view text, std::size_t at) {
    return textblocks::firstOf(text, at,
                               [](auto c) { return (c == '/') | (c == '"') | (c == '\'') | (c == '#') | (c == '\r'); });
}

// Makes blanks of the carriage returns between `at` and `end`.
void blankCarriageReturns(UT_WorkBuffer& line, std::size_t at, std::size_t end) {
    const std::string_view text = line.view().substr(0, end);
    at = text.find('\r', at);
    for (; at != text.npos; at = text.find('\r', at + 1)) line.fill(at, 1, ' ');
}

// The place behind the text in quotes that begins at `at`, in which carriage returns become blanks; behind the quote
// alone if nothing closes it. `unclosed` then keeps that no later quote of the kind closes either: a line of a thousand
// is searched once.
std::size_t passQuoted(UT_WorkBuffer& line, std::size_t at, bool& unclosed) {
    const std::string_view text = line.view();
    const std::size_t close =
        unclosed ? text.npos : textscan::closingQuote(text, at, textscan::QuoteRule::NotBehindBackslash);
    unclosed = close == text.npos;
    const std::size_t end = unclosed ? at + 1 : close + 1;
    blankCarriageReturns(line, at, end);
    return end;
}

// Ends a line at `length`, with `lineEnd` in the place of the rest.
void cut(UT_WorkBuffer& line, std::size_t length, const char* lineEnd) {
    line.truncate(static_cast<int>(length));
    line.append(lineEnd);
}

}  // namespace

int CPP_Manager::getLine(UT_String& line) {
    std::string_view text;
    const int given = getLine(text);
    line = text;
    return given;
}

int CPP_Manager::getLine(std::string_view& line) {
    UT_WorkBuffer& buffer = work_->line;
    int given = 1;
    if (blankLines > 0) {
        --blankLines;
        buffer.assign("\n");
    } else {
        const RawLine raw = getRawLine(buffer);
        given = raw != RawLine::None;
        if (raw == RawLine::Source) expandLine(buffer);
    }
    line = buffer.view();
    return given;
}

// Replaces a raw line by its output line.
void CPP_Manager::expandLine(UT_WorkBuffer& line) {
    const std::size_t stop = flags & CPP_IN_COMMENT ? 0 : nextStop(line.view(), 0);
    if (stop < line.view().size()) stripComments(line, stop);
    const std::string_view text = line.view();
    const std::size_t first = cppwords::spaceEnd(text, 0);
    if (first == text.size()) return line.assign("\n");
    if ((flags & CPP_OLD_INCLUDES) && isOldInclude(text.substr(first))) {
        std::fprintf(stderr, "CPP Warning:  old style include detected %s:%d\n", getFileName(), getLineNumber());
        processCommand(text.substr(first), work_->output);
    } else if (text[first] != '#') {
        return expandText(line);
    } else if ((flags & CPP_HASH_COMMENTS) && first > 0) {
        return line.assign("\n");
    } else {
        processCommand(text.substr(first + 1), work_->output);
    }
    line.swap(work_->output);
}

// Replaces a line of text by what its macros make of it. One that fails ends the preprocessor.
void CPP_Manager::expandText(UT_WorkBuffer& line) {
    const FileHold file(files.last());
    if (!file.isLive()) return line.assign("\n");
    const Expansion::Result result = work_->expansion.run(file.get(), line.view(), work_->output, recursionLimit);
    if (result == Expansion::Result::Unchanged) return;
    line.swap(work_->output);
    if (result == Expansion::Result::Expanded) return;
    makeError(line, file.get(), line.view(), "error");
    flags |= CPP_STOPPED;
}

// Takes the comments and the carriage returns out of a line from `at` on, in front of which there are none. A block
// comment leaves blanks, so that the columns behind it stay, and may go on in the next line. Text in quotes keeps what
// looks like a comment.
void CPP_Manager::stripComments(UT_WorkBuffer& line, std::size_t at) {
    const std::string_view text = line.view();
    const bool strips = (flags & CPP_STRIP_COMMENTS) != 0;
    const bool stripsC = strips && !(flags & CPP_NO_C_COMMENTS);
    const bool stripsHash = strips && (flags & CPP_HASH_COMMENTS) && !text.starts_with('#');
    const bool mayHold = (stripsC && (text[at] == '/' || text.find('/', at) != text.npos)) ||
                         (stripsHash && text.find('#', at) != text.npos);
    if (!mayHold && !(flags & CPP_IN_COMMENT)) return blankCarriageReturns(line, at, text.size());

    if (flags & CPP_IN_COMMENT) {
        if (!passComment(line, at)) return;
        at = nextStop(text, at);
    }
    bool unclosed[2] = {};  // for each kind of quote
    for (; at < text.size(); at = nextStop(text, at)) {
        const char c = text[at];
        const bool isC = stripsC && c == '/';
        if (cppwords::kindOf(c) == cppwords::Kind::Quote) {
            at = passQuoted(line, at, unclosed[c == '"']);
        } else if (c == '\r') {
            line.fill(at++, 1, ' ');
        } else if (stripsHash && c == '#') {
            return cut(line, at, "");
        } else if (isC && text.substr(at + 1).starts_with('/')) {
            return cut(line, at, "\n");
        } else if (isC && text.substr(at + 1).starts_with('*')) {
            line.fill(at, 2, ' ');
            at += 2;
            if (!passComment(line, at)) return;
        } else {
            ++at;
        }
    }
}

// Makes blanks of a block comment from `at` on, its opening not counted, and moves `at` behind it. False if the line
// ends first; then the comment stays open.
bool CPP_Manager::passComment(UT_WorkBuffer& line, std::size_t& at) {
    const std::string_view text = line.view();
    flags |= CPP_IN_COMMENT;
    if (at == text.size()) return false;  // without a newline, and stays so
    const std::size_t close = text.find("*/", at);
    if (close == text.npos) {
        cut(line, at, "\n");
        return false;
    }
    line.fill(at, close + 2 - at, ' ');
    flags &= ~CPP_IN_COMMENT;
    at = close + 2;
    return true;
}

// Carries a directive out. `text` begins behind the `#` and runs to the end of its buffer, so that a NUL ends it. `out`
// becomes the output line.
void CPP_Manager::processCommand(std::string_view text, UT_WorkBuffer& out) {
    out.assign("\n");
    if ((flags & CPP_EXPAND_DIRECTIVES) && isExpandedDirective(text) && !expandDirective(text, out)) return;
    if ((flags & CPP_HASH_COMMENTS) && !text.empty() && textscan::isSpace(text[0])) return;
    text = skipSpace(text);
    const std::string_view word = cppwords::firstWord(text, kMostDirective);
    const std::string_view operand = skipSpace(text.substr(word.size()));
    const Directive directive = directiveOf(word);
    const FileHold file(files.last());
    if (directive <= Directive::Elif) {
        if (file) processConditional(directive, operand, *file, out);
        return;
    }
    if (!file.isLive()) return;
    switch (directive) {
        case Directive::Define:
            defineMacro(operand.data(), out, 0);
            break;
        case Directive::Undef:
            destroyMacro(operand);
            break;
        case Directive::Include:
        case Directive::Sinclude:
            doInclude(operand, out, directive == Directive::Sinclude);
            break;
        case Directive::Line:
            if (file) setLine(operand, *file, out);
            break;
        default:
            if (flags & CPP_HASH_COMMENTS) break;
            if (directive == Directive::Passed) {
                out.assign("#");
                out.append(text);
            } else {
                UT_WorkBuffer message;
                message.append("Undefined directive \"");
                message.append(word);
                message.append("\"\n");
                makeDirectiveError(out, message.view());
            }
    }
}

// Expands the macros of a directive, which `text` is then. False if that failed; `out` is then an error line if the
// directive is live.
bool CPP_Manager::expandDirective(std::string_view& text, UT_WorkBuffer& out) {
    const FileHold file(files.last());
    UT_WorkBuffer& expanded = work_->directive;
    const Expansion::Result result = work_->expansion.run(file.get(), text, expanded, kRecursionLimit);
    if (result == Expansion::Result::Expanded) text = expanded.view();
    if (result != Expansion::Result::Failed) return true;
    if (file.isLive()) {
        makeError(out, file.get(), expanded.view(), "error");
        // One more than the call has taken lines.
        if (!files.isEmpty()) ++blankLines;
    }
    return false;
}

// The directives that are carried out also where lines are not live.
void CPP_Manager::processConditional(Directive directive, std::string_view operand, CPP_File& file,
                                     UT_WorkBuffer& out) {
    switch (directive) {
        case Directive::Ifdef:
            file.ifDef(isDefined(operand));
            break;
        case Directive::Ifndef:
            file.ifDef(!isDefined(operand));
            break;
        case Directive::Else:
            file.elseDef(1);
            break;
        case Directive::Endif:
            file.endIf();
            break;
        case Directive::If: {
            const int value = file.getIfState() ? expression(operand) : CPP_IF_DONE;
            if (value < 0) return makeDirectiveError(out, "#if syntax error");
            file.ifDef(value);
            break;
        }
        default: {
            const int value = expression(operand);
            if (value < 0) return makeDirectiveError(out, "#elif syntax error");
            file.elifDef(value);
        }
    }
}

void CPP_Manager::doInclude(std::string_view operand, UT_WorkBuffer& out, bool silent) {
    UT_WorkBuffer expanded;
    if (flags & CPP_EXPAND_INCLUDE_NAMES) {
        UTVariableScan(expanded, operand.data(), includeVariable, nullptr, true, true);
        operand = expanded.view();
    }
    if (work_->included < Work::kMostIncluded && openFile(operand, true)) {
        ++work_->included;
        return;
    }
    if (silent) return;
    UT_WorkBuffer message;
    message.append("Unable to include ");
    message.append(operand);
    makeDirectiveError(out, message.view());
}

// The number of a line directive is that of the next line, and so is the one in its marker.
void CPP_Manager::setLine(std::string_view operand, CPP_File& file, UT_WorkBuffer& out) {
    file.lineDirective(operand.data());
    if (!operand.empty()) file.setLineNumber(std::max(file.getLineNumber(), -kHighest) - 1);
    if (flags & CPP_LINE_MARKERS) makeMarker(out, std::min(file.getLineNumber(), kHighest - 1) + 1, file);
}

// An error in a directive, which a blank line follows: the message may have no newline of its own.
void CPP_Manager::makeDirectiveError(UT_WorkBuffer& out, std::string_view message) {
    makeError(out, files.last(), message, "error");
    addBlankLine();
}
