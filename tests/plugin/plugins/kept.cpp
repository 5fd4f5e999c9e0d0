// Serves kept:NAME for reading, writing and questions, from memory, and the address http://kept/x. What is read from
// kept:who is the library that answers.
#include <UT/UT_StringArray.h>
#include <plugin/UT_DSO.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FS_Writer.h>
#include <stream/FS_WriterStream.h>
#include <UT/UT_DSOVersion>

#include <chrono>
#include <map>
#include <sstream>
#include <string>
#include <thread>

namespace {

constexpr int kTime = 1000;

std::map<std::string, std::string, std::less<>> texts;

// Kept when it is finished.
struct Output : std::ostringstream {
    explicit Output(const char* path) : name(path) {}
    ~Output() override { texts[name] = str(); }
    const std::string name;
};

struct Stream : FS_WriterStream {
    explicit Stream(const char* path) { adoptStream(new Output(path)); }
};

struct Reader : FS_ReaderHelper {
    FS_ReaderStream* createStream(const char* path) override {
        const auto text = texts.find(path);
        if (text == texts.end()) return nullptr;
        return new FS_ReaderStream(text->second.data(), static_cast<int>(text->second.size()), kTime);
    }
};

struct Writer : FS_WriterHelper {
    FS_WriterStream* createStream(const char* path) override {
        return std::string_view(path).starts_with("kept:") ? new Stream(path) : nullptr;
    }
};

struct Info : FS_InfoHelper {
    bool canHandle(const char* path) override {
        return texts.contains(path) || std::string_view(path).starts_with("kept:");
    }
    bool hasAccess(const char* path, int) override { return texts.contains(path); }
    bool getIsDirectory(const char* path) override { return std::string_view(path) == "kept:"; }
    int getModTime(const char*) override { return kTime; }
    std::int64_t getSize(const char*) override { return 0; }
    bool getContents(const char*, UT_StringArray& files, UT_StringArray*) override {
        for (const auto& [name, text] : texts) files.append(name);
        return true;
    }
};

}  // namespace

extern "C" TARVANI_EXPORT void installFSHelpers(void* data) {
    static Reader reader;
    static Writer writer;
    static Info info;
    texts["kept:who"] = data ? "data" : UT_DSO::getRunningFile();
    texts["http://kept/x"] = "an address";
#ifdef PLUGIN_OPENS_A_PATH
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // so that other threads come meanwhile
    texts["kept:opened"] += FS_Reader("kept:who").isGood() ? "y" : "n";
#endif
}
