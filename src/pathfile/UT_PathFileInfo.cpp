// The parts of an entry. What is made from what, and what goes stale by what, are the tables of Lazy; the operations
// below follow them.
#include <pathfile/ControlSuffix.h>
#include <pathfile/UT_PathFile.h>
#include <pathfile/UT_PathFileInfo.h>

#include <atomic>
#include <span>
#include <utility>

struct UT_PathFileInfo::Lazy {
    // A way to bring a part up to date: where the parts of `from` are current, `make` makes it of them. Of the ways of
    // a part the first that can be gone is gone; where there is none, what is stored stands.
    struct Way {
        unsigned char from;
        void (UT_PathFileInfo::*make)();  // null: what is stored is current
    };
    static constexpr Way kFullPath[] = {
        {kFullPathValid, nullptr},
        {0, &UT_PathFileInfo::composeOwnPath},
    };
    static constexpr Way kDirIndex[] = {
        {kDirIndexValid, nullptr},
        {kFullPathValid, &UT_PathFileInfo::takeApart},
    };
    static constexpr Way kFileName[] = {
        {kFileNameValid, nullptr},
        {kBaseNameValid | kExtensionValid, &UT_PathFileInfo::joinFileName},
        {kFullPathValid, &UT_PathFileInfo::takeApart},
    };
    static constexpr Way kBaseName[] = {
        {kBaseNameValid, nullptr},
        {kFileNameValid, &UT_PathFileInfo::cutBaseName},
        {kFullPathValid, &UT_PathFileInfo::takeApart},
    };
    static constexpr Way kExtension[] = {
        {kExtensionValid, nullptr},
        {kFileNameValid, &UT_PathFileInfo::cutExtension},
        {kFullPathValid, &UT_PathFileInfo::takeApart},
    };
    static constexpr Way kHint[] = {
        {kHintValid, nullptr},
        {kFullPathValid, &UT_PathFileInfo::takeApart},
    };
    static void update(UT_PathFileInfo& info, std::span<const Way> ways) {
        for (const Way& way : ways) {
            if (!info.isValid(way.from)) continue;
            if (way.make) (info.*way.make)();
            return;
        }
    }

    // What setting a part does. `keeps` are the parts that outlive the path: they are taken from it while it is there.
    struct Change {
        unsigned char keeps;
        unsigned char clears;
        unsigned char sets;
    };
    static constexpr Change kSetFullPath = {
        0, kDirIndexValid | kFileNameValid | kBaseNameValid | kExtensionValid | kHintValid, kFullPathValid};
    static constexpr Change kSetFileName = {kDirIndexValid | kHintValid | kBaseNameValid | kExtensionValid,
                                            kFullPathValid | kBaseNameValid | kExtensionValid, kFileNameValid};
    static constexpr Change kSetBaseName = {kDirIndexValid | kHintValid | kFileNameValid | kExtensionValid,
                                            kFullPathValid | kFileNameValid, kBaseNameValid};
    static constexpr Change kSetExtension = {kDirIndexValid | kHintValid | kBaseNameValid | kFileNameValid,
                                             kFullPathValid | kFileNameValid, kExtensionValid};
    static constexpr Change kSetDirIndex = {kExtensionValid | kHintValid | kBaseNameValid | kFileNameValid,
                                            kFullPathValid, kDirIndexValid};
    static constexpr Change kSetFlag = {kDirIndexValid | kFileNameValid | kBaseNameValid | kExtensionValid,
                                        kFullPathValid | kFileNameValid, kHintValid};
    static void prepare(UT_PathFileInfo& info, const Change& change);
    static void finish(UT_PathFileInfo& info, const Change& change) {
        info.valid = static_cast<unsigned char>((info.valid & ~change.clears) | change.sets);
    }
    // Sets a text. It may be one that the entry gave, so it is copied before anything changes.
    static void set(UT_PathFileInfo& info, const Change& change, UT_String& part, const char* text) {
        UT_String copy(text, 1);
        prepare(info, change);
        part = std::move(copy);
        finish(info, change);
    }
};

namespace {

std::atomic<unsigned long long> filterChangeCount = 0;

std::string_view baseOf(std::string_view name) {
    return name.substr(0, name.find('.'));
}

// What stands from the first "." of a name to its last; nothing unless it has two.
std::string_view middleOf(std::string_view name) {
    const std::size_t first = name.find('.'), last = name.rfind('.');
    return first == name.npos ? std::string_view() : name.substr(first, last - first);
}

// Stores a text; none without allocating for it.
void store(UT_String& part, std::string_view text) {
    if (text.empty())
        part.clear();
    else
        part = text;
}

}  // namespace

UT_PathFileInfo::UT_PathFileInfo(UT_PathFile* list) : diskPath(""), owner(list) {}

// A copied string owns its characters, so that nothing of the copy refers to the original.
UT_PathFileInfo::UT_PathFileInfo(const UT_PathFileInfo&) = default;
UT_PathFileInfo::~UT_PathFileInfo() = default;

void UT_PathFileInfo::copy(UT_PathFileInfo* source, UT_PF_CopyReason reason) {
    if (!source) return;
    source->writePending();
    ownTexts();
    valid = source->valid;
    if (reason == UT_PF_COPY_TAKE_DISK_FILE) {
        // Taken from itself, the file stays.
        UT_String place(source->diskPath);
        source->setDiskPath(nullptr);
        setFullPath(place.buffer());
        diskPath = std::move(place);
    } else {
        fullPath = source->fullPath;
        directory = source->directory;
        fileName = source->fileName;
        baseName = source->baseName;
        extension = source->extension;
        middle = source->middle;
        diskPath = reason == UT_PF_COPY_DETACHED ? UT_String() : source->diskPath;
    }
    dirIndex = source->dirIndex;
    flags = source->flags;
    owner = source->owner;
    ++filterChangeCount;
}

const char* UT_PathFileInfo::getFullPath() {
    Lazy::update(*this, Lazy::kFullPath);
    return fullPath.buffer();
}

// By the rule of the path: asking for the directory doesn't take a path apart.
const char* UT_PathFileInfo::getDirectory() {
    Lazy::update(*this, Lazy::kFullPath);
    writePending();
    return directory.buffer();
}

int UT_PathFileInfo::getDirIndex() {
    Lazy::update(*this, Lazy::kDirIndex);
    return dirIndex;
}

const char* UT_PathFileInfo::getFileName() {
    Lazy::update(*this, Lazy::kFileName);
    return fileName.buffer();
}

const char* UT_PathFileInfo::getBaseName() {
    Lazy::update(*this, Lazy::kBaseName);
    writePending();
    return baseName.buffer();
}

const char* UT_PathFileInfo::getExtension() {
    Lazy::update(*this, Lazy::kExtension);
    return extension.buffer();
}

// Without storing it: of a long list that is compared only few names are asked for.
std::string_view UT_PathFileInfo::currentBaseName() {
    Lazy::update(*this, Lazy::kBaseName);
    return partsPending ? baseOf(fileName.view()) : baseName.view();
}

int UT_PathFileInfo::getHideFlag() {
    updateHintFlag();
    return hasFlag(kHide);
}

int UT_PathFileInfo::getAppendFlag() {
    updateHintFlag();
    return hasFlag(kAppend);
}

int UT_PathFileInfo::getNoSaveFlag() {
    updateHintFlag();
    return hasFlag(kNoSave);
}

// Takes the parts that outlive the path from it, and from a name that goes its middle.
void UT_PathFileInfo::Lazy::prepare(UT_PathFileInfo& info, const Change& change) {
    if (info.isValid(kFullPathValid) && !info.isValid(change.keeps)) info.takeApart();
    info.writePending();
    if ((change.clears & kFileNameValid) && info.isValid(kFileNameValid))
        store(info.middle, middleOf(info.fileName.view()));
}

void UT_PathFileInfo::setFullPath(const char* path) {
    Lazy::set(*this, Lazy::kSetFullPath, fullPath, path);
    middle.clear();
}

void UT_PathFileInfo::setFileName(const char* name) {
    Lazy::set(*this, Lazy::kSetFileName, fileName, name);
}

void UT_PathFileInfo::setBaseName(const char* name) {
    Lazy::set(*this, Lazy::kSetBaseName, baseName, name);
}

void UT_PathFileInfo::setExtension(const char* text) {
    Lazy::set(*this, Lazy::kSetExtension, extension, text);
}

void UT_PathFileInfo::setDirIndex(int index) {
    Lazy::prepare(*this, Lazy::kSetDirIndex);
    dirIndex = index;
    Lazy::finish(*this, Lazy::kSetDirIndex);
}

void UT_PathFileInfo::setHideFlag(int value) {
    setFlag(kHide, value);
}

void UT_PathFileInfo::setAppendFlag(int value) {
    setFlag(kAppend, value);
}

void UT_PathFileInfo::setNoSaveFlag(int value) {
    setFlag(kNoSave, value);
}

void UT_PathFileInfo::setFlag(Flag flag, int value) {
    updateHintFlag();
    if (hasFlag(flag) == (value != 0)) return;
    Lazy::prepare(*this, Lazy::kSetFlag);
    // Taking the path apart may have set it.
    flags = static_cast<unsigned char>(value ? flags | flag : flags & ~flag);
    Lazy::finish(*this, Lazy::kSetFlag);
}

void UT_PathFileInfo::setFilteredFlag(int value) {
    if (hasFlag(kFiltered) == ((value & 1) != 0)) return;
    flags ^= kFiltered;
    ++filterChangeCount;
}

void UT_PathFileInfo::setDiskPath(const char* path) {
    UT_String copy(path, 1);
    ownTexts();
    diskPath = std::move(copy);
}

void UT_PathFileInfo::computeFullPath(UT_String* result) {
    if (isValid(kFullPathValid)) {
        if (result) *result = fullPath;
        return;
    }
    UT_String path;
    if (!compose(path)) return;
    if (result) {
        result->adopt(path);
        return;
    }
    fullPath.adopt(path);
    valid |= kFullPathValid;
}

int UT_PathFileInfo::deconstructFullPath() {
    const int index = owner && !fullPath.isNull() ? owner->dirIndexOf(fullPath.view()) : -1;
    if (index < 0) return 0;
    deconstructFullPath(index);
    return 1;
}

void UT_PathFileInfo::deconstructFullPath(int index) {
    if (fullPath.isNull()) return;
    constexpr std::pair<std::string_view, Flag> kControls[] = {
        {kHideSuffix, kHide}, {kAppendSuffix, kAppend}, {kNoSaveSuffix, kNoSave}};
    dirIndex = index;

    // Suffixes come off one after the other, in any order. They set flags and never clear one.
    std::string_view path = fullPath.view();
    for (bool peeled = true; peeled;) {
        peeled = false;
        for (const auto& [suffix, flag] : kControls) {
            if (!path.ends_with(suffix)) continue;
            path.remove_suffix(suffix.size());
            flags |= flag;
            peeled = true;
        }
    }

    const std::size_t slash = path.rfind('/');
    const bool isLone = slash == path.npos;
    const std::string_view name = path.substr(isLone ? 0 : slash + 1);
    const bool shares = !isLone && fullPath.buffer() == diskPath.buffer() && path.size() == fullPath.view().size();
    partsPending = shares;
    if (shares) {
        fileName = UT_String(name.data());  // ends where the path ends
    } else {
        directory = isLone ? std::string_view(".") : path.substr(0, slash);
        fileName = name;
        cutBaseName();
    }
    cutExtension();
    valid |= kDirIndexValid | kFileNameValid | kBaseNameValid | kExtensionValid | kHintValid;
}

void UT_PathFileInfo::joinFileName() {
    UT_String name = baseName;
    if (!middle.isNull()) name += middle;
    if (!extension.isNull()) name += extension;
    // This is made at every call: a text that was given before must stay.
    if (name.isNull() != fileName.isNull() || name != fileName) fileName = std::move(name);
}

void UT_PathFileInfo::cutBaseName() {
    baseName = baseOf(fileName.view());
    valid |= kBaseNameValid;
}

void UT_PathFileInfo::cutExtension() {
    const std::size_t dot = fileName.view().rfind('.');
    if (dot == std::string_view::npos)
        extension.clear();
    else if (fileName.isReference())
        extension = UT_String(fileName.buffer() + dot);
    else
        extension = fileName.buffer() + dot;
    valid |= kExtensionValid;
}

void UT_PathFileInfo::updateHintFlag() {
    Lazy::update(*this, Lazy::kHint);
}

// False, with nothing done, if the parts don't suffice or there is no such directory.
bool UT_PathFileInfo::compose(UT_String& path) {
    if (!isValid(kDirIndexValid)) return false;
    if (!isValid(kFileNameValid) && !isValid(kBaseNameValid | kExtensionValid)) return false;
    const char* const written = owner ? owner->getDir(dirIndex) : nullptr;
    if (!written) return false;
    path = written;
    path.expandVariables();
    if (const auto below = owner->patternDirectory()) {
        path += "/";
        path += *below;
    }
    path += "/";
    path += getFileName();
    // Of several flags one shows.
    path += hasFlag(kHide) ? kHideSuffix : hasFlag(kAppend) ? kAppendSuffix : hasFlag(kNoSave) ? kNoSaveSuffix : "";
    return true;
}

// The order of reading, of parts that are up to date: by name, directory, and within one directory by control suffix.
int UT_PathFileInfo::compareInOrder(const UT_PathFileInfo& other) const {
    if (const int order = UT_String::compareNumberedString(fileName.buffer(), other.fileName.buffer(), true))
        return order;
    if (dirIndex != other.dirIndex) return dirIndex < other.dirIndex ? -1 : 1;
    // Of what differs the first decides: what hides comes last, what isn't saved first, what appends behind the rest.
    constexpr std::pair<Flag, int> kPlaces[] = {{kHide, 1}, {kNoSave, -1}, {kAppend, 1}};
    if (((flags ^ other.flags) & (kHide | kNoSave | kAppend)) == 0) return 0;
    for (const auto& [flag, place] : kPlaces) {
        if (hasFlag(flag)) return place;
        if (other.hasFlag(flag)) return -place;
    }
    return 0;
}

// Sets disk path and full path to the same text, held once.
void UT_PathFileInfo::placeOnDisk(std::string_view path) {
    ownTexts();
    diskPath = path;
    fullPath = UT_String(diskPath.buffer());
    middle.clear();
    Lazy::finish(*this, Lazy::kSetFullPath);
}

void UT_PathFileInfo::ownTexts() {
    writePending();
    fullPath.harden();
    fileName.harden();
    extension.harden();
}

void UT_PathFileInfo::writePending() {
    if (!partsPending) return;
    partsPending = false;
    directory = diskPath.view().substr(0, diskPath.view().rfind('/'));
    baseName = baseOf(fileName.view());
}

unsigned long long UT_PathFileInfo::filterChanges() {
    return filterChangeCount;
}
