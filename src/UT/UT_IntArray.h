#pragma once
// An array of integers, with the values of its elements copied. Usable as a stack:
//
//     levels.append(level);
//     const int top = levels.last();
//     levels.removeAt(levels.entries() - 1);
#include <UT/UT_RefArray.h>

class UT_IntArray : public UT_RefArray<int> {
public:
    using UT_RefArray<int>::UT_RefArray;

    // The index of the first element equal to `value`, -1 if there is none.
    int find(int value) const {
        for (int i = 0; i < entries(); ++i) {
            if (data()[i] == value) return i;
        }
        return -1;
    }
};
