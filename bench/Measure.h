#pragma once
// Runs programs and tells time and memory. Programs that are to be compared run in turns, so that what the machine does
// meanwhile meets all of them.
#include <functional>
#include <string>
#include <vector>

struct Contender {
    std::string name;
    std::vector<std::string> command;
    std::string answer = {};                // the first line that it must print; empty: anything
    std::function<void()> prepare = [] {};  // before every run, not timed
};

struct Timing {
    double median = 0, least = 0, most = 0;  // in seconds, of whole processes
    double peakMegabytes = 0;                // the most of all runs
};

// `runs` rounds behind one that isn't counted, which warms the caches. Standard output of the programs goes to a file
// "output" in the current directory. Ends this program when one fails or prints a wrong answer.
std::vector<Timing> measure(const std::vector<Contender>& contenders, int runs);

// Whether a work of this name is among those that were asked for by parts of their names; without any, all are.
bool isWanted(const std::string& name, const std::vector<std::string>& parts);
