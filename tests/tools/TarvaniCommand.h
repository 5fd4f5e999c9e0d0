#pragma once
// Runs the program in a scratch directory that is its current directory; its temporary files go to one beside it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "../support/ScratchDir.h"

struct Outcome {
    int status = -1;  // the exit status, or the negative number of the signal that ended it
    std::string out;
    std::string err;
};

// How a run differs from that of somebody who types at a prompt.
struct Circumstances {
    std::string input = {};        // on standard input
    std::string output = {};       // the file that standard output goes to, such as "/dev/full"
    long largestFile = -1;         // bytes that a file may have
    bool ordinaryUser = false;     // without the rights of root
    std::vector<int> closed = {};  // descriptors that the parent closed
    std::string inputFile = {};    // what standard input comes from, instead of `input`
};

using Words = std::vector<std::string>;
// "cp -- 'a b' c" as its words: blanks part them, except between single quotes.
Words words(std::string_view line);

// A run and what must come of it.
struct Call {
    std::string line;  // the words, parted as words() does it
    testing::Matcher<std::string> out = "";
    testing::Matcher<std::string> err = "";  // without the "tarvani: " of each line and the last line end
    Circumstances circumstances = {};
    int status = kByError;

    static constexpr int kByError = -1000;  // 1 where something is on standard error, else 0
};

class TarvaniCommand : public testing::Test {
protected:
    TarvaniCommand();
    ~TarvaniCommand() override;

    Outcome run(std::string_view line, const Circumstances& circumstances = {}) {
        return run(words(line), circumstances);
    }
    Outcome run(const Words& words, const Circumstances& circumstances = {});
    // As run, without waiting for the end.
    pid_t start(const Words& words, const Circumstances& circumstances = {});
    Outcome finish(pid_t child, const Circumstances& circumstances = {});

    // Runs them one after the other.
    void expect(const std::vector<Call>& runs);
    // What the program prints; the test fails unless it succeeds without a word on standard error.
    std::string printed(std::string_view line, const Circumstances& circumstances = {});
    // Each line must be wrong usage: status 2, and one line that says so.
    void expectWrongUsage(const Words& lines);

    // A path in the scratch directory appears in what is printed without that directory in front.
    std::string relative(std::string text) const;
    // Names of temporary files that are there.
    std::vector<std::string> temporaries() const { return temporary_.names(); }
    // A container with sections of the given names, each holding its own name, times all 1000, and the files that it
    // was made from in "packed".
    void pack(const std::string& file, const Words& names);
    // True where users without the rights of root can run the program.
    bool servesOrdinaryUsers() { return run("--version", {.ordinaryUser = true}).status == 0; }

    ScratchDir dir_, temporary_;

private:
    ScratchDir captured_;
};
