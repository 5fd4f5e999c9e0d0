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
};

class TarvaniCommand : public testing::Test {
protected:
    TarvaniCommand();
    ~TarvaniCommand() override;

    using Words = std::vector<std::string>;
    Outcome run(const Words& words, const Circumstances& circumstances = {});
    // As run, without waiting for the end.
    pid_t start(const Words& words, const Circumstances& circumstances = {});
    Outcome finish(pid_t child, const Circumstances& circumstances = {});

    // What the program prints; the test fails unless it succeeds without a word on standard error.
    std::string printed(const Words& words, const Circumstances& circumstances = {});
    // The line on standard error of a run that must fail with status 1 and print that line alone.
    std::string failure(const Words& words, const Circumstances& circumstances = {});
    // Names of temporary files that are there.
    std::vector<std::string> temporaries() const { return temporary_.names(); }
    // A container with sections of the given names, each holding its own name, times all 1000.
    void pack(const std::string& file, const Words& names);

    ScratchDir dir_;

private:
    ScratchDir temporary_, captured_;
};
