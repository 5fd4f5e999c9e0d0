#include <stream/FS_FilterFactory.h>

FS_WriteFilterFactory::~FS_WriteFilterFactory() = default;

int FS_WriteFilterFactory::getFilteredSize(int) {
    return -1;
}

FS_IStreamFilterFactory::~FS_IStreamFilterFactory() = default;
