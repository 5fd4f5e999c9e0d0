#pragma once
// Files along search paths, which lead to three directories:
//
//     known path 0  hi, mid, lo, with hi behind a variable     1  lo/sub, lo     2  none
#include <UT/UT_PathSearch.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "../support/Rules.h"
#include "../support/ScratchDir.h"

using Texts = std::vector<std::string>;

inline std::string theRoot;  // where the directories lie
inline std::string path(const std::string& name) {
    return theRoot + "/" + name;
}
// A path as the tests write it, from the root on, and "-" for null.
inline std::string relative(const char* full) {
    const std::string text = full ? full : "-";
    return text.starts_with(path("")) ? text.substr(path("").size()) : text;
}

// Leads the known paths below `root`, which must happen before the first of them is read.
inline void leadPaths(const std::string& root) {
    theRoot = root;
    ::setenv("PATHFILE_TEST_ROOT", root.c_str(), 1);
    ::setenv("TARVANI_PATH", ("$PATHFILE_TEST_ROOT/hi:" + path("mid") + ":" + path("lo")).c_str(), 1);
    ::setenv("HOME", path("lo").c_str(), 1);
    ::setenv("TARVANI_DSO_PATH", ("~/sub:" + path("lo")).c_str(), 1);
    ::setenv("TARVANI_SITE_DSO_PATH", "", 1);
    ::setenv("TARVANI_HOME", path("mid").c_str(), 1);
}

// In tables: texts with a blank between them.
inline std::string joined(const Texts& texts) {
    std::string all;
    for (const std::string& text : texts) all.append(all.empty() ? "" : " ").append(text);
    return all;
}
inline std::string entriesOf(const UT_PathFile& file, int unfilteredOnly = 0) {
    Texts paths;
    for (int i = 0; i < file.getFileInfoCount(unfilteredOnly); ++i) {
        UT_PathFileInfo* const entry = file.getFileInfo(i, unfilteredOnly);
        paths.push_back(entry ? relative(entry->getFullPath()) : "null");
    }
    return joined(paths);
}

// The known paths are read once in a process, so all tests share their directories, which each finds empty.
class PathFiles : public testing::Test {
protected:
    PathFiles() {
        static const bool isSet = [] {
            leadPaths(root().path());
            return UT_PathSearch::getInstance(UT_PATH_DEFAULT) != nullptr;
        }();
        EXPECT_TRUE(isSet);
        ::chmod(theRoot.c_str(), 0755);
        empty();
    }

    static void empty() {
        for (const char* directory : {"hi", "mid", "lo", "other"}) {
            std::filesystem::remove_all(path(directory));
            root().makeDirectory(directory);
        }
    }

    static const ScratchDir& root() {
        static const ScratchDir directory;
        return directory;
    }
    // Files that hold a line with their own name.
    static void write(const Texts& names) {
        for (const std::string& name : names) root().write(name, name + "\n");
    }
    // A list that has been computed.
    struct Found : UT_PathFile {
        explicit Found(const char* pattern = "*", int knownPath = 0) {
            setSearchPath(knownPath, pattern);
            applyStandardFilter();
        }
    };

    static Texts split(const std::string& text) {
        std::istringstream in(text);
        Texts words;
        for (std::string word; std::getline(in, word, ' ');) words.push_back(word);
        return words;
    }
    static const char* nullable(const std::string& text) { return text == "-" ? nullptr : text.c_str(); }
};
