// Section paths: any text behind the name of a container that holds containers. The reader, the information handle and
// the writer's split must agree on what is there, and nothing outside the container may be opened.
#include "Check.h"
#include "Limits.h"
#include "Scratch.h"

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace {

constexpr std::size_t kLongestInput = 4096;

std::string container(const std::string& name, const std::string& bytes) {
    FS_IndexFile index;
    index.addSection(name.c_str(), bytes.data(), static_cast<int>(bytes.size()), 5);
    index.addSection("leaf", "leaf bytes", 10, 6);
    index.addSection("", "nameless", 8, 7);
    std::ostringstream out;
    index.writeFile(out);
    return out.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    static const Scratch scratch;
    static const bool made = [] {
        const std::string bytes = container("a", container("b", container("c", "deep")));
        scratch.write("x.idx", reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        return true;
    }();
    check(made, "the container stands");
    std::string tail(reinterpret_cast<const char*>(data), size);
    std::replace(tail.begin(), tail.end(), '\0', '?');
    const std::string path = scratch.path("x.idx") + "?" + tail;

    FS_Reader reader(path.c_str());
    const FS_Info info(path.c_str());
    // The information handle takes one "/" off the end of a path, and looks for no section behind a last "?" that
    // nothing follows.
    if (!tail.empty() && tail.back() != '/' && tail.back() != '?')
        check((reader.getStream() != nullptr) == info.hasAccess(1), "reader and information agree");
    if (reader.getStream() != nullptr) {
        UT_String file;
        reader.getFilename(file);
        check(file.view() == scratch.path("x.idx"), "a section lies in its container");
        char bytes[64];
        check(reader.getStream()->bread(bytes, sizeof bytes) <= reader.getLength(), "no more than the section holds");
    }
    info.getIsDirectory();
    info.getFileDataSize();
    UT_StringArray files, dirs;
    FS_Info(path.c_str()).getContents(files, &dirs, nullptr, nullptr);
    return 0;
}
