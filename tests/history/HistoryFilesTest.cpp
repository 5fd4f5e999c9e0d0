// All lists, and the two files that keep them: to the byte, as people leave them, and when they can't be written.
#include <UT/UT_String.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <history/FS_FileHistoryManager.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "../support/Child.h"
#include "../support/Environment.h"
#include "../support/FaultPlan.h"
#include "../support/ScratchDir.h"

using testing::ElementsAre;

namespace {

constexpr const char* kReport = "Saving File History failed.\n";

// A manager of its own, as after the start of a process.
class History : public FS_FileHistoryManager {};

// The names of one list, the most recent first.
std::string joined(int count, const std::function<const char*(int age)>& name) {
    std::string names;
    for (int age = 0; age < count; ++age) names.append(age > 0 ? " " : "").append(name(age));
    return names;
}
std::string files(const FS_FileHistoryManager& history, FS_FileHistoryType type) {
    return joined(history.numFilesInList(type), [&](int age) { return history.getFilenameFromList(age, type); });
}
std::string dirs(const FS_FileHistoryManager& history, FS_FileHistoryType type) {
    return joined(history.numDirsInList(type), [&](int age) { return history.getDirFromList(age, type); });
}

}  // namespace

class HistoryFiles : public testing::Test {
protected:
    HistoryFiles() : variable_("TARVANI_HOME", dir_.path("home").c_str()) {}

    // What is reported while `work` runs.
    static std::string reported(const std::function<void()>& work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }
    static bool saveNew() {
        History history;
        history.addFileToHistoryList("/new", FS_HISTORY_GEO);
        history.saveFileHistoryList();
        return true;
    }
    static std::string reportedBySaving() { return reported(saveNew); }
    void setMode(const char* name, mode_t mode) const { ASSERT_EQ(::chmod(dir_.path(name).c_str(), mode), 0); }

    static constexpr const char* kNew = "GEO\n{\n/new\n}\n";
    static constexpr const char* kOld = "GEO\n{\n/old\n}\n";

    ScratchDir dir_;

private:
    WithVariable variable_;
};

TEST_F(HistoryFiles, HoldTheListsInTheOrderOfTheTypes) {
    const InDirectory there(dir_.makeDirectory("d"));
    History history;
    const std::pair<const char*, FS_FileHistoryType> used[] = {
        {"/p/icon", FS_HISTORY_ICON}, {"/p/q/r.geo", FS_HISTORY_GEO}, {"a.geo", FS_HISTORY_GEO},
        {"../b.geo", FS_HISTORY_GEO}, {"/p/q/r.geo", FS_HISTORY_GEO}, {"x.scn", FS_HISTORY_SCN},
        {"./y.scn", FS_HISTORY_SCN},  {"gone", FS_HISTORY_PIC},       {"/p/gone", FS_HISTORY_LUT}};
    for (const auto& [name, type] : used) history.addFileToHistoryList(name, type);
    history.removeFileFromHistoryList("gone", FS_HISTORY_PIC);
    history.removeFileFromHistoryList("/p/gone", FS_HISTORY_LUT);
    EXPECT_EQ(reported([&] {
                  history.saveFileHistoryList();
                  history.saveDirHistoryList();
              }),
              "");
    EXPECT_EQ(dir_.read("home/file.history"), "SCN\n{\n" + dir_.path("d/x.scn\n") + dir_.path("d/y.scn\n") +
                                                  "}\nGEO\n{\na.geo\n../b.geo\n/p/q/r.geo\n}\nICON\n{\n/p/icon\n}\n");
    EXPECT_EQ(dir_.read("home/dir.history"), "SCN\n{\n" + dir_.path("d/\n") + "}\nGEO\n{\n" + dir_.path() +
                                                 "/\n/p/q/\n}\nLUT\n{\n/p/\n}\nICON\n{\n/p/\n}\n");
    EXPECT_THAT(dir_.names("home"), ElementsAre("dir.history", "file.history"));

    History again;
    again.loadFileHistoryList();
    EXPECT_EQ(files(again, FS_HISTORY_GEO), "/p/q/r.geo ../b.geo a.geo");
    EXPECT_EQ(dirs(again, FS_HISTORY_GEO), "");
    again.loadDirHistoryList();
    EXPECT_EQ(dirs(again, FS_HISTORY_GEO), "/p/q/ " + dir_.path() + "/");
}

TEST_F(HistoryFiles, NameEveryType) {
    History history;
    std::string text;
    for (int type = 0; type < FS_FileHistoryManager::kTypes; ++type)
        history.addFileToHistoryList("x/", static_cast<FS_FileHistoryType>(type));
    history.removeFileFromHistoryList(history.getFilenameFromList(0, FS_HISTORY_SCN), FS_HISTORY_SCN);
    history.saveFileHistoryList();
    for (const char* name : {"PIC",  "GEO",  "RAMP", "CAPT", "CLIP", "PAINT",   "LUT", "CMD", "MIDI", "TXT", "VOL",
                             "CHAN", "FONT", "LIB",  "MISC", "SIM",  "SIMDATA", "DAE", "FBX", "GAL",  "MOV", "ICON"})
        text += std::string(name) + "\n{\nx/\n}\n";
    EXPECT_EQ(dir_.read("home/file.history"), text);

    for (const int outside : {-1, 23, 2147483647}) {
        const auto type = static_cast<FS_FileHistoryType>(outside);
        history.addFileToHistoryList("/a", type);
        history.removeFileFromHistoryList("/a", type);
        UT_String out("old");
        history.getFormattedDirFromList(0, type, out);
        EXPECT_TRUE(out.isNull());
        EXPECT_EQ(history.numFilesInList(type) + history.numDirsInList(type), 0);
        EXPECT_EQ(history.getFilenameFromList(0, type), nullptr);
        EXPECT_EQ(FS_FileHistoryManager::getTypeName(type), nullptr);
    }
}

TEST_F(HistoryFiles, AsPeopleEditThemNameTheListsTheyReplace) {
    dir_.write("home/file.history",
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
    const std::pair<FS_FileHistoryType, const char*> lists[] = {
        {FS_HISTORY_GEO, "/a b"}, {FS_HISTORY_PIC, "/kept"}, {FS_HISTORY_TXT, "/found"},      {FS_HISTORY_LUT, "/kept"},
        {FS_HISTORY_CMD, ""},     {FS_HISTORY_MOV, "/2"},    {FS_HISTORY_FBX, "/to the end"},
    };
    for (const auto& [type, names] : lists) EXPECT_EQ(files(history, type), names);
    EXPECT_EQ(dirs(history, FS_HISTORY_GEO), "/");
}

TEST_F(HistoryFiles, AreAsLongAsTheControlSays) {
    const std::pair<const char*, int> lengths[] = {{nullptr, 20}, {"3", 3}, {"0", 1}, {"-7", 1}, {"many", 20}};
    for (const auto& [text, length] : lengths) {
        const WithVariable control("TARVANI_HISTORY_LENGTH", text);
        History history;
        for (int i = 0; i < 30; ++i)
            history.addFileToHistoryList(("/" + std::to_string(i) + "/x").c_str(), FS_HISTORY_GEO);
        EXPECT_EQ(history.numFilesInList(FS_HISTORY_GEO), length);
        EXPECT_EQ(history.numDirsInList(FS_HISTORY_GEO), length);
    }
}

TEST_F(HistoryFiles, AMissingHomeIsMadeAndALinkStays) {
    std::filesystem::create_symlink("deep/down", dir_.path("home"));
    dir_.makeDirectory("deep/down");
    dir_.makeDirectory("elsewhere");
    std::filesystem::create_symlink(dir_.path("elsewhere/real"), dir_.path("home/file.history"));
    EXPECT_EQ(reportedBySaving(), "");
    EXPECT_EQ(reportedBySaving(), "");
    EXPECT_EQ(dir_.read("elsewhere/real"), kNew);
    EXPECT_THAT(dir_.names("elsewhere"), ElementsAre("real"));
    const WithVariable other("TARVANI_HOME", dir_.path("a/b/c").c_str());
    EXPECT_EQ(reportedBySaving(), "");
    EXPECT_EQ(dir_.read("a/b/c/file.history"), kNew);
}

TEST_F(HistoryFiles, WhatCannotBeReadLoadsAsNothing) {
    History history;
    history.addFileToHistoryList("/kept", FS_HISTORY_GEO);
    const auto load = [&] {
        history.loadFileHistoryList();
        history.loadDirHistoryList();
    };
    EXPECT_EQ(reported(load), "");
    dir_.makeDirectory("home/file.history");
    EXPECT_EQ(reported(load), "");
    EXPECT_EQ(files(history, FS_HISTORY_GEO), "/kept");
    EXPECT_EQ(reportedBySaving(), kReport);
    UT_String reason;
    EXPECT_FALSE(history.saveFileHistoryList(&reason));
    EXPECT_EQ(reason, dir_.path("home/file.history") + ": Is a directory; nothing was written");
    EXPECT_TRUE(history.saveDirHistoryList(&reason));
}

TEST_F(HistoryFiles, AReadOnlyHomeKeepsTheOldFile) {
    const struct {
        mode_t home, file;  // file 0: there is none
        const char* after;  // null: the old bytes, and a report
    } cases[] = {
        {0555, 0444, nullptr}, {0555, 0, nullptr}, {0777, 0444, nullptr}, {0555, 0666, kNew}, {0777, 0666, kNew}};
    dir_.makeDirectory("home");
    setMode(".", 0755);
    for (const auto& c : cases) {
        setMode("home", 0777);
        std::filesystem::remove(dir_.path("home/file.history"));
        if (c.file != 0) {
            dir_.write("home/file.history", kOld);
            setMode("home/file.history", c.file);
        }
        setMode("home", c.home);
        EXPECT_EQ(reported([] { EXPECT_EQ(inChild(saveNew, true), 0); }), c.after ? "" : kReport);
        if (c.file != 0) {
            EXPECT_EQ(dir_.read("home/file.history"), c.after ? c.after : kOld);
        }
        EXPECT_EQ(dir_.names("home").size(), c.file != 0 ? 1u : 0u);
    }
    const WithVariable closed("TARVANI_HOME", "/proc/none/home");
    EXPECT_EQ(reportedBySaving(), kReport);
}

TEST_F(HistoryFiles, AFailedStepLeavesTheOldFile) {
    const std::pair<Call, int> steps[] = {{Call::Write, ENOSPC}, {Call::Close, EDQUOT}, {Call::Rename, EIO}};
    for (const auto& [call, error] : steps) {
        int n = 0;
        for (bool faulted = true; faulted && n < 100; ++n) {
            dir_.write("home/file.history", kOld);
            History history;
            history.addFileToHistoryList("/new", FS_HISTORY_GEO);
            FaultPlan plan(call, n, error, true);
            const bool done = history.saveFileHistoryList(nullptr);
            faulted = plan.lift();
            EXPECT_TRUE(done || faulted);
            EXPECT_EQ(dir_.read("home/file.history"), done ? kNew : kOld);
            EXPECT_THAT(dir_.names("home"), ElementsAre("file.history"));
        }
        EXPECT_TRUE(1 < n && n < 100) << n;
    }
}

TEST_F(HistoryFiles, TwoProcessesThatSaveAtOnceLeaveOneWholeFile) {
    const WithVariable control("TARVANI_HISTORY_LENGTH", "3000");
    // The texts differ in every line and in length, so that a mixture would show.
    std::vector<std::string> texts;
    std::vector<pid_t> children;
    for (const char letter : {'a', 'b'}) {
        History history;
        texts.emplace_back("GEO\n{\n");
        for (int i = 0; i < (letter == 'a' ? 3000 : 2000); ++i) {
            const std::string name = letter + std::to_string(i) + std::string(40, letter);
            history.addFileToHistoryList(name.c_str(), FS_HISTORY_GEO);
            texts.back() += name + "\n";
        }
        texts.back() += "}\n";
        children.push_back(::fork());
        if (children.back() != 0) continue;
        bool done = true;
        for (int i = 0; i < 100; ++i) {
            // From time to time both find no file.
            if (i % 10 == 0) std::filesystem::remove(dir_.path("home/file.history"));
            done = history.saveFileHistoryList(nullptr) && done;
        }
        ::_exit(done ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_THAT(texts, testing::Contains(dir_.read("home/file.history")));
    EXPECT_THAT(dir_.names("home"), ElementsAre("file.history"));
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
    EXPECT_EQ(files(*manager, FS_HISTORY_MISC), "/q/b /p/a");
    EXPECT_EQ(files(copy, FS_HISTORY_MISC) + "|" + dirs(copy, FS_HISTORY_MISC), "|/p/");
    EXPECT_EQ(files(assigned, FS_HISTORY_MISC), "/p/a");
    const WithVariable home("HOME", "/p");
    UT_String out;
    manager->getFormattedFilenameFromList(1, FS_HISTORY_MISC, out);
    EXPECT_EQ(out, "~/a");
    manager->getFormattedDirFromList(1, FS_HISTORY_MISC, out);
    EXPECT_EQ(out, "~/");
}
