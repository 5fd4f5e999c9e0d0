// Variable references in text, in one pass from left to right.
#include <UT/TextScan.h>
#include <UT/UT_Tarvani.h>
#include <UT/UT_VariableScan.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

const char* fromEnvironment(const char* name, void*) {
    return TarvaniGetenv(name);
}

bool isNameCharacter(char c) {
    return textscan::isLetter(c) || textscan::isDigit(c) || c == '_';
}

struct Reference {
    std::string_view name;
    std::size_t length = 1;  // characters that it takes in the text; 1 for a `$` that begins no reference
};

// The reference that begins with the `$` in front of `text`; its name is empty if there is none.
Reference referenceAt(std::string_view text) {
    const std::size_t open = text.substr(1).starts_with('{') ? 2 : 1;
    const std::string_view rest = text.substr(open);
    const auto nameEnd = std::find_if_not(rest.begin(), rest.end(), isNameCharacter);
    const std::string_view name(rest.begin(), nameEnd), behind(nameEnd, rest.end());
    if (name.empty() || textscan::isDigit(name.front())) return {};
    if (open == 1) return {name, open + name.size()};
    return behind.starts_with('}') ? Reference{name, open + name.size() + 1} : Reference{};
}

}  // namespace

int UTVariableScan(UT_WorkBuffer& out, const char* text, UTVariableLookup lookup, void* data, bool expandHome,
                   bool keepUnknown) {
    if (!lookup) lookup = fromEnvironment;
    std::string_view rest = textscan::viewOf(text);
    UT_WorkBuffer expanded;  // `text` may be what `out` holds
    int replaced = 0;

    if (expandHome && rest.starts_with("~/")) {
        if (const char* home = lookup("HOME", data)) {
            expanded.append(home);
            rest.remove_prefix(1);
            ++replaced;
        }
    }
    for (;;) {
        const std::size_t dollar = rest.find('$');
        expanded.append(rest.substr(0, dollar));
        if (dollar == rest.npos) break;
        rest.remove_prefix(dollar);
        const Reference reference = referenceAt(rest);
        const bool isReference = !reference.name.empty();
        if (const char* value = isReference ? lookup(std::string(reference.name).c_str(), data) : nullptr) {
            expanded.append(value);
            ++replaced;
        } else if (keepUnknown || !isReference) {
            expanded.append(rest.substr(0, reference.length));
        }
        rest.remove_prefix(reference.length);
    }
    out.assign(expanded.view());
    return replaced;
}
