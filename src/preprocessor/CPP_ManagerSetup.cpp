// Construction, options and the macro table of the preprocessor.
#include <UT/OptionScan.h>
#include <UT/UT_EnvControl.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_Version.h>
#include <preprocessor/CPP_ManagerWork.h>
#include <preprocessor/Words.h>
#include <preprocessor/cpp_DefStream.h>

namespace {

constexpr std::size_t kMostUndefined = 1024;  // characters of a name that #undef looks at

bool sameDefinition(const CPP_Macro& a, const CPP_Macro& b) {
    // A built-in macro has no definition, so every other one differs from it.
    return a.getDefinition() && b.getDefinition() && a.getArgCount() == b.getArgCount() &&
           a.getDefinitionView() == b.getDefinitionView();
}

}  // namespace

CPP_Manager::CPP_Manager(int knownPath, const char* path)
    : searchPath(UT_PathSearch::getHardPath(static_cast<UT_KnownPath>(knownPath < 0 ? 0 : knownPath))),
      macros(new CPP_MacroTable),
      flags(CPP_STRIP_COMMENTS | CPP_LINE_MARKERS | CPP_EXPAND_INCLUDE_NAMES),
      work_(std::make_unique<Work>(*this)) {
    if (UT_EnvControl::getInt(UT_CONTROL_CPP_EXPAND_DIRECTIVES)) flags |= CPP_EXPAND_DIRECTIVES;
    if (path) searchPath->extendPath(nullptr, -1, path, -1);
    addPredefinedMacros();
}

void CPP_Manager::addPredefinedMacros() {
    const struct {
        const char* name;
        CPP_MacroType type;
    } builtIns[] = {
        {"__FILE__", CPP_MACRO_FILE},
        {"__LINE__", CPP_MACRO_LINE},
        {"__DATE__", CPP_MACRO_DATE},
        {"__TIME__", CPP_MACRO_TIME},
    };
    for (const auto& builtIn : builtIns) macros->add(builtIn.name, std::make_unique<CPP_Macro>(builtIn.type));
    UT_WorkBuffer text, unused;
    defineMacro("__zul", unused, 0);
    text.sprintf("__zul_major=%d", TARVANI_VERSION_MAJOR);
    defineMacro(text.buffer(), unused, 1);
    text.sprintf("__zul_minor=%d", TARVANI_VERSION_MINOR);
    defineMacro(text.buffer(), unused, 1);
    defineMacro("WIN32", unused, 1);
}

CPP_Manager::CPP_Manager(const CPP_Manager& other) : isOwner_(false), work_(std::make_unique<Work>(*this)) {
    borrow(other);
}

CPP_Manager& CPP_Manager::operator=(const CPP_Manager& other) {
    if (this == &other) return *this;
    // A copy that comes back to its original brings what is the original's own.
    const bool isReturned = isOwner_ && macros == other.macros;
    if (isReturned) {
        close();
    } else {
        release();
    }
    borrow(other);
    isOwner_ = isReturned;
    return *this;
}

CPP_Manager::~CPP_Manager() {
    release();
}

// Takes the data of another manager over. The search path and the macros stay its own; the open files, which either of
// the two may read to their end, have as many references as managers.
void CPP_Manager::borrow(const CPP_Manager& other) {
    searchPath = other.searchPath;
    pendingLine = other.pendingLine;
    files = other.files;
    for (CPP_File* file : files) file->bumpRefCount(1);
    macros = other.macros;
    flags = other.flags;
    recursionLimit = other.recursionLimit;
    pendingIsSource = other.pendingIsSource;
    blankLines = other.blankLines;
    crypted = other.crypted;
    errorSeen = other.errorSeen;
    isOwner_ = false;
    work_->forgetFiles();
}

void CPP_Manager::release() {
    close();
    if (!isOwner_) return;
    delete macros;
    delete searchPath;
}

int CPP_Manager::setOptions(int argc, char* const argv[]) {
    return readOptions(argc, argv);
}

int CPP_Manager::setOptions(int argc, const char* const argv[]) {
    return readOptions(argc, argv);
}

int CPP_Manager::readOptions(int argc, const char* const* argv) {
    OptionScan scan(argc, argv, "PCU:D:I:r:nhHcx");
    UT_WorkBuffer unused;
    for (int letter = scan.next(); letter != OptionScan::kEnd; letter = scan.next()) {
        switch (letter) {
            case 'P':
                flags &= ~CPP_LINE_MARKERS;
                break;
            case 'C':
                flags &= ~CPP_STRIP_COMMENTS;
                break;
            case 'U':
                destroyMacro(scan.argument());
                break;
            case 'D':
                defineMacro(scan.argument(), unused, 1);
                break;
            case 'I':
                searchPath->appendPath(scan.argument());
                work_->forgetFiles();
                break;
            case 'r':
                recursionLimit = cppwords::leadingNumber(scan.argument());
                break;
            case 'n':
                break;
            case 'h':
                flags |= CPP_HASH_COMMENTS;
                break;
            case 'H':
                flags |= CPP_OLD_INCLUDES;
                break;
            case 'c':
                flags |= CPP_NO_C_COMMENTS;
                break;
            case 'x':
                flags |= CPP_EXPAND_INCLUDE_NAMES;
                break;
            default:
                return 0;
        }
    }
    if (recursionLimit < 0) recursionLimit = 1;
    return scan.index();
}

bool CPP_Manager::define(const char* name, const char* value) {
    if (!name) return false;
    UT_WorkBuffer text{std::string_view(name)}, warning;
    if (value) {
        text.append(' ');
        text.append(value);
    }
    return defineMacro(text.buffer(), warning, 0);
}

bool CPP_Manager::undefine(const char* name) {
    if (name) destroyMacro(name);
    return true;
}

void CPP_Manager::addIncludePath(const char* path) {
    if (!path) return;
    const UT_PathSearch added(path, -1, "", 0);
    for (int i = 0; i < added.expandedDirs.entries(); ++i) searchPath->appendPath(added.expandedDirs(i).buffer());
    work_->forgetFiles();
}

// Adds a macro. `out` is an empty line, or a warning, with the result false, if it replaced a different one.
bool CPP_Manager::defineMacro(const char* text, UT_WorkBuffer& out, int commandLine) {
    auto macro = std::make_unique<CPP_Macro>(text, commandLine);
    const std::string_view name = macro->getName();
    const CPP_Macro* const old = macros->find(name);
    const bool differs = old && !sameDefinition(*old, *macro);
    out.assign("\n");
    if (differs) {
        UT_WorkBuffer message;
        message.sprintf("Macro \"%s\" redefined.  Using later definition", macro->getName());
        makeError(out, files.last(), message.view(), "warning");
        addBlankLine();
    }
    macros->add(name, std::move(macro));
    return !differs;
}

void CPP_Manager::destroyMacro(std::string_view text) {
    macros->remove(cppwords::firstWord(cppwords::skipSpace(text), kMostUndefined));
}

CPP_Stream* CPP_Manager::allocStream() {
    return new cpp_DefStream;
}

int CPP_Manager::getLineNumber() const {
    return files.isEmpty() ? -1 : files.last()->getLineNumber();
}

const char* CPP_Manager::getFileName() const {
    return files.isEmpty() ? kNoFile : files.last()->getName();
}

bool CPP_Manager::hasError() const {
    return errorSeen;
}

int CPP_Manager::isCrypted() const {
    return crypted;
}
