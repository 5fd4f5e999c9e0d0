// The lists of all types, and the two files that keep them. docs/history.md shows these files.
#include <UT/UT_EnvControl.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Output.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>
#include <history/FS_FileHistoryManager.h>
#include <platform/Directory.h>
#include <platform/FileReplace.h>
#include <platform/FileStatus.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr const char* kTypeNames[] = {"SCN", "PIC",     "GEO", "RAMP", "CAPT", "CLIP", "PAINT", "LUT",
                                      "CMD", "MIDI",    "TXT", "VOL",  "CHAN", "FONT", "LIB",   "MISC",
                                      "SIM", "SIMDATA", "DAE", "FBX",  "GAL",  "MOV",  "ICON"};
static_assert(std::size(kTypeNames) == FS_FileHistoryManager::kTypes);
constexpr const char* kReport = "Saving File History failed.";

using Lists = UT_PtrArray<FS_FileHistory*>;

// The directory of the history files; empty if there is no home.
std::string historyDirectory() {
    UT_String home;
    UT_PathSearch::getHomeTarvani(home);
    return std::string(home.view());
}

// The files that were there when they were to be loaded but could not be read to their end: saved over, what they hold
// would be lost. Never destroyed, since lists are still saved while the process ends.
std::set<std::string>& unreadFiles() {
    static auto& files = *new std::set<std::string>;
    return files;
}

void writeLists(std::ostream& out, const Lists& lists) {
    for (const FS_FileHistory* list : lists) {
        if (list->numFilesinMRU() == 0) continue;
        out << list->getTypeNameofMRU() << "\n{\n";
        list->saveFilestoMRU(out);
        out << "}\n";
    }
}

// Written beside the old file and renamed over it: of two processes that save at once, the one that ends last has its
// lists in the file, whole.
platform::Outcome saveLists(const char* fileName, const Lists& lists) {
    const std::string home = historyDirectory();
    if (home.empty()) return platform::failure("no home directory; set TARVANI_HOME to have one");
    if (const int error = platform::makeDirectories(home.c_str(), 0777)) return platform::failure(home, error);
    const std::string path = home + "/" + fileName;
    if (unreadFiles().contains(path)) return platform::failure(path + ": could not be read; nothing was written");
    platform::ReplacementFile file(path, platform::ReplaceBy::Rename);
    writeLists(file.stream(), lists);
    return file.commit();
}

bool tell(const platform::Outcome& outcome, UT_String* reason) {
    if (!outcome.done && reason) *reason = outcome.reason;
    return outcome.done;
}

void append(Lists& lists, std::unique_ptr<FS_FileHistory> list) {
    lists.append(list.get());
    static_cast<void>(list.release());
}

void copyLists(Lists& lists, const Lists& others) {
    for (const FS_FileHistory* other : others) append(lists, std::make_unique<FS_FileHistory>(*other));
}

void deleteLists(Lists& lists) {
    for (int i = lists.entries() - 1; i >= 0; --i) delete lists(i);
}

// The list whose label is `name`, null if there is none.
FS_FileHistory* listNamed(const char* name, const Lists& lists) {
    const std::string_view label(name ? name : "");
    const auto list = std::find_if(lists.begin(), lists.end(),
                                   [&](const FS_FileHistory* l) { return label == l->getTypeNameofMRU(); });
    return list != lists.end() ? *list : nullptr;
}

int numNames(const FS_FileHistory* list) {
    return list ? list->numFilesinMRU() : 0;
}

const char* nameOf(const FS_FileHistory* list, int age) {
    return list ? list->getFilenamefromMRU(age) : nullptr;
}

void formatName(const FS_FileHistory* list, int age, UT_String& out) {
    out.clear();
    if (list) list->getFormattedFilenamefromMRU(age, out);
}

}  // namespace

FS_FileHistoryManager* FS_FileHistoryManager::getFileHistoryManager() {
    static FS_FileHistoryManager* const manager = new FS_FileHistoryManager;
    return manager;
}

const char* FS_FileHistoryManager::getTypeName(FS_FileHistoryType type) {
    return type >= 0 && type < kTypes ? kTypeNames[type] : nullptr;
}

FS_FileHistoryManager::FS_FileHistoryManager() : fileLists(kTypes), dirLists(kTypes) {
    const int length = UT_EnvControl::getInt(UT_CONTROL_HISTORY_LENGTH);
    try {
        for (int type = 0; type < kTypes; ++type) {
            // Scenes are found again from any directory; other files are as often named from that of the scene.
            append(fileLists, std::make_unique<FS_FileHistory>(length, kTypeNames[type], type == FS_HISTORY_SCN));
            append(dirLists, std::make_unique<FS_FileHistory>(length, kTypeNames[type], true));
        }
    } catch (...) {  // no memory: without an object no destructor runs
        deleteLists(fileLists);
        deleteLists(dirLists);
        throw;
    }
}

FS_FileHistoryManager::FS_FileHistoryManager(const FS_FileHistoryManager& other) : fileLists(kTypes), dirLists(kTypes) {
    copyLists(fileLists, other.fileLists);
    copyLists(dirLists, other.dirLists);
}

FS_FileHistoryManager& FS_FileHistoryManager::operator=(const FS_FileHistoryManager& other) {
    FS_FileHistoryManager copy(other);
    std::swap(fileLists, copy.fileLists);
    std::swap(dirLists, copy.dirLists);
    return *this;
}

FS_FileHistoryManager::~FS_FileHistoryManager() {
    deleteLists(fileLists);
    deleteLists(dirLists);
}

int FS_FileHistoryManager::numFilesInList(FS_FileHistoryType type) const {
    return numNames(getHistoryList(type));
}

int FS_FileHistoryManager::numDirsInList(FS_FileHistoryType type) const {
    return numNames(getDirHistoryList(type));
}

const char* FS_FileHistoryManager::getFilenameFromList(int age, FS_FileHistoryType type) const {
    return nameOf(getHistoryList(type), age);
}

const char* FS_FileHistoryManager::getDirFromList(int age, FS_FileHistoryType type) const {
    return nameOf(getDirHistoryList(type), age);
}

void FS_FileHistoryManager::getFormattedFilenameFromList(int age, FS_FileHistoryType type, UT_String& out) const {
    formatName(getHistoryList(type), age, out);
}

void FS_FileHistoryManager::getFormattedDirFromList(int age, FS_FileHistoryType type, UT_String& out) const {
    formatName(getDirHistoryList(type), age, out);
}

void FS_FileHistoryManager::addFileToHistoryList(const char* path, FS_FileHistoryType type) {
    if (!path || !getHistoryList(type)) return;
    const std::string copy(path);  // it may be a name of the list, which adding can overwrite
    getHistoryList(type)->addFiletoMRU(copy.c_str());
    const std::size_t slash = copy.rfind('/');
    if (slash != copy.npos) getDirHistoryList(type)->addFiletoMRU(copy.substr(0, slash + 1).c_str());
}

void FS_FileHistoryManager::removeFileFromHistoryList(const char* path, FS_FileHistoryType type) {
    if (FS_FileHistory* list = getHistoryList(type)) list->removeFilefromMRU(path);
}

void FS_FileHistoryManager::saveFileHistoryList() {
    saveHistoryList(kFileHistory, true);
}

void FS_FileHistoryManager::saveDirHistoryList() {
    saveHistoryList(kDirHistory, false);
}

bool FS_FileHistoryManager::saveFileHistoryList(UT_String* reason) {
    return tell(saveLists(kFileHistory, fileLists), reason);
}

bool FS_FileHistoryManager::saveDirHistoryList(UT_String* reason) {
    return tell(saveLists(kDirHistory, dirLists), reason);
}

void FS_FileHistoryManager::loadFileHistoryList() {
    loadHistoryList(kFileHistory, true);
}

void FS_FileHistoryManager::loadDirHistoryList() {
    loadHistoryList(kDirHistory, false);
}

void FS_FileHistoryManager::saveHistoryList(const char* fileName, bool files) {
    if (fileName && saveLists(fileName, files ? fileLists : dirLists).done) return;
    std::ostream failed(nullptr);  // the report goes by the state of a stream
    UTcheckOutStream(failed, kReport, nullptr);
}

void FS_FileHistoryManager::loadHistoryList(const char* fileName, bool files) {
    const std::string home = historyDirectory();
    if (home.empty() || !fileName) return;
    const std::string path = home + "/" + fileName;
    UT_IFStream in(path.c_str(), UT_ISTREAM_BINARY);
    // Only what could be opened isn't at its end before it is read.
    const bool isOpened = !in.isEof();
    UT_WorkBuffer line;
    while (in.getLine(line, '\n')) {
        const UT_String text(line.buffer());
        if (FS_FileHistory* list = listNamed(text.findNonSpace(), files ? fileLists : dirLists))
            list->loadFilesfromMRU(in);
    }
    const platform::FileStatus status = platform::fileStatus(path.c_str());
    if ((isOpened && !in.hasFailed()) || status.error == ENOENT || status.isDirectory())
        unreadFiles().erase(path);
    else
        unreadFiles().insert(path);
}

FS_FileHistory* FS_FileHistoryManager::getHistoryList(FS_FileHistoryType type) const {
    return fileLists(type);
}

FS_FileHistory* FS_FileHistoryManager::getDirHistoryList(FS_FileHistoryType type) const {
    return dirLists(type);
}
