// Sessions with the command, each a test: transcripts/README.md tells how they are written. With TARVANI_ACCEPT in the
// environment a session that came out otherwise is written down as it came out.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "../support/ScratchDir.h"
#include "../support/WebServers.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// What is typed, as it stands in the file, and the answer. The first of a session is its title, which answers nothing.
struct Exchange {
    std::string typed;
    Lines answer;
};
struct Session {
    fs::path file;
    std::string text;
    std::vector<Exchange> exchanges;
};

constexpr int kLeftOut = 77;  // the exit status of a session that can't be held on this system

std::string contentOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A last line without its end gets a backslash.
Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    if (!text.empty() && text.back() != '\n') lines.back() += '\\';
    return lines;
}

std::vector<Exchange> exchangesOf(const std::string& text) {
    std::vector<Exchange> exchanges;
    for (const std::string& line : linesOf(text)) {
        const char* const goesOn = exchanges.size() == 1 ? "# " : "> ";
        if (exchanges.empty() || line.starts_with("$ "))
            exchanges.push_back({line + "\n", {}});
        else if (line.starts_with(goesOn) && exchanges.back().answer.empty())
            exchanges.back().typed += line + "\n";
        else
            exchanges.back().answer.push_back(line);
    }
    return exchanges;
}

// An empty line and one that begins with "# " part sessions.
std::vector<Session> sessionsOf(const fs::path& file) {
    std::vector<Session> sessions;
    const std::string text = contentOf(file);
    for (std::size_t begin = 0, end; begin < text.size(); begin = end + 1) {
        const std::size_t parted = text.find("\n\n# ", begin);
        end = parted == text.npos ? text.size() : parted + 1;
        const std::string part = text.substr(begin, end - begin);
        sessions.push_back({file, part, exchangesOf(part)});
    }
    return sessions;
}

// "# an edit is written back" as the name of a test, "AnEditIsWrittenBack".
std::string nameOf(std::string_view title) {
    std::string name;
    bool capital = true;
    for (const char c : title) {
        if (std::isalnum(static_cast<unsigned char>(c))) name += capital ? static_cast<char>(std::toupper(c)) : c;
        capital = !std::isalnum(static_cast<unsigned char>(c)) && c != '\'';
    }
    return name;
}

// Whether a line is as the pattern says, in which "<words>" stands for any text.
bool fits(std::string_view line, std::string_view pattern) {
    const std::size_t open = pattern.find('<'), close = pattern.find('>', open);
    if (close == pattern.npos) return line == pattern;
    if (!line.starts_with(pattern.substr(0, open))) return false;
    pattern.remove_prefix(close + 1);
    for (line.remove_prefix(open); !fits(line, pattern); line.remove_prefix(1))
        if (line.empty()) return false;
    return true;
}

void replaceAll(std::string& text, const std::string& what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size())
        text.replace(at, what.size(), with);
}

std::string joined(Lines::const_iterator from, Lines::const_iterator to, const char* sign) {
    std::string text;
    while (from != to) text += sign + *from++ + "\n";
    return text;
}

class Transcript : public testing::Test {
public:
    explicit Transcript(Session session) : session_(std::move(session)) {
        // An ordinary user must be able to reach them.
        for (const ScratchDir* dir : {&dir_, &temporary_}) ::chmod(dir->path().c_str(), 0777);
    }

    void TestBody() override {
        ASSERT_TRUE(session_.text.starts_with("# ") && session_.exchanges.size() > 1) << session_.text;
        const int status = hold();
        if (status == kLeftOut) GTEST_SKIP() << "not on this system";
        ASSERT_EQ(status, 0) << "the session broke off";
        std::string found, difference;
        for (std::size_t i = 0; i < session_.exchanges.size(); ++i) {
            const auto& [typed, expected] = session_.exchanges[i];
            const Lines answer = answerTo(i);
            const auto [e, a] =
                std::ranges::mismatch(expected, answer, [](const auto& x, const auto& y) { return fits(y, x); });
            const std::string same = typed + joined(expected.begin(), e, "");
            found += same + joined(a, answer.end(), "");
            difference += same + joined(e, expected.end(), "-") + joined(a, answer.end(), "+");
        }
        if (found != session_.text) ADD_FAILURE() << session_.file.string() << "\n" << difference;
        EXPECT_EQ(temporary_.names(), Lines{}) << "temporary files that stayed";
        if (std::getenv("TARVANI_ACCEPT")) {
            std::string all = contentOf(session_.file);
            replaceAll(all, session_.text, found);
            std::ofstream(session_.file, std::ios::binary) << all;
        }
    }

private:
    // Types all of it into a shell; each answer goes into a file, and its exit status into another.
    int hold() {
        std::string script = ". '" TARVANI_TRANSCRIPTS "/scene.sh'\n";
        for (std::size_t i = 0; i < session_.exchanges.size(); ++i) {
            std::string typed = "\n" + session_.exchanges[i].typed;  // a title is a comment there, too
            for (const char* prompt : {"\n$ ", "\n> "}) replaceAll(typed, prompt, "\n");
            const std::string file = captured_.path(std::to_string(i));
            script += "exec >'" + file + "' 2>&1" + typed + "echo $? >'" + file + ".status'\n";
        }
        const std::string variables = "PATH='" + fs::path(TARVANI_COMMAND).parent_path().string() +
                                      "':\"$PATH\" URL='" + server_.url("") +
                                      "' PLUGINS='" TARVANI_TEST_PLUGINS "' TMPDIR='" + temporary_.path() + "' ";
        const std::string shell = "timeout 200 sh '" + captured_.write("script", script) + "' </dev/null";
        const int status = std::system(("cd '" + dir_.path() + "' && " + variables + shell).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    Lines answerTo(std::size_t i) const {
        std::string text = captured_.read(std::to_string(i));
        for (const auto& [what, with] :
             {std::pair(dir_.path(), "$PWD"), {server_.url(""), "$URL"}, {temporary_.path(), "$TMPDIR"}})
            replaceAll(text, what, with);
        Lines lines = linesOf(text);
        const std::string status = captured_.read(std::to_string(i) + ".status");
        if (status != "0\n") lines.push_back("[" + status.substr(0, status.size() - 1) + "]");
        return lines;
    }
    // The files of the session under $URL. What was asked for goes into the file "requests".
    void serve(const Peer& peer, const std::string& request) const {
        const std::string page = request.substr(5, request.find(" HTTP") - 5);  // behind "GET /"
        std::ofstream(dir_.path("requests"), std::ios::app) << page << "\n";
        peer.send(dir_.exists(page)
                      ? "HTTP/1.1 200 OK\r\nLast-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n" + dir_.read(page)
                      : "HTTP/1.1 404 Not Found\r\n\r\n");
    }

    const Session session_;
    ScratchDir dir_, temporary_, captured_;
    ScriptedServer server_{[this](const Peer& peer, const std::string& request) { serve(peer, request); }};
};

const bool registered = [] {
    for (const auto& entry : fs::directory_iterator(TARVANI_TRANSCRIPTS)) {
        if (entry.path().extension() != ".transcript") continue;
        for (const Session& session : sessionsOf(entry.path()))
            testing::RegisterTest(("command_" + entry.path().stem().string()).c_str(),
                                  nameOf(session.exchanges.at(0).typed).c_str(), nullptr, nullptr, __FILE__, __LINE__,
                                  [session]() -> testing::Test* { return new Transcript(session); });
    }
    return true;
}();

}  // namespace
