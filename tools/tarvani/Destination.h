#pragma once
// What is written to: a file or a section.
#include <stream/FS_Writer.h>

#include <optional>
#include <string>
#include <string_view>

#include "Console.h"
#include "Interrupt.h"
#include "LibraryPath.h"

class Source;
class UT_String;

// It knows what a failure leaves behind. What isn't finished is given up at the end: half a source must never pass for
// a whole section, whatever ended the work.
class Destination {
public:
    // Opens it for writing, which empties a file. Throws Failure, with nothing changed, if that can't be.
    explicit Destination(const std::string& path);
    ~Destination();
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    // All three throw Failure.
    void write(std::string_view bytes);
    void finish();
    // Writes all that is left of `source`, with progress on a terminal, and finishes.
    void copyFrom(Source& source);

private:
    // Gives up what has been written, unless that is finished. Says what is left behind.
    std::string abandon();
    bool canGoOn() const;
    Failure failed();
    Failure failed(const UT_String& reason) const;

    std::string path_;
    LibraryPath parts_;
    FS_Writer writer_;
    std::optional<IncompleteFile> incomplete_;  // a file that stands half-written until the end
};
