#include "PluginTest.h"

#include <UT/UT_MessageBox.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "../support/Child.h"

namespace {

constexpr const char* kVariables[] = {"TARVANI_DSO_PATH", "TARVANI_SITE_DSO_PATH", "TARVANI_USER_DSO_PATH"};
// Ends a note in the file that brings them to the test: notes may have several lines.
constexpr char kEnd = '\1';

Words* theNotes = nullptr;

void noteBox(const char* title, const char* text) {
    theNotes->push_back(std::string(title) + ": (N" + std::string(std::strchr(text, ')')));
}

}  // namespace

std::string PluginTest::put(const std::string& plugin, const std::string& place) const {
    std::ifstream in(TARVANI_TEST_PLUGINS "/" + plugin + ".dll", std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    EXPECT_FALSE(bytes.str().empty()) << plugin;
    return dir_.write(place, bytes.str());
}

Words PluginTest::at(const Words& places) const {
    Words paths;
    for (const std::string& place : places) paths.push_back(dir_.path(place));
    return paths;
}

Words PluginTest::inFreshProcess(const Words& paths, const std::function<void(Words& notes)>& work) const {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    const int status = inChild([&] {
        for (std::size_t i = 0; i < std::size(kVariables); ++i) {
            std::istringstream places(i < paths.size() ? paths[i] : "");
            std::string text;
            for (std::string place; places >> place;) text += (text.empty() ? "" : ":") + dir_.path(place);
            // Not empty, which would stand for the defaults.
            ::setenv(kVariables[i], text.empty() ? dir_.path("nowhere").c_str() : text.c_str(), 1);
        }
        Words notes;
        theNotes = &notes;
        UTsetMessageBox(noteBox);
        work(notes);
        for (const std::string& note : notes) std::fprintf(file.get(), "%s%c", note.c_str(), kEnd);
        return std::fflush(file.get()) == 0;
    });
    EXPECT_EQ(status, 0);
    std::string text;
    std::rewind(file.get());
    for (int byte = std::fgetc(file.get()); byte != EOF; byte = std::fgetc(file.get())) text += static_cast<char>(byte);
    Words notes;
    std::istringstream in(text);
    for (std::string note; std::getline(in, note, kEnd);) notes.push_back(note);
    return notes;
}

std::string PluginTest::box(const std::string& file, const std::string& detail) {
    return "Tarvani DSO Error: (N) Couldn't load " + file + ".\n\n" + detail;
}
