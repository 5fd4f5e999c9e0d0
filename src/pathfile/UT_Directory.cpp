#include <UT/FilePrefix.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <pathfile/UT_Directory.h>
#include <platform/FileStatus.h>
#include <stream/FS_Info.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

bool matches(const char* name, const char* pattern) {
    return !pattern || UT_String(name).multiMatch(pattern, 1, ", ", nullptr, nullptr);
}

struct Walk {
    int (*callback)(const char* name, void* data);
    void* data;
    const char* pattern;
};

// Gives every name that matches to `take`.
template <class Take>
void forEachName(const UT_Directory& directory, const char* pattern, Take take) {
    const auto callback = [](const char* name, void* data) {
        (*static_cast<Take*>(data))(name);
        return 1;
    };
    directory.traverseFiles(callback, &take, pattern);
}

}  // namespace

UT_Directory::UT_Directory(const char* path, const char* pattern, int includeDotNames) {
    // What might be a container is opened to see, and opening a pipe waits for who writes to it.
    const std::string_view local = stripFilePrefix(path ? path : "");
    if (platform::fileStatus(local.data()).kind == platform::FileKind::Other) return;
    UT_StringArray all;
    if (!FS_Info(path).getContents(all, nullptr, nullptr, nullptr)) return;
    std::vector<std::string_view> names;
    for (const UT_String& name : all)
        if ((includeDotNames || !name.view().starts_with('.')) && matches(name.buffer(), pattern))
            names.push_back(name.view());
    std::sort(names.begin(), names.end());
    for (const std::string_view name : names) names_.addSymbol(name, UT_Thing(0));
}

UT_Directory::~UT_Directory() = default;
UT_Directory::UT_Directory(const UT_Directory&) = default;
UT_Directory& UT_Directory::operator=(const UT_Directory&) = default;

int UT_Directory::findFile(const char* name) const {
    return names_.findSymbol(name, nullptr);
}

int UT_Directory::entries() const {
    return static_cast<int>(names_.entries());
}

void UT_Directory::traverseFiles(int (*callback)(const char* name, void* data), void* data, const char* pattern) const {
    if (!callback) return;
    Walk walk = {callback, data, pattern};
    names_.traverseConst(doTraverse, &walk);
}

int UT_Directory::doTraverse(UT_Thing&, const char* name, void* context) {
    const Walk& walk = *static_cast<const Walk*>(context);
    return matches(name, walk.pattern) ? walk.callback(name, walk.data) : 1;
}

int UT_Directory::getFiles(const char* pattern, UT_StringArray& names) const {
    const int before = names.entries();
    forEachName(*this, pattern, [&](const char* name) { names.append(name); });
    return names.entries() - before;
}

int UT_Directory::getFiles(const char* pattern, UT_PtrArray<const char*>& names) const {
    const int before = names.entries();
    forEachName(*this, pattern, [&](const char* name) { names.append(name); });
    return names.entries() - before;
}

int UT_Directory::getFiles(const char* pattern, UT_String& names) const {
    std::string joined;
    forEachName(*this, pattern, [&](const char* name) { joined.append(joined.empty() ? "" : " ").append(name); });
    names = joined;
    return !joined.empty();
}
