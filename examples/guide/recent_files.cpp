// Makes a file the most recent one of its user, and lists those of its kind.
#include <UT/UT_String.h>
#include <history/FS_FileHistoryManager.h>

#include <cstdio>

int main(int, char** argv) {
    FS_FileHistoryManager* const history = FS_FileHistoryManager::getFileHistoryManager();
    history->loadFileHistoryList();
    history->addFileToHistoryList(argv[1], FS_HISTORY_GEO);
    UT_String reason;
    if (!history->saveFileHistoryList(&reason)) return std::fprintf(stderr, "%s\n", reason.buffer()), 1;
    for (int age = 0; age < history->numFilesInList(FS_HISTORY_GEO); ++age)
        std::printf("%d: %s\n", age, history->getFilenameFromList(age, FS_HISTORY_GEO));
}
