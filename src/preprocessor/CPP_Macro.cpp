// The text of a definition becomes a name and a replacement text. Where a macro has parameters, each use of parameter
// number i stands in the replacement text as #i#, so that an expansion needs no names.
#include <UT/TextScan.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Macro.h>
#include <preprocessor/Words.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <vector>

namespace {

using cppwords::skipSpace;

int illegalCounter = 0;  // gives every definition without a legal name a name of its own

char* copyOf(std::string_view text) {
    char* const copy = strndup(text.empty() ? "" : text.data(), text.size());
    if (!copy) throw std::bad_alloc();
    return copy;
}

// The word at the front of `text`, which ends at white space or at one of `delimiters`; `text` is left behind it.
std::string_view takeWord(std::string_view& text, std::string_view delimiters) {
    text = skipSpace(text);
    std::size_t end = 0;
    while (end < text.size() && !textscan::isSpace(text[end]) && delimiters.find(text[end]) == delimiters.npos) ++end;
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

bool isValidName(std::string_view name) {
    return !name.empty() && cppwords::isStart(name[0]) && cppwords::endOf(name, 0) == name.size();
}

// The parameters behind an opening parenthesis; `text` is left behind the closing one, or where they are too many.
// Their names aren't examined.
std::vector<std::string_view> takeParameters(std::string_view& text) {
    std::vector<std::string_view> parameters;
    while (!text.empty() && text[0] != ')' && parameters.size() <= CPP_Macro::kMostParameters) {
        const std::string_view word = takeWord(text, ",)");
        if (!word.empty()) parameters.push_back(word);
        if (text.starts_with(',')) text.remove_prefix(1);
    }
    if (!text.empty()) text.remove_prefix(1);
    return parameters;
}

// Appends the word at `at`, with the signs `#` in front of it, to `out`; for a parameter its placeholder. Gives the
// place behind, and for a parameter that behind the signs there.
std::size_t compileWord(std::string_view text, std::size_t at, std::span<const std::string_view> parameters,
                        UT_WorkBuffer& out) {
    const std::size_t signs = at;
    while (at < text.size() && text[at] == '#') ++at;
    if (at == text.size()) return at;  // and so the signs go
    const bool inQuotes = at - signs == 1;
    const std::string_view word = text.substr(at, cppwords::endOf(text, at) - at);
    at += word.size();
    const auto parameter = std::find(parameters.begin(), parameters.end(), word);
    if (parameter == parameters.end()) {
        out.append(text.substr(signs, at - signs));
        return at;
    }
    char placeholder[16];
    const char* const format = inQuotes ? "\"#%td#\"" : "#%td#";
    std::snprintf(placeholder, sizeof placeholder, format, parameter - parameters.begin());
    out.append(placeholder);
    // Two signs paste what follows; a single one becomes a blank.
    if (text.substr(at).starts_with("##")) return at + 2;
    if (!text.substr(at).starts_with('#')) return at;
    out.append(' ');
    return at + 1;
}

// The replacement text of a macro with parentheses: `text` up to its end or line end, with placeholders.
UT_WorkBuffer compileDefinition(std::string_view text, std::span<const std::string_view> parameters) {
    text = text.substr(0, text.find('\n'));
    UT_WorkBuffer out;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t plain = at;
        while (at < text.size() && !cppwords::isStart(text[at]) && text[at] != '#' && text[at] != '"') ++at;
        out.append(text.substr(plain, at - plain));
        if (at == text.size()) break;
        if (text[at] != '"') {
            at = compileWord(text, at, parameters, out);
            continue;
        }
        // One that isn't closed takes the rest.
        const std::size_t close = textscan::closingQuote(text, at, textscan::QuoteRule::NotBehindBackslash);
        const std::size_t end = close == text.npos ? text.size() : close + 1;
        out.append(text.substr(at, end - at));
        at = end;
    }
    return out;
}

// White space at the end becomes one blank, so that a definition that had some still differs from one that had none.
void trimDefinition(UT_WorkBuffer& definition) {
    int length = definition.length();
    while (length > 0 && textscan::isSpace(definition.buffer()[length - 1])) --length;
    if (length == definition.length()) return;
    definition.truncate(length);
    definition.append(' ');
}

struct Placeholder {
    std::size_t index;
    std::size_t length;  // of its text, both signs counted
};

// The placeholder at the front of `text`, if there is one whose number is below `count`.
std::optional<Placeholder> placeholderAt(std::string_view text, std::size_t count) {
    std::size_t index = 0, at = 1;
    for (; at < text.size() && textscan::isDigit(text[at]); ++at) {
        if (index < count) index = index * 10 + static_cast<std::size_t>(text[at] - '0');
    }
    const bool fits = at > 1 && at < text.size() && text[at] == '#' && index < count;
    return fits ? std::optional(Placeholder{index, at + 1}) : std::nullopt;
}

}  // namespace

CPP_Macro::CPP_Macro(CPP_MacroType macroType) : type(macroType) {}

CPP_Macro::CPP_Macro(const char* text, int commandLine) : type(CPP_MACRO_NORMAL) {
    std::string_view rest = textscan::viewOf(text);
    const std::string_view word = takeWord(rest, commandLine ? "(=" : "(");
    bool legal = isValidName(word);
    const bool hasList = legal && rest.starts_with('(');
    UT_WorkBuffer body;
    if (hasList) {
        rest.remove_prefix(1);
        const std::vector<std::string_view> parameters = takeParameters(rest);
        legal = parameters.size() <= kMostParameters;
        if (legal) {
            argCount = static_cast<int>(parameters.size());
            body = compileDefinition(rest, parameters);
        }
    } else if (legal) {
        if (commandLine && rest.starts_with('=')) rest.remove_prefix(1);
        rest = skipSpace(rest);
        const std::size_t last = rest.find_last_not_of("\r\n");
        body.append(rest.substr(0, last + 1));
    }
    trimDefinition(body);
    if (legal) {
        name = copyOf(word);
    } else {
        char illegal[32];
        std::snprintf(illegal, sizeof illegal, "#illegal%d#", illegalCounter++);
        name = copyOf(illegal);
    }
    definition = copyOf(body.view());
    definitionLength_ = std::strlen(definition);
}

CPP_Macro::~CPP_Macro() {
    if (!ownsTexts_) return;
    std::free(name);
    std::free(definition);
}

CPP_Macro::CPP_Macro(const CPP_Macro& other) : type(other.type) {
    *this = other;
}

CPP_Macro& CPP_Macro::operator=(const CPP_Macro& other) {
    if (this == &other) return *this;
    // A copy that comes back to its original brings the original's own texts.
    const bool isReturned = ownsTexts_ && name == other.name;
    if (ownsTexts_ && !isReturned) {
        std::free(name);
        std::free(definition);
    }
    name = other.name;
    definition = other.definition;
    argCount = other.argCount;
    recursion = other.recursion;
    type = other.type;
    ownsTexts_ = isReturned;
    definitionLength_ = other.definitionLength_;
    return *this;
}

void CPP_Macro::expandMacro(char* const args[], UT_String& out) const {
    std::vector<std::string_view> views;
    for (int i = 0; i < argCount; ++i) views.emplace_back(args && args[i] ? args[i] : "");
    UT_WorkBuffer text;
    appendExpansion(views.data(), text, std::numeric_limits<std::size_t>::max());
    text.copyIntoString(out);
}

bool CPP_Macro::appendExpansion(const std::string_view* args, UT_WorkBuffer& out, std::size_t limit) const {
    std::string_view rest = getDefinitionView();
    const std::size_t count = argCount < 0 ? 0 : static_cast<std::size_t>(argCount);
    std::size_t left = limit;
    const auto append = [&](std::string_view text) {
        if (text.size() > left) return false;
        left -= text.size();
        out.append(text);
        return true;
    };
    std::size_t from = 0;  // where to look for the next sign
    while (count > 0) {
        const std::size_t sign = rest.find('#', from);
        if (sign == rest.npos) break;
        const auto placeholder = placeholderAt(rest.substr(sign), count);
        from = sign + 1;
        if (!placeholder) continue;
        if (!append(rest.substr(0, sign)) || !append(args[placeholder->index])) return false;
        rest.remove_prefix(sign + placeholder->length);
        from = 0;
    }
    return append(rest);
}

int CPP_Macro::bumpRecursion(int delta) {
    return recursion += delta;
}
