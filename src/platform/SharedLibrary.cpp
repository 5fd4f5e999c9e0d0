#include <dlfcn.h>
#include <link.h>
#include <platform/SharedLibrary.h>

#include <cerrno>

namespace platform {
namespace {

// Never destroyed, since libraries are still asked while the process ends.
LoaderAnswer& answer() {
    static LoaderAnswer& last = *new LoaderAnswer;
    return last;
}

// Notes what the loader left behind a call, or `words` in place of its own.
void note(const char* words = nullptr) {
    const int code = errno;
    const char* const error = ::dlerror();
    if (!words) words = error ? error : "";
    answer() = {code, words};
}

// Forgets what earlier calls left, so that a failure speaks of this one alone.
void beginCall() {
    ::dlerror();
    errno = 0;
}

// The loader looks on into the libraries that this one needs: another's version function must not vouch for it.
bool isFrom(void* library, void* address) {
    link_map* self = nullptr;
    // Not dladdr, which passes over all libraries and then over all names of one: this is a binary search.
    dl_find_object place;
    return ::dlinfo(library, RTLD_DI_LINKMAP, &self) == 0 && ::_dl_find_object(address, &place) == 0 &&
           place.dlfo_link_map == self;
}

}  // namespace

void* openLibrary(const char* path) {
    beginCall();
    if (!path || *path != '/') {
        errno = EINVAL;
        note((std::string(path ? path : "") + ": not an absolute path").c_str());
        return nullptr;
    }
    void* const library = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
    note(library ? "" : nullptr);
    return library;
}

void* findInLibrary(void* library, const char* name) {
    beginCall();
    void* address = library && name ? ::dlsym(library, name) : nullptr;
    note();
    if (address && !isFrom(library, address)) address = nullptr;
    if (!address && answer().text.empty()) answer().text = std::string("undefined symbol: ") + (name ? name : "");
    return address;
}

bool closeLibrary(void* library) {
    if (!library) return false;
    beginCall();
    if (::dlclose(library) == 0) return true;
    note();
    return false;
}

const LoaderAnswer& lastLoaderAnswer() {
    return answer();
}

}  // namespace platform
