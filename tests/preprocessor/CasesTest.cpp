// The language, case by case: cases/*.cases and the conditions of cases/conditions.table.
#include <UT/UT_IStream.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_Manager.h>

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
    return difference(run.lines("expect"), lines, run.directory) +
           (hasError == manager.hasError() ? "" : "hasError is wrong\n");
}

class Cases : public testing::TestWithParam<const char*> {};

TEST_P(Cases, GiveTheirOutput) {
    const std::vector<Case> cases = readCases(GetParam());
    ASSERT_FALSE(cases.empty());
    for (const Case& c : cases) {
        const std::string fault = runCase(c, runLines);
        EXPECT_TRUE(fault.empty()) << c.title << "\n" << fault;
    }
}

INSTANTIATE_TEST_SUITE_P(, Cases,
                         testing::Values("macros", "calls", "lines", "directives", "conditionals", "includes", "hash",
                                         "options"),
                         [](const auto& group) { return std::string(group.param); });

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
    const std::string fault = difference(expected, outputOf(manager), run.directory);
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
