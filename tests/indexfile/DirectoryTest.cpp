#include <sys/stat.h>
#include <unistd.h>

#include "Index.h"

namespace {

namespace fs = std::filesystem;

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
    // Reads a directory with this list.
    bool collapse(FS_IndexFile& index, const std::string& name, const std::string& list) {
        dir.write(name + "/Sections.list", list);
        return index.collapseFromDirectory(dir.path(name).c_str());
    }
    ScratchDir dir;
};

TEST_F(DirectoryForm, HoldsContainersAsDirectoriesOfTheirOwn) {
    const Sections deepest = {{"y", "deeper"}}, inner = {{"x", "deep"}, {"sub", containerBytes(deepest)}, {"y\ty", ""}};
    const std::string bytes =
        packedContainer({{"inner", containerBytes(inner, "inside"), 7000}, {"no sections", containerBytes({}), 8000}});
    dir.setTime((dir.write("source.idx", bytes), "source.idx"), 6000);
    FS_IndexFile index(dir.path("source.idx").c_str()), back;
    add(index, "memory", containerBytes({{"z", "in memory"}}), 8);
    ASSERT_TRUE(index.expandToDirectory("../form"));
    EXPECT_EQ(dir.read("form/inner/sub/y"), "deeper");
    EXPECT_EQ(dir.read("form/memory/z"), "in memory");
    for (const auto& [name, time] :
         {std::pair("inner", 7000), {"no sections", 8000}, {"memory", 8}, {"Sections.list", 6000}}) {
        struct stat status {};
        EXPECT_EQ(::stat(dir.path(std::string("form/") + name).c_str(), &status), 0);
        EXPECT_EQ(std::pair(status.st_atime, status.st_mtime), (std::pair<time_t, time_t>(time, time))) << name;
    }

    for (const char* name : {"before", "no sections"}) add(back, name, "kept or replaced", 1);
    const int before = FS_IndexFile::getCurrentTime();
    ASSERT_TRUE(back.collapseFromDirectory(dir.path("form").c_str()));
    EXPECT_GE(back.getSectionModTime("inner"), before) << "put together anew";
    EXPECT_THAT(namesOf(back), ElementsAre("before", "no sections", "inner", "memory"));
    EXPECT_EQ(contentOf(back, "no sections"), containerBytes({}));
    EXPECT_EQ(back.getSectionModTime("no sections"), 8000);
    Sections found = sectionsOf(contentOf(back, "inner"));
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(sectionsOf(std::exchange(found[1].second, inner[1].second)), deepest);
    EXPECT_EQ(found, inner);
}

TEST_F(DirectoryForm, NamesEachSectionByAFileOfItsOwn) {
    const Sections sections = {// named by itself, holding the name of its file
                               {"a/b_c", "a_1b__c"},
                               {"Sections.list", "_Sections.list"},
                               {"_Sections.list", "__Sections.list"},
                               {"__x", "____x"},
                               {"\\\n\r\t$~", "_2_3_4_5_6_7"},
                               {"a:b*c|d", "a:b*c|d"},
                               {"Sections.listing", "Sections.listing"},
                               {".hidden", ".hidden"},
                               {"a_1b", "a__1b"},
                               {"with \"quotes\" and blanks", "with \"quotes\" and blanks"},
                               {"#comment", "#comment"},
                               {"file:x", "file:x"}};
    ASSERT_TRUE(expand(containerBytes(sections), "form"));
    for (const auto& [name, file] : sections) EXPECT_EQ(dir.read("form/" + file), file);
    EXPECT_EQ(dir.names("form").size(), sections.size() + 1);
    FS_IndexFile back;
    ASSERT_TRUE(back.collapseFromDirectory(dir.path("form").c_str()));
    EXPECT_EQ(sectionsIn(back), sections);
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
    for (int i = 0; i < 2; ++i)  // may hold an earlier expansion
        EXPECT_TRUE(expand(bytes, "form")) << "the directory itself is the caller's choice";
    fs::remove(dir.path("beside/file"));
    ASSERT_EQ(::mkfifo(dir.path("beside/file").c_str(), 0600), 0);
    EXPECT_FALSE(expand(bytes, "form"));
}

TEST_F(DirectoryForm, FailsWhereItCannotGo) {
    dir.write("plain", "x");
    fs::create_directory_symlink(dir.makeDirectory("in/what?"), dir.path("in/link"));
    // For writers a path behind such a directory's would be a section of a file that nobody named.
    for (const char* path : {"plain", "in/what?", "in/new?", "in/link"}) {
        EXPECT_FALSE(expand(containerBytes({{"a", "1"}}), path)) << path;
        EXPECT_THAT(dir.names("in"), ElementsAre("link", "what?"));
        EXPECT_THAT(dir.names("in/what?"), IsEmpty());
    }
    // A list in the present directory is another directory's business.
    dir.write("start/Sections.list", "\"\"\n");
    dir.makeDirectory("without list");
    dir.makeDirectory("directory/Sections.list");
    dir.makeDirectory("link");
    fs::create_symlink(dir.path("start/Sections.list"), dir.path("link/Sections.list"));
    FS_IndexFile index;
    for (const std::string& path : {dir.path("plain"), dir.path("missing"), dir.path("without list"),
                                    dir.path("directory"), dir.path("link"), std::string()})
        EXPECT_FALSE(index.collapseFromDirectory(path.c_str())) << path;
    EXPECT_FALSE(index.collapseFromDirectory(nullptr) || index.expandToDirectory(nullptr));
}

TEST_F(DirectoryForm, GoesSixtyFourLevelsDeep) {
    std::string bytes = containerBytes({{"end", "x"}});
    for (int level = 2; level <= 64; ++level) bytes = containerBytes({{"d", bytes}});
    ASSERT_TRUE(expand(bytes, "more/deep"));
    FS_IndexFile back;
    EXPECT_TRUE(back.collapseFromDirectory(dir.path("more/deep").c_str()));
    EXPECT_FALSE(expand(containerBytes({{"d", bytes}}), "deeper"));
    // Two sections in one place, and two in each of these: names for a thousand million files.
    std::string twice = "x";
    for (int level = 1; level <= 30; ++level) {
        const int size = static_cast<int>(twice.size());
        twice = containerHead(2) + tableEntry("a", 0, size) + tableEntry("b", 0, size) + twice;
        EXPECT_TRUE(level != 5 || expand(twice, "shared"));
    }
    EXPECT_FALSE(expand(twice, "without end"));
    EXPECT_FALSE(collapse(back, "more", "\"\"\ndeep\tdeep\n"));
}

TEST_F(DirectoryForm, TakesAListAsFarAsItIsWhole) {
    const struct {
        const char *what, *list;
        bool done;
        std::vector<std::string> names;
        std::string_view missing = {};
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
        {"a file larger than a section can be",
         "\"\"\nlarge\tone\nin\ttwo\nb\tthree\n",
         true,
         {"two", "three"},
         "large: can't be read whole"},
        {"one in a directory", "\"\"\nin\tone\n", true, {"one"}, "in/large: can't be read whole"},
        {"a path", "\"\"\n../outside\tone\n", false, {}},
        {"a section path", "\"\"\nx.idx?s\tone\n", false, {}},
        {"this directory", "\"\"\n.\tone\n", false, {}},
        {"the directory above", "\"\"\n..\tone\n", false, {}},
        {"a symbolic link", "\"\"\nlink\tone\n", false, {}},
        {"a link to a directory", "\"\"\nloop\tone\n", false, {}},
        {"a pipe", "\"\"\npipe\tone\n", false, {}},
        {"a file listed twice", "\"\"\na\tone\na\ttwo\n", false, {"one"}},
    };
    const std::pair<const char*, std::string> files[] = {
        {"outside", "secret"}, {"form/a", "1"}, {"form/b", "2"}, {"form/x.idx", containerBytes({{"s", "3"}})}};
    for (const auto& [name, bytes] : files) dir.write(name, bytes);
    dir.write("form/sub/Sections.list", "");
    dir.write("form/in/Sections.list", "\"\"\nlarge\tone\n");
    for (const char* large : {"form/large", "form/in/large"}) {
        dir.write(large, "");
        fs::resize_file(dir.path(large), std::uintmax_t{1} << 31);
    }
    fs::create_symlink(dir.path("outside"), dir.path("form/link"));
    fs::create_symlink(".", dir.path("form/loop"));
    ASSERT_EQ(::mkfifo(dir.path("form/pipe").c_str(), 0600), 0);
    for (const auto& c : cases) {
        FS_IndexFile index;
        EXPECT_EQ(collapse(index, "form", c.list), c.done) << c.what;
        EXPECT_EQ(namesOf(index), c.names) << c.what;
        EXPECT_EQ(index.getWriteFailure().view(), c.missing) << c.what;
    }
}

}  // namespace
