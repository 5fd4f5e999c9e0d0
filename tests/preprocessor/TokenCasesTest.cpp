// The words of preprocessed text, case by case: cases/tokens.cases.
#include <gtest/gtest.h>
#include <preprocessor/CPP_TokenStream.h>

#include <string>
#include <vector>

#include "CaseFile.h"

namespace {

// Writes down messages where they come.
class Recorder : public CPP_TokenStream {
public:
    Recorder(const std::string& file, const char* const* options) : CPP_TokenStream(file.c_str(), -1, options) {}

    void cppError(const char* message) const override { events_.push_back(std::string("error: ") + message); }
    void cppWarning(const char* message) const override { events_.push_back(std::string("warning: ") + message); }

    std::vector<std::string> readAll() {
        UT_String word;
        while (getToken(word)) events_.push_back("word: " + std::string(word.view()) + "\n");
        return events_;
    }

private:
    mutable std::vector<std::string> events_;
};

std::string runTokens(const CaseRun& run) {
    std::vector<const char*> options;
    for (const std::string& word : run.options) options.push_back(word.c_str());
    options.push_back(nullptr);
    Recorder words(run.mainFile, run.source.hasOptions ? options.data() : nullptr);
    return difference(run.lines("tokens"), words.readAll(), run.directory);
}

TEST(TokenCases, GiveTheirWords) {
    const std::vector<Case> cases = readCases("tokens");
    ASSERT_FALSE(cases.empty());
    for (const Case& c : cases) {
        const std::string fault = runCase(c, runTokens);
        EXPECT_TRUE(fault.empty()) << c.title << "\n" << fault;
    }
}

}  // namespace
