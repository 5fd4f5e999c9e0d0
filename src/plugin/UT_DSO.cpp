// Plug-in libraries. A refused library stays in the list under a mark, so that a walk never loses its place, also when
// a function that it calls walks the list itself.
#include <UT/UT_EnvControl.h>
#include <UT/UT_MessageBox.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_Version.h>
#include <UT/UT_WorkBuffer.h>
#include <pathfile/UT_Directory.h>
#include <platform/FileStatus.h>
#include <platform/SharedLibrary.h>
#include <plugin/UT_DSO.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

// One library that the scan found.
struct dso_file {
    // Goes to the front of the list.
    explicit dso_file(std::string path);

    const std::string name;  // its full path
    dso_file* const next;
    UT_DSOHandle* handle = nullptr;  // null until it is first needed
    bool refused = false;            // it could not be loaded or failed its check
};

namespace {

using Function = void (*)(void* data);
using VersionFunction = void (*)(const char** version);

constexpr const char* kVersionFunction = "TarvaniDSOVersion";
constexpr const char* kTitle = "Tarvani DSO Error";
constexpr const char* kText = "(%d) Couldn't load %s.\n\n%s";
constexpr const char* kOtherVersion =
    "This is probably because this file was intended for use with a different version of Tarvani.";
constexpr const char* kMissingVersion =
    "Missing version information.\n\n"
    "When creating custom operators with the TPK, remember to\n"
    "#include <UT/UT_DSOVersion> to define the required version information.";
constexpr const char* kInvalidVersion = "Invalid version information.";
constexpr const char* kIncorrectVersion = "Incorrect version %s should be %s.";

// Both live to the end of the process, as the libraries do.
dso_file* dsoFiles = nullptr;
const char* runningFile = nullptr;

// While it lives, `file` is the running file.
class RunningFile {
public:
    explicit RunningFile(const char* file) : before_(std::exchange(runningFile, file)) {}
    ~RunningFile() { runningFile = before_; }
    RunningFile(const RunningFile&) = delete;
    RunningFile& operator=(const RunningFile&) = delete;

private:
    const char* before_;
};

void reportDsoError(const char* detail, const char* file) {
    const int code = platform::lastLoaderAnswer().code;
    if (!UT_EnvControl::getInt(UT_CONTROL_DSO_ERROR)) return;
    UT_WorkBuffer text;
    text.sprintf(kText, code, file, detail);
    UTshowMessageBox(kTitle, text.buffer());
}

// Whether the library was built for this system, with a report that names it `file` if not.
bool checkDsoVersion(UT_DSOHandle& library, const char* file) {
    const auto ask = reinterpret_cast<VersionFunction>(UT_DSO::findSymbol(library, kVersionFunction));
    if (!ask) {
        reportDsoError(kMissingVersion, file);
        return false;
    }
    const char* version = nullptr;
    ask(&version);
    if (!version) {
        reportDsoError(kInvalidVersion, file);
        return false;
    }
    if (std::strcmp(version, TARVANI_DSO_VERSION) == 0) return true;
    UT_WorkBuffer detail;
    detail.sprintf(kIncorrectVersion, version, TARVANI_DSO_VERSION);
    reportDsoError(detail.buffer(), file);
    return false;
}

// Loads the library at `path`, and checks it if `checkVersion` says so, with `reportedAs` for its name in that case.
// Null if it was refused. One that fails its check stays loaded, since it may have left threads or callbacks behind.
UT_DSOHandle* loadChecked(const char* path, int checkVersion, const char* reportedAs) {
    UT_DSOHandle* const library = UT_DSO::loadDSO(path, false);
    if (!library) {
        reportDsoError(kOtherVersion, path);
        return nullptr;
    }
    return !checkVersion || checkDsoVersion(*library, reportedAs) ? library : nullptr;
}

// Gives `use(address, path)` the function in the first copy of `file` that works, while that copy is the running file.
// False if none does.
template <class Use>
bool useFirstCopy(const char* file, const char* function, int checkVersion, UT_KnownPath path, Use use) {
    if (!function) return false;
    UT_StringArray copies;
    UT_PathSearch::getInstance(path)->findAllFiles(file, copies);
    for (UT_String& copy : copies) {
        const RunningFile running(copy.buffer());
        UT_DSOHandle* const library = loadChecked(copy.buffer(), checkVersion, file);
        if (!library) continue;
        if (void* const address = UT_DSO::findSymbol(*library, function)) {
            use(address, copy);
            return true;
        }
        UT_DSO::closeDSO(*library);
    }
    return false;
}

// Loads a library of the list if that is due, and calls the function if the library has it.
bool runIn(dso_file& file, const char* function, void* data, int checkVersion) {
    if (!function || file.refused) return false;
    const RunningFile running(file.name.c_str());
    if (!file.handle) file.handle = loadChecked(file.name.c_str(), checkVersion, file.name.c_str());
    file.refused = !file.handle;
    if (file.refused) return false;
    const auto call = reinterpret_cast<Function>(UT_DSO::findSymbol(*file.handle, function));
    if (call) call(data);
    return call != nullptr;
}

// Puts the libraries of a known path in front of those in the list: the last directory first, so that the first one
// comes to stand foremost; of one directory the last name does.
void scanKnownPath(UT_KnownPath path) {
    const UT_StringArray& directories = UT_PathSearch::getInstance(path)->expandedDirs;
    for (int i = directories.entries() - 1; i >= 0; --i) {
        UT_StringArray names;
        UT_Directory(directories(i).buffer(), "*.dll", 0).getFiles(nullptr, names);
        for (const UT_String& name : names) {
            std::string file(directories(i).view());
            file.append("/").append(name.view());
            // The list owns it, and lives as long as the process.
            if (platform::fileStatus(file.c_str()).kind == platform::FileKind::File) new dso_file(std::move(file));
        }
    }
}

}  // namespace

dso_file::dso_file(std::string path) : name(std::move(path)), next(std::exchange(dsoFiles, this)) {}

UT_DSOHandle* UT_DSO::loadDSO(const char* file, bool) {
    return static_cast<UT_DSOHandle*>(platform::openLibrary(file));
}

void* UT_DSO::findSymbol(UT_DSOHandle& library, const char* name) {
    return platform::findInLibrary(&library, name);
}

int UT_DSO::closeDSO(UT_DSOHandle& library) {
    return platform::closeLibrary(&library) ? 0 : 1;
}

const char* UT_DSO::getLastErrorText() {
    return platform::lastLoaderAnswer().text.c_str();
}

bool UT_DSO::run(const char* file, const char* function, void* data, int checkVersion, UT_KnownPath path) {
    return useFirstCopy(file, function, checkVersion, path,
                        [=](void* address, UT_String&) { reinterpret_cast<Function>(address)(data); });
}

bool UT_DSO::run(const char* function, void* data, int checkVersion) {
    scan();
    bool ran = false;
    for (dso_file* file = dsoFiles; file; file = file->next) ran |= runIn(*file, function, data, checkVersion);
    return ran;
}

void UT_DSO::runReverse(const char* function, void* data, int checkVersion) {
    scan();
    processReverse(function, data, checkVersion, dsoFiles, nullptr);
}

void* UT_DSO::findProcedure(const char* file, const char* function, UT_String& foundPath, int checkVersion) {
    void* found = nullptr;
    useFirstCopy(file, function, checkVersion, UT_PATH_DSO, [&](void* address, UT_String& path) {
        found = address;
        foundPath.adopt(path);
    });
    return found;
}

const char* UT_DSO::getRunningFile() {
    return runningFile;
}

void UT_DSO::processReverse(const char* function, void* data, int checkVersion, dso_file* file, dso_file*) {
    // Collected first, so that a long list takes no room on the stack.
    std::vector<dso_file*> files;
    for (; file; file = file->next) files.push_back(file);
    for (; !files.empty(); files.pop_back()) runIn(*files.back(), function, data, checkVersion);
}

int UT_DSO::theFirstTime = 1;

void UT_DSO::scan() {
    if (!std::exchange(theFirstTime, 0)) return;
    for (const UT_KnownPath path : {UT_PATH_DSO, UT_PATH_SITE_DSO, UT_PATH_USER_DSO}) scanKnownPath(path);
}
