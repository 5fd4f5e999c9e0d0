#pragma once
// What section bytes pass through on their way out, block by block. Applications derive from it; a filter factory makes
// one for each section. A filter may give more or fewer bytes than it gets, and may keep bytes back until it has enough
// of them:
//
//     class Doubler : public UT_StreamBufferFilter {
//         bool filter(const char* data, size_t count, bool last, UT_WorkBuffer& out) override {
//             for (size_t i = 0; i < count; ++i) out.append(data[i]), out.append(data[i]);
//             return true;
//         }
//     };
#include <UT/UT_Export.h>

#include <cstddef>

class UT_WorkBuffer;

class TARVANI_EXPORT UT_StreamBufferFilter {
public:
    virtual ~UT_StreamBufferFilter();

    // Takes `count` bytes, borrowed for the call, and appends to `out` what is ready; `out` arrives empty. `last` is
    // true exactly once, in the last call, which may bring no bytes; a write that fails ends without it. False fails
    // the write.
    virtual bool filter(const char* data, std::size_t count, bool last, UT_WorkBuffer& out) = 0;
};
