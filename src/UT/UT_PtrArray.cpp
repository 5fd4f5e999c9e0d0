#include <UT/UT_PtrArray.h>

#include <algorithm>
#include <cstddef>
#include <vector>

int UT_PtrArrayRaw::find(const void* pointer, unsigned start) const {
    for (std::int64_t i = start; i < entries(); ++i) {
        if (data()[i] == pointer) return static_cast<int>(i);
    }
    return -1;
}

void UT_PtrArrayRaw::move(int from, int to, int count) {
    if (count <= 0 || from < 0 || to < 0 || count > entries() || from > entries() - count || to > entries() - count)
        return;
    void** const first = begin() + std::min(from, to);
    void** const last = begin() + std::max(from, to) + count;
    std::rotate(first, from < to ? first + count : begin() + from, last);
}

void UT_PtrArrayRaw::sort(int (*compare)(const void*, const void*)) {
    if (!compare) return;
    sortElements([](void* a, void* b, void* context) { return (*static_cast<decltype(compare)*>(context))(&a, &b); },
                 &compare);
}

// A merge sort from short runs to long ones. The standard's sorts may leave the array when a comparison contradicts
// itself; here the comparison only chooses between two runs, and can do no more than choose badly. It works on copies,
// so that a comparison which changes the array does no harm either.
void UT_PtrArrayRaw::sortElements(Compare compare, void* context) {
    std::vector<void*> from(begin(), end());
    std::vector<void*> to(from.size());
    const std::size_t count = from.size();
    for (std::size_t width = 1; width < count; width *= 2) {
        for (std::size_t start = 0; start < count; start += 2 * width) {
            const std::size_t middle = std::min(start + width, count), end = std::min(start + 2 * width, count);
            std::size_t left = start, right = middle, place = start;
            // Two runs that are in order already are one: a sorted array costs one comparison for each pair of runs.
            const bool ordered = middle == end || compare(from[middle - 1], from[middle], context) <= 0;
            while (!ordered && left < middle && right < end)
                to[place++] = compare(from[left], from[right], context) <= 0 ? from[left++] : from[right++];
            while (left < middle) to[place++] = from[left++];
            while (right < end) to[place++] = from[right++];
        }
        from.swap(to);
    }
    std::copy_n(from.begin(), std::min(count, static_cast<std::size_t>(entries())), begin());
}
