// Searching, checking and calling plug-ins, and the helpers that they bring: cases/plugins.cases, and what a case can't
// say.
#include <UT/UT_MessageBox.h>
#include <UT/UT_String.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <plugin/UT_DSO.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_Writer.h>
#include <stream/FSloadCustomHelpers.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <latch>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "../support/CaseFile.h"
#include "../support/Reading.h"
#include "../support/ScratchDir.h"

namespace {

using testing::HasSubstr;

Lines notes;  // of the step that runs

void noteBox(const char* title, const char* text) {
    notes.push_back(std::string(title) + ": (N" + std::strchr(text, ')'));
}

void copyPlugin(const std::string& plugin, const std::filesystem::path& place) {
    std::filesystem::create_directories(place.parent_path());
    std::filesystem::copy_file(TARVANI_TEST_PLUGINS "/" + plugin + ".dll", place);
}

bool isLoaded(const std::string& file) {
    void* const library = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library) ::dlclose(library);
    return library != nullptr;
}

std::string found(const char* file, const char* function, int checkVersion) {
    UT_String path("untouched");
    if (UT_DSO().findProcedure(file, function, path, checkVersion)) return path.buffer();
    return path == "untouched" ? "none" : "touched";
}

std::string contentOf(const char* path) {
    FS_Reader reader(path);
    return reader.isGood() ? readAll(*reader.getStream()) : "nothing";
}

// What threads find that read a path at once, each answer once.
std::set<std::string> contentsAtOnce(const char* path) {
    std::vector<std::string> contents(16);
    std::latch all(static_cast<std::ptrdiff_t>(contents.size()));
    std::vector<std::thread> threads;
    for (std::string& content : contents)
        threads.emplace_back([&] {
            all.arrive_and_wait();
            content = contentOf(path);
        });
    for (std::thread& thread : threads) thread.join();
    return {contents.begin(), contents.end()};
}

bool write(const char* path, const char* text) {
    FS_Writer writer(path);
    if (writer.getStream()) *writer.getStream() << text;
    return writer.finish();
}

void take(const CaseRun& run, const Verb& verb, const std::vector<std::string>& words) {
    const auto word = [&](std::size_t i) {
        return i < words.size() && words[i] != "(null)" ? words[i].c_str() : nullptr;
    };
    const auto note = [](std::string text) { notes.push_back(std::move(text)); };
    if (verb == "run") note(UT_DSO().run(word(0), &notes, 1) ? "ran" : "none");
    if (verb == "runUnchecked") note(UT_DSO().run(word(0), &notes, 0) ? "ran" : "none");
    if (verb == "runReverse") UT_DSO().runReverse(word(0), &notes, 1);
    const auto known = static_cast<UT_KnownPath>(word(2) ? std::atoi(word(2)) : UT_PATH_DSO);
    if (verb == "runFile") note(UT_DSO().run(word(0), word(1), &notes, 1, known) ? "ran" : "none");
    if (verb == "find") note(found(word(0), word(1), 1));
    if (verb == "findUnchecked") note(found(word(0), word(1), 0));
    if (verb == "load") note(UT_DSO::loadDSO(word(0), false) ? "loaded" : "none");
    if (verb == "running") note(UT_DSO::getRunningFile() ? UT_DSO::getRunningFile() : "nobody");
    if (verb == "stays") note(isLoaded(run.directory + "/" + words.at(0)) ? "yes" : "no");
    if (verb == "read") note(contentOf(word(0)));
    if (verb == "readAtOnce")
        for (const std::string& content : contentsAtOnce(word(0))) note(content);
    if (verb == "write") note(write(word(0), word(1)) ? "yes" : "no");
    if (verb == "ask") note(FS_Info(word(0)).fileExists() ? "yes" : "no");
    if (verb == "install") FSloadCustomHelpers();
    if (verb == "put") copyPlugin(words.at(0), run.directory + "/" + words.at(1));
    if (verb == "cd") std::filesystem::current_path(words.at(0));
    if (verb == "set") ::setenv(word(0), word(1), 1);
}

std::string runPlugins(const CaseRun& run) {
    UTsetMessageBox(noteBox);
    return runSteps(run, [&](const Verb& verb, const std::string& rest) {
        notes.clear();
        take(run, verb, splitWords(rest));
        std::stringstream text;
        for (const std::string& note : notes) text << note << '\n';
        return linesOf(std::move(text));
    });
}

}  // namespace

// What a process has loaded and looked for stays with it, so each case is a process of its own.
TEST(PluginCases, GiveTheirAnswers) {
    // Not empty, which would stand for the defaults.
    for (const char* variable : {"TARVANI_DSO_PATH", "TARVANI_SITE_DSO_PATH", "TARVANI_USER_DSO_PATH"})
        ::setenv(variable, "/proc/none", 1);
    expectCases("plugins", runPlugins);
}

TEST(Plugin, ALibraryByItselfIsLoadedAskedAndGivenUp) {
    // In a directory of its own, so that no other test has it loaded.
    const ScratchDir dir;
    const std::string file = dir.path("x.dll"), broken = dir.write("broken.dll", "no library");
    copyPlugin("version_none", file);
    UT_DSOHandle* const library = UT_DSO::loadDSO(file.c_str(), true);  // unchecked
    ASSERT_TRUE(library);
    EXPECT_STREQ(UT_DSO::getLastErrorText(), "");
    EXPECT_TRUE(UT_DSO::findSymbol(*library, "record"));
    for (const char* absent : {static_cast<const char*>(nullptr), "strlen", "TarvaniDSOVersion"})
        EXPECT_FALSE(UT_DSO::findSymbol(*library, absent)) << "what it needs it doesn't have";
    EXPECT_THAT(UT_DSO::getLastErrorText(), HasSubstr("undefined symbol: TarvaniDSOVersion"));
    EXPECT_EQ(UT_DSO::closeDSO(*library), 0);
    EXPECT_FALSE(UT_DSO::loadDSO(broken.c_str(), false));
    EXPECT_THAT(UT_DSO::getLastErrorText(), HasSubstr(broken));
}

TEST(Plugin, ALibraryThatIsGivenUpTwiceIsAFailure) {
    // Held by what needs it, so that its handle is good.
    ASSERT_TRUE(UT_DSO::loadDSO(TARVANI_TEST_PLUGINS "/leaning.dll", false));
    UT_DSOHandle* const library = UT_DSO::loadDSO(TARVANI_TEST_PLUGINS "/recorder.dll", false);
    ASSERT_TRUE(library);
    EXPECT_EQ(UT_DSO::closeDSO(*library), 0);
    EXPECT_EQ(UT_DSO::closeDSO(*library), 1);
}
