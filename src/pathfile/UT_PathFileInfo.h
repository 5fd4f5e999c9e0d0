#pragma once
// One file of a UT_PathFile: found along its search path, or to be created there. It is known as a full path and by its
// parts (directory index, name, control flags). Either may be set; the other follows when somebody asks.
//
//     info->setDirIndex(1);              // /hi/a.txt.hide becomes
//     info->setHideFlag(0);
//     write(info->getFullPath());        // /lo/a.txt, while
//     move(info->getDiskPath());         // /hi/a.txt.hide is still where it lies
//
// The directory index counts from the last directory of the search path, 0, which has the lowest priority. Of a name
// "a.b.c" the base name is "a" and the extension ".c"; ".b" stays where it is when one of these is changed. The control
// suffixes ".hide", ".append" and ".nosave" at the end of a path are no part of the name: they are the flags.
//
// An entry belongs to its list, whose search path and pattern it needs, and is for one thread at a time: getters
// compute and store. Texts that it gives are valid until the entry changes or goes, and may be null. A null argument
// makes a text null. Nothing is reported: what can't be worked out stays as it was.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

#include <string_view>

class UT_PathFile;

// How UT_PathFileInfo::copy treats the file on disk.
enum UT_PF_CopyReason : int {
    UT_PF_COPY_DETACHED = 0,        // the copy has no file on disk
    UT_PF_COPY_TAKE_DISK_FILE = 1,  // the copy takes the file over, and is where that lies
    UT_PF_COPY_ALL = 2,             // both have it
};

class TARVANI_EXPORT UT_PathFileInfo {
public:
    // An empty entry of `owner`, which is borrowed: directory index 0, all flags clear.
    explicit UT_PathFileInfo(UT_PathFile* owner);
    // An independent entry with the same content, which is in no list.
    UT_PathFileInfo(const UT_PathFileInfo& other);
    // copy() says what is meant.
    UT_PathFileInfo& operator=(const UT_PathFileInfo&) = delete;
    virtual ~UT_PathFileInfo();
    // Becomes like `source`, owner and filtered flag included. With UT_PF_COPY_TAKE_DISK_FILE the path of this entry is
    // the disk path of `source`, and `source` has none any more.
    virtual void copy(UT_PathFileInfo* source, UT_PF_CopyReason reason);

    // The path with the control suffix: as it was set, or put together from the parts.
    const char* getFullPath();
    // The directory of the path that was last taken apart, "." for a lone name; null before.
    const char* getDirectory();
    // The directory of the search path to which the entry belongs, or is to; as it is stored where no directory fits.
    int getDirIndex();
    // The name without directory and control suffixes.
    const char* getFileName();
    // The name up to its first ".".
    const char* getBaseName();
    // The name from its last "."; null if it has none.
    const char* getExtension();
    // The control flags, 0 or 1.
    int getHideFlag();
    int getAppendFlag();
    int getNoSaveFlag();
    // Whether the entry doesn't count for reading, 0 or 1.
    int getFilteredFlag() const { return hasFlag(kFiltered); }
    // Where the file lies on disk, whatever the other parts have become. Empty for a new file, null for a detached one.
    const char* getDiskPath() const { return diskPath.buffer(); }
    // Borrowed.
    UT_PathFile* getOwner() const { return owner; }

    // Each stores a copy of its text. After setFullPath the parts are those of the path; after any other one the path
    // is made anew from the parts.
    void setFullPath(const char* path);
    void setFileName(const char* name);
    void setBaseName(const char* name);
    void setExtension(const char* extension);
    void setDirIndex(int index);
    // 0 or not 0.
    void setHideFlag(int value);
    void setAppendFlag(int value);
    void setNoSaveFlag(int value);
    // Sets the lowest bit of `value`.
    void setFilteredFlag(int value);
    // Changes nothing but where the file lies.
    void setDiskPath(const char* path);

    // Puts the path together from directory, the pattern's subdirectory, name and one control suffix, into `result`;
    // with a null `result` into the entry itself. Nothing happens while the parts don't suffice.
    void computeFullPath(UT_String* result);
    // Takes the full path apart: looks for the lowest directory of the search path whose pattern it fits. 0, and
    // nothing changed, if there is none.
    int deconstructFullPath();
    // The same with a directory index that the caller knows.
    void deconstructFullPath(int dirIndex);

    // Chooses the directory in which this entry may be saved: the first from its present index upwards where its path
    // can be written. 1 with the index set, so that getFullPath gives the place; else 0, with the index as it was.
    // Nothing on disk changes. The present index is the one that is stored: a path that nobody has asked about yet
    // isn't taken apart for it. Entries with the same base name are related, and entries without a related one in the
    // list take their present directory, unseen. Of related ones the last two arguments see the first unbroken run in
    // the list: "a-b" between "a" and "a.txt" ends it.
    //   mustBeNew    no file may be there yet
    //   aboveHidden  start above each related entry at or above this one that hides the name
    //   overVisible  start at or above each related entry at or above this one that doesn't hide
    int prepareForSave(int mustBeNew, int aboveHidden, int overVisible);

private:
    friend class UT_PathFile;
    struct Lazy;  // the tables of what is made from what

    // Which parts are current. `directory` has no bit: only taking apart writes it.
    enum Valid : unsigned char {
        kFullPathValid = 1,
        kDirIndexValid = 2,
        kFileNameValid = 4,
        kBaseNameValid = 8,
        kExtensionValid = 16,
        kHintValid = 32,  // the three control flags
        kAllValid = 63,
    };

    enum Flag : unsigned char { kHide = 1, kAppend = 2, kNoSave = 4, kFiltered = 8 };

    bool isValid(unsigned char parts) const { return (valid & parts) == parts; }
    bool hasFlag(Flag flag) const { return (flags & flag) != 0; }
    void takeApart() { deconstructFullPath(); }
    void joinFileName();
    void cutBaseName();
    void cutExtension();
    void composeOwnPath() { computeFullPath(nullptr); }
    bool compose(UT_String& path);
    void updateHintFlag();
    void setFlag(Flag flag, int value);

    void placeOnDisk(std::string_view path);
    int compareInOrder(const UT_PathFileInfo& other) const;
    void ownTexts();
    void writePending();

    std::string_view currentBaseName();
    bool isRelatedTo(UT_PathFileInfo* other);
    int raisedIndex(int first, int start, bool aboveHidden, bool overVisible);
    bool canBeSaved(bool mustBeNew);

    // Counts the changes of all filtered flags, so that a list notices those of its entries.
    static unsigned long long filterChanges();

    // A file that was found needs its path only once: fullPath, and with it fileName and extension, may refer to the
    // characters of diskPath. ownTexts() ends that before diskPath changes.
    UT_String diskPath;
    UT_String fullPath;
    UT_String directory;
    UT_String fileName;
    UT_String baseName;
    UT_String extension;
    UT_String middle;  // what a name that is put together has between base name and extension
    int dirIndex = 0;
    unsigned char flags = 0;          // of Flag
    unsigned char valid = kAllValid;  // of Valid
    bool partsPending = false;        // directory and baseName are those of diskPath, and not written yet
    UT_PathFile* owner;
};
