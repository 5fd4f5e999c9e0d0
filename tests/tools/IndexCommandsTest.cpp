// The subcommands of "index", when all goes well and when an edit makes no sense.
#include <unistd.h>

#include <sstream>

#include "TarvaniCommand.h"

using testing::EndsWith;

class IndexCommands : public TarvaniCommand {
protected:
    Words namesIn(const std::string& file) {
        Words names;
        std::istringstream list(printed("index list " + file));
        for (std::string line; std::getline(list, line);) names.push_back(line.substr(line.rfind('\t') + 1));
        return names;
    }
    // Names in table order, each with its content.
    std::string sectionsOf(const std::string& file) {
        std::string text;
        for (const std::string& name : namesIn(file)) text += name + "=" + printed("cat " + file + "?" + name) + " ";
        return text;
    }
};

TEST_F(IndexCommands, CreateKeepsNamesOrderBytesAndTimes) {
    dir_.write("b", "bb");
    dir_.setTime("b", 1234);
    dir_.write("empty", "");
    for (const char* name : {"d/z", "d/sub/y", "d/a.txt", "d/a/x", "d/.hidden"}) dir_.write(name, name);
    ASSERT_EQ(::symlink("../b", dir_.path("d/link").c_str()), 0);
    expect({{"index create s.idx -d 'a scene' empty d/ b"}});
    EXPECT_EQ(sectionsOf("s.idx"),
              "empty= d/.hidden=d/.hidden d/a.txt=d/a.txt d/a/x=d/a/x d/link=bb d/sub/y=d/sub/y d/z=d/z b=bb ");
    expect({{"index list s.idx", EndsWith("\n2\t1234\tb\n")},
            {"index describe s.idx", "a scene\n"},
            // A container that is there is replaced, not added to.
            {"index create s.idx b"},
            {"index list s.idx", "2\t1234\tb\n"},
            {"index describe s.idx", "\n"}});
}

TEST_F(IndexCommands, CreateTakesNamesFromAListAndFilesFromADirectory) {
    for (const char* name : {"in/a", "in/b", "in/d/c"}) dir_.write(name, name);
    dir_.write("list", "b\n\nd");
    expect({{"index create s.idx -C in --files-from list a"}});
    EXPECT_EQ(sectionsOf("s.idx"), "a=in/a b=in/b d/c=in/d/c ");
    expect({{"index create s.idx -C in --files-from -", "", "", {.input = "d/c\na\n"}}});
    EXPECT_EQ(sectionsOf("s.idx"), "d/c=in/d/c a=in/a ");
    std::string names;
    for (int i = 0; i < 100'000; ++i) names += "./" + std::string(static_cast<std::size_t>(i % 300), '/') + "in/a\n";
    expect({{"index create s.idx --files-from -", "", "", {.input = names}}});
    EXPECT_EQ(namesIn("s.idx").size(), 300u);  // a name that comes again is the same file
}

TEST_F(IndexCommands, EditsAreWrittenBack) {
    pack("x.idx", {"a", "b", "c", "d"});
    pack("other.idx", {"b", "new"});
    dir_.write("file", "from file");
    dir_.setTime("file", 2000);
    expect({{"index move x.idx 2 3 -2"},
            {"index add x.idx a file"},
            {"index add x.idx e -", "", "", {.input = "typed"}},
            {"index remove x.idx d b"},
            {"index list x.idx", testing::ContainsRegex("^1\t1000\tc\n9\t2000\ta\n5\t[0-9]+\te\n$")},
            {"index add x.idx b file"},
            {"index merge x.idx other.idx"}});
    EXPECT_EQ(sectionsOf("x.idx"), "c=c a=from file e=typed b=from file new=new ");
    expect({{"index merge --overwrite x.idx other.idx"}});
    EXPECT_EQ(sectionsOf("x.idx"), "c=c a=from file e=typed b=b new=new ");
    expect({{"index describe x.idx 'new words'"},
            {"index describe x.idx", "new words\n"},
            {"index list --json other.idx",
             R"({"path":"other.idx","description":"","sections":[{"name":"b","size":1,"modified":1000},)"
             R"({"name":"new","size":3,"modified":1000}]})"
             "\n"},
            // Containers in containers are edited like others.
            {"cp other.idx x.idx?in"},
            {"index remove x.idx?in b"},
            {"index add x.idx?in c other.idx?b"}});
    EXPECT_EQ(sectionsOf("x.idx?in"), "new=new c=b ");
    expect({{"index remove x.idx a b e new"}, {"index merge x.idx x.idx?in"}});
    EXPECT_EQ(namesIn("x.idx"), (Words{"c", "in", "new"}));
}

TEST_F(IndexCommands, WhatMakesNoSenseChangesNothing) {
    pack("x.idx", {"a", "b", "c"});
    pack("short.idx", {"a", "b"});
    dir_.cutAt("short.idx", dir_.read("short.idx").size() - 1);
    dir_.write("text", "text");
    dir_.write("d/x", "");
    ASSERT_EQ(::symlink("..", dir_.path("d/up").c_str()), 0);
    dir_.write("e/f?g", "");
    dir_.write("lost/Sections.list", "\"\"\na\ta\n");
    dir_.write("outside/Sections.list", "\"\"\n../text\ta\n");
    dir_.write("deep/Sections.list", "\"\"\nin\tin\n");
    dir_.write("deep/in/Sections.list", "\"\"\nb\tb\n");
    const std::string before = dir_.read("x.idx");
    expect({
        {"index create none.idx"},
        {"index create text text", "", "text: not a container; it stays as it is"},
        {"index create x.idx nope", "", "nope: No such file or directory"},
        {"index create x.idx text x.idx", "", "x.idx: is the container that is being made"},
        {"index create x.idx e", "", "e/f?g: a section can't have a name with \"?\", which no path could reach"},
        {"index create x.idx d", "", "d/up/d: leads back to a directory that holds it"},
        {"index create x.idx --files-from nope", "", "nope: No such file or directory"},
        {"index create - text", "", "-: a container can't be made on standard output; name a file"},
        {"index remove x.idx a nope", "", "x.idx: no section \"nope\" (3 sections: a, b, c)"},
        {"index move x.idx 2 1 0", "", "x.idx: the range 2 to 1 is empty: FIRST lies behind LAST"},
        {"index move x.idx 1 3 0", "", "x.idx: no sections 1 to 3 (the sections are 0 to 2)"},
        {"index move x.idx 1 2 1", "", "x.idx: moving 1 to 2 by 1 would leave the table (the sections are 0 to 2)"},
        {"index add x.idx n packed", "", "packed: Is a directory"},
        {"index add x.idx n x.idx", "", "x.idx?n: lies in x.idx, which can't go into itself"},
        {"index add x.idx n?m text", "", "x.idx: no path could reach a section \"n?m\": \"?\" ends a name"},
        {"index merge x.idx ./x.idx", "", "x.idx: is the same as ./x.idx"},
        {"index merge x.idx text", "", "text: not a container"},
        {"index expand none.idx out", "", "none.idx: has no sections to expand"},
        {"index expand x.idx text", "", "text: Not a directory"},
        {"index expand short.idx part", "",
         "part: b: section \"b\": its source or filter can't deliver it whole; the file is incomplete"},
        {"index collapse nope y.idx", "", "nope: No such file or directory"},
        {"index collapse packed y.idx", "", "packed: holds no Sections.list: not an expanded container"},
        {"index collapse lost y.idx", "", "lost/a: No such file or directory"},
        {"index collapse outside y.idx", "",
         "outside/Sections.list: names \"../text\", which isn't the name of a file beside it"},
        {"index collapse deep y.idx", "", "deep/in/b: No such file or directory"},
    });
    EXPECT_EQ(dir_.read("x.idx"), before);
    EXPECT_EQ(dir_.read("text"), "text");
    EXPECT_FALSE(dir_.exists("y.idx") || dir_.exists("out"));
}

TEST_F(IndexCommands, ExpandAndCollapseGiveBackNamesOrderAndBytes) {
    pack("x.idx", {"z", "a_b", "~$"});
    expect({{"cp - x.idx?d/e?f", "", "", {.input = "inner"}},
            {"index expand x.idx new/dir"},
            {"index collapse new/dir back.idx"}});
    EXPECT_EQ(dir_.read("back.idx"), dir_.read("x.idx"));
}
