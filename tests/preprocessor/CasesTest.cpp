// The language, the words of its text, and the calls of an application, case by case: cases/*.cases.
#include <UT/UT_IStream.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_File.h>
#include <preprocessor/CPP_Macro.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_TokenStream.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../support/CaseFile.h"
#include "Sources.h"

namespace {

Lines outputOf(CPP_Manager& manager) {
    Lines lines;
    for (std::string_view line; manager.getLine(line);) lines.emplace_back(line);
    return lines;
}

std::vector<const char*> wordsOf(const std::vector<std::string>& options) {
    std::vector<const char*> words;
    for (const std::string& word : options) words.push_back(word.c_str());
    return words;
}

int setOptions(CPP_Manager& manager, const std::vector<std::string>& options) {
    std::vector<const char*> words = wordsOf(options);
    words.insert(words.begin(), "cpp");
    return manager.setOptions(static_cast<int>(words.size()), const_cast<char* const*>(words.data()));
}

std::string runLines(const CaseRun& run) {
    CPP_Manager manager;
    setOptions(manager, run.options);
    if (!manager.open(run.mainFile.c_str(), 0)) return "can't open " + run.mainFile;
    const Lines lines = outputOf(manager);
    const bool hasError =
        std::any_of(lines.begin(), lines.end(), [](const std::string& line) { return line.starts_with("# error "); });
    return difference(run.lines("expect"), lines) + (hasError == manager.hasError() ? "" : "hasError is wrong\n");
}

template <class T>
Lines placeOf(const T& source) {
    return shown(source.getFileName() + (":" + std::to_string(source.getLineNumber())));
}

std::string runManager(const CaseRun& run) {
    Objects<CPP_Manager> managers;
    const std::string given = run.directory + "/none:" + run.directory + "/given";
    managers.add(std::make_unique<CPP_Manager>(-1, given.c_str()));
    return runSteps(run, [&](const Verb& verb, const std::string& rest) {
        CPP_Manager* const manager = managers.current;
        const char* const text = rest.empty() ? nullptr : rest.c_str();
        UT_String line("left");
        if (verb == "line" && manager->getLine(line)) return Lines{line.buffer()};
        if (verb == "line") return line.isEmpty() && !line.isNull() ? shown(0) : Lines{"not empty\n"};
        if (verb == "rest") return outputOf(*manager);
        if (verb == "place") return placeOf(*manager);
        if (verb == "open") return shown(manager->open(text, 0));
        if (verb == "file") return shown(manager->open(std::fopen(text, "rb"), "text"));
        if (verb == "search") return shown(manager->open(text, 1));
        if (verb == "close") return shown(manager->close());
        if (verb == "failed") return shown(manager->hasError());
        if (verb == "empty") return shown(manager->define(text, nullptr));
        if (verb == "undefine") return shown(manager->undefine(text));
        const std::size_t blank = std::min(rest.find(' '), rest.size());
        const char* const value = rest.c_str() + std::min(blank + 1, rest.size());
        if (verb == "define") return shown(manager->define(rest.substr(0, blank).c_str(), value));
        optind = 17;
        if (verb == "options") return shown(setOptions(*manager, splitWords(rest)) + (optind - 17));
        if (verb == "include") manager->addIncludePath(text);
        if (verb == "write") std::ofstream(rest) << "written\n";
        if (verb == "stdin") CPP_Stream::setStdin(*new UT_IStream(UTmakeFileSource(text), UT_ISTREAM_BINARY));
        if (verb == "new" && rest.empty()) managers.add(std::make_unique<CPP_Manager>());
        if (verb == "new" && !rest.empty()) managers.add(std::make_unique<CPP_Manager>(std::stoi(rest), given.c_str()));
        return managers.step(verb, rest);
    });
}

std::vector<const char*> tokenOptionsOf(const CaseRun& run) {
    std::vector<const char*> options = wordsOf(run.options);
    options.push_back(nullptr);
    return options;
}

// Writes down words and messages where they come.
struct Recorder : CPP_TokenStream {
    using CPP_TokenStream::CPP_TokenStream;
    void cppError(const char* message) const override { events.push_back(std::string("error: ") + message); }
    void cppWarning(const char* message) const override { events.push_back(std::string("warning: ") + message); }
    mutable Lines events;
};

std::string runTokens(const CaseRun& run) {
    const std::vector<const char*> options = tokenOptionsOf(run);
    Recorder words(run.mainFile.c_str(), -1, run.hasOptions ? options.data() : nullptr);
    for (UT_String word; words.getToken(word);) words.events.push_back("word: " + std::string(word.view()) + "\n");
    return difference(run.lines("tokens"), words.events);
}

// Leaves the writing of messages to the base.
struct Marked : CPP_TokenStream {
    using CPP_TokenStream::CPP_TokenStream;
    void cppError(const char* message) const override {
        CPP_TokenStream::cppError(("! " + std::string(message)).c_str());
    }
};

std::string runWords(const CaseRun& run) {
    const std::vector<const char*> words = tokenOptionsOf(run);
    const char* const* const options = run.hasOptions ? words.data() : nullptr;
    std::vector<std::unique_ptr<UT_IStream>> sources;
    Objects<CPP_TokenStream> streams;
    return runSteps(run, [&](const Verb& verb, const std::string& rest) {
        const char* const text = rest.empty() ? nullptr : rest.c_str();
        CPP_TokenStream* const current = streams.current;
        UT_String word("left");
        if (verb == "next" && current->getToken(word)) return shown(word.buffer());
        if (verb == "next") return shown(word.isNull() ? "(end)" : "not null");
        if (verb == "place") return placeOf(*current);
        if (verb == "include") current->addIncludePath(text);
        if (verb == "unget") current->ungetToken(UT_String(text));
        if (verb == "open") streams.add(std::make_unique<Marked>(text, -1, options));
        if (verb == "known") streams.add(std::make_unique<Marked>(text + 2, text[0] - '0', options));
        if (verb == "read") {
            sources.push_back(std::make_unique<UT_IStream>(UTmakeFileSource(text), UT_ISTREAM_BINARY));
            streams.add(std::make_unique<Marked>(*sources.back(), "text", options));
        }
        return streams.step(verb, rest);
    });
}

std::string runMacroClass(const CaseRun& run) {
    Objects<CPP_Macro> macros;
    return runSteps(run, [&](const Verb& verb, const std::string& rest) -> Lines {
        if (verb == "macro" || verb == "option")
            macros.add(std::make_unique<CPP_Macro>(rest.empty() ? nullptr : rest.c_str(), verb == "option"));
        CPP_Macro& macro = *macros.current;
        if (verb == "macro" || verb == "option" || verb == "show") {
            return shown(macro.getName() + (" " + std::to_string(macro.getArgCount())) + " [" + macro.getDefinition() +
                         "]");
        }
        if (verb == "expand") {
            std::vector<std::string> words = splitWords(rest);
            std::vector<char*> arguments(CPP_Macro::kMostParameters, nullptr);
            for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
            UT_String text("before");
            macro.expandMacro(arguments.data(), text);
            return shown("[" + std::string(text.view()) + "]");
        }
        if (verb == "bump") return shown(macro.bumpRecursion(std::stoi(rest)));
        return macros.step(verb, rest);
    });
}

std::string runFileClass(const CaseRun& run) {
    Objects<CPP_File> files;
    const auto lines = [&](bool encrypted) {
        std::ifstream in(run.mainFile);
        std::vector<std::string> texts;
        for (std::string line; std::getline(in, line);) texts.push_back(line);
        return new MadeLines(listed(texts), encrypted);
    };
    return runSteps(run, [&](const Verb& verb, const std::string& rest) -> Lines {
        const bool opens = verb == "open" || verb == "encrypted";
        if (opens) files.add(std::make_unique<CPP_File>());
        CPP_File& file = *files.current;
        if (opens || verb == "reopen") {
            return shown(file.open(opens ? rest.c_str() : file.getName(), lines(verb == "encrypted")));
        }
        UT_WorkBuffer line;
        if (verb == "line") return file.getLine(line) ? Lines{line.buffer()} : shown(0);
        if (verb == "place") {
            const std::string place = std::string(file.getName()) + ":" + std::to_string(file.getLineNumber());
            return shown(place + " in " + (file.getLastPath() ? file.getLastPath() : "(null)"));
        }
        if (verb == "crypted") return shown(file.isCrypted());
        if (verb == "directive") file.lineDirective(rest.empty() ? nullptr : rest.c_str());
        if (verb == "if") file.ifDef(std::stoi(rest));
        if (verb == "elif") return shown(file.elifDef(std::stoi(rest)));
        if (verb == "else") return shown(file.elseDef(std::stoi(rest)));
        if (verb == "endif") return shown(file.endIf());
        if (verb == "state") return shown(std::to_string(file.getIfState()) + " " + std::to_string(file.isIfMatched()));
        if (verb == "close") return shown(file.close());
        return files.step(verb, rest);
    });
}

std::string valueOf(CPP_Manager& manager, const std::string& operand) {
    const std::string source = "#if " + operand + "yes\n#endif\n";
    UT_IStream stream(source.data(), static_cast<int>(source.size()), UT_ISTREAM_BINARY);
    manager.open(stream, "main");
    const Lines lines = outputOf(manager);
    if (lines == Lines{"\n", "yes\n", "\n"}) return "true";
    if (lines == Lines{"\n", "\n", "\n"}) return "false";
    const Lines error{"# error cpp error: \"main\":1 #if syntax error", "\n", "yes\n", "\n"};
    return lines == error ? "error" : testing::PrintToString(lines);
}

std::string runConditions(const CaseRun& run) {
    CPP_Manager manager;
    setOptions(manager, {"-P"});
    if (!run.mainFile.empty() && manager.open(run.mainFile.c_str(), 0)) outputOf(manager);
    Lines found;
    for (const std::string& row : run.lines("conditions")) {
        const std::string operand = row.substr(row.find('\t') + 1);
        found.push_back(valueOf(manager, operand) + "\t" + operand);
    }
    return difference(run.lines("conditions"), found);
}

class Cases : public testing::TestWithParam<std::string> {};

TEST_P(Cases, GiveTheirOutput) {
    const std::map<std::string, Check> checks = {{"conditions", runConditions}, {"manager", runManager},
                                                 {"search", runManager},        {"tokens", runTokens},
                                                 {"words", runWords},           {"macro_class", runMacroClass},
                                                 {"file_class", runFileClass}};
    const auto check = checks.find(GetParam());
    expectCases(GetParam(), check == checks.end() ? runLines : check->second);
}

INSTANTIATE_TEST_SUITE_P(, Cases,
                         testing::Values("macros", "parameters", "calls", "lines", "directives", "conditionals",
                                         "conditions", "includes", "markers", "hash", "options", "bounds", "tokens",
                                         "words", "manager", "search", "macro_class", "file_class"),
                         [](const auto& group) { return group.param; });

}  // namespace
