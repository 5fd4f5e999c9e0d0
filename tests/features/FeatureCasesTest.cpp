// Renderer definitions read from feature files, case by case: ../preprocessor/cases/features.cases. Definitions are
// read once in a process, and every case has one of its own.
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "../preprocessor/CaseFile.h"
#include "../support/Environment.h"

namespace {

constexpr const char* kToken = "rib.renderer.token";

// The text of an option, as the cases write it.
std::string optionLine(const UT_OptionFile& options, const std::string& key) {
    UT_String text;
    if (!options.getOption(key.c_str(), text, "")) return "    no " + key + "\n";
    return "    " + key + ": " + std::string(text.view()) + "\n";
}

std::string tokenLine(const UT_OptionFile& options) {
    UT_String token;
    options.getOption(kToken, token, "");
    return "renderer: " + std::string(token.view()) + "\n";
}

// What there is, told in the lines that the case has: of each renderer the keys that it asks for.
std::vector<std::string> describe(const std::vector<std::string>& expected) {
    std::vector<std::string> lines;
    int next = 0;
    const UT_OptionFile* options = nullptr;
    for (const std::string& line : expected) {
        if (line.starts_with("renderer: ")) {
            options = FS_RibFeatures::getRenderer(next);
            if (!options) break;
            lines.push_back(tokenLine(*options));
            ++next;
        } else if (options) {
            const std::size_t colon = line.find(": ");
            const bool absent = line.starts_with("    no ");
            lines.push_back(optionLine(*options, absent ? line.substr(7, line.size() - 8) : line.substr(4, colon - 4)));
        }
    }
    for (; next < FS_RibFeatures::entries(); ++next) lines.push_back(tokenLine(*FS_RibFeatures::getRenderer(next)));
    return lines;
}

std::string runFeatures(const CaseRun& run) {
    const WithVariable path("TARVANI_PATH", run.directory.c_str());
    const std::vector<std::string> expected = run.lines("renderers");
    std::string fault = difference(expected, describe(expected));
    for (int i = 0; i < FS_RibFeatures::entries(); ++i) {
        UT_OptionFile* const byPlace = FS_RibFeatures::getRenderer(i);
        UT_String token;
        byPlace->getOption(kToken, token, "");
        if (FS_RibFeatures::getRenderer(token.buffer()) != byPlace)
            fault += std::string(token.view()) + " isn't found by its name\n";
    }
    return fault;
}

// Runs a case and gives what is wrong. With the variable for it every report must come, otherwise none.
std::string runQuietlyOrNot(Case c, bool verbose) {
    if (verbose) c.expected.emplace_back("stderr", c.section("reports"));
    const WithVariable control("TARVANI_FEATURES_VERBOSE", verbose ? "1" : nullptr);
    return runCase(c, runFeatures);
}

TEST(FeatureCases, GiveTheirRenderersAndReports) {
    const std::vector<Case> cases = readCases("features");
    ASSERT_FALSE(cases.empty());
    for (const Case& c : cases) {
        for (const bool verbose : {true, false}) {
            const std::string fault = runQuietlyOrNot(c, verbose);
            EXPECT_TRUE(fault.empty()) << c.title << (verbose ? ", with reports\n" : "\n") << fault;
        }
    }
}

}  // namespace
