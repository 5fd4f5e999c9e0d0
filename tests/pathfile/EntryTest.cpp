// One entry: its path, its parts, and how it is copied.
#include <functional>
#include <map>
#include <sstream>

#include "../support/Environment.h"
#include "PathFiles.h"

class Entry : public PathFiles {
protected:
    using Info = UT_PathFileInfo;

    // Leads an entry through the steps of rules/entries.rules and gives its answers.
    static std::string lead(Info& info, const std::string& steps) {
        static const std::map<std::string, Part> parts = {
            {"path", texts(&Info::setFullPath, &Info::getFullPath)},
            {"disk", texts(&Info::setDiskPath, &Info::getDiskPath)},
            {"name", texts(&Info::setFileName, &Info::getFileName)},
            {"base", texts(&Info::setBaseName, &Info::getBaseName)},
            {"ext", texts(&Info::setExtension, &Info::getExtension)},
            {"index", numbers(&Info::setDirIndex, &Info::getDirIndex)},
            {"hide", numbers(&Info::setHideFlag, &Info::getHideFlag)},
            {"append", numbers(&Info::setAppendFlag, &Info::getAppendFlag)},
            {"nosave", numbers(&Info::setNoSaveFlag, &Info::getNoSaveFlag)},
            {"filtered", numbers(&Info::setFilteredFlag, &Info::getFilteredFlag)},
            {"apart",
             numbers<void (Info::*)(int), int (Info::*)()>(&Info::deconstructFullPath, &Info::deconstructFullPath)},
            {"pattern", {[](Info& i, const std::string& v) { i.getOwner()->setSearchPath(0, v.c_str()); }, nullptr}},
            {"root", {[](Info&, const std::string& v) { ::setenv("PATHFILE_TEST_ROOT", v.c_str(), 1); }, nullptr}},
            {"dir", {nullptr, [](Info& i) { return shown(i.getDirectory()); }}},
            {"computed", {nullptr, [](Info& i) {
                              UT_String made("untouched");
                              i.computeFullPath(&made);
                              return shown(made.buffer());
                          }}}};
        std::string answers;
        std::istringstream in(steps);
        for (std::string step; in >> step;) {
            const std::size_t sign = step.find_first_of("=?");
            const Part& part = parts.at(step.substr(0, sign));
            if (step[sign] == '=')
                part.set(info, step.substr(sign + 1));
            else
                answers.append(answers.empty() ? "" : " ").append(part.get(info));
        }
        return answers;
    }

private:
    struct Part {
        std::function<void(Info&, const std::string&)> set;
        std::function<std::string(Info&)> get;
    };
    template <class Set, class Get>
    static Part texts(Set set, Get get) {
        return {[=](Info& i, const std::string& v) { (i.*set)(nullable(placed(v))); },
                [=](Info& i) { return shown((i.*get)()); }};
    }
    template <class Set, class Get>
    static Part numbers(Set set, Get get) {
        return {[=](Info& i, const std::string& v) { (i.*set)(std::stoi(v)); },
                [=](Info& i) { return std::to_string((i.*get)()); }};
    }
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
