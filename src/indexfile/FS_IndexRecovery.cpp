// What a killed commit leaves is told from what is in the files: a container knows its own length, and a file that is
// half old and half new begins with the bytes of the temporary.
#include <UT/FilePrefix.h>
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Output.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexCheck.h>
#include <indexfile/FS_IndexRecovery.h>
#include <platform/Directory.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>
#include <platform/Process.h>
#include <platform/TempFile.h>

#include <algorithm>
#include <string_view>

#include "IndexFormat.h"
#include "IndexParts.h"

namespace {

constexpr std::string_view kTemporary = "tarvani-XXXXXX";

// Opened as the plain file that it is, whatever its path looks like to helpers and to the section rule.
UT_IStream openPlain(const std::string& path) {
    return UT_IStream(UTmakeFileSource(path.c_str()), UT_ISTREAM_BINARY);
}

// How many bytes two files have in common at their beginning.
std::int64_t commonLength(const std::string& first, const std::string& second) {
    UT_IStream a = openPlain(first), b = openPlain(second);
    std::int64_t common = 0;
    for (;;) {
        const std::string_view x = a.buffered(), y = b.buffered();
        const auto same = static_cast<std::size_t>(
            std::mismatch(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(std::min(x.size(), y.size())), y.begin())
                .first -
            x.begin());
        common += static_cast<std::int64_t>(same);
        if (same == 0 || (same < x.size() && same < y.size())) return common;
        a.consume(same);
        b.consume(same);
    }
}

// Nothing but one whole container, as writers make it.
bool isExact(const FS_IndexCheck& check) {
    return check.isWhole() && check.getUnusedBytes() == 0;
}

// Room that a commit has reserved, and not yet written, is zero. The name of a temporary alone proves nothing: inode
// numbers are used again.
bool beginsAsContainer(const std::string& path, bool orReserved) {
    UT_IStream in = openPlain(path);
    const std::string_view begin = in.buffered().substr(0, indexformat::kMagic.size());
    return begin == indexformat::kMagic || (orReserved && begin.find_first_not_of('\0') == std::string_view::npos);
}

}  // namespace

FS_IndexRecovery::FS_IndexRecovery(const char* path) : path_(stripFilePrefix(textscan::viewOf(path))) {
    const platform::FileStatus target = platform::fileStatus(path_.c_str());
    if (target) {
        directory_ = platform::temporaryDirectory();
        ending_ = platform::replacementEnding(target);
        UT_IStream in = openPlain(path_);
        const FS_IndexCheck check(in, path_);
        if (!check.isWhole()) fault_ = check.getFaults().front().text;
        isWritersOwn_ = isExact(check);
    } else {
        const std::size_t slash = path_.rfind('/');
        directory_ = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
        fault_ = platform::errorWords(target.error);
    }
    platform::Directory directory(directory_.c_str());
    while (const char* name = directory.next())
        if (isOwn(name) && directory.status().owner == platform::currentUser())
            leftovers_.push_back(lookAt(directory_ + (directory_.ends_with('/') ? "" : "/") + name));
    std::sort(leftovers_.begin(), leftovers_.end(), [](const Leftover& a, const Leftover& b) {
        return a.time != b.time ? a.time > b.time : a.path < b.path;
    });
}

bool FS_IndexRecovery::isOwn(const std::string& name) const {
    constexpr std::size_t kFixed = kTemporary.find('X');
    return name.size() >= kTemporary.size() && name.starts_with(kTemporary.substr(0, kFixed)) &&
           name.substr(kTemporary.size()) == ending_;
}

FS_IndexRecovery::Leftover FS_IndexRecovery::lookAt(const std::string& temporary) const {
    Leftover found;
    found.path = temporary;
    const platform::FileStatus status = platform::linkStatus(temporary.c_str());
    if (status.kind != platform::FileKind::File) {
        found.fault = status ? "not a regular file" : platform::errorWords(status.error);
        return found;
    }
    found.size = status.size;
    found.time = status.time;
    if (platform::isInUse(temporary.c_str())) {
        found.state = State::InUse;
        return found;
    }
    UT_IStream in = openPlain(temporary);
    const FS_IndexCheck check(in, temporary);
    found.sections = check.getNumSections();
    if (!isExact(check)) {
        found.fault = check.isWhole() ? std::to_string(check.getUnusedBytes()) + " bytes belong to no section"
                                      : check.getFaults().front().text;
        return found;
    }
    const platform::FileStatus target = platform::fileStatus(path_.c_str());
    if (!target) {
        found.state = State::Unclaimed;
        return found;
    }
    const std::int64_t common = commonLength(temporary, path_);
    if (common == status.size && common == target.size)
        found.state = State::Same;
    else if (!isWritersOwn_ || common >= check.getTableEnd() || target.time < status.time)
        found.state = State::Ready;
    else
        found.state = State::Older;
    return found;
}

bool FS_IndexRecovery::put(const char* temporary, UT_String* reason) {
    if (temporary == nullptr || *temporary == '\0') return refuse(reason, "no path");
    const std::string from(temporary);
    const Leftover found = lookAt(from);
    if (found.state == State::InUse) return refuse(reason, from + ": a program has it open");
    if (found.state == State::Incomplete) return refuse(reason, from + ": " + found.fault);
    const platform::FileStatus target = platform::fileStatus(path_.c_str());
    const platform::FileStatus source = platform::fileStatus(temporary);
    if (target && target.device == source.device && target.inode == source.inode)
        return refuse(reason, from + ": is the same file");
    if (target && target.kind != platform::FileKind::File) return refuse(reason, "is not a regular file");
    if (target.size > 0 && !beginsAsContainer(path_, isOwn(from.substr(from.rfind('/') + 1))))
        return refuse(reason, "is not a container, and is left as it is");
    if (found.state != State::Same) {
        platform::ReplacementFile file(path_, platform::ReplaceBy::Copy);
        UT_IStream in = openPlain(from);
        if (file.error().done && !UTcopyStreamToStream(in, file.stream(), static_cast<unsigned>(found.size), nullptr))
            file.stream().setstate(std::ios_base::failbit);
        if (const platform::Outcome outcome = file.commit(); !outcome.done) return refuse(reason, outcome.reason);
    }
    // One that stays does no harm: the file holds all of it.
    static_cast<void>(platform::removeFile(temporary));
    return true;
}
