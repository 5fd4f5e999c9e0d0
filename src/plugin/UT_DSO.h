#pragma once
// Loads plug-ins: finds libraries along the search paths for them, makes sure that each was built for this system, and
// calls a function in them by name.
//
//     UT_DSO().run("fs/mem.dll", "installFSHelpers", nullptr, 1, UT_PATH_DSO);  // the first copy that works
//     UT_DSO().run("installMenus", &menus, 1);                                  // every library that has the function
//
// A function that is called so has the form `extern "C" void function(void* data)`, and throws nothing; a plug-in
// includes <UT/UT_DSOVersion>, which gives it the version function. docs/plugins.md shows one that can be copied.
//
// Libraries are loaded by their absolute paths and in no other way: a relative one can't be loaded, wherever it comes
// from. What fails is told to the user in a message box (UTsetMessageBox), unless TARVANI_DSO_ERROR is 0; the operation
// goes on with what remains. A library whose function ran stays loaded to the end of the process. Objects hold nothing,
// and all operations together are for one thread at a time; a function that is called may itself call them.
#include <UT/UT_Export.h>
#include <UT/UT_PathSearch.h>

struct dso_file;
class UT_DSOHandle;
class UT_String;

class TARVANI_EXPORT UT_DSO {
public:
    UT_DSO() = default;
    UT_DSO(const UT_DSO&) = default;
    // Changes nothing.
    UT_DSO& operator=(const UT_DSO&) { return *this; }

    // Loads the library at an absolute path, with no search and no version check. Null when that fails;
    // getLastErrorText tells why. The flag has no meaning; pass false. To be given up with closeDSO.
    static UT_DSOHandle* loadDSO(const char* file, bool);
    // The address of what the library itself exports under that name; null if there is no such thing.
    static void* findSymbol(UT_DSOHandle& library, const char* name);
    // Gives up a library, which goes when all who loaded it have given it up. 0, or 1 on failure.
    static int closeDSO(UT_DSOHandle& library);
    // The loader's own words on the last library that it didn't load or function that it didn't find; empty when the
    // last call went well. Never null, valid until the next operation.
    static const char* getLastErrorText();

    // Calls `function(data)` in the first copy of `file` along a known path that can be loaded, passes the version
    // check if `checkVersion` isn't 0, and has the function. False if no copy does; one that isn't there needs no
    // message.
    bool run(const char* file, const char* function, void* data, int checkVersion, UT_KnownPath path);
    // Calls `function(data)` in every plug-in that has it: the libraries `*.dll` of known path 3, then of 2, then of 1;
    // in a path the first directory first, in a directory by names, the last first. They are looked for once in a
    // process and loaded when first needed; one that can't be loaded or fails its check then is never tried again, and
    // one that was loaded isn't checked again. True if it was called in one at least.
    bool run(const char* function, void* data, int checkVersion);
    // The same in exactly the opposite order.
    void runReverse(const char* function, void* data, int checkVersion);
    // Finds the function that run(file, ...) on known path 1 would call, and calls nothing. `foundPath` becomes the
    // path of its library. Null, with `foundPath` as it was, if there is none.
    void* findProcedure(const char* file, const char* function, UT_String& foundPath, int checkVersion);

    // The path of the library that is being loaded or run, valid for as long as that lasts; null outside of every
    // operation.
    static const char* getRunningFile();

protected:
    // Calls the function in the libraries behind `file`, the last first, and then in `file` itself. Null does nothing.
    // `previous` is the one in front of `file`.
    void processReverse(const char* function, void* data, int checkVersion, dso_file* file, dso_file* previous);

private:
    static void scan();

    static int theFirstTime;  // until the libraries have been looked for
};
