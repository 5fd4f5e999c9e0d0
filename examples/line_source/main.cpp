// Preprocesses texts that are records of a database, here a map, and no files. `#pragma record NAME` in a record goes
// on with another one, as an include would.
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_Stream.h>

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

using Records = std::map<std::string, std::string, std::less<>>;

// The lines of one record.
class RecordLines : public CPP_Stream {
public:
    explicit RecordLines(const Records& records) : records_(records) {}

    int openPath(const char* name) override {
        const auto found = records_.find(name);
        isOpen_ = found != records_.end();
        if (isOpen_) rest_ = found->second;
        return isOpen_;
    }
    bool readLine(UT_WorkBuffer& line) override {
        if (rest_.empty()) return false;
        const std::size_t end = rest_.find('\n');
        line.assign(rest_.substr(0, end));
        rest_.remove_prefix(end == rest_.npos ? rest_.size() : end + 1);
        return true;
    }
    int isOpen() override { return isOpen_; }
    // Streams and C files are not what this program reads: what is attached to them isn't open.
    void attachStream(UT_IStream*) override { isOpen_ = false; }
    void attachFile(std::FILE*) override { isOpen_ = false; }

private:
    const Records& records_;
    std::string_view rest_;
    bool isOpen_ = false;
};

class RecordPreprocessor : public CPP_Manager {
public:
    explicit RecordPreprocessor(const Records& records) : records_(records) {}
    CPP_Stream* allocStream() override { return new RecordLines(records_); }

private:
    const Records& records_;
};

int main() {
    const Records records = {
        {"scene", "#define LAMPS 2\nlamps LAMPS\n#pragma record lamp\nend of __FILE__\n"},
        {"lamp", "// one lamp\n#if LAMPS > 1\nbrightness 40\n#else\nbrightness 80\n#endif\nend of __FILE__\n"},
    };
    constexpr std::string_view kOtherRecord = "#pragma record ";

    RecordPreprocessor cpp(records);
    if (!cpp.open("scene", 0)) return 1;  // 0: the name is the record's, nothing is searched for
    UT_String line;
    while (cpp.getLine(line)) {
        std::string_view text = line.view();
        if (!text.starts_with(kOtherRecord)) {
            std::fputs(line.buffer(), stdout);
            continue;
        }
        text.remove_prefix(kOtherRecord.size());
        const std::string name(text.substr(0, text.find('\n')));
        // What is opened now is read before the rest of what is open.
        if (!cpp.open(name.c_str(), 0)) std::fprintf(stderr, "no record \"%s\"\n", name.c_str());
    }
    return cpp.hasError() ? 1 : 0;
}
