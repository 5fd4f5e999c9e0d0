// Conditions of #if and #elif. Each is true, false or a syntax error, the same whenever it is asked, and the same for
// both directives.
#include "Check.h"
#include "Limits.h"

#include <UT/UT_IStream.h>
#include <preprocessor/CPP_Manager.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kLongestInput = 8 * 1024;

enum class Value { False, True, Error };

// A condition of which the lines behind `begin` hold the outcome.
Value valueOf(const std::string& begin, const std::string& condition) {
    const std::string source = begin + condition + " \nyes\n#else\nno\n#endif\n";
    UT_IStream stream(source.data(), static_cast<int>(source.size()), UT_ISTREAM_BINARY);
    // Without comments, as one without an end would take the directives below.
    const char* const options[] = {"cpp",        "-P",         "-c",      "-DONE=1", "-DTEXT=\"a b\"",
                                   "-DOPEN=\"a", "-DNAME=ONE", "-DEMPTY="};
    CPP_Manager manager;
    manager.setOptions(static_cast<int>(std::size(options)), options);
    check(manager.open(stream, "condition"), "a stream can be opened");

    bool yes = false, no = false, error = false;
    for (std::string_view line; manager.getLine(line);) {
        yes |= line == "yes\n";
        no |= line == "no\n";
        error |= line.starts_with("# error ") && line.find("syntax error") != line.npos;
    }
    check(error == manager.hasError(), "the only error is that of the condition");
    check(error || yes != no, "one branch is taken");
    return error ? Value::Error : yes ? Value::True : Value::False;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    std::string condition(reinterpret_cast<const char*>(data), size);
    condition.resize(std::min(condition.find_first_of(std::string_view("\n\0", 2)), size));
    const Value value = valueOf("#if ", condition);
    check(valueOf("#if ", condition) == value, "a condition has one value");
    check(valueOf("#if 0\n#elif ", condition) == value, "#elif reads it like #if");
    return 0;
}
