#include <platform/Outcome.h>

#include <system_error>

namespace platform {

std::string errorWords(int error) {
    return error == 0 ? "failed" : std::generic_category().message(error);
}

Outcome failure(std::string_view path, int error) {
    return failure(std::string(path) + ": " + errorWords(error));
}

}  // namespace platform
