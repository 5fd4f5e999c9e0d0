#pragma once
// Plug-ins that are put into directories and used by a fresh process: what a process has loaded and looked for stays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "../support/ScratchDir.h"

using Words = std::vector<std::string>;

class PluginTest : public testing::Test {
protected:
    // Puts the built plug-in `plugin` to `place` in the scratch directory. Gives its path.
    std::string put(const std::string& plugin, const std::string& place) const;
    // The paths of places in the scratch directory.
    Words at(const Words& places) const;
    // What `work` notes in a process of its own, with the known paths 1, 2 and 3 as given: directories in the scratch
    // directory, split by blanks. The message boxes that it meets are noted too, with N for the code.
    Words inFreshProcess(const Words& paths, const std::function<void(Words& notes)>& work) const;
    // As a note of the box about `file`.
    static std::string box(const std::string& file, const std::string& detail);

    ScratchDir dir_;
};

inline constexpr const char* kOtherVersion =
    "This is probably because this file was intended for use with a different version of Tarvani.";
inline constexpr const char* kMissingVersion =
    "Missing version information.\n\nWhen creating custom operators with the TPK, remember to\n"
    "#include <UT/UT_DSOVersion> to define the required version information.";
