// One entry: its path, its parts, and how it is copied.
#include <map>

#include "../support/Environment.h"
#include "PathFiles.h"

class Entry : public PathFiles {
protected:
    using Info = UT_PathFileInfo;

    // Leads an entry through the steps of rules/entries.rules and gives its answers.
    static std::string lead(Info& info, const std::string& steps) {
        static const std::map<std::string, Part<const char*>> texts = {
            {"path", {&Info::getFullPath, &Info::setFullPath}},
            {"name", {&Info::getFileName, &Info::setFileName}},
            {"base", {&Info::getBaseName, &Info::setBaseName}},
            {"ext", {&Info::getExtension, &Info::setExtension}},
            {"dir", {&Info::getDirectory, nullptr}}};
        static const std::map<std::string, Part<int>> numbers = {
            {"index", {&Info::getDirIndex, &Info::setDirIndex}},
            {"hide", {&Info::getHideFlag, &Info::setHideFlag}},
            {"append", {&Info::getAppendFlag, &Info::setAppendFlag}},
            {"nosave", {&Info::getNoSaveFlag, &Info::setNoSaveFlag}},
            {"apart", {&Info::deconstructFullPath, &Info::deconstructFullPath}}};
        Texts answers;
        for (const std::string& step : split(steps)) {
            const std::size_t sign = step.find_first_of("=?");
            const std::string what = step.substr(0, sign), value = placed(step.substr(sign + 1));
            const bool asks = step[sign] == '?';
            if (texts.contains(what) && asks) answers.push_back(shown((info.*texts.at(what).get)()));
            if (texts.contains(what) && !asks) (info.*texts.at(what).set)(nullable(value));
            if (numbers.contains(what) && asks) answers.push_back(std::to_string((info.*numbers.at(what).get)()));
            if (numbers.contains(what) && !asks) (info.*numbers.at(what).set)(std::stoi(value));
            if (what == "disk" && asks) answers.push_back(shown(info.getDiskPath()));
            if (what == "disk" && !asks) info.setDiskPath(nullable(value));
            if (what == "filtered" && asks) answers.push_back(std::to_string(info.getFilteredFlag()));
            if (what == "filtered" && !asks) info.setFilteredFlag(std::stoi(value));
            if (what == "pattern") info.getOwner()->setSearchPath(0, value.c_str());
            if (what == "root") ::setenv("PATHFILE_TEST_ROOT", value.c_str(), 1);
            UT_String made("untouched");
            if (what == "computed") info.computeFullPath(&made), answers.push_back(shown(made.buffer()));
        }
        return joined(answers);
    }

private:
    template <class Value>
    struct Part {
        Value (Info::*get)();
        void (Info::*set)(Value);
    };
    static std::string placed(const std::string& text) {
        const bool isPlace = text.starts_with("lo/") || text.starts_with("mid/") || text.starts_with("hi/");
        return isPlace ? path(text) : text;
    }
    static std::string shown(const char* characters) {
        return characters && !*characters ? "''" : relative(characters);
    }
};

TEST_F(Entry, KeepsItsRules) {
    const auto apart = [](const Columns& row) {
        UT_PathFile list;
        Info info(&list);
        return lead(info, "path=" + row[0] + " apart=1 dir? name? base? ext? hide? append? nosave?");
    };
    const auto led = [](const Columns& row) {
        const WithVariable variable("PATHFILE_TEST_ROOT", root().path().c_str());
        UT_PathFile list;
        list.setSearchPath(row.size() > 2 ? std::stoi(row[2]) : 0, nullable(row[0]));
        Info info(&list);
        return lead(info, row[1]);
    };
    expectRules(TARVANI_RULES "/entries.rules", {{"apart", apart}, {"led", led}});
}

TEST_F(Entry, ACopyTakesLeavesOrSharesTheFile) {
    write({"lo/a.m.x", "mid/b.y.hide"});
    const Found list, others;
    const struct {
        UT_PF_CopyReason reason;
        const char *target, *source;
    } cases[] = {
        {UT_PF_COPY_DETACHED, "- lo k k.m.x hi/k.m.x 2 1", "lo/a.m.x hi/k.m.x"},
        // The directory of the target's old path stays until its own is taken apart.
        {UT_PF_COPY_TAKE_DISK_FILE, "lo/a.m.x mid a a.m.x lo/a.m.x 0 1", "- hi/k.m.x"},
        {UT_PF_COPY_ALL, "lo/a.m.x lo k k.m.x hi/k.m.x 2 1", "lo/a.m.x hi/k.m.x"},
    };
    for (const auto& c : cases) {
        Info source(*list.getFileInfo(0, 0)), target(*others.getFileInfo(1, 0));
        lead(source, "base=k index=2 filtered=1");  // so that disk path and full path differ
        target.copy(&source, c.reason);
        EXPECT_EQ(lead(target, "disk? dir? base? name? path? index? filtered?"), c.target);
        EXPECT_EQ(lead(source, "disk? path?"), c.source);
        EXPECT_EQ(target.getOwner(), &list);
    }
    Info self(*list.getFileInfo(0, 0));
    self.copy(nullptr, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_TAKE_DISK_FILE);
    EXPECT_EQ(lead(self, "disk? path? base?"), "lo/a.m.x lo/a.m.x a");
}

// A file that was found keeps its path once, and its name in it.
TEST_F(Entry, OutlivesItsDiskPathAndItsOriginal) {
    write({"lo/a.b.c"});
    Found list;
    Info& info = *list.getFileInfo(0, 0);
    Info copied(info), other(info);
    EXPECT_EQ(lead(other, "dir?"), "lo");
    info.setDiskPath(info.getFullPath());
    info.setDiskPath(info.getExtension());
    EXPECT_EQ(lead(info, "disk? dir? name? base? ext? path?"), ".c lo a.b.c a .c lo/a.b.c");
    list.removeFileInfo(&info);
    EXPECT_EQ(lead(copied, "base? dir? name? ext?"), "a lo a.b.c .c");
    copied.setBaseName(copied.getExtension());
    EXPECT_EQ(lead(copied, "path?"), "lo/.c.b.c");
    const char* const joined = copied.getFileName();
    EXPECT_EQ(copied.getFileName(), joined) << "a text stays while nothing changes";
}
