#include <UT/Saturated.h>
#include <UT/TemporaryEnding.h>
#include <UT/UT_Exit.h>
#include <UT/WebFetch.h>
#include <platform/FileStreamBuf.h>
#include <platform/Outcome.h>
#include <platform/Process.h>
#include <stream/HttpPages.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <unordered_map>

namespace {

using Pages = std::unordered_map<std::string, HttpPage>;

struct Failure {
    std::string key, error;
};

// Made at the first fetch, and freed, with the files, by what is registered with the first page. A forked child, which
// doesn't run what its parent registered, has the parent's pages in its table: it leaves their files alone.
Pages* thePages = nullptr;
int theRemover = 0;  // the process that will run removeHttpFiles

// Never destroyed: pages may be asked about to the very end of the process.
Failure& lastFailure() {
    static auto& failure = *new Failure;
    return failure;
}

std::string keyOf(const HttpAddress& address) {
    return address.host + "/" + address.page;
}

void removeHttpFiles(void*) {
    const std::unique_ptr<Pages> pages(thePages);
    thePages = nullptr;
    theRemover = 0;
    for (auto& [key, page] : *pages)
        if (page.process() != platform::currentProcess()) page.keep();
}

// As atoi does, but out of range the nearest number there is.
int toPort(const std::string& text) {
    return saturated(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace

std::optional<HttpAddress> parseHttpPath(const char* path) {
    constexpr std::string_view kPrefix = "http:";
    std::string_view rest = path != nullptr ? path : "";
    if (!rest.starts_with(kPrefix)) return std::nullopt;
    rest.remove_prefix(std::min(rest.find_first_not_of('/', kPrefix.size()), rest.size()));
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string_view host = rest.substr(0, slash);
    const std::size_t colon = host.find(':');

    HttpAddress address;
    address.host = host.substr(0, colon);
    if (address.host.empty()) return std::nullopt;
    if (colon != host.npos) address.port = toPort(std::string(host.substr(colon + 1)));
    if (slash < rest.size()) address.page = rest.substr(slash);
    return address;
}

// The bytes go into the file as they come, so that memory doesn't follow the page. A copy that isn't whole, as on a
// full disk, is none.
std::string HttpPage::fetch(const HttpAddress& address) {
    file_ = platform::TempFile::make(temporaryEnding(address.page));
    if (!file_) return "no temporary file: " + platform::errorWords(file_.error());
    process_ = platform::currentProcess();
    platform::FileStreamBuf out(file_.fd());
    const WebAnswer answer = fetchPage(address, [&out](std::string_view piece) {
        const auto count = static_cast<std::streamsize>(piece.size());
        return out.sputn(piece.data(), count) == count;
    });
    if (!out.close()) return "temporary file: " + platform::errorWords(out.error());
    if (!answer.error.empty()) return answer.error;
    // A file that keeps the time of now serves as well.
    static_cast<void>(platform::setFileTimes(file_.fd(), answer.modTime, answer.modTime));
    written_ = platform::fileStatus(file_.fd());
    const int error = file_.close();
    return error == 0 ? std::string() : "temporary file: " + platform::errorWords(error);
}

OpenedFile HttpPage::open() const {
    // Asked first, since opening a pipe that took the place would wait for its other end.
    if (!status()) return {};
    OpenedFile opened = openFileSource(file().c_str());
    return isThis(opened.device, opened.inode, opened.owner) ? std::move(opened) : OpenedFile();
}

platform::FileStatus HttpPage::status() const {
    const platform::FileStatus now = platform::linkStatus(file().c_str());
    return isThis(now.device, now.inode, now.owner) ? now : platform::FileStatus{.error = ENOENT};
}

const HttpPage* httpPage(const char* path) {
    const auto address = parseHttpPath(path);
    if (!address) return nullptr;
    if (thePages == nullptr) thePages = new Pages;
    const std::string key = keyOf(*address);
    if (const auto known = thePages->find(key); known != thePages->end()) return &known->second;

    lastFailure() = {};
    HttpPage page;
    if (std::string error = page.fetch(*address); !error.empty()) {
        lastFailure() = {key, std::move(error)};
        return nullptr;
    }
    if (theRemover != platform::currentProcess()) {
        theRemover = platform::currentProcess();
        UT_Exit::addExitCallback(removeHttpFiles, nullptr);
    }
    return &thePages->emplace(key, std::move(page)).first->second;
}

const char* httpErrorText(const char* path) {
    const auto address = parseHttpPath(path);
    return address && keyOf(*address) == lastFailure().key ? lastFailure().error.c_str() : "";
}
