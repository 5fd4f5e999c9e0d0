// Containers as directories: what a directory holds, what is taken from one, and that nothing leads out of it.
#include <sys/stat.h>
#include <unistd.h>

#include "../support/Rules.h"
#include "Index.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

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
    for (const auto& [file, content] : Sections{{"inner/sub/y", "deeper"}, {"memory/z", "in memory"}})
        EXPECT_EQ(dir.read("form/" + file), content);
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

TEST_F(DirectoryForm, NamesFilesAndTakesListsAsTheRulesSay) {
    for (const auto& [name, bytes] : Sections{{"outside", "secret"},
                                              {"form/a", "1"},
                                              {"form/b", "2"},
                                              {"form/x.idx", containerBytes({{"s", "3"}})},
                                              {"Sections.list", "\"\"\n"},
                                              {"form/sub/Sections.list", ""},
                                              {"form/in/Sections.list", "\"\"\nlarge\tone\n"}})
        dir.write(name, bytes);
    for (const char* large : {"form/large", "form/in/large"})
        dir.cutAt((dir.write(large, ""), large), std::uintmax_t{1} << 31);
    fs::create_symlink(dir.path("outside"), dir.path("form/link"));
    fs::create_symlink(".", dir.path("form/loop"));
    ASSERT_EQ(::mkfifo(dir.path("form/pipe").c_str(), 0600), 0);
    const auto list = [&](const Columns& c) {
        FS_IndexFile index;
        dir.write("form/Sections.list", c[0]);
        const bool done = index.collapseFromDirectory(dir.path("form").c_str());
        std::string text;
        for (const std::string& name : namesOf(index)) text += (text.empty() ? "" : " ") + name;
        const std::string missing(index.getWriteFailure().view());
        return text + (done ? "" : " refused") + (missing.empty() ? "" : " (" + missing + ")");
    };
    const auto file = [&](const Columns& c) {
        fs::remove_all(dir.path("named"));
        const Sections one = {{c[0], "content"}};
        FS_IndexFile back;
        if (!expand(containerBytes(one), "named")) {
            EXPECT_THAT(dir.names("named"), ElementsAre("Sections.list"));
            return "none"s;
        }
        EXPECT_TRUE(back.collapseFromDirectory(dir.path("named").c_str()));
        EXPECT_EQ(sectionsIn(back), one);
        fs::remove(dir.path("named/Sections.list"));
        return dir.names("named").at(0);
    };
    expectRules(TARVANI_RULES "/directories.rules", {{"file", file}, {"list", list}});
}

TEST_F(DirectoryForm, RefusesSectionsThatCanHaveNoFile) {
    // One after another of two with one name.
    EXPECT_FALSE(expand(containerBytes({{"first", "1"}, {"first", "2"}, {"last", "3"}}), "form"));
    EXPECT_THAT(dir.names("form"), ElementsAre("Sections.list", "first"));
    EXPECT_FALSE(expand(containerBytes({}), "none"));
    EXPECT_FALSE(dir.exists("none")) << "without sections nothing is made";
    const std::string cut = containerBytes({{"a", "whole"}, {"b", "not whole"}});
    EXPECT_FALSE(expand(cut.substr(0, cut.size() - 1), "form"));
}

// Old links in the directory must not lead the new content out of it.
TEST_F(DirectoryForm, WritesThroughNoSymbolicLink) {
    const std::string file = dir.write("outside", "good"), directory = dir.makeDirectory("beside");
    const std::string bytes = containerBytes({{"file", "1"}, {"sub", containerBytes({{"x", "2"}})}});
    for (const std::string place : {"form/file", "form/sub", "form/Sections.list"}) {
        for (const std::string& target : {file, directory, dir.path("missing")}) {
            fs::remove_all(dir.path("form"));
            fs::create_symlink(target, (dir.makeDirectory("form"), dir.path(place)));
            EXPECT_FALSE(expand(bytes, "form")) << place << ' ' << target;
            EXPECT_EQ(dir.read("outside"), "good");
            EXPECT_TRUE(fs::is_empty(directory) && !dir.exists("missing"));
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
    dir.write("more/Sections.list", "\"\"\ndeep\tdeep\n");
    EXPECT_FALSE(back.collapseFromDirectory(dir.path("more").c_str()));
}

// Two sections in one place, and two in each of these: names for a thousand million files.
TEST_F(DirectoryForm, EndsWhateverSectionsShareTheirBytes) {
    std::string twice = "x";
    for (int level = 1; level <= 30; ++level) {
        const int size = static_cast<int>(twice.size());
        twice = containerHead(2) + tableEntry("a", 0, size) + tableEntry("b", 0, size) + twice;
        EXPECT_TRUE(level != 5 || expand(twice, "shared"));
    }
    EXPECT_FALSE(expand(twice, "without end"));
}

}  // namespace
