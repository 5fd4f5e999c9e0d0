// The language and the words of its text, case by case: cases/*.cases and the conditions of cases/conditions.table.
#include <UT/UT_IStream.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_TokenStream.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "CaseFile.h"

namespace {

std::vector<std::string> outputOf(CPP_Manager& manager) {
    std::vector<std::string> lines;
    UT_String line;
    while (manager.getLine(line)) lines.emplace_back(line.view());
    return lines;
}

std::string runLines(const CaseRun& run) {
    CPP_Manager manager;
    std::vector<const char*> options{"cpp"};
    for (const std::string& word : run.options) options.push_back(word.c_str());
    manager.setOptions(static_cast<int>(options.size()), options.data());
    if (!manager.open(run.mainFile.c_str(), 0)) return "can't open " + run.mainFile;
    const std::vector<std::string> lines = outputOf(manager);
    const bool hasError =
        std::any_of(lines.begin(), lines.end(), [](const std::string& line) { return line.starts_with("# error "); });
    return difference(run.lines("expect"), lines) + (hasError == manager.hasError() ? "" : "hasError is wrong\n");
}

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
    return difference(run.lines("tokens"), words.readAll());
}

struct Group {
    const char* name;
    std::string (*run)(const CaseRun&);
};

class Cases : public testing::TestWithParam<Group> {};

TEST_P(Cases, GiveTheirOutput) {
    const std::vector<Case> cases = readCases(GetParam().name);
    ASSERT_FALSE(cases.empty());
    for (const Case& c : cases) {
        const std::string fault = runCase(c, GetParam().run);
        EXPECT_TRUE(fault.empty()) << c.title << "\n" << fault;
    }
}

INSTANTIATE_TEST_SUITE_P(, Cases,
                         testing::Values(Group{"macros", runLines}, Group{"parameters", runLines},
                                         Group{"calls", runLines}, Group{"lines", runLines},
                                         Group{"directives", runLines}, Group{"conditionals", runLines},
                                         Group{"includes", runLines}, Group{"markers", runLines},
                                         Group{"hash", runLines}, Group{"options", runLines},
                                         Group{"tokens", runTokens}),
                         [](const auto& group) { return std::string(group.param.name); });

// What the rows of the table in force when `row` is reached make of it, empty if that is right.
std::string runCondition(CPP_Manager& manager, const CaseRun& run, const std::string& row) {
    const std::string text = spelledOut(row, run.directory);
    const std::size_t tab = text.find('\t');
    const std::string kind = text.substr(0, tab);
    if (tab == text.npos) {
        const std::size_t name = text.find(' ') + 1;
        const std::size_t end = text.find_first_of(" =", name);
        const std::string value = end == text.npos ? "" : text.substr(end + 1);
        if (text.starts_with("env ")) ::setenv(text.substr(name, end - name).c_str(), value.c_str(), 1);
        if (text.starts_with("define ")) manager.define(text.substr(name, end - name).c_str(), value.c_str());
        return "";
    }
    const std::string source = "#if " + text.substr(tab + 1) + "\nyes\n#endif\n";
    UT_IStream stream(source.data(), static_cast<int>(source.size()), UT_ISTREAM_BINARY);
    manager.open(stream, run.mainFile.c_str());
    const std::string error = "# error cpp error: \"" + run.mainFile + "\":1 #if syntax error";
    std::vector<std::string> expected{"\n", kind == "true" ? "yes\n" : "\n", "\n"};
    if (kind == "error") expected = {error, "\n", "yes\n", "\n"};
    const std::string fault = difference(expected, outputOf(manager));
    return fault.empty() ? "" : row + "\n" + fault;
}

TEST(Conditions, HaveTheirValues) {
    const std::vector<std::string> rows = readCaseLines("conditions.table");
    ASSERT_FALSE(rows.empty());
    Case scene;
    scene.files = {{"main.c", {}}, {"here.h", {}}};
    const std::string faults = runCase(scene, [&](const CaseRun& run) {
        CPP_Manager manager;
        const char* const options[] = {"cpp", "-P"};
        manager.setOptions(2, options);
        std::string all;
        for (const std::string& row : rows) {
            if (!row.starts_with(";")) all += runCondition(manager, run, row);
        }
        return all;
    });
    EXPECT_TRUE(faults.empty()) << faults;
}

}  // namespace
