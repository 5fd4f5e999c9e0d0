#include "CaseFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>

#include "Child.h"
#include "ScratchDir.h"

namespace {

// Lines as texts, each as often as it says. An odd number of backslashes at its end says that it has no newline.
Lines textsOf(const Lines& lines, const std::string& directory) {
    Lines texts;
    for (std::string_view line : lines) {
        const bool hasEnd = (line.size() - (line.find_last_not_of('\\') + 1)) % 2 == 0;
        if (!hasEnd) line.remove_suffix(1);
        const bool repeats = line.starts_with("\\*");
        const int count = repeats ? std::atoi(line.data() + 2) : 1;
        if (repeats) line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
        for (int i = 0; i < count; ++i) {
            texts.push_back(spelledOut(line, directory, i) + (hasEnd ? "\n" : ""));
        }
    }
    return texts;
}

std::string joined(const Lines& texts) {
    return std::accumulate(texts.begin(), texts.end(), std::string());
}

// In the child: sets the scene, runs the check and leaves what it gives in `report`.
bool runHere(const Case& c, const ScratchDir& scratch, const Check& check) {
    CaseRun run{c, scratch.path("case"), "", {}, false};
    ::setenv("TARVANI_PATH", scratch.makeDirectory("empty").c_str(), 1);
    ::unsetenv("TARVANI_CPP_EXPAND_DIRECTIVES");
    for (const auto& [kind, value, lines] : c.scene) {
        const std::string text = spelledOut(value, run.directory);
        if (kind == "file") {
            const std::string path = scratch.write("case/" + text, joined(textsOf(lines, run.directory)));
            if (run.mainFile.empty()) run.mainFile = path;
        } else if (kind == "options") {
            run.hasOptions = true;
            for (const std::string& word : splitWords(value)) run.options.push_back(spelledOut(word, run.directory));
        } else if (kind == "env") {
            const std::size_t equals = text.find('=');
            ::setenv(text.substr(0, equals).c_str(), text.c_str() + equals + 1, 1);
        }
    }
    if (::chdir(scratch.makeDirectory("elsewhere").c_str()) != 0) return false;
    if (!std::freopen(scratch.path("stderr").c_str(), "w", stderr)) return false;
    const std::string fault = check(run);
    std::fflush(stderr);
    scratch.write("report", fault + difference({joined(run.lines("stderr"))}, {scratch.read("stderr")}));
    return true;
}

}  // namespace

Lines Case::section(std::string_view name) const {
    for (const auto& [known, lines] : expected) {
        if (known == name) return lines;
    }
    return {};
}

Lines CaseRun::lines(std::string_view section) const {
    return textsOf(source.section(section), directory);
}

std::vector<Case> readCases(const std::string& group) {
    std::vector<Case> cases;
    Lines unused, *lines = &unused;
    std::ifstream in(TARVANI_CASES "/" + group + ".cases", std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("=== ")) {
            cases.push_back({line.substr(4), {}, {}});
            lines = &unused;
        } else if (!line.starts_with("--- ")) {
            lines->push_back(line);
        } else if (Case& c = cases.at(cases.size() - 1); colon != line.npos) {
            lines = &c.scene.emplace_back(Case::Part{line.substr(4, colon - 4), line.substr(colon + 2), {}}).lines;
        } else {
            lines = &c.expected.emplace_back(line.substr(4), Lines()).second;
        }
    }
    return cases;
}

std::vector<std::string> splitWords(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

Lines linesOf(std::istream&& in) {
    Lines lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
    return lines;
}

std::string difference(const Lines& expected, const Lines& found) {
    if (expected == found) return "";
    constexpr std::size_t kMostLines = 40, kMostCharacters = 200;
    const auto first = std::mismatch(expected.begin(), expected.end(), found.begin(), found.end()).first;
    const std::size_t same = static_cast<std::size_t>(first - expected.begin());
    std::string out = std::to_string(same) + " lines are right, then expected\n";
    for (const auto* lines : {&expected, &found}) {
        for (std::size_t i = same; i < std::min(lines->size(), same + kMostLines); ++i) {
            out += "    " + testing::PrintToString((*lines)[i].substr(0, kMostCharacters)) + "\n";
        }
        if (lines == &expected) out += "found\n";
    }
    return out;
}

std::string runCase(const Case& c, const Check& check) {
    const ScratchDir scratch;
    const int status = inChild([&] { return runHere(c, scratch, check); });
    return status == 0 ? scratch.read("report") : "the process ended with status " + std::to_string(status);
}

void expectCases(const std::string& group, const Check& check) {
    const std::vector<Case> cases = readCases(group);
    EXPECT_FALSE(cases.empty()) << group;
    for (const Case& c : cases) {
        const std::string fault = runCase(c, check);
        EXPECT_TRUE(fault.empty()) << c.title << "\n" << fault;
    }
}

std::string runSteps(const CaseRun& run, const std::function<Lines(const Verb& verb, const std::string& rest)>& step) {
    Lines found;
    for (const std::string& line : run.lines("steps")) {
        if (!line.starts_with("> ")) continue;
        const std::size_t end = line.size() - 1, blank = std::min(line.find(' ', 2), end);
        const Verb verb(line.substr(2, blank - 2));
        const Lines given = step(verb, line.substr(blank, end - blank).substr(blank < end));
        found.push_back(verb.isKnown() ? line : "unknown verb: " + line);
        found.insert(found.end(), given.begin(), given.end());
    }
    return difference(run.lines("steps"), found);
}
