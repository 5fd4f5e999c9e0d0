#pragma once
// Tells in words what is wrong with a container: everything, where readers only find no sections or fewer bytes.
//
//     const FS_IndexCheck check("scene.idx");
//     for (const FS_IndexCheck::Fault& fault : check.getFaults()) complain(fault.path, fault.text);
//
// It reads tables alone, so it doesn't know whether the bytes of a section are what they were. Memory follows the
// entries that are there, never a number in the file. Nothing throws or prints.
#include <UT/UT_Export.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class UT_IStream;

class TARVANI_EXPORT FS_IndexCheck {
public:
    // So many are told in words; the others are counted.
    static constexpr std::size_t kMostFaults = 1000;
    // Containers in containers are followed so far; a deeper one is a fault.
    static constexpr int kDeepest = 64;

    // One thing that is wrong.
    struct Fault {
        std::string path;  // of the container, "scene.idx" or, in a nested one, "scene.idx?geo"
        std::string text;  // such as 'section "geo" (0): reaches 12 bytes beyond the end'
    };

    // Checks the container at a path that FS_Reader opens. `nested` checks sections that begin as containers do, too.
    explicit FS_IndexCheck(const char* path, bool nested = false);
    // The one that begins where `in` stands; `path` is what faults call it.
    FS_IndexCheck(UT_IStream& in, const std::string& path, bool nested = false);

    // True if there is no fault.
    bool isWhole() const { return faultCount_ == 0; }
    // The faults in the order in which they were found, kMostFaults at most, and how many there are in all.
    const std::vector<Fault>& getFaults() const { return faults_; }
    std::int64_t getFaultCount() const { return faultCount_; }
    // What the table of the outermost container holds, as far as it can be read.
    int getNumSections() const { return sections_; }
    // Bytes behind that table that no section holds; 0 unless it is whole and the end of the stream is known. Writers
    // leave none.
    std::int64_t getUnusedBytes() const { return unused_; }
    // The position of the first byte behind that table; 0 if it can't be read whole.
    std::int64_t getTableEnd() const { return tableEnd_; }

private:
    struct Level;

    void check(UT_IStream& in, const std::string& path, int depth);
    bool checkHeader(const Level& level);
    void checkNumbers(const Level& level);
    void checkNames(const Level& level);
    bool checkOverlaps(const Level& level);
    void checkNested(const Level& level, UT_IStream& in, int depth);
    bool note();
    void add(const std::string& path, std::string text) { faults_.push_back({path, std::move(text)}); }

    const bool nested_;
    std::vector<Fault> faults_;
    std::int64_t faultCount_ = 0;
    int sections_ = 0;
    std::int64_t unused_ = 0;
    std::int64_t tableEnd_ = 0;
};
