// The list file of the directory form: any text as Sections.list in a directory with a file and a directory. Collapsing
// must not leave the directory, must not end up elsewhere, and what it takes in must be written out whole.
#include "Check.h"
#include "Limits.h"
#include "Scratch.h"

#include <indexfile/FS_IndexFile.h>

#include <filesystem>
#include <sstream>
#include <string_view>

namespace {
constexpr std::size_t kLongestInput = 16 * 1024;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestInput) return 0;
    const Limits limits(size);
    static const Scratch scratch;
    namespace fs = std::filesystem;
    fs::create_directories(scratch.path("d/inner"));
    scratch.write("d/Sections.list", data, size);
    scratch.write("d/file", reinterpret_cast<const std::uint8_t*>("file bytes"), 10);
    scratch.write("d/inner/Sections.list", data, size / 2);
    scratch.write("d/inner/file", reinterpret_cast<const std::uint8_t*>("inner bytes"), 11);
    scratch.write("outside", reinterpret_cast<const std::uint8_t*>("secret"), 6);

    const fs::path before = fs::current_path();
    FS_IndexFile index;
    index.addSection("kept", "k", 1, 0);
    index.collapseFromDirectory(scratch.path("d").c_str());
    check(fs::current_path() == before, "the current directory is as it was");
    check(index.hasSection("kept"), "what was there stays");
    std::ostringstream out;
    index.writeFile(out);
    check(out.good(), "what was taken in can be written");
    for (int i = 0; i < index.getNumSections(); ++i) {
        if (index.getSectionDataSizeAt(i) != 6) continue;
        char bytes[6];
        index.readSection(index.getSectionName(i), bytes);
        check(std::string_view(bytes, 6) != "secret", "nothing from outside the directory");
    }
    return 0;
}
