#include "Destination.h"

#include <UT/UT_String.h>
#include <sys/stat.h>

#include <ostream>

#include "Explain.h"
#include "Save.h"
#include "Source.h"

namespace {

bool isRegularFile(const std::string& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Everything that can be known before is asked before: opening a file for writing empties it.
const std::string& writable(const std::string& path) {
    if (const std::string fault = whyUnwritable(path); !fault.empty()) throw Failure{path, fault};
    return path;
}

}  // namespace

Destination::Destination(const std::string& path) : path_(writable(path)), parts_(path), writer_(path.c_str()) {
    if (!canGoOn()) throw failed();
    if (parts_.isLocal && parts_.sections.empty() && isRegularFile(parts_.file)) incomplete_.emplace(path);
}

Destination::~Destination() {
    abandon();
}

void Destination::write(std::string_view bytes) {
    writer_.getStream()->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!canGoOn()) throw failed();
}

void Destination::finish() {
    UT_String reason;
    if (!writer_.finish(&reason)) throw failed(reason);
}

void Destination::copyFrom(Source& source) {
    Progress progress(path_, source.length(), true);
    try {
        for (std::string_view piece = source.next(); !piece.empty(); piece = source.next()) {
            write(piece);
            progress.advance(piece.size());
        }
    } catch (Failure& failure) {
        if (failure.path == source.name()) failure.reason += abandon();
        throw;
    }
    finish();
}

std::string Destination::abandon() {
    if (writer_.getStream()) writer_.getStream()->setstate(std::ios::badbit);
    writer_.finish();
    return incomplete_ ? "; " + path_ + " is incomplete" : "";
}

bool Destination::canGoOn() const {
    return writer_.getStream() && !writer_.getStream()->fail();
}

Failure Destination::failed() {
    UT_String reason;
    writer_.finish(&reason);
    return failed(reason);
}

Failure Destination::failed(const UT_String& reason) const {
    return {path_, writeReasonFor(path_, reason.view()) + (incomplete_ ? "; the file is incomplete" : "")};
}
