#include "TarvaniCommand.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {

constexpr uid_t kNobody = 65534;

void redirect(const std::string& file, int mode, int to) {
    const int fd = ::open(file.c_str(), mode, 0666);
    if (fd < 0 || ::dup2(fd, to) < 0) ::_exit(125);
    ::close(fd);
}

[[noreturn]] void exec(const std::vector<std::string>& words) {
    std::vector<char*> argv = {const_cast<char*>("tarvani")};
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    ::execv(TARVANI_COMMAND, argv.data());
    ::_exit(126);
}

}  // namespace

Words words(std::string_view line) {
    Words words;
    bool quoted = false, within = false;
    for (const char c : line) {
        const bool parts = c == ' ' && !quoted;
        if (!parts && !within) words.emplace_back();
        within = !parts;
        if (c == '\'')
            quoted = !quoted;
        else if (!parts)
            words.back() += c;
    }
    return words;
}

TarvaniCommand::TarvaniCommand() {
    // An ordinary user must be able to reach them.
    for (const ScratchDir* dir : {&dir_, &temporary_}) ::chmod(dir->path().c_str(), 0777);
}

TarvaniCommand::~TarvaniCommand() {
    EXPECT_TRUE(temporaries().empty()) << temporaries().front();
}

pid_t TarvaniCommand::start(const Words& words, const Circumstances& circumstances) {
    captured_.write("in", circumstances.input);
    const pid_t child = ::fork();
    if (child != 0) return child;
    if (::chdir(dir_.path().c_str()) != 0) ::_exit(124);
    ::setenv("TMPDIR", temporary_.path().c_str(), 1);
    redirect(circumstances.inputFile.empty() ? captured_.path("in") : circumstances.inputFile, O_RDONLY | O_NOCTTY,
             STDIN_FILENO);
    redirect(circumstances.output.empty() ? captured_.path("out") : circumstances.output,
             O_WRONLY | O_CREAT | (circumstances.output.empty() ? O_TRUNC : O_APPEND), STDOUT_FILENO);
    redirect(captured_.path("err"), O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    for (const int fd : circumstances.closed) ::close(fd);
    if (circumstances.largestFile >= 0) {
        const rlimit limit = {static_cast<rlim_t>(circumstances.largestFile), RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (circumstances.ordinaryUser && ::geteuid() == 0 && ::setuid(kNobody) != 0) ::_exit(123);
    exec(words);
}

Outcome TarvaniCommand::finish(pid_t child, const Circumstances& circumstances) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return {WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status),
            circumstances.output.empty() ? captured_.read("out") : "", captured_.read("err")};
}

Outcome TarvaniCommand::run(const Words& words, const Circumstances& circumstances) {
    return finish(start(words, circumstances), circumstances);
}

void TarvaniCommand::expect(const std::vector<Call>& runs) {
    constexpr std::string_view kFront = "tarvani: ";
    for (const Call& each : runs) {
        const Outcome outcome = run(each.line, each.circumstances);
        std::string err = relative(outcome.err);
        for (std::size_t at = 0; (at = err.find(kFront, at)) != err.npos; at = err.find('\n', at))
            if (at == 0 || err[at - 1] == '\n') err.erase(at, kFront.size());
        if (err.ends_with('\n')) err.pop_back();
        EXPECT_THAT(relative(outcome.out), each.out) << each.line;
        EXPECT_THAT(err, each.err) << each.line;
        EXPECT_EQ(outcome.status, each.status != Call::kByError ? each.status : err.empty() ? 0 : 1) << each.line;
    }
}

std::string TarvaniCommand::printed(std::string_view line, const Circumstances& circumstances) {
    const Outcome outcome = run(line, circumstances);
    EXPECT_EQ(outcome.status, 0) << line;
    EXPECT_EQ(outcome.err, "") << line;
    return relative(outcome.out);
}

void TarvaniCommand::expectWrongUsage(const Words& lines) {
    for (const std::string& line : lines) expect({{line, "", testing::MatchesRegex("wrong usage: [^\n]*"), {}, 2}});
}

std::string TarvaniCommand::relative(std::string text) const {
    for (const ScratchDir* dir : {&dir_, &temporary_})
        for (std::size_t at; (at = text.find(dir->path() + "/")) != text.npos;) text.erase(at, dir->path().size() + 1);
    return text;
}

void TarvaniCommand::pack(const std::string& file, const Words& names) {
    Words words = {"index", "create", dir_.path(file), "-C", dir_.makeDirectory("packed")};
    for (const std::string& name : names) {
        dir_.write("packed/" + name, name);
        dir_.setTime("packed/" + name, 1000);
        words.push_back(name);
    }
    EXPECT_EQ(run(words).status, 0);
}
