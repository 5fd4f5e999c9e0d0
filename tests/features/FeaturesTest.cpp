// Renderer definitions: what a file of them gives, case by case (../preprocessor/cases/features.cases), and what
// callers get whatever it says.
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "../support/CaseFile.h"
#include "../support/Environment.h"

namespace {

std::string textOf(const UT_OptionFile& options, const char* key) {
    UT_String text;
    return options.getOption(key, text, "") ? std::string(text.view()) : "(none)";
}

// All renderers, each with its options.
Lines describe() {
    Lines lines;
    for (int i = 0; i < FS_RibFeatures::entries(); ++i) {
        const UT_OptionFile& options = *FS_RibFeatures::getRenderer(i);
        const std::string token = textOf(options, "rib.renderer.token");
        const bool isFound = FS_RibFeatures::getRenderer(token.c_str()) == &options;
        lines.push_back("renderer: " + token + (isFound ? "\n" : " isn't found\n"));
        for (const char* key = options.getNextName(nullptr); key; key = options.getNextName(key)) {
            const std::string sign = options.getOptionType(key) == UT_OptionFile::STRING ? ": " : " = ";
            lines.push_back("    " + (key + sign) + textOf(options, key) + "\n");
        }
    }
    return lines;
}

Lines step(const CaseRun& run, const Verb& verb, const std::string& rest) {
    const UT_OptionFile* options = nullptr;
    if (verb == "write") std::ofstream(run.directory + "/ROPfeatures") << rest;
    if (verb == "default") return shown(FS_RibFeatures::getDefaultRenderer());
    if (verb == "count") return shown(FS_RibFeatures::entries());
    if (verb == "at") options = FS_RibFeatures::getRenderer(std::stoi(rest));
    if (verb == "named") options = FS_RibFeatures::getRenderer(rest == "(null)" ? nullptr : rest.c_str());
    if (verb == "at" || verb == "named") return shown(options ? textOf(*options, "rib.renderer.label") : "none");
    return {};
}

std::string runFeatures(const CaseRun& run) {
    const WithVariable path("TARVANI_PATH", (run.directory + ":" + run.directory + "/second").c_str());
    const std::string fault = runSteps(run, [&](const auto& verb, const auto& rest) { return step(run, verb, rest); });
    return fault + difference(run.lines("renderers"), describe());
}

TEST(FeatureCases, GiveTheirRenderersAndReports) {
    const std::vector<Case> cases = readCases("features");
    ASSERT_FALSE(cases.empty());
    for (Case c : cases) {
        // With the variable for it every report must come, otherwise none.
        for (const char* verbose : {static_cast<const char*>(nullptr), "1"}) {
            const WithVariable control("TARVANI_FEATURES_VERBOSE", verbose);
            if (verbose) c.expected.emplace_back("stderr", c.section("reports"));
            EXPECT_EQ(runCase(c, runFeatures), "") << c.title << (verbose ? ", with reports" : "");
        }
    }
}

}  // namespace
