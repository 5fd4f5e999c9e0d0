// What a user's program does first: write a container, read a section of it by path, derive from a helper class.
//
//     consumer FILE    makes FILE
#include <UT/UT_IStream.h>
#include <UT/UT_Version.h>
#include <UT/UT_WorkBuffer.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {
// Serves "greeting:NAME".
class Greeting : public FS_ReaderHelper {
public:
    FS_ReaderStream* createStream(const char* source) override {
        if (std::strncmp(source, "greeting:", 9) != 0) return nullptr;
        const std::string text = "hello " + std::string(source + 9);
        return new FS_ReaderStream(text.data(), static_cast<int>(text.size()), 0);
    }
};

UT_String firstLine(const std::string& path) {
    FS_Reader reader(path.c_str());
    UT_WorkBuffer line;
    return reader.isGood() && reader.getStream()->getLine(line, '\n') ? UT_String(line.view()) : UT_String();
}
}  // namespace

int main(int, char** argv) {
    const std::string path = argv[1];
    FS_IndexFile container;
    container.addSection("geo", "point\n", 6, 0);
    if (!container.save(path.c_str())) return 1;
    if (firstLine(path + "?geo") != "point") return 2;

    Greeting greeting;
    if (firstLine("greeting:you") != "hello you") return 3;
    std::printf("Tarvani %d.%d.%d\n", TARVANI_VERSION_MAJOR, TARVANI_VERSION_MINOR, TARVANI_VERSION_PATCH);
    return 0;
}
