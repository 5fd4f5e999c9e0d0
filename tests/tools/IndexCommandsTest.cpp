// The subcommands of "index", when all goes well and when an edit makes no sense.
#include <unistd.h>

#include <sstream>

#include "TarvaniCommand.h"

class IndexCommands : public TarvaniCommand {
protected:
    // Names in table order, each with its content.
    std::string sectionsOf(const std::string& file) {
        std::string text;
        for (const std::string& name : namesIn(file)) text += name + "=" + printed({"cat", file + "?" + name}) + " ";
        return text;
    }
    Words namesIn(const std::string& file) {
        Words names;
        std::istringstream list(printed({"index", "list", file}));
        for (std::string line; std::getline(list, line);) names.push_back(line.substr(line.rfind('\t') + 1));
        return names;
    }
};

TEST_F(IndexCommands, CreateKeepsNamesOrderBytesAndTimes) {
    dir_.write("b", "bb");
    dir_.setTime("b", 1234);
    dir_.write("empty", "");
    for (const char* name : {"d/z", "d/sub/y", "d/a.txt", "d/a/x", "d/.hidden"}) dir_.write(name, name);
    ASSERT_EQ(::symlink("../b", dir_.path("d/link").c_str()), 0);
    EXPECT_EQ(printed({"index", "create", "s.idx", "-d", "a scene", "empty", "d/", "b"}), "");
    EXPECT_EQ(sectionsOf("s.idx"),
              "empty= d/.hidden=d/.hidden d/a.txt=d/a.txt d/a/x=d/a/x d/link=bb d/sub/y=d/sub/y d/z=d/z b=bb ");
    EXPECT_THAT(printed({"index", "list", "s.idx"}), testing::EndsWith("\n2\t1234\tb\n"));
    EXPECT_EQ(printed({"index", "describe", "s.idx"}), "a scene\n");
    // A container that is there is replaced, not added to.
    EXPECT_EQ(printed({"index", "create", "s.idx", "b"}), "");
    EXPECT_EQ(sectionsOf("s.idx"), "b=bb ");
    EXPECT_EQ(printed({"index", "describe", "s.idx"}), "\n");
}

TEST_F(IndexCommands, CreateTakesNamesFromAListAndFilesFromADirectory) {
    for (const char* name : {"in/a", "in/b", "in/d/c"}) dir_.write(name, name);
    dir_.write("list", "b\n\nd");
    EXPECT_EQ(printed({"index", "create", "s.idx", "-C", "in", "--files-from", "list", "a"}), "");
    EXPECT_EQ(sectionsOf("s.idx"), "a=in/a b=in/b d/c=in/d/c ");
    EXPECT_EQ(printed({"index", "create", "s.idx", "-C", "in", "--files-from", "-"}, {.input = "d/c\na\n"}), "");
    EXPECT_EQ(sectionsOf("s.idx"), "d/c=in/d/c a=in/a ");
}

TEST_F(IndexCommands, CreateTakesAHundredThousandNames) {
    std::string names;
    for (int i = 0; i < 100'000; ++i) names += "./" + std::string(static_cast<std::size_t>(i % 300), '/') + "f\n";
    dir_.write("f", "f");
    EXPECT_EQ(printed({"index", "create", "s.idx", "--files-from", "-"}, {.input = names}), "");
    EXPECT_EQ(namesIn("s.idx").size(), 300u);  // a name that comes again is the same file
}

TEST_F(IndexCommands, CreateRefusesWhatCanNotBecomeASection) {
    dir_.write("a", "text");
    dir_.write("d/x", "");
    ASSERT_EQ(::symlink("..", dir_.path("d/up").c_str()), 0);
    dir_.write("e/f?g", "");
    pack("old.idx", {"a"});
    const std::string old = dir_.read("old.idx");
    const struct {
        Words words;
        const char* line;
    } cases[] = {
        {{"a", "a"}, "a: not a container; it stays as it is"},
        {{"old.idx", "nope"}, "nope: No such file or directory"},
        {{"old.idx", "a", "old.idx"}, "old.idx: is the container that is being made"},
        {{"old.idx", "e"}, "e/f?g: a section can't have a name with \"?\", which no path could reach"},
        {{"old.idx", "d"}, "d/up/d: leads back to a directory that holds it"},
        {{"old.idx", "--files-from", "nope"}, "nope: No such file or directory"},
        {{"d", "a"}, "d: Is a directory; give the name of a file in it"},
        {{"nope/x", "a"}, "nope/x: no directory \"nope\"; make it first"},
        {{"-", "a"}, "-: a container can't be made on standard output; name a file"},
    };
    for (const auto& c : cases) {
        Words words = {"index", "create"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(failure(words), std::string("tarvani: ") + c.line);
        EXPECT_EQ(dir_.read("old.idx"), old);
    }
    EXPECT_EQ(dir_.read("a"), "text");
}

TEST_F(IndexCommands, EditsAreWrittenBack) {
    pack("x.idx", {"a", "b", "c", "d"});
    pack("other.idx", {"b", "new"});
    dir_.write("file", "from file");
    dir_.setTime("file", 2000);
    EXPECT_EQ(printed({"index", "move", "x.idx", "2", "3", "-2"}), "");
    EXPECT_EQ(printed({"index", "add", "x.idx", "a", "file"}), "");
    EXPECT_EQ(printed({"index", "add", "x.idx", "e", "-"}, {.input = "typed"}), "");
    EXPECT_EQ(printed({"index", "remove", "x.idx", "d", "b"}), "");
    EXPECT_EQ(sectionsOf("x.idx"), "c=c a=from file e=typed ");
    EXPECT_THAT(printed({"index", "list", "x.idx"}), testing::HasSubstr("\n9\t2000\ta\n"));
    EXPECT_EQ(printed({"index", "add", "x.idx", "b", "file"}), "");
    EXPECT_EQ(printed({"index", "merge", "x.idx", "other.idx"}), "");
    EXPECT_EQ(sectionsOf("x.idx"), "c=c a=from file e=typed b=from file new=new ");
    EXPECT_EQ(printed({"index", "merge", "--overwrite", "x.idx", "other.idx"}), "");
    EXPECT_EQ(sectionsOf("x.idx"), "c=c a=from file e=typed b=b new=new ");
    EXPECT_EQ(printed({"index", "describe", "x.idx", "new words"}), "");
    EXPECT_EQ(printed({"index", "describe", "x.idx"}), "new words\n");
    EXPECT_EQ(printed({"index", "list", "--json", "other.idx"}),
              R"({"path":"other.idx","description":"","sections":[{"name":"b","size":1,"modified":1000},)"
              R"({"name":"new","size":3,"modified":1000}]})"
              "\n");
}

TEST_F(IndexCommands, EditsReachContainersInContainers) {
    pack("inner.idx", {"a", "b"});
    EXPECT_EQ(printed({"cp", "inner.idx", "x.idx?in"}), "");
    EXPECT_EQ(printed({"index", "remove", "x.idx?in", "a"}), "");
    EXPECT_EQ(printed({"index", "add", "x.idx?in", "c", "inner.idx?a"}), "");
    EXPECT_EQ(sectionsOf("x.idx?in"), "b=b c=a ");
    EXPECT_EQ(printed({"index", "merge", "x.idx", "x.idx?in"}), "");
    EXPECT_EQ(namesIn("x.idx"), (Words{"in", "b", "c"}));
}

TEST_F(IndexCommands, EditsThatMakeNoSenseChangeNothing) {
    pack("x.idx", {"a", "b", "c"});
    const std::string before = dir_.read("x.idx");
    const struct {
        Words words;
        const char* line;
    } cases[] = {
        {{"remove", "x.idx", "a", "nope"}, "x.idx: no section \"nope\" (3 sections: a, b, c)"},
        {{"move", "x.idx", "2", "1", "0"}, "x.idx: the range 2 to 1 is empty: FIRST lies behind LAST"},
        {{"move", "x.idx", "1", "3", "0"}, "x.idx: no sections 1 to 3 (the sections are 0 to 2)"},
        {{"move", "x.idx", "1", "2", "1"}, "x.idx: moving 1 to 2 by 1 would leave the table (the sections are 0 to 2)"},
        {{"move", "x.idx", "0", "0", "-1"},
         "x.idx: moving 0 to 0 by -1 would leave the table (the sections are 0 to 2)"},
        {{"add", "x.idx", "n", "packed"}, "packed: Is a directory"},
        {{"add", "x.idx", "n", "x.idx"}, "x.idx?n: lies in x.idx, which can't go into itself"},
        {{"add", "x.idx", "n?m", "packed/a"}, "x.idx: no path could reach a section \"n?m\": \"?\" ends a name"},
        {{"add", "nope", "n", "packed/a"}, "nope: No such file or directory"},
        {{"merge", "x.idx", "./x.idx"}, "x.idx: is the same as ./x.idx"},
        {{"merge", "x.idx", "packed/a"}, "packed/a: not a container"},
        {{"describe", "packed/a", "text"}, "packed/a: not a container"},
    };
    for (const auto& c : cases) {
        Words words = {"index"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(failure(words), std::string("tarvani: ") + c.line);
    }
    EXPECT_EQ(dir_.read("x.idx"), before);
}

TEST_F(IndexCommands, ExpandAndCollapseGiveBackNamesOrderAndBytes) {
    pack("x.idx", {"z", "a_b", "~$"});
    EXPECT_EQ(printed({"cp", "-", "x.idx?d/e?f"}, {.input = "inner"}), "");
    EXPECT_EQ(printed({"index", "expand", "x.idx", "new/dir"}), "");
    EXPECT_EQ(printed({"index", "collapse", "new/dir", "back.idx"}), "");
    EXPECT_EQ(dir_.read("back.idx"), dir_.read("x.idx"));
}

TEST_F(IndexCommands, ExpandAndCollapseSayWhatStandsInTheWay) {
    pack("x.idx", {"a", "b"});
    EXPECT_EQ(printed({"index", "create", "none.idx"}), "");
    dir_.write("file", "");
    const std::string whole = dir_.read("x.idx");
    dir_.write("short.idx", whole.substr(0, whole.size() - 1));
    dir_.makeDirectory("linked");
    ASSERT_EQ(::symlink("../file", dir_.path("linked/b").c_str()), 0);
    dir_.makeDirectory("blocked/a");
    dir_.write("lost/Sections.list", "\"\"\na\ta\n");
    dir_.write("outside/Sections.list", "\"\"\n../file\ta\n");
    dir_.write("deep/Sections.list", "\"\"\nin\tin\n");
    dir_.write("deep/in/Sections.list", "\"\"\nb\tb\n");
    const struct {
        Words words;
        const char* line;
    } cases[] = {
        {{"expand", "none.idx", "d"}, "none.idx: has no sections to expand"},
        {{"expand", "x.idx", "file"}, "file: Not a directory"},
        {{"expand", "x.idx", "linked"}, "linked: b: is a symbolic link, through which nothing is written"},
        {{"expand", "x.idx", "blocked"}, "blocked: a: is no file, and a file should go there"},
        {{"expand", "short.idx", "part"},
         "part: b: section \"b\": its source or filter can't deliver it whole; the file is incomplete"},
        {{"collapse", "nope", "y.idx"}, "nope: No such file or directory"},
        {{"collapse", "file", "y.idx"}, "file: Not a directory"},
        {{"collapse", "packed", "y.idx"}, "packed: holds no Sections.list: not an expanded container"},
        {{"collapse", "lost", "y.idx"}, "lost/a: No such file or directory"},
        {{"collapse", "outside", "y.idx"},
         "outside/Sections.list: names \"../file\", which isn't the name of a file beside it"},
        {{"collapse", "deep", "y.idx"}, "deep/in/b: No such file or directory"},
    };
    for (const auto& c : cases) {
        Words words = {"index"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(failure(words), std::string("tarvani: ") + c.line);
    }
    EXPECT_FALSE(dir_.exists("y.idx"));
    EXPECT_FALSE(dir_.exists("d"));
    EXPECT_EQ(dir_.read("file"), "");
}
