#pragma once
// Shortcuts, which are symbolic links here.
//
//     bool isDirectory;
//     UT_String target;
//     if (UT_FileShortcutUtil().resolve("/d/link", target, false, &isDirectory)) use(target.buffer());
#include <UT/UT_Export.h>

class UT_String;

class TARVANI_EXPORT UT_FileShortcutUtil {
public:
    UT_FileShortcutUtil();
    ~UT_FileShortcutUtil();

    // Follows the link `path` to its end. True with the absolute path of what it stands for in `target`, and in
    // `*isDirectory`, which may be null, whether that is a directory. False for a link that leads nowhere and for
    // what is no link; `target` is then null and `*isDirectory` false. The flag has no meaning; pass false.
    bool resolve(const char* path, UT_String& target, bool, bool* isDirectory) const;
};
