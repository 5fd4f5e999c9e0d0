// A definition, and behind its line the texts that use it: what comes of them has bounds, in lines and in characters. A
// macro by itself gives the same with any limit that its replacement text keeps.
#include "Check.h"
#include "Limits.h"
#include "Replacement.h"

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Macro.h>
#include <preprocessor/CPP_Manager.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

void checkMacro(const std::string& definition, const std::string& argument) {
    const CPP_Macro macro(definition.c_str(), 0);
    check(macro.getDefinitionView() == macro.getDefinition(), "the definition is a text");
    check(macro.getArgCount() <= CPP_Macro::kMostParameters, "the parameters are limited");
    const std::size_t count = static_cast<std::size_t>(std::max(macro.getArgCount(), 0));
    std::string text = argument;
    const std::vector<char*> arguments(count + 1, text.data());
    const std::vector<std::string_view> views(count, text);
    UT_String whole;
    macro.expandMacro(arguments.data(), whole);
    UT_WorkBuffer limited;
    check(macro.appendExpansion(views.data(), limited, whole.view().size()),
          "the text keeps the limit of its own length");
    check(limited.view() == whole.view(), "both operations make the same text");
    if (whole.view().empty()) return;
    limited.clear();
    const std::size_t limit = whole.view().size() - 1;
    check(!macro.appendExpansion(views.data(), limited, limit), "it doesn't keep a smaller one");
    check(limited.view().size() <= limit, "a limit is a limit");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > Replacement::kLongestInput) return 0;
    const Replacement replacement("#define");
    const Limits limits(size, replacement.bytes, replacement.time);
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string definition = text.substr(0, std::min(text.find('\n'), text.find('\0')));
    const std::string uses = text.substr(std::min(text.find('\n'), size));
    checkMacro(definition, std::string(uses.c_str()));

    const std::string source = "#define " + definition + uses;
    UT_IStream stream(source.data(), static_cast<int>(source.size()), UT_ISTREAM_BINARY);
    const char* const options[] = {"cpp", "-P", "-r", Replacement::kLevels};
    CPP_Manager manager;
    manager.setOptions(static_cast<int>(std::size(options)), options);
    check(manager.open(stream, "macro"), "a stream can be opened");
    // Each line of input gives one, a backslash at its end too, and an error in it a blank one.
    const auto mostLines = 2 * (std::count(source.begin(), source.end(), '\n') + 2);
    std::ptrdiff_t lines = 0;
    for (std::string_view line; manager.getLine(line); ++lines)
        check(line.size() <= Replacement::kLongestLine, "a line is bounded");
    check(lines <= mostLines, "the number of lines is bounded");
    return 0;
}
