// The questions of FS_Info. Each goes the same way: a section first, then the helper that claims the path, and the
// local file system last. One of the sources of stream/ that call into indexfile/.
#include <UT/UT_Path.h>
#include <indexfile/FS_IndexFile.h>
#include <platform/FileStatus.h>
#include <stream/FS_Info.h>
#include <stream/FSloadCustomHelpers.h>
#include <stream/HelperList.h>
#include <stream/OpenSection.h>
#include <stream/PathForm.h>

#include <string>

namespace {

constexpr int kRead = 1;
constexpr int kWrite = 2;
constexpr int kExecute = 4;

// UTaccess takes the same three, with read as the high bit.
int systemAccess(int mode) {
    return ((mode & kRead) != 0 ? 4 : 0) | ((mode & kWrite) != 0 ? 2 : 0) | ((mode & kExecute) != 0 ? 1 : 0);
}

// Path and section of what FS_Info is made from. The final "/" goes from the end of the whole, behind a section too,
// and never from the end of a container.
SectionPath takeApart(std::string_view text) {
    if (text.size() > 1 && text.ends_with('/') && !text.ends_with(":/")) text.remove_suffix(1);
    return splitSection(text).value_or(SectionPath{text, {}});
}

// A null-terminated tail of the path.
const char* localPath(const UT_String& path) {
    return stripFilePrefix(path.view()).data();
}

struct Parent {
    std::string path;
    bool isLast = false;  // there is nothing above it
};

// One level up. A trailing separator is no level, a root keeps its separator, and a name without one is in ".".
Parent parentOf(std::string path) {
    for (;;) {
        const std::size_t cut = path.rfind(FS_Info::getPrevSepChar(path.c_str()));
        if (cut == std::string::npos) return {".", true};
        const bool trailing = cut + 1 == path.size();
        path.resize(cut);
        if (trailing) continue;
        if (!path.empty() && !UTisRootPath(path.c_str())) return {std::move(path), false};
        path += FS_Info::getNextSepChar(path.c_str());
        return {std::move(path), true};
    }
}

}  // namespace

FS_Info::FS_Info(const char* source) {
    FSloadCustomHelpers();
    if (source == nullptr) return;
    const SectionPath parts = takeApart(source);
    path = parts.container;
    section = parts.section;
}

FS_Info::FS_Info(const FS_Info&) = default;
FS_Info& FS_Info::operator=(const FS_Info&) = default;
FS_Info::~FS_Info() = default;

bool FS_Info::hasAccess(int mode) const {
    if (!section.isEmpty()) {
        if ((mode & kWrite) == 0) return lookUpSection(path.view(), section.view()).has_value();
        // A section is written by writing its container, and so on outwards.
        std::string_view container = path.view();
        while (!takeApart(container).section.empty()) container = takeApart(container).container;
        return FS_Info(std::string(container).c_str()).hasAccess(mode);
    }
    if (path.isNull()) return false;
    if (auto* helper = claimingHelper(path.buffer())) return helper->hasAccess(path.buffer(), mode);
    return UTaccess(localPath(path), systemAccess(mode)) == 0;
}

int FS_Info::getModTime() const {
    if (!section.isEmpty()) return lookUpSection(path.view(), section.view()).value_or(SectionFacts{}).modTime;
    if (path.isNull()) return 0;
    if (auto* helper = claimingHelper(path.buffer())) return helper->getModTime(path.buffer());
    return FS_Stat(platform::fileStatus(localPath(path)).time).modTime;
}

std::int64_t FS_Info::getFileDataSize() const {
    if (!section.isEmpty()) return lookUpSection(path.view(), section.view()).value_or(SectionFacts{}).dataSize;
    if (path.isNull()) return 0;
    if (auto* helper = claimingHelper(path.buffer())) return helper->getSize(path.buffer());
    return platform::fileStatus(localPath(path)).size;
}

bool FS_Info::getIsDirectory() const {
    if (!section.isEmpty()) return openIndexFile(wholePath())->getNumSections() > 0;
    if (path.isNull()) return false;
    if (auto* helper = claimingHelper(path.buffer())) return helper->getIsDirectory(path.buffer());
    // The path as it stands: here "file:" is part of a name.
    return UTisValidDirectory(path.buffer()) != 0;
}

bool FS_Info::fileExists() const {
    return !path.isEmpty() && hasAccess(0) && !getIsDirectory();
}

bool FS_Info::canReadFile() const {
    return fileExists() && hasAccess(kRead);
}

bool FS_Info::canWriteFile() const {
    if (path.isEmpty()) return false;
    if (hasAccess(0)) return !getIsDirectory() && hasAccess(kWrite);
    const std::string_view text = path.view();
    const std::size_t cut = text.rfind(getPrevSepChar(path.buffer()));
    const std::string directory(cut == std::string_view::npos ? "." : text.substr(0, cut));
    return FS_Info(directory.c_str()).canWriteDirectory();
}

bool FS_Info::canWriteDirectory() const {
    if (path.isEmpty()) return false;
    if (hasAccess(0)) return getIsDirectory() && hasAccess(kWrite | kExecute);
    // Nothing there: the nearest ancestor that exists decides.
    Parent parent{std::string(path.view())};
    while (!parent.isLast) {
        parent = parentOf(std::move(parent.path));
        const FS_Info info(parent.path.c_str());
        if (info.hasAccess(0)) return info.getIsDirectory() && info.hasAccess(kWrite | kExecute);
    }
    return false;
}

bool FS_Info::canDeleteFile() const {
    if (path.isEmpty()) return false;
    if (!hasAccess(0)) return true;
    if (getIsDirectory() || !hasAccess(kWrite)) return false;
    return FS_Info(parentOf(std::string(path.view())).path.c_str()).hasAccess(kWrite);
}

char FS_Info::getNextSepChar(const char* source) {
    auto* helper = claimingHelper(source);
    return helper != nullptr ? helper->getNextSepChar(source) : '/';
}

char FS_Info::getPrevSepChar(const char* source) {
    auto* helper = claimingHelper(source);
    return helper != nullptr ? helper->getPrevSepChar(source) : '/';
}

void FS_Info::addInfoHelper(FS_InfoHelper* helper) {
    getHelpers().add(helper);
}

void FS_Info::removeInfoHelper(FS_InfoHelper* helper) {
    getHelpers().remove(helper);
}

HelperList<FS_InfoHelper>& FS_Info::getHelpers() {
    // Never freed: questions may be asked, and helpers go, to the very end of the process.
    static auto* const helpers = new HelperList<FS_InfoHelper>;
    return *helpers;
}

FS_InfoHelper* FS_Info::claimingHelper(const char* source) {
    if (source == nullptr) return nullptr;
    return getHelpers().firstAnswer(
        [=](FS_InfoHelper* helper) { return helper->canHandle(source) ? helper : nullptr; });
}

std::string FS_Info::wholePath() const {
    std::string whole(path.view());
    if (!section.isEmpty()) whole.append("?").append(section.view());
    return whole;
}

FS_InfoHelper::FS_InfoHelper() {
    FS_Info::addInfoHelper(this);
}

// A copy is never asked.
FS_InfoHelper::FS_InfoHelper(const FS_InfoHelper&) {}

FS_InfoHelper& FS_InfoHelper::operator=(const FS_InfoHelper&) {
    return *this;
}

FS_InfoHelper::~FS_InfoHelper() {
    FS_Info::removeInfoHelper(this);
}

char FS_InfoHelper::getNextSepChar(const char*) {
    return '/';
}

char FS_InfoHelper::getPrevSepChar(const char*) {
    return '/';
}
