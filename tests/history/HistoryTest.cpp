// Recent names: one list, all lists, and the two files that keep them.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>
#include <history/FS_FileHistoryManager.h>
#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/FaultPlan.h"
#include "../support/ScratchDir.h"

namespace {

constexpr int kHighest = 2147483647;

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

// Adds names of one letter each; a capital removes the name instead.
void lead(FS_FileHistory& list, const std::string& steps) {
    for (const char step : steps) {
        const char name[] = {static_cast<char>(step | 0x20), '\0'};
        step == name[0] ? list.addFiletoMRU(name) : list.removeFilefromMRU(name);
    }
}

}  // namespace

TEST(HistoryList, HasTheMostRecentNamesOnceEachByTheirAges) {
    const std::pair<int, std::vector<std::pair<const char*, const char*>>> lengths[] = {
        {3, {{"", ""}, {"abc", "cba"}, {"abcd", "dcb"}, {"abcdefgh", "hgf"}, {"aba", "ab"}, {"abca", "acb"}}},
        {3, {{"abcdeccd", "dce"}, {"abcdedd", "dec"}, {"abcB", "ca"}, {"abcBdb", "bdc"}, {"abcdC", "db"}}},
        {3, {{"abcdeCfg", "gfe"}, {"abcdBefd", "dfe"}, {"abcdZe", "edc"}, {"aAAb", "b"}, {"abcdeEDC", ""}}},
        {4, {{"abcdefDgh", "hgfe"}}},
        {2, {{"abcabB", "a"}}},
        {1, {{"aab", "b"}, {"abBc", "c"}}},
        {0, {{"ab", "b"}}},
        {-5, {{"abb", "b"}}},
        {kHighest, {{"aba", "ab"}}}};
    for (const auto& [length, cases] : lengths) {
        for (const auto& [steps, expected] : cases) {
            FS_FileHistory list(length, "GEO", false);
            lead(list, steps);
            EXPECT_EQ(ages(list), expected) << length << " " << steps;
            std::string lines;
            for (const char* name = expected; *name; ++name) lines.insert(0, {*name, '\n'});
            EXPECT_EQ(saved(list), lines) << length << " " << steps;
        }
    }
}

TEST(HistoryList, ReadsTheNextBlockAndNoFurther) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view text;
        const char *lines, *nextLine;
    } cases[] = {
        {"}\nlost\n \t{ lost }\na\n  } lost\nnext\n", "a\n", "next"},
        {"{\n\n \t\v\f\r\n\t a b \n}\nnext", "a b \n", "next"},  // no indentation, but blanks at the end
        {"{\n{\nGEO\n}", "{\nGEO\n", ""},
        {"{\na\nb", "a\nb\n", ""},
        {"{\r\na\r\n}\r\nnext\r\n", "a\r\n", "next\r"},
        {"{\na\0b\n\0c\n}\nnext"sv, "a\n", "next"},
        {"{\na\nb\nc\nd\n}\nnext", "a\nb\nc\n", "next"},     // the oldest stay
        {"{\na\na\na\nb\nc\n}\nnext", "a\nb\nc\n", "next"},  // and is one line
        {"{\na\nb\nc\nd\na\n}\nnext", "b\nc\nd\n", "next"},  // the later place counts
        {"{\n}\nnext", "", "next"},
        {"a\nb\n", "", ""},
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
    const ScratchDir dir;
    const InDirectory there(dir.makeDirectory("d"));
    const std::pair<const char*, std::string> cases[] = {{"./x/../a", dir.path("d/a")},
                                                         {"./", dir.path("d/")},
                                                         {"/a//b/", "/a/b/"},
                                                         {"file:a", "file:" + dir.path("d/a")}};
    for (const auto& [name, absolute] : cases) {
        for (const bool resolves : {false, true}) {
            FS_FileHistory list(1, "SCN", resolves);
            list.addFiletoMRU(name);
            EXPECT_EQ(list.getFilenamefromMRU(0), resolves ? absolute : name);
            list.removeFilefromMRU(name);
            EXPECT_EQ(list.numFilesinMRU(), resolves ? 1 : 0) << "a removal doesn't make its name absolute";
        }
    }
    checkInChild(false, [&] {
        std::filesystem::remove(dir.path("d"));
        FS_FileHistory list(1, "SCN", true);
        list.addFiletoMRU("a.scn");
        EXPECT_STREQ(list.getFilenamefromMRU(0), "a.scn") << "without a current directory";
    });
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
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        list.addFiletoMRU(name);
        list.removeFilefromMRU(name);
    }
    EXPECT_EQ(list.numFilesinMRU(), 0);
    list.addFiletoMRU("/a");
    UT_String out("old");
    for (const int age : {-1, 1, kHighest, -kHighest - 1}) {
        EXPECT_EQ(list.getFilenamefromMRU(age), nullptr);
        list.getFormattedFilenamefromMRU(age, out);
        EXPECT_TRUE(out.isNull());
    }
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
    FS_FileHistory list(3, "GEO", false), assigned(1, "PIC", true);
    lead(list, "abcd");
    FS_FileHistory copy(list);
    assigned.addFiletoMRU("/x");
    assigned = list;
    lead(list, "eC");
    for (FS_FileHistory* other : {&copy, &assigned}) {
        EXPECT_EQ(ages(*other), "dcb");
        EXPECT_STREQ(other->getTypeNameofMRU(), "GEO");
        lead(*other, "f");
        EXPECT_EQ(ages(*other), "fdc");
    }
}

TEST(HistoryList, GivesItsMemoryBack) {
    const auto before = ::mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) {
        FS_FileHistory list(2, "GEO", false);
        for (const char letter : {'a', 'b', 'c'}) list.addFiletoMRU(std::string(10'000, letter).c_str());
        list.removeFilefromMRU(list.getFilenamefromMRU(0));
    }
    EXPECT_LT(::mallinfo2().uordblks, before + 100'000);
}

class HistoryFiles : public testing::Test {
protected:
    // A manager of its own, as after the start of a process.
    class History : public FS_FileHistoryManager {};

    HistoryFiles() : variable_("TARVANI_HOME", dir_.path("a/home").c_str()) {}

    // The files of one list and then, behind "|", its directories, the most recent first.
    static std::string lists(const FS_FileHistoryManager& history, FS_FileHistoryType type) {
        std::string names;
        for (int age = 0; age < history.numFilesInList(type); ++age)
            names.append(history.getFilenameFromList(age, type)).append(" ");
        names += "|";
        for (int age = 0; age < history.numDirsInList(type); ++age)
            names.append(" ").append(history.getDirFromList(age, type));
        return names;
    }
    // What is reported while `work` runs.
    static std::string reported(const std::function<void()>& work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }

    static constexpr const char* kReport = "Saving File History failed.\n";

    ScratchDir dir_;

private:
    WithVariable variable_;
};

TEST_F(HistoryFiles, HoldTheListsInTheOrderOfTheTypes) {
    const std::string scratch = dir_.path();
    const InDirectory there(dir_.makeDirectory("d"));
    History history, again;
    const std::pair<const char*, FS_FileHistoryType> used[] = {
        {"/p/icon", FS_HISTORY_ICON}, {"/p/q/r.geo", FS_HISTORY_GEO}, {"a.geo", FS_HISTORY_GEO},
        {"../b.geo", FS_HISTORY_GEO}, {"/p/q/r.geo", FS_HISTORY_GEO}, {"x.scn", FS_HISTORY_SCN},
        {"./y.scn", FS_HISTORY_SCN},  {"/p/gone", FS_HISTORY_LUT}};
    for (const auto& [name, type] : used) history.addFileToHistoryList(name, type);
    history.removeFileFromHistoryList("/p/gone", FS_HISTORY_LUT);  // whose directory stays
    history.saveFileHistoryList();
    history.saveDirHistoryList();
    EXPECT_EQ(dir_.read("a/home/file.history"), "SCN\n{\n" + scratch + "/d/x.scn\n" + scratch +
                                                    "/d/y.scn\n}\nGEO\n{\na.geo\n../b.geo\n/p/q/r.geo\n}\n"
                                                    "ICON\n{\n/p/icon\n}\n");
    EXPECT_EQ(dir_.read("a/home/dir.history"),
              "SCN\n{\n" + scratch + "/d/\n}\nGEO\n{\n" + scratch + "/\n/p/q/\n}\nLUT\n{\n/p/\n}\nICON\n{\n/p/\n}\n");
    EXPECT_EQ(dir_.names("a/home").size(), 2u);
    again.loadFileHistoryList();
    EXPECT_EQ(lists(again, FS_HISTORY_GEO), "/p/q/r.geo ../b.geo a.geo |");
    again.loadDirHistoryList();
    EXPECT_EQ(lists(again, FS_HISTORY_GEO), "/p/q/r.geo ../b.geo a.geo | /p/q/ " + scratch + "/");
}

TEST_F(HistoryFiles, NameEveryTypeAndNoOther) {
    History history;
    std::string text;
    for (int type = 1; type < FS_FileHistoryManager::kTypes; ++type)
        history.addFileToHistoryList("x/", static_cast<FS_FileHistoryType>(type));
    for (const int outside : {-1, 23, 2147483647}) {
        const auto type = static_cast<FS_FileHistoryType>(outside);
        history.addFileToHistoryList("/a", type);
        history.removeFileFromHistoryList("/a", type);
        UT_String out("old");
        history.getFormattedDirFromList(0, type, out);
        EXPECT_TRUE(out.isNull());
        EXPECT_EQ(lists(history, type), "|");
        EXPECT_EQ(FS_FileHistoryManager::getTypeName(type), nullptr);
    }
    EXPECT_STREQ(FS_FileHistoryManager::getTypeName(FS_HISTORY_SCN), "SCN");
    history.saveFileHistoryList();
    for (const char* name : {"PIC",  "GEO",  "RAMP", "CAPT", "CLIP", "PAINT",   "LUT", "CMD", "MIDI", "TXT", "VOL",
                             "CHAN", "FONT", "LIB",  "MISC", "SIM",  "SIMDATA", "DAE", "FBX", "GAL",  "MOV", "ICON"})
        text += std::string(name) + "\n{\nx/\n}\n";
    EXPECT_EQ(dir_.read("a/home/file.history"), text);
}

TEST_F(HistoryFiles, AsPeopleEditThemNameTheListsTheyReplace) {
    dir_.write("a/home/file.history",
               "# mine\n"
               "NEW\n{\n  /unknown\n}\n"  // passed over line by line
               "  GEO\nlost\n{ lost\n\t/a b\n\n}\n"
               "PIC \n{\n/lost\n}\n"  // not a label, for the blank behind it
               "geo\n{\n/lost\n}\n"
               "TXT\nLUT\n{\n/found\n}\n"  // the label without a block takes the next one
               "CMD\n{\n}\n"
               "MOV\n{\n/1\n}\nMOV\n{\n/2\n}\n"
               "FBX\n{\n/to the end");
    History history;
    for (const auto type : {FS_HISTORY_GEO, FS_HISTORY_PIC, FS_HISTORY_LUT, FS_HISTORY_CMD})
        history.addFileToHistoryList("/kept", type);
    history.loadFileHistoryList();
    const std::pair<FS_FileHistoryType, const char*> expected[] = {
        {FS_HISTORY_GEO, "/a b | /"},     {FS_HISTORY_PIC, "/kept | /"}, {FS_HISTORY_TXT, "/found |"},
        {FS_HISTORY_LUT, "/kept | /"},    {FS_HISTORY_CMD, "| /"},       {FS_HISTORY_MOV, "/2 |"},
        {FS_HISTORY_FBX, "/to the end |"}};
    for (const auto& [type, names] : expected) EXPECT_EQ(lists(history, type), names);
}

TEST_F(HistoryFiles, AreAsLongAsTheControlSays) {
    const std::pair<const char*, int> lengths[] = {{nullptr, 20}, {"3", 3}, {"-7", 1}, {"many", 20}};
    for (const auto& [text, length] : lengths) {
        const WithVariable control("TARVANI_HISTORY_LENGTH", text);
        History history;
        for (char name[] = "/a/x"; name[1] <= 'z'; ++name[1]) history.addFileToHistoryList(name, FS_HISTORY_GEO);
        EXPECT_EQ(history.numFilesInList(FS_HISTORY_GEO), length);
        EXPECT_EQ(history.numDirsInList(FS_HISTORY_GEO), length);
    }
}

TEST_F(HistoryFiles, AMissingHomeIsMadeAndWhatCannotBeReadLoadsAsNothing) {
    History history;
    history.addFileToHistoryList("/new", FS_HISTORY_GEO);
    const auto load = [&] {
        history.loadFileHistoryList();
        EXPECT_EQ(lists(history, FS_HISTORY_GEO), "/new | /");
    };
    const auto save = [&] { history.saveFileHistoryList(); };
    EXPECT_EQ(reported(load), "");
    EXPECT_EQ(reported(save), "");
    EXPECT_EQ(dir_.read("a/home/file.history"), "GEO\n{\n/new\n}\n");
    UT_String reason;
    EXPECT_TRUE(history.saveFileHistoryList(&reason) && reason.isNull());
    std::filesystem::remove(dir_.path("a/home/file.history"));
    dir_.makeDirectory("a/home/file.history");
    EXPECT_EQ(reported(load), "");
    EXPECT_EQ(reported(save), kReport);
    EXPECT_FALSE(history.saveFileHistoryList(&reason));
    EXPECT_EQ(reason, dir_.path("a/home/file.history") + ": Is a directory; nothing was written");
    EXPECT_TRUE(history.saveDirHistoryList(nullptr));
    const WithVariable nowhere("TARVANI_HOME", "/proc/none/home");
    EXPECT_EQ(reported(save), kReport);
    const WithVariable empty("HISTORY_TEST_EMPTY", ""), none("TARVANI_HOME", "$HISTORY_TEST_EMPTY");
    checkInChild(true, [&] {
        EXPECT_FALSE(history.saveFileHistoryList(&reason));
        EXPECT_EQ(reason, "no home directory; set TARVANI_HOME to have one");
    });
}

TEST_F(HistoryFiles, AFailedStepLeavesTheOldFile) {
    const std::pair<Call, int> steps[] = {{Call::Write, ENOSPC}, {Call::Close, EDQUOT}, {Call::Rename, EIO}};
    History history;
    history.addFileToHistoryList("/new", FS_HISTORY_GEO);
    for (const auto& [call, error] : steps) {
        dir_.write("a/home/file.history", "GEO\n{\n/old\n}\n");
        FaultPlan plan(call, 0, error, true);
        EXPECT_FALSE(history.saveFileHistoryList(nullptr));
        EXPECT_TRUE(plan.lift()) << "the step isn't taken";
        EXPECT_EQ(dir_.read("a/home/file.history"), "GEO\n{\n/old\n}\n");
        EXPECT_EQ(dir_.names("a/home").size(), 1u);
    }
}

TEST_F(HistoryFiles, TheProcessHasOneManagerAndCopiesAreIndependent) {
    FS_FileHistoryManager* const manager = FS_FileHistoryManager::getFileHistoryManager();
    EXPECT_EQ(FS_FileHistoryManager::getFileHistoryManager(), manager);
    manager->addFileToHistoryList("/p/a", FS_HISTORY_MISC);
    FS_FileHistoryManager copy(*manager);
    History assigned;
    static_cast<FS_FileHistoryManager&>(assigned) = copy;
    manager->addFileToHistoryList("/q/b", FS_HISTORY_MISC);
    copy.removeFileFromHistoryList("/p/a", FS_HISTORY_MISC);
    EXPECT_EQ(lists(*manager, FS_HISTORY_MISC), "/q/b /p/a | /q/ /p/");
    EXPECT_EQ(lists(copy, FS_HISTORY_MISC), "| /p/");
    EXPECT_EQ(lists(assigned, FS_HISTORY_MISC), "/p/a | /p/");
    const WithVariable home("HOME", "/p");
    UT_String file, directory;
    manager->getFormattedFilenameFromList(1, FS_HISTORY_MISC, file);
    manager->getFormattedDirFromList(1, FS_HISTORY_MISC, directory);
    EXPECT_EQ(std::string(file.buffer()) + " " + directory.buffer(), "~/a ~/");
}
