#pragma once
// An array of pointers. It borrows what they point to: neither removing an element nor the end of the array deletes
// anything, and a copy of the array copies the pointers alone. UT_PtrArray<T> is the one to use, with T a pointer type:
//
//     UT_PtrArray<Helper*> helpers;
//     helpers.append(helper);
//     for (int i = 0; i < helpers.entries(); ++i) helpers(i)->run();
//     helpers.remove(helper);
//
// An index out of range, negative or absurd, does no harm. References to elements are valid until the array grows.
#include <UT/UT_Export.h>
#include <UT/UT_RefArray.h>

#include <type_traits>

// The pointers without their type.
class TARVANI_EXPORT UT_PtrArrayRaw : public UT_RefArray<void*> {
public:
    using UT_RefArray<void*>::UT_RefArray;

    // The index of the first element equal to `pointer`, from index `start` on; -1 if there is none.
    int find(const void* pointer, unsigned start = 0) const;
    // Removes the first element equal to `pointer`; later ones close up. Gives the index it had, -1 if there was none.
    int remove(const void* pointer) { return removeAt(find(pointer)); }
    // Moves the `count` elements that start at `from` so that they start at `to`; the ones in between close up. Nothing
    // happens unless both ranges lie inside the array.
    void move(int from, int to, int count);

    // Sorts in place. `compare` is given pointers to two elements, as by qsort, and gives negative, 0 or positive;
    // equal elements keep their order. A comparison that contradicts itself makes some order, and no harm.
    void sort(int (*compare)(const void*, const void*));

protected:
    // Gives negative, 0 or positive, as by qsort.
    using Compare = int (*)(void* a, void* b, void* context);
    // Sorts by a comparison of elements that is handed `context` as well.
    void sortElements(Compare compare, void* context);
};

// A thin layer that gives the elements their type.
template <class T>
class UT_PtrArray : private UT_PtrArrayRaw {
    static_assert(std::is_pointer_v<T>, "UT_PtrArray holds pointers: UT_PtrArray<Thing*>");

public:
    // Empty, with room for so many elements.
    explicit UT_PtrArray(unsigned capacity = 0) : UT_PtrArrayRaw(capacity) {}
    UT_PtrArray(const UT_PtrArray&) = default;
    UT_PtrArray(UT_PtrArray&&) noexcept = default;
    UT_PtrArray& operator=(const UT_PtrArray&) = default;
    UT_PtrArray& operator=(UT_PtrArray&&) noexcept = default;
    virtual ~UT_PtrArray() = default;

    using UT_PtrArrayRaw::capacity;
    using UT_PtrArrayRaw::clear;
    using UT_PtrArrayRaw::entries;
    using UT_PtrArrayRaw::isEmpty;
    using UT_PtrArrayRaw::move;
    using UT_PtrArrayRaw::removeAt;
    using UT_PtrArrayRaw::resize;

    // An element by index, null out of range.
    T operator()(std::int64_t index) const { return static_cast<T>(UT_PtrArrayRaw::operator()(index)); }
    // The last element, null if there is none.
    T last() const { return (*this)(std::int64_t{entries()} - 1); }
    // An element to read or set. An index behind the end grows the array with nulls up to and with it.
    T& operator[](std::int64_t index) { return *typed(&UT_PtrArrayRaw::operator[](index)); }
    // The elements, one behind the other.
    T* begin() { return typed(data()); }
    T* end() { return begin() + entries(); }
    const T* begin() const { return static_cast<const T*>(static_cast<const void*>(data())); }
    const T* end() const { return begin() + entries(); }

    // Adds at the end and gives the index.
    int append(T pointer) { return UT_PtrArrayRaw::append(asVoid(pointer)); }
    // As those of UT_PtrArrayRaw.
    int find(T pointer, unsigned start = 0) const { return UT_PtrArrayRaw::find(pointer, start); }
    int remove(T pointer) { return UT_PtrArrayRaw::remove(pointer); }
    // As that of UT_PtrArrayRaw, and with whatever can be called: `compare` is given pointers to two elements, or the
    // elements where it takes those alone. Elements that it calls equal keep their order.
    using UT_PtrArrayRaw::sort;
    template <class F>
    void sort(F compare) {
        sortElements(
            [](void* a, void* b, void* context) -> int {
                const T first = static_cast<T>(a), second = static_cast<T>(b);
                if constexpr (std::is_invocable_v<F&, const T*, const T*>)
                    return (*static_cast<F*>(context))(&first, &second);
                else
                    return (*static_cast<F*>(context))(first, second);
            },
            &compare);
    }

private:
    static T* typed(void** slots) { return static_cast<T*>(static_cast<void*>(slots)); }
    template <class P>
    static void* asVoid(P* pointer) {
        return const_cast<void*>(static_cast<const void*>(pointer));
    }
};
