#pragma once
// Answers questions about a path without opening it for the caller, for the same paths that FS_Reader opens: plain
// files and directories, sections of containers, and what a registered helper claims.
//
//     FS_Info info("scene.idx?geo");
//     if (info.canReadFile()) print(info.getFileDataSize());
//
// An object holds no open file and remembers no answer: each question looks again. No question throws or prints; one
// that can't be answered gives false or 0.
#include <UT/UT_Export.h>
#include <UT/UT_RefArray.h>
#include <UT/UT_String.h>
#include <stream/FS_Stat.h>

#include <cstdint>
#include <string>

class FS_IndexFile;
class FS_InfoHelper;
class UT_StringArray;
template <class Helper>
class HelperList;

class TARVANI_EXPORT FS_Info {
public:
    // Takes the path apart: what stands behind the last "?" names a section of the container before it, and one "/" at
    // the very end is dropped, so that "d/" and "d" are the same. Touches no file.
    explicit FS_Info(const char* source);
    FS_Info(const FS_Info&);
    FS_Info& operator=(const FS_Info&);
    virtual ~FS_Info();

    // Whether the path can be used in all the ways of `mode`, a sum of 1 read, 2 write and 4 execute; 0 asks only
    // whether it exists. A section can be read where it exists, and written where its container can.
    bool hasAccess(int mode) const;
    // Modification time in seconds since the epoch; 0 when unknown.
    int getModTime() const;
    // Size in bytes, of a section its plain size; 0 when unknown.
    std::int64_t getFileDataSize() const;
    // True for a directory, and for a section that holds a container with at least one section. "file:" isn't taken
    // off here.
    bool getIsDirectory() const;
    // True if the path exists and is no directory.
    bool fileExists() const;
    // True if the path exists, is no directory and can be read.
    bool canReadFile() const;
    // True if the path is a file that can be written, or isn't there and its directory can be written into.
    bool canWriteFile() const;
    // True if the path is a directory that can be written into, or isn't there and its nearest ancestor that exists
    // is one.
    bool canWriteDirectory() const;
    // True if the path is a file that can be written in a directory that can, or isn't there.
    bool canDeleteFile() const;

    // Lists a directory, a container, or a section that is one. Appends names to `files` and, if `dirs` isn't null, the
    // names of what has contents itself to `dirs` instead; in the order in which they come, a local directory's without
    // "." and "..". Without `dirs` nothing looks into the entries, and all count as files. `fileStats` and `dirStats`,
    // where not null, get a record for each name listed, in a container or from a helper for each name that the array
    // then holds; a link's record is its own, not its target's, and one of an entry that can't be looked at is zero, as
    // is that of a section whose name is an absolute path. False, and nothing appended, if the path can't be listed.
    bool getContents(UT_StringArray& files, UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                     UT_RefArray<FS_Stat>* dirStats);

    // Looks at `name` below `base`, or at `name` alone if it is absolute or `base` is null or empty. False if it
    // doesn't exist; otherwise time, size and isDirectory go to `stat`, if that isn't null.
    static bool statFile(const char* base, const char* name, FS_Stat* stat);
    // Appends the names of the sections of `index`: to `files`, or, if `dirs` isn't null, those of sections that hold a
    // container with sections to `dirs`. Where sections share bytes, those behind the one with which all come to 64
    // times the container count as files. Always true.
    static bool getContentsFromIndexFile(FS_IndexFile& index, UT_StringArray& files, UT_StringArray* dirs);

    // The separator between a path and a name below it, and the one to look for when going up from a path: "/" unless
    // a helper that serves the path says otherwise.
    static char getNextSepChar(const char* source);
    static char getPrevSepChar(const char* source);

    // The list that the constructors of FS_InfoHelper keep; see FS_Reader::addReaderHelper.
    static void addInfoHelper(FS_InfoHelper* helper);
    static void removeInfoHelper(FS_InfoHelper* helper);

private:
    static HelperList<FS_InfoHelper>& getHelpers();
    static FS_InfoHelper* claimingHelper(const char* source);
    std::string wholePath() const;
    bool listDirectory(UT_StringArray& files, UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                       UT_RefArray<FS_Stat>* dirStats) const;
    void appendStats(const UT_StringArray& files, const UT_StringArray* dirs, UT_RefArray<FS_Stat>* fileStats,
                     UT_RefArray<FS_Stat>* dirStats, bool areSections) const;

    UT_String path;     // without the section
    UT_String section;  // empty where there is none
};

// Answers for paths of its own kind to every FS_Info of the process, for as long as the object lives. A path comes
// without its section and with a "file:" still in front. What a helper claims it answers alone, also with false.
class TARVANI_EXPORT FS_InfoHelper {
public:
    // Registers the object. A copy isn't registered and is never asked; assignment changes nothing.
    FS_InfoHelper();
    FS_InfoHelper(const FS_InfoHelper&);
    FS_InfoHelper& operator=(const FS_InfoHelper&);
    virtual ~FS_InfoHelper();

    // Whether this helper serves `path`. Asked before each of the others.
    virtual bool canHandle(const char* path) = 0;
    // As the questions of FS_Info with these names; getSize as getFileDataSize.
    virtual bool hasAccess(const char* path, int mode) = 0;
    virtual bool getIsDirectory(const char* path) = 0;
    virtual int getModTime(const char* path) = 0;
    virtual std::int64_t getSize(const char* path) = 0;
    // Appends the names below `path`. `dirs` may be null: then all names go to `files`. False if it can't be listed.
    virtual bool getContents(const char* path, UT_StringArray& files, UT_StringArray* dirs) = 0;
    // The separators below and above `path`; "/" here.
    virtual char getNextSepChar(const char* path);
    virtual char getPrevSepChar(const char* path);
};
