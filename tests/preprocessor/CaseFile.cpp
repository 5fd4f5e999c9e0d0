#include "CaseFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "../support/Child.h"
#include "../support/ScratchDir.h"

namespace {

constexpr std::string_view kDirectory = "@DIR@";

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> found;
    for (std::string word; in >> word;) found.push_back(word);
    return found;
}

std::string trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == text.npos ? std::string() : std::string(text.substr(begin));
}

// A line as text. An odd number of backslashes at its end says that it has no newline.
std::string textOf(const std::string& line, const std::string& directory) {
    const std::size_t backslashes = line.size() - (line.find_last_not_of('\\') + 1);
    if (backslashes % 2 == 0) return spelledOut(line, directory) + "\n";
    return spelledOut(std::string_view(line).substr(0, line.size() - 1), directory);
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        lines.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return lines;
}

// In the child: sets the scene, runs the check and leaves what it gives in `report`.
bool runHere(const Case& c, const ScratchDir& scratch, const std::function<std::string(const CaseRun&)>& check) {
    const std::string directory = scratch.path("case");
    CaseRun run{c, directory, directory + "/" + spelledOut(c.files.at(0).first, directory), {}};
    for (const auto& [name, lines] : c.files) {
        std::string text;
        for (const std::string& line : lines) text += textOf(line, directory);
        scratch.write("case/" + spelledOut(name, directory), text);
    }
    for (const std::string& word : c.options) run.options.push_back(spelledOut(word, directory));
    ::setenv("TARVANI_PATH", scratch.makeDirectory("empty").c_str(), 1);
    ::unsetenv("TARVANI_CPP_EXPAND_DIRECTIVES");
    for (const auto& [name, value] : c.env) ::setenv(name.c_str(), spelledOut(value, directory).c_str(), 1);
    if (::chdir(scratch.makeDirectory("elsewhere").c_str()) != 0) return false;
    if (!std::freopen(scratch.path("stderr").c_str(), "w", stderr)) return false;
    const std::string fault = check(run);
    std::fflush(stderr);
    scratch.write("report", fault + difference(run.lines("stderr"), linesOf(scratch.read("stderr"))));
    return true;
}

}  // namespace

std::vector<std::string> Case::section(std::string_view name) const {
    for (const auto& [known, lines] : expected) {
        if (known == name) return lines;
    }
    return {};
}

std::vector<std::string> CaseRun::lines(std::string_view section) const {
    std::vector<std::string> texts;
    for (const std::string& line : source.section(section)) texts.push_back(textOf(line, directory));
    return texts;
}

std::vector<std::string> readCaseLines(const std::string& name) {
    std::ifstream in(std::string(TARVANI_CASES) + "/" + name, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::vector<Case> readCases(const std::string& group) {
    std::vector<Case> cases;
    std::vector<std::string>* section = nullptr;
    for (const std::string& line : readCaseLines(group + ".cases")) {
        if (line.starts_with("=== ")) {
            cases.emplace_back().title = line.substr(4);
            section = nullptr;
        } else if (!line.starts_with("--- ")) {
            if (section) section->push_back(line);
        } else {
            Case& c = cases.at(cases.size() - 1);
            const std::string head = line.substr(4);
            const std::size_t colon = head.find(':');
            const std::string value = colon == head.npos ? "" : trimmed(head.substr(colon + 1));
            section = nullptr;
            if (head.starts_with("options:")) {
                c.hasOptions = true;
                c.options = words(value);
            } else if (head.starts_with("env:")) {
                const std::size_t equals = value.find('=');
                c.env.emplace_back(value.substr(0, equals), value.substr(equals + 1));
            } else if (head.starts_with("file:")) {
                section = &c.files.emplace_back(value, std::vector<std::string>()).second;
            } else {
                section = &c.expected.emplace_back(head, std::vector<std::string>()).second;
            }
        }
    }
    return cases;
}

std::string spelledOut(std::string_view text, const std::string& directory) {
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.substr(at).starts_with(kDirectory)) {
            out += directory;
            at += kDirectory.size() - 1;
        } else if (text[at] != '\\' || at + 1 == text.size()) {
            out += text[at];
        } else if (const char kind = text[++at]; kind == 'x') {
            out += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16));
            at += 2;
        } else {
            out += kind == 't' ? '\t' : kind == 'r' ? '\r' : kind;
        }
    }
    return out;
}

std::string difference(const std::vector<std::string>& expected, const std::vector<std::string>& found) {
    if (expected == found) return "";
    std::string out = "expected\n";
    for (const std::string& line : expected) out += "    " + testing::PrintToString(line) + "\n";
    out += "found\n";
    for (const std::string& line : found) out += "    " + testing::PrintToString(line) + "\n";
    return out;
}

std::string runCase(const Case& c, const std::function<std::string(const CaseRun&)>& check) {
    const ScratchDir scratch;
    const int status = inChild([&] { return runHere(c, scratch, check); });
    return status == 0 ? scratch.read("report") : "the process ended with status " + std::to_string(status);
}
