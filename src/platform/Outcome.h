#pragma once
// Private: how a step that may fail went, in words for a person.
#include <string>
#include <string_view>

namespace platform {

struct [[nodiscard]] Outcome {
    bool done = false;
    std::string reason;  // empty when done
};

inline Outcome success() {
    return {true, {}};
}
inline Outcome failure(std::string reason) {
    return {false, std::move(reason)};
}
// "PATH: No such file or directory"; for error 0 "PATH: failed".
Outcome failure(std::string_view path, int error);
// The words of an errno value.
std::string errorWords(int error);

}  // namespace platform
