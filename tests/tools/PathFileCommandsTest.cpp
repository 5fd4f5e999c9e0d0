// pathfile, along the directories hi, mid and lo.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::EndsWith;
using testing::StartsWith;

class PathFileCommand : public TarvaniCommand {
protected:
    // Anew: files that hold a line with their own name.
    void write(const Words& names) const {
        for (const char* directory : {"hi", "mid", "lo"}) {
            std::filesystem::remove_all(dir_.path(directory));
            ::chmod(dir_.makeDirectory(directory).c_str(), 0777);
        }
        for (const std::string& name : names) ::chmod(dir_.write(name, name + "\n").c_str(), 0666);
    }

private:
    const std::string directories_ = dir_.path("hi") + ":" + dir_.path("mid") + ":" + dir_.path("lo");
    const WithVariable path_{"TARVANI_PATH", directories_.c_str()}, home_{"TARVANI_HOME", "/nowhere"};
};

TEST_F(PathFileCommand, ShowsWhatOverridesWhat) {
    const struct {
        Words files;
        const char *cat, *all;
    } cases[] = {
        {{"lo/a", "mid/a.append", "hi/a.append"},
         "lo/a\nmid/a.append\nhi/a.append\n",
         "lo/a\tdirectory 0, read\nmid/a.append\tdirectory 1, append, read\n"
         "hi/a.append\tdirectory 2, append, read\n"},
        {{"lo/a", "mid/a.append", "hi/a"},
         "hi/a\n",
         "lo/a\tdirectory 0, replaced by hi/a\nmid/a.append\tdirectory 1, append, replaced by hi/a\n"
         "hi/a\tdirectory 2, read\n"},
        {{"lo/a", "mid/a.hide", "hi/a.append"},
         "hi/a.append\n",
         "lo/a\tdirectory 0, hidden by mid/a.hide\nmid/a.hide\tdirectory 1, hide, not read: it hides\n"
         "hi/a.append\tdirectory 2, append, read\n"},
        {{"hi/a.nosave", "hi/a"},
         "hi/a\n",
         "hi/a.nosave\tdirectory 2, nosave, replaced by hi/a\nhi/a\tdirectory 2, read\n"},
        {{"hi/a", "hi/a.hide"},
         "",
         "hi/a\tdirectory 2, hidden by hi/a.hide\nhi/a.hide\tdirectory 2, hide, not read: it hides\n"},
    };
    for (const auto& c : cases) {
        write(c.files);
        expect({{"pathfile --cat a*", c.cat}, {"pathfile --all a*", c.all}});
    }
}

TEST_F(PathFileCommand, TellsWhereLinesComeFromAndWhatCantBeRead) {
    write({"lo/a.txt", "lo/b.txt", "hi/c.jpg", "lo/s"});
    dir_.write("mid/a.txt", "1\n2");
    dir_.makeDirectory("lo/d");
    ::chmod(dir_.path("lo/s").c_str(), 0);
    ASSERT_EQ(::symlink("nowhere", dir_.path("lo/gone").c_str()), 0);
    expect({
        {"pathfile *.txt *.jpg ^b*", "mid/a.txt\nhi/c.jpg\n"},
        {"pathfile --cat --origin *.txt", "mid/a.txt:1:1\nmid/a.txt:2:2\nlo/b.txt:1:lo/b.txt\n"},
        {"pathfile --cat --json a.txt",
         R"([{"file":"mid/a.txt","line":1,"text":"1"},{"file":"mid/a.txt","line":2,"text":"2"}])"
         "\n"},
        {"pathfile --all --json a.txt",
         R"([{"path":"lo/a.txt","directory":0,"flags":[],"read":false,"reason":"replaced","by":"mid/a.txt"},)"
         R"({"path":"mid/a.txt","directory":1,"flags":[],"read":true}])"
         "\n"},
        {"pathfile none", "", StartsWith("none: nothing matches it in hi:")},
        {"pathfile --all gone*", EndsWith("directory 0, not read: No such file or directory\n")},
        {"pathfile --cat b* d* g* s*",
         "lo/b.txt\n",
         "lo/gone: No such file or directory\nlo/s: Permission denied",
         {.ordinaryUser = true}},
    });
}

TEST_F(PathFileCommand, FindsThePlaceToSave) {
    const struct {
        Words files, closed;
        const char *options, *expected;  // null: none
    } cases[] = {
        // nothing related: where it begins, unseen
        {{}, {"lo"}, "", "lo/a.txt"},
        {{"hi/b.txt"}, {"mid"}, " --from 1", "mid/a.txt"},
        {{}, {}, " --from 3", nullptr},
        // related files and no flag: upwards from its own directory
        {{"lo/a.txt"}, {"lo"}, "", "mid/a.txt"},
        {{"lo/a.txt"}, {"lo", "mid", "hi"}, "", nullptr},
        {{"lo/a.txt", "mid/a.txt"}, {}, " --new --from 0", "hi/a.txt"},
        // the flags
        {{"mid/a.txt"}, {}, " --over-visible --from 0", "mid/a.txt"},
        {{"lo/a.txt.hide"}, {"mid"}, " --above-hidden", "hi/a.txt"},
    };
    for (const auto& c : cases) {
        write(c.files);
        for (const std::string& directory : c.closed) {
            ::chmod(dir_.path(directory).c_str(), 0555);
            for (const std::string& name : dir_.names(directory))
                ::chmod(dir_.path(directory + "/" + name).c_str(), 0444);
        }
        const std::string line = "pathfile --save-place a.txt" + std::string(c.options);
        if (c.expected)
            expect({{line, std::string(c.expected) + "\n", "", {.ordinaryUser = true}}});
        else
            expect({{line, "", StartsWith("a.txt: no directory"), {.ordinaryUser = true}}});
    }
    write({"mid/s/a.txt"});
    expect({{"pathfile --save-place s/a.txt.hide", "lo/s/a.txt.hide\n"},
            {"pathfile --save-place s/a.txt", "mid/s/a.txt\n"}});
    for (const char* name : {"''", "/a", "s/", "'a b/c'", "..", "s/../../a"})
        expect({{std::string("pathfile --save-place ") + name, "", testing::Ne("")}});
}

TEST_F(PathFileCommand, OptionsThatDontGoTogetherAreWrongUsage) {
    expectWrongUsage({"pathfile", "pathfile --list --all a", "pathfile --origin a", "pathfile --new a",
                      "pathfile --above-hidden a", "pathfile --over-visible a", "pathfile --from 0 a",
                      "pathfile --save-place a b", "pathfile --save-place a --json", "pathfile --path 4 a"});
}
