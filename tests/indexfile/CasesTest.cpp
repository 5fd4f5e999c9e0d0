// Containers step by step: cases/edits.cases, saves.cases and directories.cases.
#include <cstdio>
#include <fstream>

#include "../support/CaseFile.h"
#include "Index.h"

namespace {

// What a command of the shell answers.
Lines answerOf(const std::string& command) {
    Lines lines;
    const std::unique_ptr<FILE, int (*)(FILE*)> out(::popen((command + " 2>&1").c_str(), "r"), ::pclose);
    for (char line[4096]; std::fgets(line, sizeof line, out.get());) lines.push_back(line);
    return lines;
}

Lines step(Objects<FS_IndexFile>& indexes, const Verb& verb, const std::string& rest) {
    static const int start = FS_IndexFile::getCurrentTime();
    const std::vector<std::string> words = splitWords(rest);
    const auto word = [&](std::size_t i) { return i < words.size() ? words[i].c_str() : ""; };
    const auto behind = [&](int count) {
        std::string_view left = rest;
        for (; count > 0; --count) left.remove_prefix(std::min(left.find(' '), left.size() - 1) + 1);
        return std::string(left);
    };
    const auto number = [&](std::size_t i) { return std::stoi(words.at(i)); };
    const auto made = [&] { return indexes.all.at(std::stoul(rest)).get(); };
    FS_IndexFile& index = *indexes.current;
    UT_String reason;
    bool done = true;
    if (verb == "sh") return answerOf(rest);
    if (verb == "cd") std::filesystem::current_path(rest);
    if (verb == "write") std::ofstream(word(0)) << bytesOfTree(behind(1));
    if (verb == "bytes") std::ofstream(word(0)) << spelledBytes(behind(1));
    if (verb == "show") return shown(treeOf(readAll(*FS_Reader(word(0)).getStream())));
    if (verb == "new") indexes.add(std::make_unique<FS_IndexFile>());
    if (verb == "open") indexes.add(std::make_unique<FS_IndexFile>(word(0)));
    if (verb == "reader") indexes.add(std::make_unique<FS_IndexFile>(new FS_Reader(word(0))));
    if (verb == "use") indexes.current = made();
    if (verb == "add") add(index, word(1), bytesOfTree(behind(2)), number(0));
    if (verb == "file") index.addSection(word(0), word(1));
    if (verb == "take") index.addSection(word(0), FS_IndexFile(word(1)));
    if (verb == "link") done = index.linkSection(word(0), word(1), &reason);
    if (verb == "linkAll") index.linkIndexFile(FS_IndexFile(word(0)), true);
    if (verb == "linkThose") index.linkIndexFile(*made(), true);
    if (verb == "remove") index.removeSection(word(0));
    if (verb == "move") index.moveSections(number(0), number(1), number(2));
    if (verb == "list") return shown(treeOf(written(index)));
    if (verb == "read") return shown(contentOf(index, word(0)));
    const int time = index.getSectionModTime(word(0));
    if (verb == "time") return time >= start ? shown("now") : shown(time);
    if (verb == "save") done = index.save(word(0), &reason);
    if (verb == "expand") done = index.expandToDirectory(word(0));
    if (verb == "collapse") done = index.collapseFromDirectory(word(0));
    if (done) return {};
    return shown("refused" + (reason.isNull() ? "" : ": " + std::string(reason.view())));
}

std::string runContainers(const CaseRun& run) {
    const ScratchDir temporary;
    ::setenv("TMPDIR", temporary.path().c_str(), 1);
    std::filesystem::create_directories(run.directory);
    std::filesystem::current_path(run.directory);
    Objects<FS_IndexFile> indexes;
    indexes.add(std::make_unique<FS_IndexFile>());
    const std::string fault =
        runSteps(run, [&](const Verb& verb, const std::string& rest) { return step(indexes, verb, rest); });
    const bool stayed = std::filesystem::current_path() == run.directory;
    return fault + (temporary.names().empty() ? "" : "a temporary file stayed\n") + (stayed ? "" : "went elsewhere\n");
}

TEST(ContainerCases, ShowEditsSavesAndDirectories) {
    for (const char* group : {"edits", "saves", "directories"}) expectCases(group, runContainers);
}

}  // namespace
