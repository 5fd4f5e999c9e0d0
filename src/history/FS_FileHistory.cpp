// One list of recent names: a ring in an array. While it has room its names lie at 0, 1, ... with the oldest first, and
// nextIndex is their number; a full one has its oldest name at nextIndex.
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_WorkBuffer.h>
#include <history/FS_FileHistory.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

constexpr int kLongestFormatted = 35;
// Room that a list takes before it has a name: no more than the longest list that the environment can ask for.
constexpr int kMostReserved = 10000;

// The next line that isn't blank, without its indentation and up to a NUL; empty at the end. Valid until `buffer`
// changes.
std::string_view nextText(UT_IStream& in, UT_WorkBuffer& buffer) {
    while (in.getLine(buffer, '\n')) {
        const UT_String line(buffer.buffer());
        if (const char* text = line.findNonSpace()) return text;
    }
    return {};
}

// The names in the next block.
std::vector<std::string> readBlock(UT_IStream& in) {
    UT_WorkBuffer buffer;
    std::string_view text = nextText(in, buffer);
    while (!text.empty() && text.front() != '{') text = nextText(in, buffer);
    std::vector<std::string> names;
    if (text.empty()) return names;
    for (text = nextText(in, buffer); !text.empty() && text.front() != '}'; text = nextText(in, buffer))
        names.emplace_back(text);
    return names;
}

// Of names that come twice the later place counts: the ring must have no name twice.
std::vector<std::string> withoutRepeats(const std::vector<std::string>& names) {
    std::unordered_set<std::string_view> later;
    std::vector<std::string> distinct;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        if (later.insert(*name).second) distinct.push_back(*name);
    std::reverse(distinct.begin(), distinct.end());
    return distinct;
}

}  // namespace

FS_FileHistory::FS_FileHistory(int maximum, const char* type, bool resolve)
    : files(static_cast<unsigned>(std::clamp(maximum, 1, kMostReserved))),
      maxFiles(std::max(maximum, 1)),
      typeName(type, 1),
      resolvePaths(resolve) {}

FS_FileHistory::FS_FileHistory(const FS_FileHistory& other)
    : FS_FileHistory(other.maxFiles, other.typeName.buffer(), other.resolvePaths) {
    for (const UT_String* name : other.files) appendName(name->view());
    nextIndex = other.nextIndex;
}

FS_FileHistory& FS_FileHistory::operator=(const FS_FileHistory& other) {
    FS_FileHistory copy(other);
    swap(copy);
    return *this;
}

FS_FileHistory::~FS_FileHistory() {
    removeAll();
}

int FS_FileHistory::numFilesinMRU() const {
    return std::min(files.entries(), maxFiles);
}

const char* FS_FileHistory::getFilenamefromMRU(int age) const {
    if (age < 0 || age >= numFilesinMRU()) return nullptr;
    return files(positionOf(age))->buffer();
}

void FS_FileHistory::getFormattedFilenamefromMRU(int age, UT_String& out) const {
    out = getFilenamefromMRU(age);
    UT_PathSearch::condenseCommon(out);
    out.truncateMiddle(kLongestFormatted);
}

void FS_FileHistory::addFiletoMRU(const char* name) {
    if (!name || !*name) return;
    UT_String kept;
    if (!resolvePaths || !UT_PathSearch::resolveAbsolutePath(name, kept)) kept = name;
    if (makeMostRecent(kept)) return;
    if (nextIndex < files.entries())
        *files(nextIndex) = std::move(kept);
    else
        appendName(kept.view());
    nextIndex = (nextIndex + 1) % maxFiles;
}

void FS_FileHistory::removeFilefromMRU(const char* name) {
    if (!name) return;
    const UT_String wanted(name, 1);  // it may be the text of the very entry that goes
    // In order from the oldest, so that the array can close up.
    std::rotate(files.begin(), files.begin() + nextIndex, files.end());
    for (int position = files.entries() - 1; position >= 0; --position) {
        if (*files(position) != wanted) continue;
        delete files(position);
        files.removeAt(position);
        break;
    }
    nextIndex = files.entries() % maxFiles;
}

bool FS_FileHistory::canBeSaved(std::string_view name) {
    return !name.empty() && !textscan::isSpace(name.front()) && name.front() != '}' && name.find('\n') == name.npos;
}

void FS_FileHistory::saveFilestoMRU(std::ostream& out) const {
    for (int age = numFilesinMRU() - 1; age >= 0; --age) {
        const std::string_view name = files(positionOf(age))->view();
        if (canBeSaved(name)) out << name << '\n';
    }
}

bool FS_FileHistory::loadFilesfromMRU(UT_IStream& in) {
    removeAll();
    for (const std::string& name : withoutRepeats(readBlock(in))) {
        if (files.entries() == maxFiles) break;  // the oldest names, which come first, are kept
        appendName(name);
    }
    nextIndex = files.entries() % maxFiles;
    return true;
}

// The position of an age, of which there is an entry.
int FS_FileHistory::positionOf(int age) const {
    const int count = files.entries();
    return (nextIndex - age - 1 + count) % count;
}

void FS_FileHistory::appendName(std::string_view name) {
    auto added = std::make_unique<UT_String>(name);
    files.append(added.get());
    static_cast<void>(added.release());
}

// Moves the entry equal to `name` to age 0; those that were more recent move up by one. False if there is none.
bool FS_FileHistory::makeMostRecent(const UT_String& name) {
    UT_String* found = nullptr;
    for (int age = files.entries() - 1; age >= 0; --age) {
        const int position = positionOf(age);
        if (!found && *files(position) == name) found = files(position);
        if (found) files[position] = age > 0 ? files(positionOf(age - 1)) : found;
    }
    return found != nullptr;
}

void FS_FileHistory::removeAll() {
    for (int i = files.entries() - 1; i >= 0; --i) delete files(i);
    files.clear();
    nextIndex = 0;
}

void FS_FileHistory::swap(FS_FileHistory& other) noexcept {
    std::swap(files, other.files);
    std::swap(nextIndex, other.nextIndex);
    std::swap(maxFiles, other.maxFiles);
    std::swap(typeName, other.typeName);
    std::swap(resolvePaths, other.resolvePaths);
}
