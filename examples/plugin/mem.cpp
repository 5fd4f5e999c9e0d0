// A plug-in that serves mem:NAME for reading, from texts in memory.
#include <UT/UT_Path.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <UT/UT_DSOVersion>

#include <map>
#include <string>

static const std::map<std::string, std::string> texts = {{"mem:x", "held in memory\n"}};

class MemReader : public FS_ReaderHelper {
    FS_ReaderStream* createStream(const char* path) override {
        const auto text = texts.find(path);
        if (text == texts.end()) return nullptr;  // not ours: another helper may serve it
        return new FS_ReaderStream(text->second.data(), static_cast<int>(text->second.size()), 0);
    }
};

class MemInfo : public FS_InfoHelper {
    bool canHandle(const char* path) override { return texts.contains(path); }
    bool hasAccess(const char*, int mode) override { return (mode & ~1) == 0; }  // reading alone
    bool getIsDirectory(const char*) override { return false; }
    int getModTime(const char*) override { return 0; }
    std::int64_t getSize(const char* path) override { return static_cast<std::int64_t>(texts.at(path).size()); }
    bool getContents(const char*, UT_StringArray&, UT_StringArray*) override { return false; }
};

extern "C" TARVANI_EXPORT void installFSHelpers(void*) {
    static MemReader reader;  // helpers serve for as long as they live
    static MemInfo info;
    UTaddAbsolutePathPrefix("mem:");  // so that nobody puts a directory in front
}
