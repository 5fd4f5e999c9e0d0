// The search that opens a path for writing: helpers first, also for a section path, then FS_WriterStream, which tells a
// file from a section.
#include <UT/FilePrefix.h>
#include <UT/UT_String.h>
#include <stream/FS_Writer.h>
#include <stream/FS_WriterStream.h>
#include <stream/FSloadCustomHelpers.h>
#include <stream/HelperList.h>

#include <string>

namespace {

// The list is destroyed at the end of the process, and helpers in static storage may go after it.
bool theListHasGone = false;

struct WriterHelperList : HelperList<FS_WriterHelper> {
    ~WriterHelperList() { theListHasGone = true; }
};

}  // namespace

struct FS_Writer::Shared {
    std::unique_ptr<FS_WriterStream> stream;
    bool done = false;
    UT_String reason = UT_String("the writer was closed before it was finished");
};

FS_Writer::FS_Writer(const char* dest) {
    FSloadCustomHelpers();
    if (dest == nullptr) return;
    shared_ = std::make_shared<Shared>();
    createStreamFromDest(dest);
}

FS_Writer::FS_Writer(const FS_Writer&) = default;
FS_Writer& FS_Writer::operator=(const FS_Writer&) = default;
FS_Writer::~FS_Writer() = default;

void FS_Writer::close() {
    if (shared_) shared_->stream.reset();
}

bool FS_Writer::finish(UT_String* reason) {
    if (!shared_) {
        if (reason != nullptr) *reason = "no destination";
        return false;
    }
    if (shared_->stream) {
        shared_->done = shared_->stream->finish(&shared_->reason);
        shared_->stream.reset();
    }
    if (reason != nullptr && !shared_->done) *reason = shared_->reason;
    return shared_->done;
}

std::ostream* FS_Writer::getStream() const {
    return shared_ && shared_->stream ? shared_->stream->getStream() : nullptr;
}

bool FS_Writer::removeFile() {
    if (!shared_ || !shared_->stream) return false;
    shared_->done = shared_->stream->removeFile();
    if (!shared_->done) shared_->stream->finish(&shared_->reason);  // for who asks finish why
    shared_->stream.reset();
    return shared_->done;
}

void FS_Writer::addWriterHelper(FS_WriterHelper* helper) {
    if (!theListHasGone) getHelpers().add(helper);
}

void FS_Writer::removeWriterHelper(FS_WriterHelper* helper) {
    if (!theListHasGone) getHelpers().remove(helper);
}

HelperList<FS_WriterHelper>& FS_Writer::getHelpers() {
    static WriterHelperList list;
    return list;
}

void FS_Writer::createStreamFromDest(const char* dest) {
    // Helpers come before the section rule here, so that one may claim a section of a container.
    const std::string path(dest);
    if (!theListHasGone)
        shared_->stream.reset(
            getHelpers().firstAnswer([&](FS_WriterHelper* helper) { return helper->createStream(path.c_str()); }));
    if (!shared_->stream)
        shared_->stream = std::make_unique<FS_WriterStream>(std::string(stripFilePrefix(path)).c_str());
}

FS_WriterHelper::FS_WriterHelper() {
    FS_Writer::addWriterHelper(this);
}

// A copy is never asked.
FS_WriterHelper::FS_WriterHelper(const FS_WriterHelper&) {}

FS_WriterHelper& FS_WriterHelper::operator=(const FS_WriterHelper&) {
    return *this;
}

FS_WriterHelper::~FS_WriterHelper() {
    FS_Writer::removeWriterHelper(this);
}
