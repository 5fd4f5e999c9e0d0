// One list: ages, the block of lines that holds it, and names in their forms.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>
#include <history/FS_FileHistory.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <utility>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/ScratchDir.h"

namespace {

// Names of one letter each, the most recent first.
std::string ages(const FS_FileHistory& list) {
    std::string names;
    for (int age = 0; age < list.numFilesinMRU(); ++age) names += list.getFilenamefromMRU(age);
    return names;
}

std::string saved(const FS_FileHistory& list) {
    std::ostringstream out;
    list.saveFilestoMRU(out);
    return out.str();
}

}  // namespace

TEST(HistoryList, KeepsWhatASimpleListWould) {
    std::mt19937 random(7);
    for (int length : {-5, 0, 1, 2, 3, 4, 6}) {
        FS_FileHistory list(length, "GEO", false);
        std::deque<std::string> simple;
        for (int step = 0; step < 2000; ++step) {
            const std::string name(1, static_cast<char>('a' + random() % 8));
            std::erase(simple, name);
            if (random() % 4 == 0) {
                list.removeFilefromMRU(name.c_str());
            } else {
                list.addFiletoMRU(name.c_str());
                simple.push_front(name);
                if (static_cast<int>(simple.size()) > std::max(length, 1)) simple.pop_back();
            }
            std::string expected, lines;
            for (const std::string& kept : simple) expected += kept, lines.insert(0, kept + "\n");
            ASSERT_EQ(ages(list), expected) << "length " << length << ", step " << step;
            ASSERT_EQ(saved(list), lines) << "length " << length << ", step " << step;
        }
    }
}

TEST(HistoryList, ReadsTheNextBlockAndNoFurther) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view text;
        const char *lines, *nextLine;
    } cases[] = {
        {"{\na\nb\n}\nnext\n", "a\nb\n", "next"},
        {"}\nlost\n \t{ lost }\na\n  } lost\nnext\n", "a\n", "next"},
        {"{\n\n \t\v\f\r\n\t a b \n}\nnext", "a b \n", "next"},  // no indentation, but blanks at the end
        {"{\n{\nGEO\n}", "{\nGEO\n", ""},
        {"{\na\nb", "a\nb\n", ""},
        {"{\r\na\r\n}\r\nnext\r\n", "a\r\n", "next\r"},
        {"{\na\0b\n\0c\n}\nnext"sv, "a\n", "next"},
        {"{\na\nb\nc\nd\n}\nnext", "a\nb\nc\n", "next"},     // the oldest stay
        {"{\na\na\na\nb\nc\n}\nnext", "a\nb\nc\n", "next"},  // and is one line
        {"{\na\nb\nc\nd\na\n}\nnext", "b\nc\nd\n", "next"},
        {"{\na\nb\na\nc\n}\nnext", "b\na\nc\n", "next"},  // the later place counts
        {"{\n}\nnext", "", "next"},
        {"a\nb\n", "", ""},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        FS_FileHistory list(3, "GEO", false);
        list.addFiletoMRU("old");
        UT_IStream in(c.text.data(), static_cast<int>(c.text.size()), UT_ISTREAM_BINARY);
        EXPECT_TRUE(list.loadFilesfromMRU(in));
        EXPECT_EQ(saved(list), c.lines) << c.text;
        UT_WorkBuffer line;
        in.getLine(line, '\n');
        EXPECT_EQ(line.view(), c.nextLine) << c.text;
        // The next name takes the place of the oldest one.
        std::string then = c.lines;
        if (std::count(then.begin(), then.end(), '\n') == 3) then.erase(0, then.find('\n') + 1);
        list.addFiletoMRU("then");
        EXPECT_EQ(saved(list), then + "then\n") << c.text;
    }
}

TEST(HistoryList, NamesThatALineCannotHoldStayInTheListAlone) {
    FS_FileHistory list(20, "GEO", false);
    for (const char* name : {" a", "\va", "}a", "a\nb", "\n", "a}", "{", "\xff\x01"}) list.addFiletoMRU(name);
    EXPECT_EQ(list.numFilesinMRU(), 8);
    EXPECT_EQ(saved(list), "a}\n{\n\xff\x01\n");
}

TEST(HistoryList, ANameIsMadeAbsoluteOnlyWhereTheListSaysSo) {
    ScratchDir dir;
    const InDirectory there(dir.makeDirectory("d"));
    const struct {
        const char* name;
        std::string absolute;
    } cases[] = {
        {"a.scn", dir.path("d/a.scn")}, {"./x/../a", dir.path("d/a")}, {"./", dir.path("d/")},
        {"../", dir.path() + "/"},      {"/a//b/", "/a/b/"},           {"file:a", "file:" + dir.path("d/a")},
    };
    for (const auto& c : cases) {
        for (const bool resolves : {false, true}) {
            FS_FileHistory list(1, "SCN", resolves);
            list.addFiletoMRU(c.name);
            EXPECT_EQ(list.getFilenamefromMRU(0), resolves ? c.absolute : c.name);
            // A removal doesn't make its name absolute.
            list.removeFilefromMRU(c.name);
            EXPECT_EQ(list.numFilesinMRU(), resolves ? 1 : 0) << c.name;
        }
    }
    EXPECT_EQ(inChild([&] {
                  std::filesystem::remove(dir.path("d"));
                  FS_FileHistory list(1, "SCN", true);
                  list.addFiletoMRU("a.scn");
                  return std::string(list.getFilenamefromMRU(0)) == "a.scn";
              }),
              0)
        << "without a current directory";
}

TEST(HistoryList, AFormattedNameIsShort) {
    const WithVariable home("HOME", "/home/ann");
    const auto xs = [](std::size_t count) { return std::string(count, 'x'); };
    const std::pair<std::string, std::string> cases[] = {
        {"/home/ann/a.geo", "~/a.geo"},    {"/home/anna/a.geo", "/home/anna/a.geo"}, {xs(35), xs(35)},
        {xs(36), xs(16) + "..." + xs(16)}, {"/home/ann/" + xs(33), "~/" + xs(33)},  // what fits without home isn't cut
    };
    for (const auto& [name, formatted] : cases) {
        FS_FileHistory list(1, "GEO", false);
        list.addFiletoMRU(name.c_str());
        UT_String out;
        list.getFormattedFilenamefromMRU(0, out);
        EXPECT_EQ(out, formatted.c_str());
    }
}

TEST(HistoryList, WhatIsNotThereDoesNoHarm) {
    FS_FileHistory list(3, nullptr, true);
    EXPECT_EQ(list.getTypeNameofMRU(), nullptr);
    list.addFiletoMRU(nullptr);
    list.addFiletoMRU("");
    list.removeFilefromMRU(nullptr);
    list.removeFilefromMRU("a");
    EXPECT_EQ(list.numFilesinMRU(), 0);
    list.addFiletoMRU("/a");
    UT_String out("old");
    for (const int age : {-1, 1, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(list.getFilenamefromMRU(age), nullptr);
        list.getFormattedFilenamefromMRU(age, out);
        EXPECT_TRUE(out.isNull());
    }
    FS_FileHistory endless(2147483647, "GEO", false);
    for (const char* name : {"a", "b", "a"}) endless.addFiletoMRU(name);
    EXPECT_EQ(ages(endless), "ab");
}

TEST(HistoryList, ANameMayBeOneOfTheListsOwn) {
    FS_FileHistory list(3, "GEO", false);
    for (const char* name : {"a", "bb", "c"}) list.addFiletoMRU(name);
    list.addFiletoMRU(list.getFilenamefromMRU(2));
    EXPECT_EQ(ages(list), "acbb");
    list.addFiletoMRU(list.getFilenamefromMRU(2) + 1);
    EXPECT_EQ(ages(list), "bac");
    list.removeFilefromMRU(list.getFilenamefromMRU(1));
    EXPECT_EQ(ages(list), "bc");
}

TEST(HistoryList, ACopyIsAListOfItsOwn) {
    FS_FileHistory list(3, "GEO", false);
    for (const char* name : {"a", "b", "c", "d"}) list.addFiletoMRU(name);
    FS_FileHistory copy(list);
    FS_FileHistory assigned(1, "PIC", true);
    assigned.addFiletoMRU("/x");
    assigned = list;
    list.addFiletoMRU("e");
    list.removeFilefromMRU("c");
    for (FS_FileHistory* other : {&copy, &assigned}) {
        EXPECT_EQ(ages(*other), "dcb");
        EXPECT_STREQ(other->getTypeNameofMRU(), "GEO");
        other->addFiletoMRU("f");
        EXPECT_EQ(ages(*other), "fdc");
    }
}
