// One entry: its path, its parts, and how it is copied.
#include <functional>
#include <map>
#include <sstream>

#include "../support/Environment.h"
#include "PathFiles.h"

class Entry : public PathFiles {
protected:
    using Info = UT_PathFileInfo;

    // Leads an entry through steps and gives its answers. "part=value" sets a part, "part?" asks for it; "-" is null,
    // '' the empty text, and lo/, mid/ and hi/ begin the paths of files there. "apart" takes the path apart, "pattern"
    // is that of the list, "root" the variable in front of hi/.
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
        return {[=](Info& i, const std::string& v) { (i.*set)(v == "-" ? nullptr : placed(v).c_str()); },
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

TEST_F(Entry, APathComesApart) {
    const struct {
        const char *path, *parts;
    } cases[] = {{"/d/a.txt.hide", "/d a.txt a .txt 1 0 0"},
                 {"/d/a.hide.append", "/d a a - 1 1 0"},
                 {"/d/a.nosave.hide.nosave", "/d a a - 1 0 1"},
                 {"/d/a.hide.txt", "/d a.hide.txt a .txt 0 0 0"},
                 {"/d/.hide", "/d '' '' - 1 0 0"},
                 {"/d/.x", "/d .x '' .x 0 0 0"},
                 {"/d/a.", "/d a. a . 0 0 0"},
                 {"/d/ahide", "/d ahide ahide - 0 0 0"},
                 {"/d.e/f", "/d.e f f - 0 0 0"},
                 {"f", ". f f - 0 0 0"},
                 {"/f", "'' f f - 0 0 0"},
                 {"/d/", "/d '' '' - 0 0 0"}};
    UT_PathFile list;
    for (const auto& c : cases) {
        Info info(&list);
        const std::string path = std::string("path=") + c.path;
        EXPECT_EQ(lead(info, path + " apart=1 dir? name? base? ext? hide? append? nosave?"), c.parts) << c.path;
        EXPECT_EQ(info.getDirIndex(), 1);
    }
}

TEST_F(Entry, APartThatIsAskedForFollowsFromWhatWasSet) {
    const struct {
        const char *pattern, *steps, *answers;
        int knownPath = 0;
    } cases[] = {
        {"*", "path? name? base? ext? index? hide? append? nosave? filtered? dir? disk?",
         "- - - - 0 0 0 0 0 - ''"},  // a new entry
        // Its directory is the lowest below which a token fits, with one control suffix and no more.
        {"*", "path=hi/a apart? index?", "1 2"},
        {"*", "index=7 path=lo/sub/a apart? index? path=mid/sub/a index?", "0 7 7"},
        {" x*  b/*.txt ", "path=mid/b/a.txt.nosave index?", "1"},
        {"a", "path=mid/a.append apart? path=mid/a.append.hide apart?", "1 0"},
        {"a*", "path=mid/a.append.hide apart?", "1"},
        {"^a", "path=mid/^a apart? path=mid/a apart?", "1 0"},
        {"*", "root=/r* path=/root/hi/a apart? root=/r path=/root/hi/a apart? path=/r/hi/a apart?", "1 0 1"},
        {"", "path=mid/a apart?", "0"},
        {nullptr, "path=mid/a apart?", "0"},
        {"*/*", "path=lo/sub/a apart? index?", "1 0", 1},  // both directories of path 1 hold it
        {"*", "path=lo/sub/a apart? index?", "1 1", 1},
        {"*", "path=mid/a apart?", "0", 2},
        // From a path. A directory is told only once the path has been taken apart.
        {"*", "path=mid/a.b.hide dir? index? dir?", "- 1 mid"},
        {"*", "path=mid/a.b name? path=mid/c.d base? path=mid/e.f ext?", "a.b c .f"},
        {"*", "path=mid/a.hide hide? path=lo/a.append append? path=hi/a.nosave nosave? index?", "1 1 1 2"},
        {"*", "path=mid/a computed? disk?", "mid/a ''"},
        {"*", "path=mid/a.hide hide? path=mid/b hide?", "1 1"},  // a flag is never cleared by a path
        {"*", "path=mid/a index=0 path? dir?", "lo/a mid"},
        // One that fits nowhere leaves what was there, and is tried again.
        {"b", "name=n index=1 path=lo/a name? base? index? apart? path?", "n - 1 0 lo/a"},
        {"b", "path=lo/a name? pattern=* name?", "- a"},
        {"*", "path=- name? index? apart?", "- 0 0"},
        // From parts.
        {"*", "name=f.x index=2 computed? path? base? ext?", "hi/f.x hi/f.x f .x"},  // its variable expanded
        {"s/t/*", "name=f index=0 path?", "lo/s/t/f"},
        {"a/x* b/y", "name=f index=0 path?", "lo/a/x* b/f"},
        {"/x", "name=f index=0 path?", "lo//f"},
        {"*", "base=f ext=.x name? path? index=1 path?", "f.x lo/f.x mid/f.x"},
        {"*", "name=- index=0 path?", "lo/"},
        {"*", "name=f index=3 path? computed? index=-1 path?", "- untouched -"},
        // Of several flags one shows.
        {"*", "base=f hide=1 append=1 nosave=1 path? hide=0 path? append=0 path? nosave=0 path?",
         "lo/f.hide lo/f.append lo/f.nosave lo/f"},
        // What changes keeps the rest, of a name with several dots its middle too.
        {"*", "path=mid/a.b.c.hide name=q path?", "mid/q.hide"},
        {"*", "path=mid/a.b.c.hide base=k path? name?", "mid/k.b.c.hide k.b.c"},
        {"*", "path=mid/a.b.c.hide ext=.z path? base?", "mid/a.b.z.hide a"},
        {"*", "path=mid/a.b.c.hide index=2 path?", "hi/a.b.c.hide"},
        {"*", "path=mid/a.b.c.hide hide=0 append=1 path?", "mid/a.b.c.append"},
        {"*", "path=mid/a.b.c.hide hide=1 name? path?", "a.b.c mid/a.b.c.hide"},
        {"*", "path=mid/a.b.c base=k path=mid/x.y base=z path?", "mid/z.y"},  // no middle of an earlier name
        {"*", "path=lo/a.b.c name? path=/no/x base=k ext=.z name?", "a.b.c k.z"},
        {"*", "path=mid/a.b.c ext=- name? path?", "a.b mid/a.b"},
        // A path that was made gives the parts that a change needs; before it there are none.
        {"*", "name=f.x index=1 computed? base=g name? path?", "mid/f.x f.x -"},
        {"*", "name=f.x index=1 dir? base=g path?", "- mid/g.x"},
        {"*", "name=f.x index=1 ext? base=g name? path?", ".x g.x mid/g.x"},
        {"*", "name=f.x index=1 path? base=g path?", "mid/f.x mid/g.x"},
        {"*", "name=f.x index=1 path? ext=.y path?", "mid/f.x mid/f.y"},
        {"*", "name=f.x index=1 path? hide=1 path?", "mid/f.x mid/f.x.hide"},
        {"*", "name=f index=0 append=1 path?", "-"},
        {"*", "name=f index=0 base? ext? append=1 path?", "f - lo/f.append"},
        {"*", "path=mid/a.b base=k path? index=0 name=q path?", "mid/k.b lo/q"},
        {"*", "filtered=3 filtered? filtered=2 filtered? path=mid/a disk=x path? disk?", "1 0 mid/a x"},
    };
    for (const auto& c : cases) {
        const WithVariable variable("PATHFILE_TEST_ROOT", root().path().c_str());
        UT_PathFile file;
        file.setSearchPath(c.knownPath, c.pattern);
        Info info(&file);
        EXPECT_EQ(lead(info, c.steps), c.answers) << text(c.pattern) << " " << c.steps;
    }
}

TEST_F(Entry, ACopyTakesLeavesOrSharesTheFile) {
    write({"lo/a.x", "mid/b.y.hide"});
    const Found list, others;
    const struct {
        UT_PF_CopyReason reason;
        const char *target, *source;
    } cases[] = {
        {UT_PF_COPY_DETACHED, "- lo k k.x mid/k.x 1 1", "lo/a.x mid/k.x"},
        // The directory of the target's old path stays until its own is taken apart.
        {UT_PF_COPY_TAKE_DISK_FILE, "lo/a.x mid a a.x lo/a.x 0 1", "- mid/k.x"},
        {UT_PF_COPY_ALL, "lo/a.x lo k k.x mid/k.x 1 1", "lo/a.x mid/k.x"},
    };
    for (const auto& c : cases) {
        Info source(*list.getFileInfo(0, 0)), target(*others.getFileInfo(1, 0));
        lead(source, "base=k index=1 filtered=1");  // so that disk path and full path differ
        target.copy(&source, c.reason);
        EXPECT_EQ(lead(target, "disk? dir? base? name? path? index? filtered?"), c.target);
        EXPECT_EQ(lead(source, "disk? path?"), c.source);
        EXPECT_EQ(target.getOwner(), &list);
    }
    Info self(*list.getFileInfo(0, 0));
    self.copy(nullptr, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_ALL);
    self.copy(&self, UT_PF_COPY_TAKE_DISK_FILE);
    EXPECT_EQ(lead(self, "disk? path? base?"), "lo/a.x lo/a.x a");
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
