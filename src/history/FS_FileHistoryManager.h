#pragma once
// The histories of the user: for each kind of file one list of the files used last and one of their directories, and
// the two files, file.history and dir.history, that keep them between runs. docs/history.md shows these.
//
//     FS_FileHistoryManager* history = FS_FileHistoryManager::getFileHistoryManager();
//     history->loadFileHistoryList();
//     history->addFileToHistoryList("/shots/a.geo", FS_HISTORY_GEO);
//     history->saveFileHistoryList();
//
// Nothing is loaded or saved unless asked for. A type outside the table has no lists: it gives 0 or null, or nothing
// happens. A copy has independent lists. For one thread at a time, the first call of getFileHistoryManager included.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <history/FS_FileHistory.h>

class UT_String;

// The kinds of files. The files of history name them by what stands behind FS_HISTORY_.
enum FS_FileHistoryType : int {
    FS_HISTORY_SCN = 0,
    FS_HISTORY_PIC = 1,
    FS_HISTORY_GEO = 2,
    FS_HISTORY_RAMP = 3,
    FS_HISTORY_CAPT = 4,
    FS_HISTORY_CLIP = 5,
    FS_HISTORY_PAINT = 6,
    FS_HISTORY_LUT = 7,
    FS_HISTORY_CMD = 8,
    FS_HISTORY_MIDI = 9,
    FS_HISTORY_TXT = 10,
    FS_HISTORY_VOL = 11,
    FS_HISTORY_CHAN = 12,
    FS_HISTORY_FONT = 13,
    FS_HISTORY_LIB = 14,
    FS_HISTORY_MISC = 15,
    FS_HISTORY_SIM = 16,
    FS_HISTORY_SIMDATA = 17,
    FS_HISTORY_DAE = 18,
    FS_HISTORY_FBX = 19,
    FS_HISTORY_GAL = 20,
    FS_HISTORY_MOV = 21,
    FS_HISTORY_ICON = 22,
};

class TARVANI_EXPORT FS_FileHistoryManager {
public:
    // The number of types.
    static constexpr int kTypes = 23;
    // The two files, in the user's directory of the product (UT_PathSearch::getHomeTarvani).
    static constexpr const char* kFileHistory = "file.history";
    static constexpr const char* kDirHistory = "dir.history";

    // The one manager of the process, made at the first call and never destroyed. Its lists are as long as the control
    // UT_CONTROL_HISTORY_LENGTH says at that moment.
    static FS_FileHistoryManager* getFileHistoryManager();
    // The name of a type, such as "GEO"; null outside the table.
    static const char* getTypeName(FS_FileHistoryType type);

    FS_FileHistoryManager(const FS_FileHistoryManager& other);
    FS_FileHistoryManager& operator=(const FS_FileHistoryManager& other);
    ~FS_FileHistoryManager();

    // How many names the list of a type holds; 0 outside the table.
    int numFilesInList(FS_FileHistoryType type) const;
    int numDirsInList(FS_FileHistoryType type) const;
    // The name of that age, 0 the most recent; null if there is none. Valid until the list changes.
    const char* getFilenameFromList(int age, FS_FileHistoryType type) const;
    const char* getDirFromList(int age, FS_FileHistoryType type) const;
    // The same as FS_FileHistory::getFormattedFilenamefromMRU.
    void getFormattedFilenameFromList(int age, FS_FileHistoryType type, UT_String& out) const;
    void getFormattedDirFromList(int age, FS_FileHistoryType type, UT_String& out) const;

    // Makes `path` the most recent file, and what stands in front of its last "/", with it and made absolute, the most
    // recent directory. A path without "/" adds no directory. Only files of the type SCN are made absolute.
    void addFileToHistoryList(const char* path, FS_FileHistoryType type);
    // Removes a file, written as the list has it. Directories stay.
    void removeFileFromHistoryList(const char* path, FS_FileHistoryType type);

    // Writes the lists of files, or of directories, so that their file holds them all or is as it was; a missing
    // directory is made. A failure is reported on the standard error stream: "Saving File History failed."
    void saveFileHistoryList();
    void saveDirHistoryList();
    // The same without the report: false after a failure, with the reason in words in `reason` unless that is null.
    bool saveFileHistoryList(UT_String* reason);
    bool saveDirHistoryList(UT_String* reason);
    // Replaces each list that its file names. Other lists, and all of them if the file can't be read, keep what they
    // have; a file that is there and could not be read to its end isn't saved over until it could be.
    void loadFileHistoryList();
    void loadDirHistoryList();

protected:
    FS_FileHistoryManager();

    // Write and read one of the two files: the lists of files in it if `files`, else those of directories.
    void saveHistoryList(const char* fileName, bool files);
    void loadHistoryList(const char* fileName, bool files);

private:
    FS_FileHistory* getHistoryList(FS_FileHistoryType type) const;
    FS_FileHistory* getDirHistoryList(FS_FileHistoryType type) const;

    UT_PtrArray<FS_FileHistory*> fileLists;  // owned, by type
    UT_PtrArray<FS_FileHistory*> dirLists;
};
