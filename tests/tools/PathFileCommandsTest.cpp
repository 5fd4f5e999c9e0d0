// pathfile, along the directories hi, mid and lo.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

class PathFileCommand : public TarvaniCommand {
protected:
    PathFileCommand()
        : path_("TARVANI_PATH", (dir_.path("hi") + ":" + dir_.path("mid") + ":" + dir_.path("lo")).c_str()),
          home_("TARVANI_HOME", "/nowhere") {
        clear();
    }

    void clear() {
        for (const char* directory : {"hi", "mid", "lo"}) {
            std::filesystem::remove_all(dir_.path(directory));
            ::chmod(dir_.makeDirectory(directory).c_str(), 0777);
        }
    }
    // Files that hold a line with their own name.
    void write(const Words& names) {
        clear();
        for (const std::string& name : names) ::chmod(dir_.write(name, name + "\n").c_str(), 0666);
    }
    // What is printed, with paths from the directories of the search path on.
    std::string relative(std::string text) const {
        for (std::size_t at; (at = text.find(dir_.path() + "/")) != text.npos;) text.erase(at, dir_.path().size() + 1);
        return text;
    }
    std::string shown(Words words, const Circumstances& circumstances = {}) {
        words.insert(words.begin(), "pathfile");
        return relative(printed(words, circumstances));
    }
    std::string failed(Words words, const Circumstances& circumstances = {}) {
        words.insert(words.begin(), "pathfile");
        return relative(failure(words, circumstances));
    }

private:
    WithVariable path_, home_;
};

TEST_F(PathFileCommand, ShowsWhatOverridesWhat) {
    const struct {
        Words files;
        const char *cat, *all;
    } cases[] = {
        {{"lo/a", "mid/a"}, "mid/a\n", "lo/a\tdirectory 0, replaced by mid/a\nmid/a\tdirectory 1, read\n"},
        {{"lo/a", "mid/a.append", "hi/a.append"},
         "lo/a\nmid/a.append\nhi/a.append\n",
         "lo/a\tdirectory 0, read\nmid/a.append\tdirectory 1, append, read\n"
         "hi/a.append\tdirectory 2, append, read\n"},
        {{"lo/a", "mid/a.append", "hi/a"},
         "hi/a\n",
         "lo/a\tdirectory 0, replaced by hi/a\nmid/a.append\tdirectory 1, append, replaced by hi/a\n"
         "hi/a\tdirectory 2, read\n"},
        {{"lo/a", "mid/a.hide"},
         "",
         "lo/a\tdirectory 0, hidden by mid/a.hide\nmid/a.hide\tdirectory 1, hide, not read: it hides\n"},
        {{"lo/a.hide", "mid/a"},
         "mid/a\n",
         "lo/a.hide\tdirectory 0, hide, not read: it hides\nmid/a\tdirectory 1, read\n"},
        {{"lo/a", "mid/a.hide", "hi/a.append"},
         "hi/a.append\n",
         "lo/a\tdirectory 0, hidden by mid/a.hide\nmid/a.hide\tdirectory 1, hide, not read: it hides\n"
         "hi/a.append\tdirectory 2, append, read\n"},
        {{"lo/a.append"}, "lo/a.append\n", "lo/a.append\tdirectory 0, append, read\n"},
        {{"lo/a", "mid/a.nosave"},
         "mid/a.nosave\n",
         "lo/a\tdirectory 0, replaced by mid/a.nosave\nmid/a.nosave\tdirectory 1, nosave, read\n"},
        {{"hi/a.nosave", "hi/a"},
         "hi/a\n",
         "hi/a.nosave\tdirectory 2, nosave, replaced by hi/a\nhi/a\tdirectory 2, read\n"},
        {{"hi/a", "hi/a.hide"},
         "",
         "hi/a\tdirectory 2, hidden by hi/a.hide\nhi/a.hide\tdirectory 2, hide, not read: it hides\n"},
    };
    for (const auto& c : cases) {
        write(c.files);
        EXPECT_EQ(shown({"--cat", "a*"}), c.cat);
        EXPECT_EQ(shown({"--all", "a*"}), c.all);
    }
}

TEST_F(PathFileCommand, TellsWhereLinesComeFrom) {
    write({"lo/a.txt", "lo/b.txt", "hi/c.jpg"});
    dir_.write("mid/a.txt", "1\n2");
    EXPECT_EQ(shown({"*.txt", "*.jpg", "^b*"}), "mid/a.txt\nhi/c.jpg\n");
    EXPECT_EQ(shown({"--cat", "--origin", "*.txt"}), "mid/a.txt:1:1\nmid/a.txt:2:2\nlo/b.txt:1:lo/b.txt\n");
    EXPECT_EQ(shown({"--cat", "--json", "a.txt"}),
              R"([{"file":"mid/a.txt","line":1,"text":"1"},{"file":"mid/a.txt","line":2,"text":"2"}])"
              "\n");
    EXPECT_EQ(shown({"--all", "--json", "a.txt"}),
              R"([{"path":"lo/a.txt","directory":0,"flags":[],"read":false,"reason":"replaced","by":"mid/a.txt"},)"
              R"({"path":"mid/a.txt","directory":1,"flags":[],"read":true}])"
              "\n");
    EXPECT_THAT(failed({"none"}), testing::StartsWith("tarvani: none: nothing matches it in hi:"));
}

TEST_F(PathFileCommand, SaysWhichFilesCantBeRead) {
    write({"lo/a", "lo/b"});
    dir_.makeDirectory("lo/d");
    ::chmod(dir_.path("lo/b").c_str(), 0);
    ASSERT_EQ(::symlink("nowhere", dir_.path("lo/c").c_str()), 0);
    const Outcome outcome = run({"pathfile", "--cat", "*"}, {.ordinaryUser = true});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "lo/a\n");
    EXPECT_EQ(relative(outcome.err), "tarvani: lo/b: Permission denied\ntarvani: lo/c: No such file or directory\n");
    EXPECT_THAT(shown({"--all", "c*"}), testing::EndsWith("directory 0, not read: No such file or directory\n"));
}

TEST_F(PathFileCommand, FindsThePlaceToSave) {
    const struct {
        Words files, closed, options;
        const char* expected;  // null: none
    } cases[] = {
        // nothing related: where it begins, unseen
        {{}, {"lo"}, {}, "lo/a.txt"},
        {{"hi/b.txt"}, {"mid"}, {"--from", "1"}, "mid/a.txt"},
        {{}, {}, {"--from", "3"}, nullptr},
        // related files and no flag: upwards from its own directory
        {{"lo/a.txt"}, {"lo"}, {}, "mid/a.txt"},
        {{"lo/a.txt"}, {"lo", "mid", "hi"}, {}, nullptr},
        {{"lo/a.txt", "mid/a.txt"}, {}, {}, "mid/a.txt"},
        {{"lo/a.txt", "mid/a.txt"}, {}, {"--new", "--from", "0"}, "hi/a.txt"},
        // the flags
        {{"mid/a.txt"}, {}, {"--over-visible", "--from", "0"}, "mid/a.txt"},
        {{"lo/a.txt.hide"}, {"mid"}, {"--above-hidden"}, "hi/a.txt"},
        {{"lo/a.txt.hide", "hi/a.jpg"}, {}, {"--above-hidden", "--over-visible"}, "hi/a.txt"},
    };
    for (const auto& c : cases) {
        write(c.files);
        for (const std::string& directory : c.closed) {
            ::chmod(dir_.path(directory).c_str(), 0555);
            for (const std::string& name : dir_.names(directory))
                ::chmod(dir_.path(directory + "/" + name).c_str(), 0444);
        }
        Words words = {"--save-place", "a.txt"};
        words.insert(words.end(), c.options.begin(), c.options.end());
        const std::string what = testing::PrintToString(c.files) + testing::PrintToString(words);
        if (c.expected) {
            EXPECT_EQ(shown(words, {.ordinaryUser = true}), std::string(c.expected) + "\n") << what;
        } else {
            EXPECT_THAT(failed(words, {.ordinaryUser = true}), testing::StartsWith("tarvani: a.txt: no directory"))
                << what;
        }
    }
    write({"mid/s/a.txt"});
    EXPECT_EQ(shown({"--save-place", "s/a.txt.hide"}), "lo/s/a.txt.hide\n");
    EXPECT_EQ(shown({"--save-place", "s/a.txt"}), "mid/s/a.txt\n");
    for (const char* name : {"", "/a", "s/", "a b/c", "..", "s/../../a"})
        EXPECT_NE(failed({"--save-place", name}), "") << name;
}

TEST_F(PathFileCommand, OptionsThatDontGoTogetherAreWrongUsage) {
    const Words cases[] = {{},
                           {"--list", "--all", "a"},
                           {"--origin", "a"},
                           {"--new", "a"},
                           {"--save-place", "a", "b"},
                           {"--save-place", "a", "--json"},
                           {"--path", "4", "a"}};
    for (Words words : cases) {
        words.insert(words.begin(), "pathfile");
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(words);
        EXPECT_THAT(outcome.err, testing::MatchesRegex("tarvani: wrong usage: [^\n]*\n"));
    }
}
