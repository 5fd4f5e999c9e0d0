// The search that opens a path for reading, stage by stage in createStreamFromSource: a section path first, then the
// helpers, then the local file.
#include <UT/UT_String.h>
#include <stream/AskHelpers.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FSloadCustomHelpers.h>
#include <stream/HelperList.h>
#include <stream/OpenSection.h>
#include <stream/PathForm.h>

#include <new>
#include <string>
#include <utility>

struct FS_Reader::Shared {
    explicit Shared(std::unique_ptr<FS_ReaderStream> opened) : stream(std::move(opened)) {}

    std::unique_ptr<FS_ReaderStream> stream;
};

FS_Reader::FS_Reader() {
    FSloadCustomHelpers();
}

FS_Reader::FS_Reader(const char* source) {
    FSloadCustomHelpers();
    if (source != nullptr) createStreamFromSource(source);
}

FS_Reader::FS_Reader(FS_ReaderStream* adopted) {
    std::unique_ptr<FS_ReaderStream> owned(adopted);
    FSloadCustomHelpers();
    if (owned) shared_ = std::make_shared<Shared>(std::move(owned));
}

FS_Reader::FS_Reader(const FS_Reader&) = default;
FS_Reader& FS_Reader::operator=(const FS_Reader&) = default;
FS_Reader::~FS_Reader() = default;

void FS_Reader::close() {
    if (shared_) shared_->stream.reset();
}

bool FS_Reader::isGood() {
    return stream() != nullptr && stream()->isGood();
}

UT_IStream* FS_Reader::getStream() const {
    return stream() != nullptr ? stream()->getStream() : nullptr;
}

FS_ReaderStream* FS_Reader::shareDataAndGetSubstream(std::int64_t start, std::int64_t size, std::int64_t dataSize,
                                                     const FS_IStreamFilterFactory* factory) const {
    try {
        // Callers go on to set a time on the result, so there is one also without a stream.
        return stream() != nullptr ? new FS_ReaderStream(*stream(), start, size, dataSize, factory)
                                   : new FS_ReaderStream;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

int FS_Reader::getModTime() const {
    return stream() != nullptr ? stream()->getModTime() : 0;
}

int FS_Reader::getLength() const {
    return stream() != nullptr ? stream()->getLength() : 0;
}

FS_IStreamFilterFactory* FS_Reader::getSubStreamReadFilterFactory() const {
    return stream() != nullptr ? stream()->getSubStreamReadFilterFactory() : nullptr;
}

FS_WriteFilterFactory* FS_Reader::getSubStreamWriteFilterFactory() const {
    return stream() != nullptr ? stream()->getSubStreamWriteFilterFactory() : nullptr;
}

void FS_Reader::getFilename(UT_String& out) const {
    out = "";
    if (stream() != nullptr) stream()->getFilename(out);
}

void FS_Reader::addReaderHelper(FS_ReaderHelper* helper) {
    getHelpers().add(helper);
}

void FS_Reader::removeReaderHelper(FS_ReaderHelper* helper) {
    getHelpers().remove(helper);
}

HelperList<FS_ReaderHelper>& FS_Reader::getHelpers() {
    // Never freed: readers may be used, and helpers go, to the very end of the process.
    static auto* const helpers = new HelperList<FS_ReaderHelper>;
    return *helpers;
}

void FS_Reader::createStreamFromSource(const char* source) try {
    // A copy, for a helper may change what the caller's pointer leads to.
    const std::string path(source);
    std::unique_ptr<FS_ReaderStream> found;
    if (const auto split = splitSection(path)) {
        // A section path belongs to its container alone, whether the section is there or not.
        found = openSection(split->container, split->section);
    } else {
        found = streamFromHelpers(path.c_str());
        if (!found) found = std::make_unique<FS_ReaderStream>(stripFilePrefix(path).data());
    }
    if (found) shared_ = std::make_shared<Shared>(std::move(found));
} catch (const std::bad_alloc&) {
    // Without a stream, as for a section that isn't there.
}

std::unique_ptr<FS_ReaderStream> streamFromHelpers(const char* path) {
    FSloadCustomHelpers();
    return std::unique_ptr<FS_ReaderStream>(
        FS_Reader::getHelpers().firstAnswer([=](FS_ReaderHelper* helper) { return helper->createStream(path); }));
}

FS_ReaderStream* FS_Reader::stream() const {
    return shared_ ? shared_->stream.get() : nullptr;
}

FS_ReaderHelper::FS_ReaderHelper() {
    FS_Reader::addReaderHelper(this);
}

// A copy is never asked.
FS_ReaderHelper::FS_ReaderHelper(const FS_ReaderHelper&) {}

FS_ReaderHelper& FS_ReaderHelper::operator=(const FS_ReaderHelper&) {
    return *this;
}

FS_ReaderHelper::~FS_ReaderHelper() {
    FS_Reader::removeReaderHelper(this);
}
