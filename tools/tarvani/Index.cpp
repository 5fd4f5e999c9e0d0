// index list, describe, add, remove, move and merge, and the table of all that is below "index".
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>

#include <climits>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Destination.h"
#include "Explain.h"
#include "IndexListing.h"
#include "Json.h"
#include "LibraryPath.h"
#include "Save.h"
#include "Source.h"

void printSections(const FS_IndexFile& index, const char* indent) {
    StandardOutput& out = standardOutput();
    for (int i = 0; i < index.getNumSections(); ++i) {
        out.write(indent);
        out.writeNumber(index.getSectionDataSizeAt(i));
        out.write("\t");
        out.writeNumber(index.getSectionModTimeAt(i));
        out.write("\t");
        out.writeName(index.getSectionName(i));
        out.write("\n");
    }
}

nlohmann::ordered_json sectionsAsJson(const FS_IndexFile& index) {
    auto sections = nlohmann::ordered_json::array();
    for (int i = 0; i < index.getNumSections(); ++i)
        sections.push_back({{"name", index.getSectionName(i)},
                            {"size", index.getSectionDataSizeAt(i)},
                            {"modified", index.getSectionModTimeAt(i)}});
    return sections;
}

namespace {

int list(const std::string& path, bool asJson) {
    const auto index = openContainer(path);
    if (!asJson) {
        printSections(*index);
        return 0;
    }
    writeJson({{"path", path}, {"description", index->getDescription().view()}, {"sections", sectionsAsJson(*index)}});
    return 0;
}

int describe(const std::string& path, const std::vector<std::string>& text) {
    const auto index = openContainer(path);
    if (text.empty()) {
        standardOutput().write(index->getDescription().view());
        standardOutput().write("\n");
        return 0;
    }
    index->setDescription(text.front().c_str());
    saveContainer(*index, path);
    return 0;
}

int add(const std::string& path, const std::string& name, const std::string& source) {
    const std::string section = path + "?" + name;
    if (name.empty()) throw Failure{path, "a section needs a name"};
    if (name.find('?') != std::string::npos)
        throw Failure{path, "no path could reach a section \"" + name + "\": \"?\" ends a name"};
    const auto index = openContainer(path);
    if (source == "-") {
        Source input(source);
        Destination(section).copyFrom(input);
        return 0;
    }
    refuseOverlap(source, section);
    UT_String reason;
    if (!index->linkSection(name.c_str(), source.c_str(), &reason)) {
        const bool readable = FS_Reader(source.c_str()).isGood();
        throw Failure{source, readable ? reasonFor(source, reason.view()) : whyUnreadable(source)};
    }
    saveContainer(*index, path);
    return 0;
}

// All or nothing: a name that isn't there leaves the file as it was.
int remove(const std::string& path, const std::vector<std::string>& names) {
    const auto index = openContainer(path);
    for (const std::string& name : names)
        if (!index->hasSection(name.c_str())) throw Failure{path, noSection(*index, name)};
    for (const std::string& name : names) index->removeSection(name.c_str());
    saveContainer(*index, path);
    return 0;
}

int move(const std::string& path, int first, int last, int offset) {
    const auto index = openContainer(path);
    const int count = index->getNumSections();
    const std::string range = std::to_string(first) + " to " + std::to_string(last);
    const std::string table = " (the sections are 0 to " + std::to_string(count - 1) + ")";
    if (count == 0) throw Failure{path, "no sections to move"};
    if (first > last) throw Failure{path, "the range " + range + " is empty: FIRST lies behind LAST"};
    if (last >= count) throw Failure{path, "no sections " + range + table};
    if (std::int64_t{first} + offset < 0 || std::int64_t{last} + offset >= count)
        throw Failure{path, "moving " + range + " by " + std::to_string(offset) + " would leave the table" + table};
    index->moveSections(first, last, offset);
    saveContainer(*index, path);
    return 0;
}

int merge(const std::string& path, const std::string& other, bool overwrite) {
    const auto index = openContainer(path);
    const auto source = openContainer(other);
    // A section of this file may be merged into it: all is read before the file is written over.
    if (path == other || (isSameFile(LibraryPath(path), LibraryPath(other)) &&
                          LibraryPath(path).sections == LibraryPath(other).sections))
        throw Failure{path, "is the same as " + other};
    index->linkIndexFile(*source, overwrite);
    saveContainer(*index, path);
    return 0;
}

Action declareList(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "one object with the description and the sections");
    const auto path = addText(app, "FILE", "a container");
    return [=] { return list(*path, *asJson); };
}

Action declareDescribe(CLI::App& app) {
    const auto path = addText(app, "FILE", "a container");
    const auto text = addOptionalText(app, "TEXT", "the new description; without it the present one is printed");
    return [=] { return describe(*path, *text); };
}

Action declareAdd(CLI::App& app) {
    const auto path = addText(app, "FILE", "a container");
    const auto name = addText(app, "SECTION", "its name: replaced in its place if it is there, else added at the end");
    const auto source = addText(app, "SOURCE", "its content, with its time; \"-\" is standard input");
    return [=] { return add(*path, *name, *source); };
}

Action declareRemove(CLI::App& app) {
    const auto path = addText(app, "FILE", "a container");
    const auto names = addTexts(app, "SECTION", 1, "its name; if one isn't there, none is removed");
    return [=] { return remove(*path, *names); };
}

Action declareMove(CLI::App& app) {
    const auto path = addText(app, "FILE", "a container");
    const auto first = addNumber(app, "FIRST", 0, INT_MAX, "the first section to move, counted from 0");
    const auto last = addNumber(app, "LAST", 0, INT_MAX, "the last one");
    const auto offset = addNumber(app, "OFFSET", -INT_MAX, INT_MAX, "by how many places; negative is to the front");
    return [=] { return move(*path, *first, *last, *offset); };
}

Action declareMerge(CLI::App& app) {
    const auto overwrite = addFlag(app, "--overwrite", "where a name is in both, take the content of OTHER");
    const auto path = addText(app, "FILE", "the container to be added to");
    const auto other = addText(app, "OTHER", "the container whose sections are added");
    return [=] { return merge(*path, *other, *overwrite); };
}

constexpr Subcommand kCommands[] = {
    {"create", "Make a container with one section for each file",
     "tarvani index create scene.idx -d 'a scene' geo lights textures/\n"
     "find . -name '*.geo' | tarvani index create scene.idx --files-from -\n"
     "tarvani index create scene.idx -C build/out geo",
     declareIndexCreate},
    {"list", "Print the sections of a container, in their order",
     "tarvani index list scene.idx\n"
     "tarvani index list --json scene.idx",
     declareList, "Prints for each its size, a tab, its time in seconds, a tab, and its name."},
    {"check", "Tell what is wrong with containers", "tarvani index check scene.idx\ntarvani index check --nested *.idx",
     declareIndexCheck, "", "0 all are whole, 1 one isn't whole or failed, 2 wrong usage"},
    {"recover", "Find what a killed program left, and put it in its place",
     "tarvani index recover scene.idx\n"
     "tarvani index recover --put scene.idx",
     declareIndexRecover},
    {"describe", "Print the description of a container, or set it",
     "tarvani index describe scene.idx\n"
     "tarvani index describe scene.idx 'a scene'",
     declareDescribe},
    {"add", "Put a file into a container as a section", "tarvani index add scene.idx geo new.geo", declareAdd},
    {"remove", "Take sections out of a container", "tarvani index remove scene.idx geo lights", declareRemove},
    {"move", "Change the order of the sections", "tarvani index move scene.idx 3 5 -3  # to the front", declareMove},
    {"merge", "Add the sections of another container", "tarvani index merge --overwrite scene.idx changes.idx",
     declareMerge},
    {"expand", "Write each section of a container to a file", "tarvani index expand scene.idx scene/",
     declareIndexExpand, "A file Sections.list beside them keeps their names and their order, for \"collapse\"."},
    {"collapse", "Make a container from what \"expand\" wrote", "tarvani index collapse scene/ scene.idx",
     declareIndexCollapse},
};

}  // namespace

const std::span<const Subcommand> kIndexCommands = kCommands;
