#include "Save.h"

#include <UT/UT_Path.h>
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <stream/FS_Writer.h>

#include <algorithm>
#include <ostream>

#include "Console.h"
#include "Explain.h"
#include "LibraryPath.h"

namespace {

bool writeThroughHelper(FS_IndexFile& index, const std::string& path, UT_String& reason) {
    FS_Writer writer(path.c_str());
    if (writer.getStream()) index.writeFile(*writer.getStream());
    return writer.finish(&reason);
}

}  // namespace

void saveContainer(FS_IndexFile& index, const std::string& path) {
    UT_String reason;
    const bool saved =
        LibraryPath(path).isLocal ? index.save(path.c_str(), &reason) : writeThroughHelper(index, path, reason);
    if (!saved) throw Failure{path, writeReasonFor(path, reason.view())};
}

std::string reasonFor(const std::string& path, std::string_view reason) {
    UT_String absolute(path.c_str(), 1);
    UTmakeAbsoluteFilePath(absolute, nullptr);
    for (const std::string_view front : {std::string_view(path), absolute.view()}) {
        if (front.empty() || !reason.starts_with(front) || !reason.substr(front.size()).starts_with(": ")) continue;
        return std::string(reason.substr(front.size() + 2));
    }
    return reason.empty() ? "failed" : std::string(reason);
}

std::string writeReasonFor(const std::string& path, std::string_view reason) {
    const LibraryPath parts(path);
    // What nobody writes was tried as a local file, and the reason speaks of that.
    const bool isUnserved = !parts.isLocal && reason.starts_with(parts.outer + ": ");
    return isUnserved ? onlyRead(parts) : reasonFor(path, reason);
}

void refuseOverlap(const std::string& source, const std::string& dest) {
    const LibraryPath from(source), to(dest);
    if (!isSameFile(from, to)) return;
    // The same file: what matters is which of the two section paths is the beginning of the other.
    const auto [a, b] =
        std::mismatch(from.sections.begin(), from.sections.end(), to.sections.begin(), to.sections.end());
    const bool holdsDest = a == from.sections.end();
    const bool holdsSource = b == to.sections.end();
    if (holdsDest && holdsSource) throw Failure{dest, "is the same as " + source};
    if (holdsDest) throw Failure{dest, "lies in " + source + ", which can't go into itself"};
    if (holdsSource) throw Failure{dest, "holds " + source + ", which would be lost with it"};
}
