// UT_DSO: searching, checking and calling.
#include <UT/UT_MessageBox.h>
#include <UT/UT_String.h>
#include <plugin/UT_DSO.h>
#include <unistd.h>

#include "PluginTest.h"

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

std::string running() {
    const char* file = UT_DSO::getRunningFile();
    return file ? file : "nobody";
}

const char* answer(bool ran) {
    return ran ? "ran" : "none";
}

class Dso : public PluginTest {};

}  // namespace

// One file along a path.

TEST_F(Dso, TheFirstCopyThatWorksIsUsedAndNoOther) {
    const std::string broken = dir_.write("a/x.dll", "no library");
    put("version_none", "b/x.dll");
    put("kept", "c/x.dll");  // has no function "record"
    const std::string first = put("recorder", "d/x.dll");
    put("recorder", "e/x.dll");
    const Words notes = inFreshProcess({"a b c d e"}, [&](Words& out) {
        out.push_back(answer(UT_DSO().run("x.dll", "record", &out, 1, UT_PATH_DSO)));
        UT_String found("as it was");
        const auto record = UT_DSO().findProcedure("x.dll", "record", found, 0);  // unchecked, so b works
        out.push_back(std::string(found.view()) + (record ? "" : " null"));
        out.push_back(running());
    });
    EXPECT_THAT(notes,
                ElementsAreArray({box(broken, kOtherVersion), box("x.dll", kMissingVersion), first, std::string("ran"),
                                  box(broken, kOtherVersion), dir_.path("b/x.dll"), std::string("nobody")}));
}

TEST_F(Dso, NothingIsSaidOfAFileThatIsNotThereOrHasNoSuchFunction) {
    put("recorder", "a/x.dll");
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   UT_String found("as it was");
                                   const bool ran = UT_DSO().run("y.dll", "record", &out, 1, UT_PATH_DSO) ||
                                                    UT_DSO().run("x.dll", "other", &out, 1, UT_PATH_DSO) ||
                                                    UT_DSO().run("x.dll", "record", &out, 1, UT_PATH_SITE_DSO) ||
                                                    UT_DSO().findProcedure("y.dll", "record", found, 1) ||
                                                    UT_DSO().findProcedure("x.dll", "strlen", found, 1);
                                   out.push_back(answer(ran));
                                   out.push_back(std::string(found.view()));
                               }),
                ElementsAreArray({"none", "as it was"}));
}

// The version check.

TEST_F(Dso, OnlyTheWholeTextOfTheVersionPasses) {
    const auto incorrect = [](const std::string& version) {
        return "Incorrect version " + version + " should be 9.0.";
    };
    const struct {
        const char* plugin;
        std::string detail;
    } cases[] = {
        {"version_longer", incorrect("9.0.1")},
        {"version_library", incorrect("10.0.401")},
        {"version_empty", incorrect("")},
        {"version_null", "Invalid version information."},
        {"version_none", kMissingVersion},
        {"leaning", kMissingVersion},  // the version function of what it links is not its own
    };
    for (const auto& c : cases) {
        const std::string path = put(c.plugin, std::string(c.plugin) + "/x.dll");
        const auto both = [&](Words& out) {
            out.push_back(answer(UT_DSO().run("x.dll", "record", &out, 1, UT_PATH_DSO)));
            out.push_back(answer(UT_DSO().run("record", &out, 1)));
            out.push_back(answer(UT_DSO().run("record", &out, 1)));  // gone from the list, and not reported again
        };
        EXPECT_THAT(inFreshProcess({c.plugin}, both),
                    ElementsAreArray({box("x.dll", c.detail), std::string("none"), box(path, c.detail),
                                      std::string("none"), std::string("none")}));
        EXPECT_THAT(inFreshProcess({c.plugin},
                                   [&](Words& out) {
                                       ::setenv("TARVANI_DSO_ERROR", "0", 1);
                                       both(out);
                                   }),
                    ElementsAreArray({"none", "none", "none"}));
    }
}

TEST_F(Dso, ALibraryIsCheckedOnlyWhenItIsLoaded) {
    const std::string path = put("version_none", "a/x.dll");
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   UT_DSO().run("record", &out, 0);
                                   UT_DSO().run("record", &out, 1);
                               }),
                ElementsAreArray({path, path}));
}

TEST_F(Dso, AMessageGoesToStandardErrorUnlessTheHostShowsIt) {
    testing::internal::CaptureStderr();
    inFreshProcess({}, [](Words& out) {
        UTsetMessageBox(nullptr);
        UT_DSO().run("/dev/null", "record", &out, 1, UT_PATH_DSO);
    });
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("Tarvani DSO Error\n\\([0-9]+\\) Couldn't load /dev/null.\n\n" +
                             std::string(kOtherVersion) + "\n"));
}

// All libraries.

TEST_F(Dso, LibrariesComeByKnownPathDirectoryAndName) {
    for (const char* place : {"1a/m.dll", "1a/n.dll", "1b/k.dll", "2/x.dll", "3a/z.dll", "3b/a.dll"})
        put("recorder", place);
    // None of these is a plug-in of the list.
    put("recorder", "1a/.hidden.dll");
    put("recorder", "1a/x.dll.old");
    dir_.makeDirectory("1a/directory.dll");
    put("kept", "1b/without.dll");
    const Words order = at({"3a/z.dll", "3b/a.dll", "2/x.dll", "1a/n.dll", "1a/m.dll", "1b/k.dll", "2/x.dll"});
    const Words paths = {"1a 1b 2", "2", "3a 3b"};  // one lies on two known paths
    const Words notes = inFreshProcess(paths, [](Words& out) {
        out.push_back(answer(UT_DSO().run("record", &out, 1)));
        out.push_back(running());
    });
    Words expected = order;
    expected.insert(expected.end(), {"ran", "nobody"});
    EXPECT_EQ(notes, expected);
    EXPECT_EQ(inFreshProcess(paths, [](Words& out) { UT_DSO().runReverse("record", &out, 1); }),
              Words(order.rbegin(), order.rend()));
}

TEST_F(Dso, ALibraryIsTheRunningFileWhileItIsLoadedAndWhileItRuns) {
    const std::string inner = put("recorder", "a/inner.dll"), outer = put("recorder", "a/outer.dll");
    const std::string broken = dir_.write("a/broken.dll", "no library");
    EXPECT_THAT(inFreshProcess({"a"}, [](Words& out) { UT_DSO().run("recordLoading", &out, 1); }),
                ElementsAreArray({outer, inner, box(broken, kOtherVersion)}));
    // The inner walk meets the broken one before the outer comes to it, and each file is itself again behind it.
    EXPECT_THAT(inFreshProcess({"a"}, [](Words& out) { UT_DSO().run("recordNested", &out, 1); }),
                ElementsAreArray({outer, inner, box(broken, kOtherVersion), outer, outer, inner, inner}));
}

TEST_F(Dso, LibrariesThatAppearLaterAreNotSeen) {
    dir_.makeDirectory("a");
    EXPECT_THAT(inFreshProcess({"a"},
                               [&](Words& out) {
                                   out.push_back(answer(UT_DSO().run("record", &out, 1)));
                                   put("recorder", "a/x.dll");
                                   out.push_back(answer(UT_DSO().run("record", &out, 1)));
                               }),
                ElementsAreArray({"none", "none"}));
}

// Where libraries may come from, and single libraries.

TEST_F(Dso, NothingLoadsByARelativePath) {
    put("recorder", "a/x.dll");
    EXPECT_THAT(inFreshProcess({},
                               [&](Words& out) {
                                   ASSERT_EQ(::chdir(dir_.path("a").c_str()), 0);
                                   ::setenv("TARVANI_DSO_PATH", ".:../a:", 1);
                                   ::setenv("TARVANI_PATH", ".", 1);
                                   ::setenv("TARVANI_HOME", "relative", 1);
                                   out.push_back(answer(UT_DSO().run("record", &out, 1)));
                                   out.push_back(answer(UT_DSO().run("x.dll", "record", &out, 1, UT_PATH_DSO)));
                                   out.push_back(answer(UT_DSO().run("./x.dll", "record", &out, 1, UT_PATH_DSO)));
                                   out.push_back(answer(UT_DSO().run("x.dll", "record", &out, 1, UT_PATH_DEFAULT)));
                                   for (const char* file : {"x.dll", "./x.dll", "../a/x.dll", ""})
                                       out.push_back(answer(UT_DSO::loadDSO(file, false)));
                               }),
                ElementsAreArray({std::string("none"), std::string("none"), box("./x.dll", kOtherVersion),
                                  std::string("none"), box("./x.dll", kOtherVersion), std::string("none"),
                                  std::string("none"), std::string("none"), std::string("none"), std::string("none")}));
}

TEST_F(Dso, ALibraryByItselfIsLoadedAskedAndGivenUp) {
    const std::string good = put("version_none", "a/x.dll"), bad = dir_.write("a/bad.dll", "no library");
    const Words notes = inFreshProcess({}, [&](Words& out) {
        UT_DSOHandle* library = UT_DSO::loadDSO(good.c_str(), true);  // unchecked
        if (!library) return;
        out.push_back(UT_DSO::getLastErrorText());
        reinterpret_cast<void (*)(void*)>(UT_DSO::findSymbol(*library, "record"))(&out);
        // What the library needs is not what it has.
        out.push_back(answer(UT_DSO::findSymbol(*library, "strlen") || UT_DSO::findSymbol(*library, nullptr)));
        out.push_back(answer(UT_DSO::findSymbol(*library, "TarvaniDSOVersion")));
        out.push_back(UT_DSO::getLastErrorText());
        out.push_back(std::to_string(UT_DSO::closeDSO(*library)));
        out.push_back(answer(UT_DSO::loadDSO(bad.c_str(), false)));
        out.push_back(UT_DSO::getLastErrorText());
    });
    ASSERT_EQ(notes.size(), 8u);
    EXPECT_THAT(Words(notes.begin(), notes.begin() + 4), ElementsAreArray({"", "nobody", "none", "none"}));
    EXPECT_THAT(notes[4], HasSubstr("undefined symbol: TarvaniDSOVersion"));
    EXPECT_EQ(notes[5], "0");
    EXPECT_EQ(notes[6], "none");
    EXPECT_THAT(notes[7], HasSubstr(bad));
}

TEST_F(Dso, NullArgumentsAndUnknownPathsDoNothing) {
    put("recorder", "a/x.dll");
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   UT_String found("as it was");
                                   UT_DSO dso;
                                   UT_DSO other;
                                   dso = other;
                                   dso.runReverse(nullptr, &out, 1);
                                   if (dso.run(nullptr, &out, 1) || dso.run(nullptr, "record", &out, 1, UT_PATH_DSO) ||
                                       dso.run("x.dll", nullptr, &out, 1, UT_PATH_DSO) ||
                                       dso.run("x.dll", "record", &out, 1, static_cast<UT_KnownPath>(17)) ||
                                       dso.findProcedure(nullptr, nullptr, found, 1) || UT_DSO::loadDSO(nullptr, false))
                                       out.push_back("something");
                               }),
                IsEmpty());
}
