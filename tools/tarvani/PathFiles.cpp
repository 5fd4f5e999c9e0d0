// pathfile: the files of the same names along a known path, as a list, explained, as one text, and where to save one.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "Json.h"
#include "KnownPath.h"

namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const char* text) {
    return text ? text : "";
}

// An entry of the list, and what becomes of it.
struct Entry {
    std::string path;
    int directory;
    std::vector<const char*> flags;
    bool isRead;
    const char* reason = "";  // why it isn't read
    std::string cause = {};   // the file that does it, or what is wrong with this one
};

std::vector<const char*> flagsOf(UT_PathFileInfo& info) {
    std::vector<const char*> flags;
    if (info.getHideFlag()) flags.push_back("hide");
    if (info.getAppendFlag()) flags.push_back("append");
    if (info.getNoSaveFlag()) flags.push_back("nosave");
    return flags;
}

// All entries in the order of reading. From the end: what stands against one is the next of its name that isn't an
// ".append" one.
std::vector<Entry> explain(const UT_PathFile& file) {
    std::vector<Entry> entries;
    UT_PathFileInfo* against = nullptr;
    for (int i = file.getFileInfoCount(0) - 1; i >= 0; --i) {
        UT_PathFileInfo& info = *file.getFileInfo(i, 0);
        const std::string path = textOf(info.getFullPath());
        entries.push_back({path, info.getDirIndex(), flagsOf(info), !info.getFilteredFlag()});
        Entry& entry = entries.back();
        if (against && textOf(against->getFileName()) != textOf(info.getFileName())) against = nullptr;
        if (info.getHideFlag()) {
            entry.reason = "hides";
        } else if (info.getFilteredFlag() && against) {
            entry.reason = against->getHideFlag() ? "hidden" : "replaced";
            entry.cause = textOf(against->getFullPath());
        } else if (!FS_Info(path.c_str()).canReadFile()) {
            entry.isRead = false;
            entry.reason = "unreadable";
            entry.cause = whyUnreadable(path);
        }
        if (!info.getAppendFlag()) against = &info;
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

std::string inWords(const Entry& entry) {
    std::string words = "directory " + std::to_string(entry.directory);
    for (const char* const flag : entry.flags) words.append(", ").append(flag);
    if (entry.isRead) return words + ", read";
    const std::string_view reason = entry.reason;
    if (reason == "hides") return words + ", not read: it hides";
    if (reason == "unreadable") return words + ", not read: " + entry.cause;
    return words + ", " + entry.reason + " by " + entry.cause;
}

Json toJson(const Entry& entry) {
    Json json = {{"path", entry.path}, {"directory", entry.directory}, {"flags", entry.flags}, {"read", entry.isRead}};
    if (!entry.isRead) json["reason"] = entry.reason;
    if (!entry.cause.empty()) json[std::string_view(entry.reason) == "unreadable" ? "cause" : "by"] = entry.cause;
    return json;
}

void printList(const UT_PathFile& file, bool all, bool asJson) {
    auto json = Json::array();
    StandardOutput& out = standardOutput();
    const auto entries = explain(file);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!all && file.getFileInfo(static_cast<int>(i), 0)->getFilteredFlag()) continue;
        if (asJson) {
            json.push_back(toJson(entries[i]));
            continue;
        }
        out.writeName(entries[i].path);
        if (all) {
            out.write("\t");
            out.writeName(inWords(entries[i]));
        }
        out.write("\n");
    }
    if (asJson) writeJson(json);
}

// The lines of one file; `print` gets each with its number. False, said aloud, if it can't be read to its end: the
// library passes over such a file, but a person should know. A directory is no text that could be missed.
template <class Print>
bool readLines(const std::string& path, const Print& print) {
    if (FS_Info(path.c_str()).getIsDirectory()) return true;
    FS_Reader reader(path.c_str());
    UT_IStream* const stream = reader.isGood() ? reader.getStream() : nullptr;
    UT_WorkBuffer line;
    for (int number = 1; stream && stream->getLine(line, '\n'); ++number) print(number, line.view());
    if (stream && !stream->hasFailed()) return true;
    complain({path, whyUnreadable(path)});
    return false;
}

int printLines(UT_PathFile& file, bool withOrigin, bool asJson) {
    int status = 0;
    auto json = Json::array();
    StandardOutput& out = standardOutput();
    for (int i = 0; i < file.getFileInfoCount(1); ++i) {
        const std::string path = textOf(file.getFileInfo(i, 1)->getFullPath());
        const bool isRead = readLines(path, [&](int number, std::string_view line) {
            if (asJson) {
                json.push_back({{"file", path}, {"line", number}, {"text", std::string(line)}});
                return;
            }
            if (withOrigin) {
                out.writeName(path);
                out.write(":");
                out.writeNumber(number);
                out.write(":");
            }
            out.write(line);
            out.write("\n");
        });
        if (!isRead) status = 1;
    }
    if (asJson) writeJson(json);
    return status;
}

struct Save {
    std::string name;
    int from;  // a directory index, -1 to choose
    bool isNew, aboveHidden, overVisible;
};

// The pattern whose list holds everything beside `name`, in all directories of the path.
std::string patternBeside(const std::string& name) {
    const std::string parts = "/" + name + "/";
    for (const char* const astray : {"//", "/./", "/../"})
        if (parts.find(astray) != parts.npos) throw Failure{name, "is no name of a file below a directory of the path"};
    const std::size_t slash = name.rfind('/');
    if (slash == name.npos) return "*";
    const std::string directory = name.substr(0, slash);
    if (directory.find_first_of("* \t\n\v\f\r") != directory.npos || directory.starts_with('^'))
        throw Failure{name, "a search pattern can't name the directory " + directory};
    return directory + "/*";
}

// The entry of a list that counts among those named as `wanted`, with the same control suffix; else null.
UT_PathFileInfo* existing(const UT_PathFile& file, UT_PathFileInfo& wanted) {
    for (int i = file.getFileInfoCount(0) - 1; i >= 0; --i) {
        UT_PathFileInfo* const info = file.getFileInfo(i, 0);
        if (textOf(info->getFileName()) == textOf(wanted.getFileName()) && flagsOf(*info) == flagsOf(wanted))
            return info;
    }
    return nullptr;
}

void printSavePlace(int number, const Save& save) {
    const std::string pattern = patternBeside(save.name);
    UT_PathFile file;
    file.setSearchPath(number, pattern.c_str());
    file.applyStandardFilter();

    UT_PathFileInfo fresh(&file);
    UT_String path(file.getDir(0), 1);
    path.expandVariables();
    path += "/";
    path += save.name.c_str();
    fresh.setFullPath(path.buffer());
    fresh.deconstructFullPath(save.from < 0 ? file.getDefaultDirIndex() : save.from);
    // A file that is to begin elsewhere is another one, over which the one in the list still counts.
    UT_PathFileInfo* const known = save.from < 0 ? existing(file, fresh) : nullptr;
    UT_PathFileInfo& info = known ? *known : fresh;
    if (!info.prepareForSave(save.isNew, save.aboveHidden, save.overVisible))
        throw Failure{save.name, "no directory can take it in " + whereLooked(number)};
    standardOutput().writeName(textOf(info.getFullPath()));
    standardOutput().write("\n");
}

enum class Mode { List, All, Cat };

int showFiles(int number, const std::vector<std::string>& tokens, Mode mode, bool withOrigin, bool asJson) {
    std::string pattern;
    for (const std::string& token : tokens) pattern.append(pattern.empty() ? "" : " ").append(token);
    UT_PathFile file;
    file.setSearchPath(number, pattern.c_str());
    file.applyStandardFilter();
    if (file.getFileInfoCount(0) == 0) throw Failure{pattern, "nothing matches it in " + whereLooked(number)};
    if (mode == Mode::Cat) return printLines(file, withOrigin, asJson);
    printList(file, mode == Mode::All, asJson);
    return 0;
}

Action declarePathFile(CLI::App& app) {
    const auto number = addPathOption(app);
    const auto list = addFlag(app, "--list", "the files that are read, in that order; this is the default");
    const auto all = addFlag(app, "--all", "every file, with a tab and what becomes of it");
    const auto cat = addFlag(app, "--cat", "the lines of the files that are read");
    const auto origin = addFlag(app, "--origin", "with --cat: FILE:LINE: in front of each line");
    const auto asJson = addFlag(app, "--json", "one array with an object for each file or line");
    const auto saved = addOptionalText(app, "--save-place NAME", "print where a file of that name may be saved");
    const auto from = addNumberOption(app, "--from N", 0, 99999, -1,
                                      "with --save-place: the directory to begin with, as --all counts them; if not "
                                      "given that of the file, for a new one the user's own");
    const auto isNew = addFlag(app, "--new", "with --save-place: where no such file is yet");
    const auto above = addFlag(app, "--above-hidden", "with --save-place: above what hides the name");
    const auto over = addFlag(app, "--over-visible", "with --save-place: not below what it should replace");
    const auto tokens =
        addTexts(app, "PATTERN", 0, "what to look for below each directory; \"^PATTERN\" takes away again");
    addRule(app, [=]() -> std::string {
        const bool saves = !saved->empty();
        if (*list + *all + *cat + (saves ? 1 : 0) > 1)
            return "only one of --list, --all, --cat and --save-place can be given";
        if (*origin && !*cat) return "--origin goes with --cat";
        if (!saves && (*isNew || *above || *over || *from >= 0))
            return "--from, --new, --above-hidden and --over-visible go with --save-place";
        if (saves && (*asJson || !tokens->empty())) return "--save-place takes neither PATTERN nor --json";
        if (!saves && tokens->empty()) return "PATTERN is required";
        return "";
    });
    return [=] {
        const Mode mode = *cat ? Mode::Cat : *all ? Mode::All : Mode::List;
        if (saved->empty()) return showFiles(*number, *tokens, mode, *origin, *asJson);
        printSavePlace(*number, {saved->front(), *from, *isNew, *above, *over});
        return 0;
    };
}

constexpr Subcommand kCommands[] = {
    {"pathfile", "Show the files of the same names along a known path",
     "tarvani pathfile 'menu/*.txt'\n"
     "tarvani pathfile --all '*.txt' '^old*'\n"
     "tarvani pathfile --cat --origin ui.pref\n"
     "tarvani pathfile --save-place menu/file.txt --over-visible",
     declarePathFile,
     "Together they are one text: this shows which of them count and why, their lines, and where to save one."},
};

}  // namespace

const std::span<const Subcommand> kPathFileCommands = kCommands;
