#pragma once
// A container of named byte sections in one file: a description, then for each section its name, size and time, then
// the bytes (docs/formats.md). The object holds the table; a section's bytes stay in the file until somebody asks for
// them. Edits live in memory, beside the sections on disk, until a new container is written.
//
//     FS_IndexFile scene("scene.idx");
//     scene.addSection("camera", text, length, -1);
//     UT_String reason;
//     if (!scene.save("scene.idx", &reason)) complain(reason.buffer());
//
// What can't be read as a whole container (no such file, another format, a damaged table) is an object without
// sections, as usable as any other. Nothing throws or prints. A null name is an unknown name; a null text is an empty
// one. Times are seconds since the epoch; as an argument -1 is the current time.
//
// An object built from a path holds no open file between operations, and doesn't notice when somebody else changes the
// file. For one thread at a time: reading opens and closes the file, and uses one read position.
#include <UT/UT_Export.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>
#include <UT/UT_SymbolTable.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class FS_IStreamFilterFactory;
class FS_Reader;
class FS_ReaderStream;
class FS_WriteFilterFactory;
class SectionTable;
class UT_IStream;
class UT_OStrStream;
class UT_Options;

class TARVANI_EXPORT FS_IndexFile {
public:
    // One named section: its place and sizes, or its bytes. Copies are independent values.
    class TARVANI_EXPORT FS_Section {
    public:
        FS_Section();
        FS_Section(const FS_Section&);
        FS_Section& operator=(const FS_Section&);
        ~FS_Section();

        // Null until a name is set.
        const char* getName() const { return name.buffer(); }
        // The name becomes a copy of `text`.
        void setName(const char* text);
        // Takes over a buffer from malloc.
        void adoptName(char* text);
        // Takes the characters of `text`, which goes on showing them (UT_String::adopt).
        void adoptName(UT_String& text);

        // -1 for a section in memory, else the position in the source of the first stored byte.
        int getOffset() const { return offset; }
        void setOffset(int value) { offset = value; }
        // Seconds since the epoch.
        int getModTime() const { return modTime; }
        void setModTime(int seconds) { modTime = seconds; }
        // Bytes that a reader of the section gets.
        int getDataSize() const { return dataSize; }
        void setDataSize(int bytes) { dataSize = bytes; }
        // Bytes that are stored. Differs from the data size only where a filter stands between.
        int getSectionSize() const { return sectionSize; }
        void setSectionSize(int bytes) { sectionSize = bytes; }

        // The bytes of a section in memory, owned by the section; else null.
        char* getSectionBytes() const { return sectionBytes; }
        // Stores a copy of as many bytes as the section size says: set that first. Null leaves the section without
        // bytes.
        void setSectionBytes(const char* bytes);
        // Takes over an array from new[], of at least as many bytes as the section size says or will say.
        void stealData(char* bytes);

    private:
        friend class FS_IndexFile;
        struct Link;

        void setContent(std::shared_ptr<char[]> bytes, int size, int time);
        void setContent(std::shared_ptr<const Link> link, int start, int stored, int size, int time);

        UT_String name;
        int offset = 0;
        int modTime = 0;
        int dataSize = 0;
        int sectionSize = 0;
        char* sectionBytes = nullptr;       // what bytes_ holds
        std::shared_ptr<char[]> bytes_;     // shared with the streams over this section
        int byteCount_ = 0;                 // how many they are; -1: what the section size says
        std::shared_ptr<const Link> link_;  // where the bytes of a linked section lie; null for all others
        int linkStart_ = 0;                 // position there of the first stored byte
        int linkSize_ = 0;                  // stored bytes there
    };

    // An empty container in memory, with the current time.
    FS_IndexFile();
    // Reads the container that begins where the reader's stream stands. Adopts the reader, which stays open for the
    // life of the object; null is a reader without a stream. Filters that the stream carries come along.
    explicit FS_IndexFile(FS_Reader* source);
    explicit FS_IndexFile(std::nullptr_t) : FS_IndexFile(static_cast<FS_Reader*>(nullptr)) {}
    // Reads the container at a path that FS_Reader opens: a file, a section, what a helper serves.
    explicit FS_IndexFile(const char* path);
    virtual ~FS_IndexFile();
    FS_IndexFile(const FS_IndexFile&) = delete;
    FS_IndexFile& operator=(const FS_IndexFile&) = delete;

    // Writes the whole container, the table first, so that `out` needs no seeking; `out` must not be the file that is
    // read from. Sets failbit on `out` when a section delivers other than the number of bytes that the table promises,
    // when its source can't be opened, and when the container would pass 2147483647 bytes: then nothing is written.
    // Changes nothing in the object.
    virtual void writeFile(std::ostream& out);
    // Why the last writeFile or expandToDirectory failed, in words; null if it didn't, and where the reason is the
    // stream's. Files are named as from the directory: "geo: No space left on device; the file is incomplete". Behind a
    // collapseFromDirectory, also a true one: the first listed file that had to be left out.
    const UT_String& getWriteFailure() const { return writeFailure_; }
    // Writes each section, as it would be stored, to a file in the directory `path`, which is made when missing, and
    // "Sections.list" beside them; a section that is a container with sections becomes a directory of the same form, to
    // 64 levels. False when there are no sections (nothing is written) and at the first step that fails, also when
    // sections that share bytes come to more than 64 times the source, and when a file would be written over the
    // container or what a section is linked to: what has been written stays. Works in the process's current directory
    // and puts it back.
    virtual bool expandToDirectory(const char* path);
    // Adds the sections of the directory form at `path`, replacing those of the same name, and takes over its
    // description. False at the first step that fails; what was added so far stays. A file that can't be read whole
    // adds nothing and is no failure: getWriteFailure tells of it, so look there before anything is written over. A
    // list whose last entry is broken off gives what stands before it. Works in the process's current directory and
    // puts it back.
    virtual bool collapseFromDirectory(const char* path);

    // Writes the container to the file `path`, so that it stands there whole or the old file stays as it was; see
    // docs/formats.md. The file keeps its mode, owner and links, and may be the one that this container was read from:
    // reading goes on in the new file. An existing file that is neither empty nor a container is never written over.
    // False after a failure, with the reason in words in `reason` unless that is null. A failure too: the file that
    // this container was read from has other sections by now; and filters that are no pair.
    bool save(const char* path, UT_String* reason = nullptr);

    // Absolute path of the file; empty for a container in memory or over a reader.
    const UT_String& getSourceFile() const { return sourceFile; }
    // The text in front of the sections; set, a copy.
    const UT_String& getDescription() const { return description; }
    void setDescription(const char* text);
    // The source's modification time when it was opened; of a container in memory the time of its making. Edits don't
    // change it.
    int getModTime() const { return modTime; }
    // Bytes of the source when it was opened; 0 where there was none.
    int getFileDataSize() const { return fileDataSize; }
    // Sections in the table.
    int getNumSections() const;
    // Now, in seconds since the epoch, in the range that a section's time has.
    static int getCurrentTime();

    // By name; of two sections with one name the later is found. 0 for an unknown name.
    bool hasSection(const char* name) const;
    int getSectionModTime(const char* name) const;
    int getSectionDataSize(const char* name) const;
    // By place in the table, from 0. Null or 0 for an index out of range. A name is valid until its section goes.
    const char* getSectionName(int index) const;
    int getSectionModTimeAt(int index) const;
    int getSectionDataSizeAt(int index) const;

    // Copies the content into `buffer`, which must hold as many bytes as getSectionDataSize says. What the source
    // can't deliver stays as it was in the buffer.
    void readSection(const char* name, char* buffer) const;
    // Loads the content as options; false for an unknown or empty section, and when the content can't be read or isn't
    // options.
    bool readOptionsSection(const char* name, UT_Options& options) const;
    // A new stream, owned by the caller, over the content. It stays readable when the section or the whole object
    // goes. Null for an unknown name. Where the source can't be opened, null or a stream that isn't good. One over a
    // source without a file name (FS_ReaderStream) isn't good either: read such a section by readSection.
    FS_ReaderStream* getSectionStream(const char* name) const;
    // The same in a new FS_Reader, owned by the caller.
    FS_Reader* getSectionReader(const char* name) const;
    // A new stream, owned by the caller, over the container as it is stored, without the edits, with this object's
    // filters attached: an FS_IndexFile over it has them too. Never null; empty where there is no source.
    FS_ReaderStream* getStreamCopy() const;

    // Adds a section at the end, or replaces the content of the one of that name in its place. Content is copied. A
    // negative size, or null `data` with a size, adds nothing.
    void addSection(const char* name, const char* data, int size, int modTime);
    // Adds what has been written to `stream` so far.
    void addSection(const char* name, UT_OStrStream& stream, int modTime);
    // Adds all of a file, with its time, from a path that FS_Reader opens. Adds nothing if the file can't be read to
    // its end or is larger than 2147483647 bytes.
    void addSection(const char* name, const char* fileName);
    // Adds the plain content of the section of that name in `other`, with its time. A name that `other` lacks gives an
    // empty section with time 0; one that it can't deliver whole adds nothing.
    void addSection(const char* name, const FS_IndexFile& other);
    // As addSection from a file, but the bytes stay in the file until the container is written, and memory stays flat.
    // Size and time are those of now: a file of another size by then fails the writing. False, with the reason in
    // words, if nothing was added.
    bool linkSection(const char* name, const char* fileName, UT_String* reason = nullptr);
    // The same from an open reader, which stands at its beginning and of which a copy is kept instead of a path.
    bool linkSection(const char* name, const FS_Reader& source, UT_String* reason = nullptr);
    // Replaces the content of an existing section in its place; does nothing for an unknown name.
    void modifySection(const char* name, const char* data, int size, int modTime);
    // Removes a section; does nothing for an unknown name.
    void removeSection(const char* name);
    // Moves the sections `first` to `last`, both included, by `offset` places. Does nothing unless all of them would
    // stay in the table.
    void moveSections(int first, int last, int offset);
    // Adds all sections of `other` with their times, in its order. Where a name is in both, `overwrite` decides which
    // content stays. A section that `other` can't deliver whole adds nothing.
    void mergeIndexFile(const FS_IndexFile& other, bool overwrite);
    // The same, but the bytes stay in `other`'s source until this container is written. They are read where `other`
    // found them: its file must not be written over before.
    void linkIndexFile(const FS_IndexFile& other, bool overwrite);

    // Passes sections through a pair of filters from now on. Stores clones. Null for either, or a pair that isn't
    // compatible, removes the filters.
    void setFilters(FS_WriteFilterFactory* writer, FS_IStreamFilterFactory* reader);
    // This object's own clones; null where there is none.
    FS_WriteFilterFactory* getEncryptionFilter() const { return encryptionFilter.get(); }
    FS_IStreamFilterFactory* getDecryptionFilter() const { return decryptionFilter.get(); }
    // Bytes that suffice to buffer one writeFile: 8192 and the stored sizes of all sections.
    int guessStreamSize() const;

protected:
    // Notes that the container differs from its source.
    void setModified() { modified = true; }

private:
    friend class FS_Info;

    class OpenSource;
    struct Place;
    struct NameSet;
    struct Expansion;
    static constexpr int kCurrentTime = -1;  // as an argument

    void readIndex();
    void openStream() const;
    void closeStream() const;
    void recalculateFilteredSectionSizes();
    void writeSection(int index, std::ostream& out);
    int getWriteFilteredSectionSize(int index) const;
    bool writeSectionListFile(const char* path);
    void makeValidFileName(UT_String& name);

    Place placeAt(int index) const;
    bool locate(const char* name, Place& place) const;
    std::unique_ptr<UT_IStream> contentOf(const Place& place, const OpenSource& source) const;
    std::shared_ptr<char[]> readContent(const Place& place) const;
    void makeSections();
    FS_Section* findSection(const char* name) const;
    FS_Section& sectionFor(const char* name);
    std::shared_ptr<char[]> readShared(const OpenSource& source, std::int64_t& size) const;
    void merge(const FS_IndexFile& other, bool overwrite, bool link);
    bool addFrom(FS_Reader& source, const char* name, UT_String* reason);
    bool fail(std::ostream& out, std::string_view reason);
    void failSection(int index, std::ostream& out, std::string_view reason);
    void writeTable(std::ostream& out, const std::vector<int>& sizes);
    int endOfRun(int first) const;
    void writeRun(int first, int next, std::ostream& out);
    bool checkTarget(const char* path, bool& isOwnSource, UT_String* reason) const;
    bool standsAsRead(UT_IStream& source) const;
    void followSource();
    void followLinks(const char* path);
    bool refuseExpansion(std::string_view file, std::string_view reason);
    std::int64_t sharingLimit() const;
    bool expandLevel(const char* path, int level, Expansion& expansion);
    bool expandSection(int index, int level, NameSet& written, Expansion& expansion);
    bool expandToFile(int index, const std::string& path, UT_String& reason);
    bool collapseLevel(const char* path, int level);
    bool collapseList(int level);
    bool collapseEntry(const UT_String& file, const UT_String& name, int level, NameSet& seen);
    void noteMissing(const std::string& words);

    mutable std::unique_ptr<FS_Reader> reader;
    UT_PtrArray<FS_Section*> sections;  // owned; empty while table_ stands for it
    UT_SymbolTable sectionTable;        // the same
    UT_String description;
    UT_String sourceFile;
    std::unique_ptr<FS_WriteFilterFactory> encryptionFilter;
    std::unique_ptr<FS_IStreamFilterFactory> decryptionFilter;
    int modTime = 0;
    int fileDataSize = 0;
    int streamStart = 0;
    bool modified = false;
    std::unique_ptr<SectionTable> table_;  // as read; keeps the names of the sections made from it
    bool made_ = true;                     // sections and sectionTable hold the table; until an edit table_ does
    UT_String writeFailure_;
};
