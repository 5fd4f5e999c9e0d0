// The preprocessor over whole sources, with files to include and options from the first byte. Errors are told,
// the end stays the end, and both forms of getLine give the same. It may write warnings of old includes: run it with
// -close_fd_mask=2.
#include "Check.h"
#include "Limits.h"
#include "Replacement.h"
#include "Scratch.h"

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_Stream.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr std::size_t kMostOutput = 256 * 1024;  // a file that includes itself twice never ends
constexpr rlim_t kMostFiles = 100;               // open at a time, so that one that includes itself once does so soon

// Files that a source may include: one by one what an included file can do to the one that includes it.
const struct {
    const char* name;
    std::string_view text;
} kIncluded[] = {
    {"guard.h", "#ifndef GUARD\n#define GUARD 1\n#define TWICE(x) x x\nin guard\n#endif\n"},
    {"again.h", "#include \"guard.h\"\n#undef GUARD\n#include <guard.h>\nTWICE(1)\n"},
    {"self.h", "#include \"self.h\"\nbehind self\n"},
    {"if.h", "#if 1\n#else\n"},
    {"else.h", "#else\n#endif\n"},
    {"comment.h", "a /* comment\n"},
    {"call.h", "TWICE(\n"},
    {"rest.h", "2)"},
    {"joined.h", "one \\\ntwo \\\\\nthree \\"},
    {"line.h", "#line 100 \"renamed\"\n__LINE__ __FILE__\n#error\n"},
    {"empty.h", ""},
};

const Scratch& includedFiles() {
    static const Scratch scratch;
    static const bool isWritten = [] {
        for (const auto& file : kIncluded)
            scratch.write(file.name, reinterpret_cast<const std::uint8_t*>(file.text.data()), file.text.size());
        return true;
    }();
    check(isWritten, "the files are there");
    return scratch;
}

// The options of a byte: a letter for each of its bits, of which the last has macros in directives, too.
std::vector<std::string> optionsOf(std::uint8_t bits) {
    std::vector<std::string> options = {"cpp", "-r", (bits & 1) != 0 ? "2" : Replacement::kLevels, "-I",
                                        includedFiles().path("")};
    constexpr const char* kOptions[] = {"-P", "-C", "-h", "-H", "-c", "-DX=1", "-UWIN32"};
    for (unsigned i = 0; i < std::size(kOptions); ++i) {
        if ((bits >> (i + 1) & 1) != 0) options.emplace_back(kOptions[i]);
    }
    return options;
}

// The lines of a source, by `take`, which moves one from the manager into a text.
template <class Take>
std::vector<std::string> linesOf(std::string_view source, std::uint8_t bits, Take take) {
    CPP_Manager manager;
    std::vector<const char*> words;
    const std::vector<std::string> options = optionsOf(bits);
    for (const std::string& option : options) words.push_back(option.c_str());
    const int count = static_cast<int>(words.size());
    check(manager.setOptions(count, words.data()) == count, "the options are taken");
    for (const char* name : {"__DATE__", "__TIME__"}) manager.undefine(name);  // it may change between two runs

    UT_IStream none(nullptr, 0, UT_ISTREAM_BINARY);
    CPP_Stream::setStdin(none);
    UT_IStream stream(source.data(), static_cast<int>(source.size()), UT_ISTREAM_BINARY);
    check(manager.open(stream, includedFiles().path("main.c").c_str()), "a stream can be opened");

    std::vector<std::string> lines;
    std::size_t length = 0;
    bool sawError = false;
    for (std::string line; length < kMostOutput && take(manager, line); lines.push_back(line)) {
        length += line.size() + 1;  // one can be empty, without a newline
        sawError |= line.starts_with("# error ");
        check(manager.hasError() <= sawError, "an error is told in the line with which it came");
    }
    if (length < kMostOutput) {
        std::string more;
        check(!take(manager, more), "the end is the end");
    }
    CPP_Stream::clearStdin();
    return lines;
}

std::vector<std::string> copiedLines(std::string_view source, std::uint8_t bits) {
    return linesOf(source, bits, [](CPP_Manager& manager, std::string& line) {
        UT_String text;
        const int given = manager.getLine(text);
        line = text.view().substr(0, kMostOutput);
        return given != 0;
    });
}

std::vector<std::string> viewedLines(std::string_view source, std::uint8_t bits) {
    return linesOf(source, bits, [](CPP_Manager& manager, std::string& line) {
        std::string_view text;
        const int given = manager.getLine(text);
        line = text.substr(0, text.find('\0')).substr(0, kMostOutput);
        return given != 0;
    });
}

// Only now, as a sanitizer needs a descriptor when it looks at the type of an object for the first time: with none left
// it takes a good one for a bad one.
bool limitFiles() {
    constexpr std::string_view kSource = "#include \"again.h\"\n#include \"none.h\"\n";
    check(copiedLines(kSource, 0) == viewedLines(kSource, 0), "the first lines are the same");
    const rlimit limit = {kMostFiles, kMostFiles};
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > Replacement::kLongestInput) return 0;
    static const bool isLimited = limitFiles();
    check(isLimited, "the limit of open files can be set");
    ::setenv("TARVANI_CPP_EXPAND_DIRECTIVES", data[0] & 0x80 ? "1" : "0", 1);
    const std::string_view source(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Replacement replacement(source);
    const Limits limits(size, replacement.bytes, replacement.time);
    check(copiedLines(source, data[0]) == viewedLines(source, data[0]), "both forms of getLine give the same lines");
    return 0;
}
