#include "ScratchDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
    std::string pattern = (fs::temp_directory_path() / "scratch-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no scratch directory: " + pattern);
    path_ = fs::canonical(pattern).string();
}

ScratchDir::~ScratchDir() {
    // A test may have taken rights away; they come back first, so that nothing stays behind.
    std::error_code ignored;
    for (fs::recursive_directory_iterator it(path_, fs::directory_options::skip_permission_denied, ignored), end;
         it != end; it.increment(ignored))
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            fs::permissions(it->path(), fs::perms::owner_all, ignored);
    fs::remove_all(path_, ignored);
}

std::string ScratchDir::write(std::string_view name, std::string_view bytes) const {
    const std::string target = path(name);
    fs::create_directories(fs::path(target).parent_path());
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("could not write " + target);
    return target;
}

std::string ScratchDir::read(std::string_view name) const {
    std::ifstream in(path(name), std::ios::binary);
    EXPECT_TRUE(in) << "could not read " << path(name);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool ScratchDir::exists(std::string_view name) const {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path(name), ignored));
}

std::string ScratchDir::makeDirectory(std::string_view name) const {
    fs::create_directories(path(name));
    return path(name);
}

void ScratchDir::cutAt(std::string_view name, std::uintmax_t length) const {
    fs::resize_file(path(name), length);
}

void ScratchDir::setTime(std::string_view name, long seconds) const {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    if (::utimensat(AT_FDCWD, path(name).c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
        throw std::runtime_error("could not set the time of " + path(name));
}

std::vector<std::string> ScratchDir::names(std::string_view name) const {
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(path(name))) result.push_back(entry.path().filename().string());
    std::sort(result.begin(), result.end());
    return result;
}
