#pragma once
// Private: what a manager keeps beside its data: the bits of its flags, the storage that every line uses again, and
// what the file system answered.
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_File.h>
#include <preprocessor/CPP_MacroTable.h>
#include <preprocessor/CPP_Manager.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class UT_PathSearch;

enum CPP_Flag : int {
    CPP_STRIP_COMMENTS = 0x0001,
    CPP_LINE_MARKERS = 0x0002,
    CPP_IN_COMMENT = 0x0004,  // a block comment is open at the end of the last line
    CPP_HASH_COMMENTS = 0x0008,
    CPP_OLD_INCLUDES = 0x0010,
    CPP_EXPAND_INCLUDE_NAMES = 0x0020,
    CPP_NO_C_COMMENTS = 0x0040,
    CPP_EXPAND_DIRECTIVES = 0x0080,
    CPP_STOPPED = 0x1000,  // a text line couldn't be expanded: nothing more is read
};

// What stands for the name of a file where none is open.
inline constexpr char kNoFile[] = "<unknown>";

// A file for as long as it is worked on. Reading on for a macro call can end it meanwhile.
class CPP_Manager::FileHold {
public:
    explicit FileHold(CPP_File* file) : file_(file) {
        if (file_) file_->bumpRefCount(1);
    }
    ~FileHold() {
        if (file_) file_->bumpRefCount(-1);
    }
    FileHold(const FileHold&) = delete;
    FileHold& operator=(const FileHold&) = delete;

    CPP_File* get() const { return file_; }
    CPP_File& operator*() const { return *file_; }
    explicit operator bool() const { return file_ != nullptr; }
    // Text without a file, which close() in the middle of a line leaves, is live.
    bool isLive() const { return !file_ || file_->getIfState(); }

private:
    CPP_File* const file_;
};

// Expands the macros of a line. A replacement is scanned like the line; a stack of the texts that are being scanned
// stands for the nesting, so that its depth costs no stack of the thread. Everything that a scan yields goes straight
// to the end of the one result: it would end up there anyway, or be dropped with all the rest.
class CPP_Manager::Expansion {
public:
    enum class Result { Unchanged, Expanded, Failed };

    // More open expansions, or more replacement text for one line, are taken for a recursion without end.
    static constexpr std::size_t kMostOpen = 100'000;
    static constexpr std::size_t kMostText = std::size_t{1} << 28;
    static constexpr std::size_t kMostArgument = 8191;  // characters of one argument
    // All lines together have as much as one alone may have, and so much more for each character that is read.
    static constexpr std::uint64_t kTextPerCharacter = 4096;

    explicit Expansion(CPP_Manager& manager) : manager_(manager) {}

    // Begins counting the replacement text of all lines anew, and tells of a line that was read.
    void restart() { left_ = kMostText; }
    void allowFor(std::string_view line) { left_ += kTextPerCharacter * line.size(); }

    // Unchanged: `line` is its own expansion, and `out` isn't touched. Expanded: `out` is. Failed: `out` is the
    // message.
    Result run(const CPP_File* file, std::string_view line, UT_WorkBuffer& out, int depth);

private:
    // A text that is being scanned: a line or a definition, which are kept elsewhere, or a piece of held_.
    struct Frame {
        const char* outside;  // null if the text is in held_
        std::size_t start;    // in held_, which goes back to this length at the end of the frame
        std::size_t length;
        std::size_t position;
    };
    struct Plain {
        std::size_t end;
        const CPP_Macro* macro;  // what stands at the end, null if it is no macro
    };
    enum class Stop { Failure, TextEnd, Comma, Close };

    std::string_view text() const {
        const Frame& frame = frames_.back();
        return {frame.outside ? frame.outside : held_.buffer() + frame.start, frame.length};
    }
    Plain passPlain(std::string_view text, std::size_t at) const;
    bool scan(const CPP_File* file, UT_WorkBuffer& out);
    bool replace(const CPP_Macro& macro, const CPP_File* file, UT_WorkBuffer& out);
    bool replaceBuiltIn(CPP_MacroType type, const CPP_File* file, UT_WorkBuffer& out);
    bool open(const CPP_Macro& macro);
    bool fail(std::string_view message);

    bool readArguments(std::size_t count);
    Stop readArgument(std::size_t& depth);
    bool takeText(std::string_view piece);
    bool atClose();
    bool skipSpace();
    bool readMore();

    CPP_Manager& manager_;
    std::vector<Frame> frames_;
    std::size_t limit_ = 0;           // of frames_
    std::size_t made_ = 0;            // characters of replacement text
    std::size_t most_ = 0;            // of them for this line
    std::uint64_t left_ = kMostText;  // and for all lines that are still to come
    UT_WorkBuffer held_;              // texts of frames, the last one last
    UT_WorkBuffer arguments_;         // of the call being read, one behind the other
    std::vector<int> ends_;           // where each complete one ends
    std::vector<std::string_view> views_;
    UT_WorkBuffer more_;  // a further line of a call
    UT_WorkBuffer message_;
};

struct CPP_Manager::Work {
    // Files that are included between the first open file and its end. A few that include each other twice would be
    // read without end otherwise, however few can be open at once.
    static constexpr int kMostIncluded = 1'000'000;

    explicit Work(CPP_Manager& manager) : expansion(manager) {}

    // True if the file at `path` can be read; asks the file system once for each path, as long as there aren't too
    // many.
    bool isReadable(const std::string& path);
    // The path of a file of that name along the search path, empty if there is none; asks once for each name.
    const std::string& search(const UT_PathSearch& path, const std::string& name);
    void forgetFiles() {
        readable_.clear();
        found_.clear();
        remembered_ = 0;
    }

    int included = 0;         // files so far
    UT_WorkBuffer line;       // as it was read, and then the output line that getLine gives
    UT_WorkBuffer output;     // the output line while it is being made
    UT_WorkBuffer directive;  // a directive with its macros expanded
    Expansion expansion;

private:
    void remember(std::size_t characters);

    std::unordered_map<std::string, bool> readable_;
    std::unordered_map<std::string, std::string> found_;
    std::size_t remembered_ = 0;  // bytes in the two, more or less
};
