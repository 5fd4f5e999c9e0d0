// What callers get of the renderer definitions, whatever the file says.
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

namespace {

class RibFeatures : public testing::Test {
protected:
    // Runs `work` in a process that has asked for nothing yet.
    void inNewProcess(const std::function<void()>& work) {
        const WithVariable path("TARVANI_PATH", dir_.path().c_str());
        EXPECT_EQ(inChild([&] {
                      work();
                      return !HasFailure();
                  }),
                  0);
    }

    ScratchDir dir_;
};

TEST_F(RibFeatures, AMissingFileIsLookedForOnce) {
    inNewProcess([&] {
        EXPECT_STREQ(FS_RibFeatures::getDefaultRenderer(), "prman11");
        dir_.write("ROPfeatures", "{ rib.renderer.token before }");
        EXPECT_EQ(FS_RibFeatures::entries(), 1) << "the default renderer must not have read the file";
    });
    dir_.write("ROPfeatures", "");
    inNewProcess([&] {
        EXPECT_EQ(FS_RibFeatures::entries(), 0);
        dir_.write("ROPfeatures", "{ rib.renderer.token late }");
        EXPECT_EQ(FS_RibFeatures::entries(), 0);
        EXPECT_EQ(FS_RibFeatures::getRenderer("late"), nullptr);
        EXPECT_STREQ(FS_RibFeatures::getDefaultRenderer(), "prman11");
    });
}

TEST_F(RibFeatures, ValuesHaveTypesAndATokenIsAText) {
    dir_.write("ROPfeatures", "{ rib.renderer.token 11 samples 4 motion On }");
    inNewProcess([] {
        const UT_OptionFile* const options = FS_RibFeatures::getRenderer("11");
        ASSERT_NE(options, nullptr);
        EXPECT_EQ(options->getOptionType("samples"), UT_OptionFile::INT);
        EXPECT_EQ(options->getOptionType("motion"), UT_OptionFile::BOOL);
        EXPECT_EQ(options->getOptionType("rib.renderer.label"), UT_OptionFile::STRING);
    });
}

TEST_F(RibFeatures, WhatIsNotThereIsNull) {
    dir_.write("ROPfeatures", "{ rib.renderer.token b } { rib.renderer.token a } { rib.renderer.token \"\" }");
    inNewProcess([] {
        EXPECT_EQ(FS_RibFeatures::entries(), 3);
        for (const char* token : {static_cast<const char*>(nullptr), "c", "A", "prman11"})
            EXPECT_EQ(FS_RibFeatures::getRenderer(token), nullptr);
        for (const int index : {-1, 3, 1 << 30}) EXPECT_EQ(FS_RibFeatures::getRenderer(index), nullptr);
        EXPECT_EQ(FS_RibFeatures::getRenderer(""), FS_RibFeatures::getRenderer(0));
        EXPECT_EQ(FS_RibFeatures::getRenderer("b"), FS_RibFeatures::getRenderer(2));
    });
}

TEST_F(RibFeatures, TheFirstFileAlongThePathIsReadAndMayIncludeFurtherOnes) {
    dir_.write("one/ROPfeatures", "#include <more>\n{ rib.renderer.token one inherit two }");
    dir_.write("two/ROPfeatures", "{ rib.renderer.token unread }");
    dir_.write("two/more", "{ rib.renderer.token two depth 2 }");
    const std::string path = dir_.path("one") + ":" + dir_.path("two");
    inNewProcess([&] {
        const WithVariable both("TARVANI_PATH", path.c_str());
        EXPECT_EQ(FS_RibFeatures::entries(), 2);
        const UT_OptionFile* const one = FS_RibFeatures::getRenderer("one");
        ASSERT_NE(one, nullptr);
        EXPECT_TRUE(one->hasOption("depth"));
        EXPECT_EQ(FS_RibFeatures::getRenderer("unread"), nullptr);
    });
}

}  // namespace
