#pragma once
// Private: writes the head of a container and its table. The bytes of the sections follow in the order of the table,
// each behind those of the one before.
#include <UT/UT_Output.h>

#include "IndexFormat.h"

class TableWriter {
public:
    // Writes what stands in front of the table to `out`, which is borrowed. A null description is an empty one.
    TableWriter(std::ostream& out, const char* description, int count) : out_(out) {
        UTwrite(out_, indexformat::kMagic.data(), static_cast<int>(indexformat::kMagic.size()));
        UTwrite(out_, &indexformat::kVersion, 1);
        UTsaveStringBinary(out_, description, UT_STRING_BINARY32);
        UTwrite(out_, &count, 1);
    }
    // The entry of the next section: its bytes, and its time in seconds.
    void add(const char* name, int size, int time) {
        const int fields[] = {offset_, size, time};
        UTsaveStringBinary(out_, name, UT_STRING_BINARY32);
        UTwrite(out_, fields, 3);
        offset_ += size;
    }

private:
    std::ostream& out_;
    int offset_ = 0;
};
