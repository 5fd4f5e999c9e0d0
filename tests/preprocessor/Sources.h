#pragma once
// Line sources made by functions, and managers that read them.
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_Stream.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A line source that asks a function for each line.
class MadeLines : public CPP_Stream {
public:
    using Next = std::function<bool(UT_WorkBuffer& line)>;
    explicit MadeLines(Next next, bool crypted = false) : next_(std::move(next)), crypted_(crypted) {}

    void attachStream(UT_IStream*) override {}
    void attachFile(std::FILE*) override {}
    int openPath(const char*) override { return 1; }
    bool readLine(UT_WorkBuffer& line) override { return next_(line); }
    int isOpen() override { return 1; }
    int isCrypted() const override { return crypted_; }

private:
    Next next_;
    bool crypted_;
};

// Gives lines one after the other.
inline MadeLines::Next listed(std::vector<std::string> lines) {
    return [lines = std::move(lines), at = std::size_t{0}](UT_WorkBuffer& line) mutable {
        if (at == lines.size()) return false;
        line.assign(lines[at++]);
        return true;
    };
}

inline void leaveMarkersOut(CPP_Manager& manager) {
    const char* const options[] = {"cpp", "-P"};
    manager.setOptions(2, options);
}

// A manager whose files are all made by one function. The first of them is open.
class MadeManager : public CPP_Manager {
public:
    explicit MadeManager(MadeLines::Next next, bool isEncrypted = false)
        : next_(std::move(next)), crypted_(isEncrypted) {
        leaveMarkersOut(*this);
        open("main", 0);
    }
    CPP_Stream* allocStream() override { return new MadeLines(next_, crypted_); }

private:
    MadeLines::Next next_;
    bool crypted_;
};

// What is still to come, all lines in one.
inline std::string restOf(CPP_Manager& manager) {
    std::string all;
    for (std::string_view line; manager.getLine(line);) all += line;
    return all;
}

inline std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count-- > 0) all += text;
    return all;
}
