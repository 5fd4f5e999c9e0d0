#pragma once
// Files along search paths. The known paths are read once in a process, so all tests share their directories, which
// each finds empty:
//
//     0  hi, mid, lo, with hi behind a variable     1  lo/sub, lo     2  none
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

class PathFiles : public testing::Test {
protected:
    using Texts = std::vector<std::string>;
    static constexpr int kLo = 0, kMid = 1, kHi = 2;  // directory indexes

    PathFiles() {
        static const bool isSet = [] {
            ::setenv("PATHFILE_TEST_ROOT", root().path().c_str(), 1);
            ::setenv("TARVANI_PATH", ("$PATHFILE_TEST_ROOT/hi:" + path("mid") + ":" + path("lo")).c_str(), 1);
            ::setenv("HOME", path("lo").c_str(), 1);
            ::setenv("TARVANI_DSO_PATH", ("~/sub:" + path("lo")).c_str(), 1);
            ::setenv("TARVANI_SITE_DSO_PATH", "", 1);
            ::setenv("TARVANI_HOME", path("mid").c_str(), 1);
            return UT_PathSearch::getInstance(UT_PATH_DEFAULT) != nullptr;
        }();
        EXPECT_TRUE(isSet);
        ::chmod(root().path().c_str(), 0755);
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
    static std::string path(const std::string& name) { return root().path(name); }
    // Files that hold a line with their own name.
    static void write(const Texts& names) {
        for (const std::string& name : names) root().write(name, name + "\n");
    }
    // A path as the tests write it, from the directory of the search path on.
    static std::string relative(const char* full) {
        const std::string text = full ? full : "-";
        return text.starts_with(path("")) ? text.substr(path("").size()) : text;
    }
    static Texts entries(const UT_PathFile& file, int unfilteredOnly = 0) {
        Texts paths;
        for (int i = 0; i < file.getFileInfoCount(unfilteredOnly); ++i)
            paths.push_back(relative(file.getFileInfo(i, unfilteredOnly)->getFullPath()));
        return paths;
    }
    // A list that has been computed.
    struct Found : UT_PathFile {
        explicit Found(const char* pattern = "*", int knownPath = 0) {
            setSearchPath(knownPath, pattern);
            applyStandardFilter();
        }
    };
    // The whole list of a pattern, in the order of reading.
    static Texts list(const char* pattern, int knownPath = 0) { return entries(Found(pattern, knownPath)); }

    // In tables: texts with a blank between them, and "-" for null.
    static std::string joined(const Texts& texts) {
        std::string all;
        for (const std::string& text : texts) all.append(all.empty() ? "" : " ").append(text);
        return all;
    }
    static Texts split(const std::string& text) {
        std::istringstream in(text);
        Texts words;
        for (std::string word; std::getline(in, word, ' ');) words.push_back(word);
        return words;
    }
    static const char* nullable(const std::string& text) { return text == "-" ? nullptr : text.c_str(); }
};
