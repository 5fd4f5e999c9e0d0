// ls and stat.
#include <UT/UT_RefArray.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "Json.h"
#include "LibraryPath.h"

namespace {

struct Entry {
    std::string name;
    bool hasContents;
    std::int64_t size;
    std::int64_t modified;
};

std::vector<Entry> sectionsOf(FS_IndexFile& index) {
    std::vector<Entry> entries;
    UT_StringArray files, containers;
    FS_Info::getContentsFromIndexFile(index, files, &containers);
    for (const UT_StringArray* names : {&files, &containers})
        for (const UT_String& name : *names)
            entries.push_back({std::string(name.view()), names == &containers, index.getSectionDataSize(name.buffer()),
                               index.getSectionModTime(name.buffer())});
    return entries;
}

std::vector<Entry> directoryOf(const std::string& path) {
    std::vector<Entry> entries;
    // The library lists a section as a container whatever it holds.
    if (path.find('?') != std::string::npos) {
        if (const std::string fault = whyNoContainer(path); !fault.empty()) throw Failure{path, fault};
        return entries;
    }
    UT_StringArray files, directories;
    UT_RefArray<FS_Stat> fileStats, directoryStats;
    if (!FS_Info(path.c_str()).getContents(files, &directories, &fileStats, &directoryStats)) {
        const bool readable = FS_Reader(path.c_str()).isGood();
        std::string fault = readable ? whyNoContainer(path) : whyUnreadable(path);
        if (fault.starts_with("not a container")) fault = "neither a directory nor a container";
        // A directory that may not be entered passes for readable to those who only look at it from outside.
        if (!readable && FS_Info(path.c_str()).getIsDirectory()) fault = errorWords(EACCES);
        if (!fault.empty()) throw Failure{path, fault};
    }
    for (int i = 0; i < files.entries(); ++i)
        entries.push_back({std::string(files(i).view()), false, fileStats(i).size, fileStats(i).modTime});
    for (int i = 0; i < directories.entries(); ++i)
        entries.push_back(
            {std::string(directories(i).view()), true, directoryStats(i).size, directoryStats(i).modTime});
    return entries;
}

std::vector<Entry> entriesOf(const std::string& path) {
    // Over a reader the container stays open while each of its sections is looked into.
    FS_IndexFile index(new FS_Reader(path.c_str()));
    std::vector<Entry> entries = index.getNumSections() > 0 ? sectionsOf(index) : directoryOf(path);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

void printEntries(const std::vector<Entry>& entries, bool isLong) {
    StandardOutput& out = standardOutput();
    for (const Entry& entry : entries) {
        if (isLong) {
            out.writeNumber(entry.size);
            out.write("\t");
            out.writeNumber(entry.modified);
            out.write("\t");
        }
        out.writeName(entry.name);
        out.write(entry.hasContents ? "/\n" : "\n");
    }
}

nlohmann::ordered_json toJson(const std::string& path, const std::vector<Entry>& entries) {
    auto list = nlohmann::ordered_json::array();
    for (const Entry& entry : entries)
        list.push_back({{"name", entry.name},
                        {"directory", entry.hasContents},
                        {"size", entry.size},
                        {"modified", entry.modified}});
    return {{"path", path}, {"entries", std::move(list)}};
}

int list(const std::vector<std::string>& paths, bool isLong, bool asJson) {
    auto json = nlohmann::ordered_json::array();
    bool first = true;
    const int status = forEach(paths, [&](const std::string& path) {
        const std::vector<Entry> entries = entriesOf(path);
        if (asJson) return json.push_back(toJson(path, entries));
        // Whose names they are only needs saying where there could be a doubt.
        if (paths.size() > 1) {
            standardOutput().write(first ? "" : "\n");
            standardOutput().writeName(path);
            standardOutput().write(":\n");
        }
        first = false;
        printEntries(entries, isLong);
    });
    if (asJson) writeJson(json);
    return status;
}

nlohmann::ordered_json factsOf(const std::string& path) {
    const FS_Info info(path.c_str());
    // Behind a lone "?" stands the section without a name, not the container.
    const bool exists = !path.empty() && (path.back() != '?' || FS_Reader(path.c_str()).isGood()) && info.hasAccess(0);
    const LibraryPath parts(path);
    const bool isDirectory = exists && (parts.sections.empty() ? FS_Info(parts.file.c_str()) : info).getIsDirectory();
    return {{"path", path},
            {"exists", exists},
            {"directory", isDirectory},
            {"size", exists ? info.getFileDataSize() : 0},
            {"modified", exists ? info.getModTime() : 0},
            {"readable", exists && info.hasAccess(1)},
            {"writable", exists && info.hasAccess(2)}};
}

void printFacts(const nlohmann::ordered_json& facts) {
    for (const auto& [name, value] : facts.items()) {
        standardOutput().write(name + ": ");
        if (value.is_string())
            standardOutput().writeName(value.get_ref<const std::string&>());
        else
            standardOutput().write(value.dump());
        standardOutput().write("\n");
    }
}

int describe(const std::vector<std::string>& paths, bool asJson) {
    auto json = nlohmann::ordered_json::array();
    for (const std::string& path : paths) {
        nlohmann::ordered_json facts = factsOf(path);
        if (asJson) {
            json.push_back(std::move(facts));
            continue;
        }
        if (&path != &paths.front()) standardOutput().write("\n");
        printFacts(facts);
    }
    if (asJson) writeJson(json);
    return 0;
}

Action declareLs(CLI::App& app) {
    const auto isLong = addFlag(app, "-l,--long", "size, a tab, modification time in seconds, a tab, before each name");
    const auto asJson = addFlag(app, "--json", "one array: for each path an object with its entries");
    const auto paths =
        addTexts(app, "PATH", 0, "a directory, a container, or a section that is one; \".\" if not given");
    return [=] {
        if (paths->empty()) paths->push_back(".");
        return list(*paths, *isLong, *asJson);
    };
}

Action declareStat(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one array with an object for each path");
    const auto paths = addTexts(app, "PATH", 1, "what to look at; it need not exist");
    return [=] { return describe(*paths, *asJson); };
}

constexpr Subcommand kCommands[] = {
    {"ls", "List a directory or a container",
     "tarvani ls scene.idx\n"
     "tarvani ls -l . 'scene.idx?objects'\n"
     "tarvani ls --json scene.idx",
     declareLs, "Names are sorted by their bytes. One that has contents itself ends in \"/\"."},
    {"stat", "Print what is known of a path",
     "tarvani stat 'scene.idx?geo'\n"
     "tarvani stat --json a.txt b.txt",
     declareStat,
     "That is whether it exists, whether it is a directory, its size, its time in seconds, and whether it may be read "
     "and written. A path that isn't there is no failure."},
};

}  // namespace

const std::span<const Subcommand> kListingCommands = kCommands;
