// Macros in a line, and the arguments of their calls.
#include <UT/TextScan.h>
#include <UT/UT_Date.h>
#include <preprocessor/CPP_ManagerWork.h>
#include <preprocessor/TextBlocks.h>
#include <preprocessor/Words.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>

using cppwords::Kind;
using cppwords::kindOf;
using textscan::QuoteRule;

namespace {

constexpr std::size_t kLongText = 32;  // where looking at blocks is faster than looking at characters

// The first quote, backslash, or word that begins with a capital or `_`, from `at` on.
std::size_t nextCapital(std::string_view text, std::size_t at) {
    for (;;) {
        // Between `A` and `_` lie the capitals, the backslash, and three that mean nothing.
        at = textblocks::firstOf(text, at, [](auto c) { return ((c >= 'A') & (c <= '_')) | (c == '"') | (c == '\''); });
        if (at == text.size()) return at;
        const Kind kind = kindOf(text[at]);
        if (kind == Kind::Plain) {
            ++at;
        } else if (kind == Kind::Word && !cppwords::startsAt(text, at)) {
            at = cppwords::endOf(text, at);
        } else {
            return at;
        }
    }
}

}  // namespace

CPP_Manager::Expansion::Result CPP_Manager::Expansion::run(const CPP_File* file, std::string_view line,
                                                           UT_WorkBuffer& out, int depth) {
    // Most lines are their own expansion, and for those nothing is set up.
    const std::size_t plain = passPlain(line, 0).end;
    if (plain == line.size()) return Result::Unchanged;
    limit_ = std::min(static_cast<std::size_t>(std::max(depth, 1)), kMostOpen + 1);
    made_ = 0;
    most_ = static_cast<std::size_t>(std::min<std::uint64_t>(kMostText, left_));
    held_.clear();
    out.assign(line.substr(0, plain));
    frames_.assign(1, {line.data(), 0, line.size(), plain});
    const CPP_MacroTable::Hold hold(*manager_.macros);
    bool good = true;
    while (good && !frames_.empty()) good = scan(file, out);
    left_ -= std::min<std::uint64_t>(made_, left_);
    if (good) return Result::Expanded;
    out.assign(message_.view());
    return Result::Failed;
}

// Passes over text that stays as it is, from `at` on: to a macro, to a backslash that goes, to a quote that nothing
// closes, or to the end.
CPP_Manager::Expansion::Plain CPP_Manager::Expansion::passPlain(std::string_view text, std::size_t at) const {
    const bool capitals = manager_.macros->areCapital();
    for (;;) {
        if (capitals && text.size() - at >= kLongText) {
            at = nextCapital(text, at);
        } else {
            while (at < text.size() && kindOf(text[at]) <= Kind::Digit) ++at;
        }
        if (at == text.size()) return {at, nullptr};
        if (kindOf(text[at]) == Kind::Word) {
            const std::size_t end = cppwords::endOf(text, at);
            if (const CPP_Macro* const macro = manager_.macros->find(text.substr(at, end - at))) return {at, macro};
            at = end;
        } else if (kindOf(text[at]) == Kind::Quote) {
            const std::size_t close = textscan::closingQuote(text, at, QuoteRule::BackslashPairs);
            if (close == text.npos) return {at, nullptr};
            at = close + 1;
        } else if (at + 1 < text.size() && !cppwords::isStart(text[at + 1])) {
            return {at, nullptr};
        } else {
            ++at;
        }
    }
}

// Scans the innermost text up to its end, which closes it, or to a macro, which may open another. Text that stays is
// copied in runs as long as can be.
bool CPP_Manager::Expansion::scan(const CPP_File* file, UT_WorkBuffer& out) {
    const std::string_view text = this->text();
    std::size_t at = frames_.back().position;
    std::size_t copied = at;
    const auto copyTo = [&](std::size_t end) { out.append(text.substr(copied, end - copied)); };
    for (;;) {
        const Plain plain = passPlain(text, at);
        at = plain.end;
        if (plain.macro) {
            copyTo(at);
            frames_.back().position = cppwords::endOf(text, at);
            return replace(*plain.macro, file, out);
        }
        if (at == text.size()) break;
        if (kindOf(text[at]) == Kind::Quote) return fail("Mismatched quotation marks");
        // A backslash gives its place to the character behind it. If that is another one, it does the same.
        copyTo(at);
        copied = ++at;
        if (kindOf(text[at]) != Kind::Backslash) ++at;
    }
    copyTo(at);
    held_.truncate(static_cast<int>(frames_.back().start));
    frames_.pop_back();
    return true;
}

// Puts what a macro stands for in its place: text, or a text to be scanned.
bool CPP_Manager::Expansion::replace(const CPP_Macro& macro, const CPP_File* file, UT_WorkBuffer& out) {
    if (macro.getType() != CPP_MACRO_NORMAL) return replaceBuiltIn(macro.getType(), file, out);
    const int count = macro.getArgCount();
    if (count >= 0 && !readArguments(static_cast<std::size_t>(count))) {
        message_.sprintf("Invalid arguments for macro \"%s\"", macro.getName());
        return false;
    }
    return open(macro) || fail("Macro recursion limit reached");
}

// The text of a built-in macro isn't scanned. It counts as replacement text all the same, as a file's name can be long.
bool CPP_Manager::Expansion::replaceBuiltIn(CPP_MacroType type, const CPP_File* file, UT_WorkBuffer& out) {
    const int before = out.length();
    char text[64] = "";
    switch (type) {
        case CPP_MACRO_FILE:
            out.append('"');
            out.append(file ? file->getName() : kNoFile);
            out.append('"');
            break;
        case CPP_MACRO_LINE:
            std::snprintf(text, sizeof text, "%d", file ? file->getLineNumber() : -1);
            break;
        case CPP_MACRO_DATE:
            UT_Date::dprintf(text, "\"%b %e %Y\"", std::time(nullptr));
            break;
        case CPP_MACRO_TIME:
            UT_Date::dprintf(text, "\"%T\"", std::time(nullptr));
            break;
        case CPP_MACRO_NORMAL:
            break;
    }
    out.append(text);
    made_ += static_cast<std::size_t>(out.length() - before);
    return made_ <= most_ || fail("Macro recursion limit reached");
}

// Opens the replacement text of a macro as the next one to be scanned. False if the nesting has come to its limit.
bool CPP_Manager::Expansion::open(const CPP_Macro& macro) {
    if (frames_.size() >= limit_) return false;
    const auto start = static_cast<std::size_t>(held_.length());
    if (macro.getArgCount() <= 0) {
        const std::string_view definition = macro.getDefinitionView();
        if (definition.size() > most_ - made_) return false;
        frames_.push_back({definition.data(), start, definition.size(), 0});
    } else {
        views_.clear();
        for (int begin = 0; const int end : ends_) {
            views_.push_back(
                arguments_.view().substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
            begin = end;
        }
        if (!macro.appendExpansion(views_.data(), held_, most_ - made_)) return false;
        frames_.push_back({nullptr, start, static_cast<std::size_t>(held_.length()) - start, 0});
    }
    made_ += frames_.back().length;
    return true;
}

bool CPP_Manager::Expansion::fail(std::string_view message) {
    message_.assign(message);
    return false;
}

// Reads the arguments of a call behind its macro's name, over as many lines as it takes. Only the opening parenthesis
// must stand in the same text. The innermost text is left behind the closing one.
bool CPP_Manager::Expansion::readArguments(std::size_t count) {
    arguments_.clear();
    ends_.clear();
    if (!skipSpace() || text()[frames_.back().position] != '(') return false;
    ++frames_.back().position;
    std::size_t depth = 0;  // of the parentheses in the argument
    Stop stop = Stop::Comma;
    while (count > 0 && stop != Stop::Close) {
        const bool atEnd = !skipSpace();
        if (!atEnd && ends_.size() > count) break;
        stop = atEnd ? Stop::TextEnd : readArgument(depth);
        if (stop == Stop::Failure) return false;
        if (stop == Stop::Comma) ++frames_.back().position;
        if (stop == Stop::TextEnd) {
            if (!readMore()) return false;
            // Once they are complete nothing but the parenthesis may follow on another line.
            if (ends_.size() >= count) break;
        }
    }
    return ends_.size() == count && atClose();
}

// Moves behind the closing parenthesis, which may be lines away.
bool CPP_Manager::Expansion::atClose() {
    while (!skipSpace()) {
        if (!readMore()) return false;
    }
    return text()[frames_.back().position++] == ')';
}

// Reads an argument, or more of one that the end of the last text left open in a parenthesis, and tells what stopped
// it. Empty and overlong ones fail, and so does one with a quote left open.
CPP_Manager::Expansion::Stop CPP_Manager::Expansion::readArgument(std::size_t& depth) {
    const std::string_view text = this->text();
    const int before = arguments_.length();
    std::size_t at = frames_.back().position;
    std::size_t copied = at;
    Stop stop = Stop::TextEnd;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '\\' && at + 1 < text.size()) {
            // It gives its place to the character behind it, which counts as what it is, but for a quote.
            if (!takeText(text.substr(copied, at - copied))) return Stop::Failure;
            copied = at + 1;
            if (kindOf(text[copied]) == Kind::Quote) at = copied;
        } else if (kindOf(c) == Kind::Quote) {
            at = textscan::closingQuote(text, at, QuoteRule::Plain);
            if (at == text.npos) return Stop::Failure;
        } else if (c == '(') {
            ++depth;
        } else if (depth == 0 && (c == ')' || c == ',')) {
            stop = c == ')' ? Stop::Close : Stop::Comma;
            break;
        } else if (c == ')') {
            --depth;
        }
    }
    if (!takeText(text.substr(copied, at - copied)) || arguments_.length() == before) return Stop::Failure;
    frames_.back().position = at;
    if (depth == 0) ends_.push_back(arguments_.length());
    return stop;
}

// Adds to the argument being read. False if that gets too long.
bool CPP_Manager::Expansion::takeText(std::string_view piece) {
    const int begin = ends_.empty() ? 0 : ends_.back();
    if (piece.size() > kMostArgument - static_cast<std::size_t>(arguments_.length() - begin)) return false;
    arguments_.append(piece);
    return true;
}

// Moves over white space in the innermost text. False at its end.
bool CPP_Manager::Expansion::skipSpace() {
    Frame& frame = frames_.back();
    frame.position = cppwords::spaceEnd(text(), frame.position);
    return frame.position < frame.length;
}

// Puts the next line in the place of the innermost text, which was read to its end. It is raw: comments stay, and a
// directive is text. The output gets an empty line for it. False at the end of all input.
bool CPP_Manager::Expansion::readMore() {
    if (manager_.getRawLine(more_) == RawLine::None) return false;
    ++manager_.blankLines;
    Frame& frame = frames_.back();
    held_.truncate(static_cast<int>(frame.start));
    held_.append(more_.view());
    frame = {nullptr, frame.start, more_.view().size(), 0};
    return true;
}
