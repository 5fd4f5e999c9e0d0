// Token streams and feature files. The words are those of the lines, the messages come in their places, and a word that
// was given back comes again. As a feature file the same text gives definitions that have a token and a label.
#include "Check.h"
#include "Limits.h"
#include "Replacement.h"

#include <UT/UT_IStream.h>
#include <UT/UT_OptionFile.h>
#include <UT/UT_SortedSymbolTable.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <features/FeatureReader.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_TokenStream.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kName = "tokens";
// The standard options, and a level less than a line may have, as each word of it becomes a text here.
constexpr const char* kOptions[] = {"cpp", "-P", "-x", "-r", "3", nullptr};

// Words and messages in the order in which they came.
using Heard = std::vector<std::string>;

// Bases are made in order: the stream stands before what reads it.
struct Text {
    explicit Text(std::string_view text) : stream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY) {}
    UT_IStream stream;
};

class Words : private Text, public CPP_TokenStream {
public:
    explicit Words(std::string_view source) : Text(source), CPP_TokenStream(stream, kName, kOptions) {}
    void cppError(const char* message) const override { heard.push_back(std::string("error ") + message); }
    void cppWarning(const char* message) const override { heard.push_back(std::string("warning ") + message); }

    mutable Heard heard;
};

// What the words must be: those of each line by itself.
Heard heardInLines(std::string_view source) {
    Text text(source);
    CPP_Manager manager;
    manager.setOptions(static_cast<int>(std::size(kOptions)) - 1, kOptions);
    check(manager.open(text.stream, kName), "a stream can be opened");
    Heard heard;
    UT_String line;
    while (manager.getLine(line)) {
        if (line.view().starts_with("# error ") || line.view().starts_with("# warning ")) {
            heard.emplace_back(line.view().substr(2));
        } else if (!line.view().starts_with('#')) {
            UT_WorkArgs words;
            const int count = line.dosParse(words);
            for (int i = 0; i < count; ++i) heard.push_back(std::string("word ") + words(i));
        }
    }
    return heard;
}

Heard heardInWords(std::string_view source) {
    Words words(source);
    UT_String word;
    for (bool again = false; words.getToken(word); again = !again) {
        if (again && !word.isEmpty()) {
            const UT_String given(word.view());
            words.ungetToken(given);
            check(words.getToken(word) && word == given, "a word given back comes again");
        }
        words.heard.push_back("word " + std::string(word.view()));
    }
    check(!words.getToken(word), "the end is the end");
    return words.heard;
}

void checkFeatures(std::string_view source) {
    Words words(source);
    UT_SortedSymbolTable renderers;
    FeatureReader(words, renderers).read();
    renderers.sortThingsBySymbol();
    std::string last;
    for (unsigned i = 0; i < renderers.entries(); ++i) {
        const std::unique_ptr<UT_OptionFile> options(renderers[i].as<UT_OptionFile>());
        UT_String token, label;
        check(options->getOption("rib.renderer.token", token, nullptr), "a definition has a token");
        check(options->getOption("rib.renderer.label", label, nullptr), "a definition has a label");
        check(i == 0 || last < token.view(), "the definitions stand in the order of their tokens");
        last = token.view();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > Replacement::kLongestInput) return 0;
    const std::string_view source(reinterpret_cast<const char*>(data), size);
    const Replacement replacement(source);
    const Limits limits(size, replacement.bytes, replacement.time);
    check(heardInWords(source) == heardInLines(source), "the words are those of the lines");
    checkFeatures(source);
    return 0;
}
