#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

// Whatever happens, the process stays where it was.
class DirectoryForm : public testing::Test {
protected:
    void SetUp() override { fs::current_path(dir.makeDirectory("start")); }
    void TearDown() override {
        EXPECT_EQ(fs::current_path(), dir.path("start"));
        fs::current_path("/");
    }
    bool expand(const std::string& bytes, const std::string& to) {
        return FS_IndexFile(dir.write("source.idx", bytes).c_str()).expandToDirectory(dir.path(to).c_str());
    }
    // A directory with this list.
    std::string listed(const std::string& name, const std::string& list) {
        dir.write(name + "/Sections.list", list);
        return dir.path(name);
    }
    ScratchDir dir;
};

TEST_F(DirectoryForm, GivesBackNamesOrderBytesAndTimes) {
    const Sections inner = {{"x", "deep"}, {"sub", containerBytes({{"y", "deeper"}})}, {"y\ty", ""}};
    const std::string bytes = packedContainer({{"zebra", "stripes", 5000},
                                               {"a/b", "", 6000},
                                               {"inner", containerBytes(inner, "inside"), 7000},
                                               {"no sections", containerBytes({}), 8000},
                                               {"with \"quotes\" and\nlines \\", "q", 9000},
                                               {"#comment", "c", 9001},
                                               {"file:x", "f", 9002}},
                                              "a description\nof two lines");
    ASSERT_TRUE(expand(bytes, "form"));
    EXPECT_EQ(dir.read("form/zebra"), "stripes");
    EXPECT_EQ(dir.read("form/inner/sub/y"), "deeper");
    EXPECT_EQ(dir.read("form/no sections"), containerBytes({}));
    EXPECT_EQ(dir.read("form/file:x"), "f");
    EXPECT_EQ(dir.getTime("form/zebra"), 5000);
    EXPECT_EQ(dir.getTime("form/inner"), 7000);

    FS_IndexFile back;
    add(back, "before", "kept");
    add(back, "a/b", "replaced", 1);
    ASSERT_TRUE(back.collapseFromDirectory(dir.path("form").c_str()));
    EXPECT_EQ(back.getDescription(), "a description\nof two lines");
    EXPECT_THAT(namesOf(back), ElementsAre("before", "a/b", "zebra", "inner", "no sections",
                                           "with \"quotes\" and\nlines \\", "#comment", "file:x"));
    EXPECT_EQ(contentOf(back, "a/b"), "");
    EXPECT_EQ(back.getSectionModTime("zebra"), 5000);
    EXPECT_EQ(back.getSectionModTime("a/b"), 6000);
    Sections deep = sectionsOf(contentOf(back, "inner"));
    ASSERT_EQ(deep.size(), 3u);
    EXPECT_EQ(deep[0], inner[0]);
    EXPECT_EQ(sectionsOf(deep[1].second), (Sections{{"y", "deeper"}}));
    EXPECT_EQ(deep[2], inner[2]);
}

TEST_F(DirectoryForm, NamesEachSectionByAFileOfItsOwn) {
    const std::pair<const char*, const char*> names[] = {
        {"a/b_c", "a_1b__c"},
        {"Sections.list", "_Sections.list"},
        {"_Sections.list", "__Sections.list"},
        {"__x", "____x"},
        {"\\\n\r\t$~", "_2_3_4_5_6_7"},
        {"a:b*c|d", "a:b*c|d"},
        {"Sections.listing", "Sections.listing"},
        {".hidden", ".hidden"},
        {"a_1b", "a__1b"},
    };
    Sections sections;
    std::vector<std::string> files = {"Sections.list"};
    for (const auto& [name, file] : names) sections.emplace_back(name, files.emplace_back(file));
    ASSERT_TRUE(expand(containerBytes(sections), "form"));
    std::sort(files.begin(), files.end());
    EXPECT_EQ(dir.names("form"), files);
    for (const auto& [name, file] : names) EXPECT_EQ(dir.read(std::string("form/") + file), file);
    FS_IndexFile back;
    ASSERT_TRUE(back.collapseFromDirectory(dir.path("form").c_str()));
    EXPECT_EQ(sectionsOf(written(back)), sections);
}

TEST_F(DirectoryForm, RefusesSectionsThatCanHaveNoFile) {
    for (const std::string& name : {std::string("."), std::string(".."), std::string(), std::string("a?b"),
                                    std::string(300, 'n'), std::string("first")}) {
        fs::remove_all(dir.path("form"));
        EXPECT_FALSE(expand(containerBytes({{"first", "1"}, {name, "2"}, {"last", "3"}}), "form")) << name;
        EXPECT_THAT(dir.names("form"), ElementsAre("Sections.list", "first")) << name;
        EXPECT_THAT(dir.names(), ElementsAre("form", "source.idx", "start"));
    }
    EXPECT_FALSE(expand(containerBytes({}), "none"));
    EXPECT_FALSE(dir.exists("none")) << "without sections nothing is made";
    const std::string cut = containerBytes({{"a", "whole"}, {"b", "not whole"}});
    EXPECT_FALSE(expand(cut.substr(0, cut.size() - 1), "form"));
}

// Old links in the directory must not lead the new content out of it.
TEST_F(DirectoryForm, WritesThroughNoSymbolicLink) {
    const std::string file = dir.write("outside", "good"), directory = dir.makeDirectory("beside");
    const std::string bytes = containerBytes({{"file", "1"}, {"sub", containerBytes({{"x", "2"}})}});
    for (const char* place : {"file", "sub", "Sections.list"}) {
        for (const std::string& target : {file, directory, dir.path("missing")}) {
            fs::remove_all(dir.path("form"));
            dir.makeDirectory("form");
            fs::create_symlink(target, dir.path(std::string("form/") + place));
            EXPECT_FALSE(expand(bytes, "form")) << place << ' ' << target;
            EXPECT_EQ(dir.read("outside"), "good");
            EXPECT_THAT(dir.names("beside"), IsEmpty());
            EXPECT_FALSE(dir.exists("missing"));
        }
    }
    fs::remove_all(dir.path("form"));
    fs::create_symlink(directory, dir.path("form"));
    EXPECT_TRUE(expand(bytes, "form")) << "the directory itself is the caller's choice";
    EXPECT_TRUE(expand(bytes, "form")) << "and may hold an earlier expansion";
    fs::remove(dir.path("beside/file"));
    ASSERT_EQ(::mkfifo(dir.path("beside/file").c_str(), 0600), 0);
    EXPECT_FALSE(expand(bytes, "form"));
}

TEST_F(DirectoryForm, FailsWhereItCannotGo) {
    dir.write("plain", "x");
    EXPECT_FALSE(expand(containerBytes({{"a", "1"}}), "plain"));
    // For writers a path behind such a directory's would be a section of a file that nobody named.
    fs::create_directory_symlink(dir.makeDirectory("in/what?"), dir.path("in/link"));
    for (const char* path : {"in/what?", "in/new?", "in/link"}) {
        EXPECT_FALSE(expand(containerBytes({{"a", "1"}}), path)) << path;
        EXPECT_THAT(dir.names("in"), ElementsAre("link", "what?"));
        EXPECT_THAT(dir.names("in/what?"), IsEmpty());
    }
    FS_IndexFile index;
    for (const char* path : {"plain", "missing", ""}) {
        // A list in the present directory is another directory's business.
        dir.write("start/Sections.list", "\"\"\n");
        EXPECT_FALSE(index.collapseFromDirectory(path[0] ? dir.path(path).c_str() : path)) << path;
    }
    EXPECT_FALSE(index.collapseFromDirectory(nullptr));
    EXPECT_FALSE(index.expandToDirectory(nullptr));
    dir.makeDirectory("without list");
    dir.makeDirectory("directory/Sections.list");
    for (const char* path : {"without list", "directory"})
        EXPECT_FALSE(index.collapseFromDirectory(dir.path(path).c_str()));
}

TEST_F(DirectoryForm, GoesSixtyFourLevelsDeep) {
    std::string bytes = containerBytes({{"end", "x"}});
    for (int level = 2; level <= 64; ++level) bytes = containerBytes({{"d", bytes}});
    ASSERT_TRUE(expand(bytes, "deep"));
    FS_IndexFile back;
    EXPECT_TRUE(back.collapseFromDirectory(dir.path("deep").c_str()));
    EXPECT_FALSE(expand(containerBytes({{"d", bytes}}), "deeper"));
    dir.makeDirectory("more");
    fs::rename(dir.path("deep"), dir.path("more/deep"));
    EXPECT_FALSE(back.collapseFromDirectory(listed("more", "\"\"\ndeep\tdeep\n").c_str()));
}

TEST_F(DirectoryForm, TakesAListAsFarAsItIsWhole) {
    const struct {
        const char* what;
        std::string list;
        bool done;
        std::vector<std::string> names;
    } cases[] = {
        {"a lone file name at the end", "\"\"\na\tone\nb", true, {"one"}},
        {"no line end at the end", "text\na\tone", true, {"one"}},
        {"words in other places", "text a one\n\n b\ttwo", true, {"one", "two"}},
        {"an empty file name, an empty section name", "\"\"\n\"\"\tone\na\t\"\"\nb\ttwo\n", true, {"two"}},
        {"a section named twice", "\"\"\na\tone\nb\tone\n", true, {"one"}},
        {"only a description", "\"a text\"", true, {}},
        {"nothing", "", false, {}},
        {"an inner directory that isn't one", "\"\"\na\tone\nsub\ttwo\nb\tthree\n", false, {"one"}},
        {"a missing file", "\"\"\na\tone\nc\tthree\nb\ttwo\n", false, {"one"}},
        {"a path", "\"\"\n../outside\tone\n", false, {}},
        {"an absolute path", "\"\"\n/etc/passwd\tone\n", false, {}},
        {"a section path", "\"\"\nx.idx?s\tone\n", false, {}},
        {"this directory", "\"\"\n.\tone\n", false, {}},
        {"the directory above", "\"\"\n..\tone\n", false, {}},
        {"a symbolic link", "\"\"\nlink\tone\n", false, {}},
        {"a link to a directory", "\"\"\nloop\tone\n", false, {}},
        {"a pipe", "\"\"\npipe\tone\n", false, {}},
        {"a file listed twice", "\"\"\na\tone\na\ttwo\n", false, {"one"}},
    };
    dir.write("outside", "secret");
    dir.write("form/a", "1");
    dir.write("form/b", "2");
    dir.write("form/x.idx", containerBytes({{"s", "3"}}));
    dir.write("form/sub/Sections.list", "");
    fs::create_symlink(dir.path("outside"), dir.path("form/link"));
    fs::create_symlink(".", dir.path("form/loop"));
    ASSERT_EQ(::mkfifo(dir.path("form/pipe").c_str(), 0600), 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        FS_IndexFile index;
        EXPECT_EQ(index.collapseFromDirectory(listed("form", c.list).c_str()), c.done);
        EXPECT_EQ(namesOf(index), c.names);
    }
}

TEST_F(DirectoryForm, ExpandsSectionsInMemoryAndLinkedOnes) {
    FS_IndexFile index;
    add(index, "memory", "m", 7);
    add(index, "container", containerBytes({{"x", "in memory"}}), 8);
    ASSERT_TRUE(index.linkSection("linked", dir.write("file", "l").c_str()));
    ASSERT_TRUE(index.expandToDirectory("../form"));
    EXPECT_EQ(dir.read("form/memory"), "m");
    EXPECT_EQ(dir.read("form/linked"), "l");
    EXPECT_EQ(dir.read("form/container/x"), "in memory");
    EXPECT_EQ(dir.getTime("form/container"), 8);
}

}  // namespace
