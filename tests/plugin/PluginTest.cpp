// Searching, checking and calling plug-ins, and the helpers that they bring. What a process has loaded and looked for
// stays with it, so each case is a process of its own.
#include <UT/UT_IStream.h>
#include <UT/UT_MessageBox.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_WorkBuffer.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plugin/UT_DSO.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_Writer.h>
#include <stream/FSloadCustomHelpers.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "../support/Child.h"
#include "../support/ScratchDir.h"

namespace {

using Words = std::vector<std::string>;
using testing::HasSubstr;

constexpr const char* kOtherVersion =
    "This is probably because this file was intended for use with a different version of Tarvani.";
constexpr const char* kMissingVersion =
    "Missing version information.\n\nWhen creating custom operators with the TPK, remember to\n"
    "#include <UT/UT_DSOVersion> to define the required version information.";

// The note of the box about `file`.
std::string box(const std::string& file, const std::string& detail) {
    return "Tarvani DSO Error: (N) Couldn't load " + file + ".\n\n" + detail;
}

class PluginProcess {
public:
    // Puts files into a scratch directory, each "PLUGIN PLACE"; of plug-in "broken" it is no library, of "directory"
    // none at all. `paths` are the known paths 1, 2 and 3, split by "|", each directories in the scratch directory.
    PluginProcess(const Words& files, std::string paths) : paths_(std::move(paths)) {
        for (const std::string& file : files) put(file.substr(0, file.find(' ')), file.substr(file.find(' ') + 1));
    }
    std::string path(const std::string& place) const { return dir_.path(place); }

    // What a process notes that takes these steps: its answers, what the plug-ins note, and the message boxes that it
    // meets, with N for the code. Places are those in the scratch directory.
    //     run F, runUnchecked F, runReverse F     the function F of all libraries
    //     runFile FILE F [PATH], find FILE F, findUnchecked FILE F, load FILE, running
    //     stays PLACE                             whether the library there is loaded
    //     read PATH, write PATH TEXT, ask PATH    through the helpers of plug-ins
    //     install                                 these helpers
    //     put PLUGIN PLACE, cd PLACE, set VARIABLE VALUE
    Words notes(const Words& steps) const {
        return notes([&](Words& out) {
            for (const std::string& step : steps) take(step, out);
        });
    }
    // The same of any work.
    Words notes(const std::function<void(Words& notes)>& work) const;

private:
    void put(const std::string& plugin, const std::string& place) const;
    void take(const std::string& step, Words& notes) const;

    ScratchDir dir_;
    std::string paths_;
};

// Ends a note in the file that brings them to the test: notes may have several lines.
constexpr char kEnd = '\1';
Words* theNotes = nullptr;

void noteBox(const char* title, const char* text) {
    theNotes->push_back(std::string(title) + ": (N" + std::string(std::strchr(text, ')')));
}

bool isLoaded(const std::string& file) {
    void* const library = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library) ::dlclose(library);
    return library != nullptr;
}

const char* answer(bool did) {
    return did ? "ran" : "none";
}

std::string found(const char* file, const char* function, int checkVersion) {
    UT_String path("untouched");
    if (UT_DSO().findProcedure(file, function, path, checkVersion)) return path.buffer();
    return path == "untouched" ? "none" : "touched";
}

std::string contentOf(const char* path) {
    const FS_Reader reader(path);
    UT_WorkBuffer line;
    if (!reader.getStream() || !reader.getStream()->getLine(line, '\n')) return "nothing";
    return line.buffer();
}

std::string told(FS_Info&& info) {
    if (!info.getIsDirectory()) return info.fileExists() ? "file" : "missing";
    UT_StringArray names;
    info.getContents(names, nullptr, nullptr, nullptr);
    std::string all = "directory";
    for (const UT_String& name : names) all.append(" ").append(name.view());
    return all;
}

bool write(const char* path, const std::string& text) {
    FS_Writer writer(path);
    if (writer.getStream()) *writer.getStream() << text;
    return writer.finish();
}

void PluginProcess::put(const std::string& plugin, const std::string& place) const {
    if (plugin == "directory") {
        dir_.makeDirectory(place);
    } else {
        dir_.write(place, "no library");
        if (plugin == "broken") return;
        const std::filesystem::path built = TARVANI_TEST_PLUGINS "/" + plugin + ".dll";
        std::filesystem::copy_file(built, path(place), std::filesystem::copy_options::overwrite_existing);
    }
}

void PluginProcess::take(const std::string& step, Words& out) const {
    std::istringstream in(step);
    const Words words{std::istream_iterator<std::string>(in), {}};
    const auto is = [&](const char* verb) { return words[0] == verb; };
    const auto word = [&](std::size_t i) { return i < words.size() ? words[i].c_str() : nullptr; };
    if (is("run")) out.push_back(answer(UT_DSO().run(word(1), &out, 1)));
    if (is("runUnchecked")) out.push_back(answer(UT_DSO().run(word(1), &out, 0)));
    if (is("runReverse")) UT_DSO().runReverse(word(1), &out, 1);
    const auto known = static_cast<UT_KnownPath>(word(3) ? std::atoi(word(3)) : UT_PATH_DSO);
    if (is("runFile")) out.push_back(answer(UT_DSO().run(word(1), word(2), &out, 1, known)));
    if (is("find")) out.push_back(found(word(1), word(2), 1));
    if (is("findUnchecked")) out.push_back(found(word(1), word(2), 0));
    if (is("load")) out.push_back(answer(UT_DSO::loadDSO(word(1), false)));
    if (is("running")) out.push_back(UT_DSO::getRunningFile() ? UT_DSO::getRunningFile() : "nobody");
    if (is("read")) out.push_back(contentOf(word(1)));
    if (is("write")) out.push_back(write(word(1), words.at(2)) ? "written" : "none");
    if (is("ask")) out.push_back(told(FS_Info(word(1))));
    if (is("stays")) out.push_back(isLoaded(path(words.at(1))) ? "stays" : "gone");
    if (is("install")) FSloadCustomHelpers();
    if (is("put")) put(words.at(1), words.at(2));
    if (is("cd")) std::filesystem::current_path(path(words.at(1)));
    if (is("set")) ::setenv(word(1), word(2), 1);
}

Words PluginProcess::notes(const std::function<void(Words& notes)>& work) const {
    const std::string file = path("notes");
    const int status = inChild([&] {
        std::istringstream paths(paths_);
        for (const char* variable : {"TARVANI_DSO_PATH", "TARVANI_SITE_DSO_PATH", "TARVANI_USER_DSO_PATH"}) {
            std::string places, text;
            std::getline(paths, places, '|');
            std::istringstream in(places);
            for (std::string place; in >> place;) text += (text.empty() ? "" : ":") + path(place);
            // Not empty, which would stand for the defaults.
            ::setenv(variable, text.empty() ? path("nowhere").c_str() : text.c_str(), 1);
        }
        Words notes;
        theNotes = &notes;
        UTsetMessageBox(noteBox);
        work(notes);
        std::ofstream out(file);
        for (const std::string& note : notes) out << note << kEnd;
        return out.flush().good();
    });
    EXPECT_EQ(status, 0);
    Words notes;
    std::ifstream in(file);
    for (std::string note; std::getline(in, note, kEnd); notes.push_back(note))
        for (std::size_t at; (at = note.find(path(""))) != note.npos;) note.erase(at, path("").size());
    return notes;
}

struct Case {
    Words files;
    const char* paths;
    Words steps, notes;
};

void expectNotes(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(PluginProcess(c.files, c.paths).notes(c.steps), c.notes)
            << testing::PrintToString(c.files) << " " << testing::PrintToString(c.steps);
    }
}

}  // namespace

TEST(Plugin, OfOneFileTheFirstCopyThatWorksIsUsed) {
    expectNotes({
        // One is broken, one of no version, one without the function, and the last isn't needed.
        {{"broken a/x.dll", "version_none b/x.dll", "kept c/x.dll", "recorder d/x.dll", "recorder e/x.dll"},
         "a b c d e",
         {"runFile x.dll record", "running"},
         {box("a/x.dll", kOtherVersion), box("x.dll", kMissingVersion), "d/x.dll", "ran", "nobody"}},
        {{"broken a/x.dll", "version_none b/x.dll", "recorder c/x.dll"},
         "a b c",
         {"findUnchecked x.dll record", "running", "find x.dll record"},
         {box("a/x.dll", kOtherVersion), "b/x.dll", "nobody", box("a/x.dll", kOtherVersion),
          box("x.dll", kMissingVersion), "c/x.dll"}},
        // Nothing is said of a file that isn't there or has no such function of its own.
        {{"recorder a/x.dll"},
         "a",
         {"runFile y.dll record", "runFile x.dll other", "runFile x.dll record 2", "runFile x.dll record 17",
          "find y.dll record", "find x.dll strlen"},
         Words(6, "none")},
        {{"recorder a/x.dll", "recorder b/x.dll", "recorder b/y.dll"},
         "a|b",
         {"runFile x.dll recordLoading", "runFile y.dll record 2", "find y.dll record"},
         {"a/x.dll", "ran", "b/y.dll", "ran", "none"}},
        // Only the one without the function is given up.
        {{"recorder a/x.dll", "version_none a/y.dll"},
         "a",
         {"runFile x.dll other", "stays a/x.dll", "find x.dll record", "stays a/x.dll", "runFile y.dll record",
          "stays a/y.dll"},
         {"none", "gone", "a/x.dll", "stays", box("y.dll", kMissingVersion), "none", "stays"}},
        // Nothing loads by a relative path.
        {{"recorder a/x.dll"},
         "",
         {"cd a", "set TARVANI_DSO_PATH .:../a:", "set TARVANI_PATH .", "set TARVANI_HOME relative", "run record",
          "runFile x.dll record", "load x.dll", "load ./x.dll", "load ../a/x.dll", "runFile ./x.dll record",
          "runFile x.dll record 0"},
         {"none", "none", "none", "none", "none", box("./x.dll", kOtherVersion), "none", box("./x.dll", kOtherVersion),
          "none"}},
    });
}

TEST(Plugin, OnlyTheWholeTextOfTheVersionPasses) {
    const std::pair<const char*, const char*> cases[] = {
        {"version_longer", "Incorrect version 9.0.1 should be 9.0."},
        {"version_library", "Incorrect version 10.0.401 should be 9.0."},
        {"version_empty", "Incorrect version  should be 9.0."},
        {"version_null", "Invalid version information."},
        {"version_none", kMissingVersion},
        {"leaning", kMissingVersion},  // the version function of what it links is not its own
    };
    for (const auto& [plugin, detail] : cases) {
        const PluginProcess process({std::string(plugin) + " a/x.dll"}, "a");
        // At the third it is gone from the list, and not reported again.
        EXPECT_EQ(process.notes({"runFile x.dll record", "run record", "run record", "runUnchecked record"}),
                  (Words{box("x.dll", detail), "none", box("a/x.dll", detail), "none", "none", "none"}));
        EXPECT_EQ(process.notes({"set TARVANI_DSO_ERROR 0", "runFile x.dll record", "run record"}), Words(2, "none"));
    }
}

TEST(Plugin, AllLibrariesOfTheListAreWalked) {
    expectNotes({
        // By known path, directory and name; one lies on two known paths. Some are none of the list.
        {{"recorder 1a/m.dll", "recorder 1a/n.dll", "recorder 1b/k.dll", "recorder 2/x.dll", "recorder 3a/z.dll",
          "recorder 3b/a.dll", "recorder 1a/.hidden.dll", "recorder 1a/x.dll.old", "directory 1a/directory.dll",
          "kept 1b/without.dll"},
         "1a 1b 2|2|3a 3b",
         {"run record", "running", "runReverse record"},
         {"3a/z.dll", "3b/a.dll", "2/x.dll", "1a/n.dll", "1a/m.dll", "1b/k.dll", "2/x.dll", "ran", "nobody", "2/x.dll",
          "1b/k.dll", "1a/m.dll", "1a/n.dll", "2/x.dll", "3b/a.dll", "3a/z.dll"}},
        {{"recorder a/x.dll", "recorder a/y.dll"}, "a", {"runReverse record"}, {"a/x.dll", "a/y.dll"}},
        {{"broken a/w.dll", "version_none a/x.dll", "recorder a/y.dll"},
         "a",
         {"runReverse other", "run record", "stays a/x.dll"},
         {box("a/w.dll", kOtherVersion), box("a/x.dll", kMissingVersion), "a/y.dll", "ran", "stays"}},
        // A library is checked only when it is loaded.
        {{"version_none a/x.dll"}, "a", {"runUnchecked record", "run record"}, {"a/x.dll", "ran", "a/x.dll", "ran"}},
        {{"directory a"}, "a", {"run record", "put recorder a/x.dll", "run record"}, {"none", "none"}},
        // Each is the running file while it is loaded and while it runs.
        {{"recorder a/inner.dll", "recorder a/outer.dll", "broken a/broken.dll"},
         "a",
         {"run recordLoading"},
         {"a/outer.dll", "a/inner.dll", box("a/broken.dll", kOtherVersion), "ran"}},
        // The inner walk meets the broken one before the outer comes to it.
        {{"recorder a/inner.dll", "recorder a/outer.dll", "broken a/broken.dll"},
         "a",
         {"run recordNested"},
         {"a/outer.dll", "a/inner.dll", box("a/broken.dll", kOtherVersion), "a/outer.dll", "a/outer.dll", "a/inner.dll",
          "a/inner.dll", "ran"}},
    });
}

TEST(Plugin, HelpersServeTheFirstHandleOfAnyKind) {
    const Words kept = {"kept a/fs/kept.dll", "recorder a/fs/other.dll"};
    expectNotes({
        {kept,
         "a",
         {"read kept:who", "read http://kept/x"},
         {"a/fs/kept.dll", "an address"}},  // before the built-in ones
        {kept, "a", {"ask kept:who", "ask kept:"}, {"file", "directory http://kept/x kept:who"}},
        {kept, "a", {"install", "ask http://kept/x"}, {"file"}},  // also where the program begins with the plug-ins
        {kept, "a", {"write kept:new text", "read kept:new"}, {"written", "text"}},
        // A name loads once, from its first copy. By names and not by directories the last one is asked first.
        {{"kept a/fs/b.dll", "broken b/fs/b.dll"}, "a b", {"read kept:who"}, {"a/fs/b.dll"}},
        {{"kept a/fs/b.dll", "kept b/fs/a.dll"}, "a b", {"read kept:who"}, {"b/fs/a.dll"}},
        // One that fails is told and the others are tried.
        {{"broken a/fs/a.dll", "version_longer a/fs/b.dll", "kept b/fs/b.dll"},
         "a b",
         {"read kept:who"},
         {box("a/fs/a.dll", kOtherVersion), box("fs/b.dll", "Incorrect version 9.0.1 should be 9.0."), "b/fs/b.dll"}},
        {{"directory a"}, "a", {"install", "put kept a/fs/kept.dll", "install", "read kept:who"}, {"nothing"}},
        // One that opens a path while it installs is installed twice.
        {{"opening a/fs/x.dll"}, "a", {"read kept:opened"}, {"yy"}},
    });
}

TEST(Plugin, AMessageGoesToStandardErrorUnlessTheHostShowsIt) {
    testing::internal::CaptureStderr();
    PluginProcess({}, "").notes([](Words& out) {
        UTsetMessageBox(nullptr);
        UT_DSO().run("/dev/null", "record", &out, 1, UT_PATH_DSO);
    });
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("Tarvani DSO Error\n\\([0-9]+\\) Couldn't load /dev/null.\n\n" +
                                      std::string(kOtherVersion) + "\n"));
}

TEST(Plugin, ALibraryByItselfIsLoadedAskedAndGivenUp) {
    const PluginProcess process({"version_none a/x.dll", "broken a/bad.dll"}, "");
    const Words notes = process.notes([&](Words& out) {
        UT_DSOHandle* const library = UT_DSO::loadDSO(process.path("a/x.dll").c_str(), true);  // unchecked
        if (!library) return;
        out.push_back(UT_DSO::getLastErrorText());
        reinterpret_cast<void (*)(void*)>(UT_DSO::findSymbol(*library, "record"))(&out);
        for (const char* absent : {static_cast<const char*>(nullptr), "strlen", "TarvaniDSOVersion"})
            out.push_back(UT_DSO::findSymbol(*library, absent) ? "found" : "absent");  // what it needs it doesn't have
        out.push_back(UT_DSO::getLastErrorText());
        out.push_back(UT_DSO::closeDSO(*library) == 0 ? "closed" : "open");
        out.push_back(UT_DSO::loadDSO(process.path("a/bad.dll").c_str(), false) ? "loaded" : "refused");
        out.push_back(UT_DSO::getLastErrorText());
    });
    EXPECT_THAT(notes, testing::ElementsAre("", "nobody", "absent", "absent", "absent",
                                            HasSubstr("undefined symbol: TarvaniDSOVersion"), "closed", "refused",
                                            HasSubstr("a/bad.dll")));
}

TEST(Plugin, ALibraryThatIsGivenUpTwiceIsAFailure) {
    const PluginProcess process({"recorder a/x.dll"}, "");
    const Words notes = process.notes([&](Words& out) {
        // Held by what needs it, so that its handle is good.
        if (!UT_DSO::loadDSO(TARVANI_TEST_PLUGINS "/leaning.dll", false)) return;
        UT_DSOHandle* const library = UT_DSO::loadDSO(TARVANI_TEST_PLUGINS "/recorder.dll", false);
        for (int i = 0; library && i < 2; ++i) out.push_back(std::to_string(UT_DSO::closeDSO(*library)));
    });
    EXPECT_EQ(notes, (Words{"0", "1"}));
}

TEST(Plugin, NullArgumentsDoNothing) {
    const auto nulls = [](Words& out) {
        UT_String found("untouched");
        UT_DSO dso;
        dso.runReverse(nullptr, &out, 1);
        if (dso.run(nullptr, &out, 1) || dso.run(nullptr, "record", &out, 1, UT_PATH_DSO) ||
            dso.run("x.dll", nullptr, &out, 1, UT_PATH_DSO) || dso.findProcedure(nullptr, nullptr, found, 1) ||
            UT_DSO::loadDSO(nullptr, false) || found != "untouched")
            out.push_back("something");
    };
    EXPECT_EQ(PluginProcess({"recorder a/x.dll"}, "a").notes(nulls), Words());
}
