#include "Spelling.h"

#include <cstdlib>

namespace {

constexpr std::string_view kDirectory = "@DIR@";

// Undoes the spelling of `text` from `at` on, up to its end or to that of the repetition, of which this is copy
// `number`.
std::string spelled(std::string_view text, std::size_t& at, const std::string& directory, int number) {
    std::string out;
    while (at < text.size()) {
        const bool isDirectory = text.substr(at).starts_with(kDirectory);
        if (isDirectory || text[at] != '\\' || at + 1 == text.size()) {
            out += isDirectory ? directory : std::string(1, text[at]);
            at += isDirectory ? kDirectory.size() : 1;
            continue;
        }
        const char kind = text[at + 1];
        at += 2;
        if (kind == '}') break;
        if (kind == '{') {
            const int count = text[at] == '\\' ? number : std::atoi(text.data() + at);
            const std::size_t begin = text.find(' ', at) + 1;
            std::string copy = spelled(text, at = begin, directory, 0);
            const std::string_view inner = text.substr(begin, at - begin);
            const bool differ = inner.find("\\#") != inner.npos || inner.find("\\+") != inner.npos;
            for (int i = 0; i < count; ++i) {
                if (i > 0 && differ) copy = spelled(text, at = begin, directory, i);
                out += copy;
            }
        } else if (kind == 'x') {
            out += static_cast<char>(std::stoi(std::string(text.substr(at, 2)), nullptr, 16));
            at += 2;
        } else if (kind == '#' || kind == '+') {
            out += std::to_string(kind == '#' ? number : number + 1);
        } else {
            out += kind == 't' ? '\t' : kind == 'r' ? '\r' : kind == 'n' ? '\n' : kind;
        }
    }
    return out;
}

}  // namespace

std::string spelledOut(std::string_view text, const std::string& directory, int number) {
    std::size_t at = 0;
    return spelled(text, at, directory, number);
}
