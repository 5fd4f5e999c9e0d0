// Renderer definitions: what a file of them gives, case by case (../preprocessor/cases/features.cases), and what
// callers get whatever it says. Definitions are read once in a process, so everything here runs in one of its own.
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "../preprocessor/CaseFile.h"
#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

namespace {

std::string optionOf(const UT_OptionFile& options, const std::string& key) {
    UT_String text;
    return options.getOption(key.c_str(), text, "") ? key + ": " + std::string(text.view()) : "no " + key;
}

std::string tokenOf(const UT_OptionFile& options) {
    UT_String token;
    options.getOption("rib.renderer.token", token, "");
    return std::string(token.view());
}

// What there is, told in the lines that the case has: of each renderer the keys that it asks for.
std::vector<std::string> describe(const std::vector<std::string>& expected) {
    std::vector<std::string> lines;
    int next = 0;
    const auto tellNext = [&] { lines.push_back("renderer: " + tokenOf(*FS_RibFeatures::getRenderer(next++)) + "\n"); };
    for (const std::string& line : expected) {
        if (line.starts_with("renderer: ")) {
            if (next == FS_RibFeatures::entries()) break;
            tellNext();
        } else if (next > 0) {
            const std::size_t start = line.starts_with("    no ") ? 7 : 4;
            const std::string key = line.substr(start, line.find_first_of(":\n") - start);
            lines.push_back("    " + optionOf(*FS_RibFeatures::getRenderer(next - 1), key) + "\n");
        }
    }
    while (next < FS_RibFeatures::entries()) tellNext();
    return lines;
}

std::string runFeatures(const CaseRun& run) {
    const WithVariable path("TARVANI_PATH", run.directory.c_str());
    const std::vector<std::string> expected = run.lines("renderers");
    std::string fault = difference(expected, describe(expected));
    for (int i = 0; i < FS_RibFeatures::entries(); ++i) {
        UT_OptionFile* const byPlace = FS_RibFeatures::getRenderer(i);
        if (FS_RibFeatures::getRenderer(tokenOf(*byPlace).c_str()) != byPlace)
            fault += tokenOf(*byPlace) + " isn't found by its name\n";
    }
    return fault;
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

TEST(RibFeatures, AreReadOnceFromTheFirstFileAlongThePath) {
    const ScratchDir dir;
    dir.makeDirectory("empty");
    dir.write("one/ROPfeatures", "#include <more>\n{ rib.renderer.token one } { rib.renderer.token \"\" }");
    dir.write("two/ROPfeatures", "{ rib.renderer.token unread }");
    dir.write("two/more", "{ rib.renderer.token 2 samples 4 motion On }");
    const std::string both = dir.path("one") + ":" + dir.path("two"), empty = dir.path("empty");
    const std::pair<std::string, std::function<void()>> processes[] = {
        {both,
         [] {
             EXPECT_EQ(FS_RibFeatures::entries(), 3);
             for (const char* token : {static_cast<const char*>(nullptr), "unread", "One", "prman11"})
                 EXPECT_EQ(FS_RibFeatures::getRenderer(token), nullptr);
             for (const int index : {-1, 3, 1 << 30}) EXPECT_EQ(FS_RibFeatures::getRenderer(index), nullptr);
             EXPECT_EQ(FS_RibFeatures::getRenderer(""), FS_RibFeatures::getRenderer(0));
             EXPECT_EQ(FS_RibFeatures::getRenderer("one"), FS_RibFeatures::getRenderer(2));
             const UT_OptionFile* const two = FS_RibFeatures::getRenderer("2");
             ASSERT_NE(two, nullptr);
             EXPECT_EQ(two->getOptionType("samples"), UT_OptionFile::INT);
             EXPECT_EQ(two->getOptionType("motion"), UT_OptionFile::BOOL);
             EXPECT_EQ(two->getOptionType("rib.renderer.label"), UT_OptionFile::STRING);
         }},
        {empty,
         [&] {
             EXPECT_EQ(FS_RibFeatures::entries(), 0);
             dir.write("empty/ROPfeatures", "{ rib.renderer.token late }");
             EXPECT_EQ(FS_RibFeatures::entries(), 0);
             EXPECT_EQ(FS_RibFeatures::getRenderer("late"), nullptr);
         }},
        {dir.path("later"), [&] {
             EXPECT_STREQ(FS_RibFeatures::getDefaultRenderer(), "prman11");
             dir.write("later/ROPfeatures", "{ rib.renderer.token before }");
             EXPECT_EQ(FS_RibFeatures::entries(), 1) << "the default renderer must not have read the file";
         }}};
    for (const auto& [path, work] : processes) {
        const WithVariable variable("TARVANI_PATH", path.c_str());
        checkInChild(false, work);
    }
}

}  // namespace
