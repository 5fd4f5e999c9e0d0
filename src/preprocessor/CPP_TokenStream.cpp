// Words of preprocessed lines, and what becomes of the lines in which the preprocessor speaks. What a word is says
// UT_String::parseInPlace.
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_TokenStream.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

namespace {

constexpr const char* kStandardOptions[] = {"-P", "-x", nullptr};
constexpr std::string_view kErrorMark = "# error ";
constexpr std::string_view kWarningMark = "# warning ";
constexpr int kFirstSize = 80;
constexpr int kSpare = 16;

// Words that a text has at most: quotes only make fewer of them.
std::size_t mostWords(std::string_view text) {
    std::size_t count = 0;
    bool inWord = false;
    for (const char c : text) {
        const bool wasInWord = inWord;
        inWord = !textscan::isSpace(c);
        count += inWord && !wasInWord;
    }
    return count;
}

template <class T>
T* fromMalloc(void* block) {
    if (!block) throw std::bad_alloc();
    return static_cast<T*>(block);
}

}  // namespace

CPP_TokenStream::CPP_TokenStream(const char* file, int knownPath, const char* const* options) {
    init(knownPath, options);
    if (manager->open(file, 1)) return;
    delete manager;
    manager = nullptr;
}

CPP_TokenStream::CPP_TokenStream(UT_IStream& source, const char* name, const char* const* options) {
    init(-1, options);
    if (manager->open(source, name)) return;
    delete manager;
    manager = nullptr;
}

CPP_TokenStream::CPP_TokenStream(const CPP_TokenStream& other)
    : manager(other.manager), ungot(other.ungot), isOwner_(false) {
    copyWords(other);
}

CPP_TokenStream& CPP_TokenStream::operator=(const CPP_TokenStream& other) {
    if (this == &other) return *this;
    copyWords(other);
    ungot = other.ungot;
    if (manager == other.manager) return *this;
    if (isOwner_) delete manager;
    manager = other.manager;
    isOwner_ = false;
    return *this;
}

CPP_TokenStream::~CPP_TokenStream() {
    if (isOwner_) delete manager;
    std::free(argv);
}

void CPP_TokenStream::init(int knownPath, const char* const* options) {
    if (!options) options = kStandardOptions;
    int count = 0;
    while (options[count]) ++count;
    if (isOwner_) delete std::exchange(manager, nullptr);
    manager = new CPP_Manager(knownPath, nullptr);
    isOwner_ = true;
    manager->setOptions(count, options);
    line.clear();
    ungot.clear();
    growArgv(kFirstSize - kSpare);
    argv[0] = nullptr;
    argvIndex = 0;
}

// Gives this stream words of its own that are equal to those that `other` has left.
void CPP_TokenStream::copyWords(const CPP_TokenStream& other) {
    std::size_t length = 0;
    int count = 0;
    for (char** word = other.argv + other.argvIndex; *word; ++word, ++count) length += std::strlen(*word) + 1;
    growArgv(count);
    char* place = fromMalloc<char>(std::malloc(length + 1));
    line.adopt(place);
    for (int i = 0; i < count; ++i) {
        const std::size_t size = std::strlen(other.argv[other.argvIndex + i]) + 1;
        argv[i] = static_cast<char*>(std::memcpy(place, other.argv[other.argvIndex + i], size));
        place += size;
    }
    *place = '\0';
    argv[count] = nullptr;
    argvIndex = 0;
}

void CPP_TokenStream::growArgv(int count) {
    if (count < argvSize) return;
    if (count > std::numeric_limits<int>::max() - kSpare) throw std::bad_alloc();
    const std::size_t size = static_cast<std::size_t>(count) + kSpare;
    argv = fromMalloc<char*>(std::realloc(argv, size * sizeof(char*)));
    argvSize = count + kSpare;
    argv[0] = nullptr;
    argvIndex = 0;  // nothing stands behind the null
}

int CPP_TokenStream::getToken(UT_String& token) {
    if (!ungot.isEmpty()) {
        token = ungot;
        ungot.clear();
        return 1;
    }
    while (manager && !argv[argvIndex]) {
        if (!nextLine()) break;
    }
    if (!manager || !argv[argvIndex]) {
        token.clear();
        return 0;
    }
    token = argv[argvIndex++];
    return 1;
}

// Takes a line from the preprocessor: splits it, or hands it over if it is a message. False at the end.
bool CPP_TokenStream::nextLine() {
    std::string_view text;
    if (!manager->getLine(text)) return false;
    if (text.starts_with(kErrorMark)) {
        cppError(UT_String(text.substr(kErrorMark.size())).buffer());
    } else if (text.starts_with(kWarningMark)) {
        cppWarning(UT_String(text.substr(kWarningMark.size())).buffer());
    } else if (const std::size_t most = text.starts_with('#') ? 0 : mostWords(text)) {
        if (most >= std::numeric_limits<int>::max()) throw std::bad_alloc();
        line.harden(text);
        growArgv(static_cast<int>(most) + 1);
        argv[line.parseInPlace(argv, argvSize - 1)] = nullptr;
        argvIndex = 0;
    }
    return true;
}

void CPP_TokenStream::ungetToken(const UT_String& token) {
    ungot = token;
}

void CPP_TokenStream::addIncludePath(const char* path) {
    if (manager && path) manager->addIncludePath(path);
}

int CPP_TokenStream::getLineNumber() const {
    return manager ? manager->getLineNumber() : -1;
}

const char* CPP_TokenStream::getFileName() const {
    return manager ? manager->getFileName() : "<unknown>";
}

void CPP_TokenStream::cppError(const char* message) const {
    std::fprintf(stderr, "%s\n", message);
}

void CPP_TokenStream::cppWarning(const char* message) const {
    cppError(message);
}
