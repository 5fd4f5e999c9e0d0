#pragma once
// An array of whole records, which are copied as bytes: no constructors, no destructors. The base of the arrays of
// integers and of pointers.
//
//     UT_RefArray<FS_Stat> stats;
//     stats.append(stat);
//     for (int i = 0; i < stats.entries(); ++i) use(stats(i));
//
// An index may be of any integer type: one out of range, negative or absurd, does no harm. References and pointers to
// elements are valid until the array grows.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

template <class T>
class UT_RefArray {
    static_assert(std::is_trivially_copyable_v<T>, "UT_RefArray moves its records as bytes");

public:
    // Elements that an array can have at most.
    static constexpr unsigned kMostEntries = std::numeric_limits<int>::max();

    // Empty, with room for so many elements.
    explicit UT_RefArray(unsigned capacity = 0) { setCapacity(capacity); }
    UT_RefArray(const UT_RefArray& other) { copyFrom(other); }
    UT_RefArray(UT_RefArray&& other) noexcept { swap(other); }
    ~UT_RefArray() { std::free(data_); }
    UT_RefArray& operator=(const UT_RefArray& other) {
        if (this != &other) UT_RefArray(other).swap(*this);
        return *this;
    }
    UT_RefArray& operator=(UT_RefArray&& other) noexcept {
        UT_RefArray(std::move(other)).swap(*this);
        return *this;
    }
    // Exchanges the contents, copying nothing.
    void swap(UT_RefArray& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(capacity_, other.capacity_);
        std::swap(entries_, other.entries_);
    }

    // The number of elements, whether it is 0, and how many the storage has room for.
    int entries() const { return static_cast<int>(entries_); }
    bool isEmpty() const { return entries_ == 0; }
    unsigned capacity() const { return capacity_; }
    // The elements, one behind the other; null while there is no storage.
    T* data() { return data_; }
    const T* data() const { return data_; }
    T* begin() { return data_; }
    T* end() { return data_ + entries_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + entries_; }

    // An element by index. Out of range the const form gives an empty record, and the other a spare one that nobody
    // reads.
    T& operator()(std::int64_t index) { return contains(index) ? data_[index] : spare(); }
    const T& operator()(std::int64_t index) const { return contains(index) ? data_[index] : spare(); }
    // The last element; of an empty array, what an index out of range gives.
    T& last() { return (*this)(std::int64_t{entries()} - 1); }
    const T& last() const { return (*this)(std::int64_t{entries()} - 1); }
    // An element by index. An index behind the end grows the array with empty records up to and with it; one that no
    // array can have gives a spare record.
    T& operator[](std::int64_t index) {
        if (contains(index)) return data_[index];
        if (index < 0 || index >= std::int64_t{kMostEntries}) return spare();
        const auto wanted = static_cast<unsigned>(index) + 1;
        if (wanted > capacity_) setCapacity(wanted > grownCapacity() ? wanted : grownCapacity());
        while (entries_ < wanted) new (data_ + entries_++) T();
        return data_[index];
    }

    // Copies `record`, which may be an element of this very array, to the end. Gives its index. A full array grows by
    // 4 elements below a capacity of 128, by 128 below 1024, and by one eighth from there on.
    int append(const T& record) {
        const T copy = record;
        if (entries_ == capacity_) setCapacity(grownCapacity());
        new (data_ + entries_) T(copy);
        return static_cast<int>(entries_++);
    }
    // Removes one element; later ones close up. Gives the index, -1 if it was out of range.
    int removeAt(std::int64_t index) {
        if (!contains(index)) return -1;
        T* const hole = data_ + index;
        std::memmove(static_cast<void*>(hole), hole + 1, static_cast<std::size_t>(end() - hole - 1) * sizeof(T));
        --entries_;
        return static_cast<int>(index);
    }
    // Sets the capacity; elements beyond it go, so that 0 empties the array. A capacity that no array can have changes
    // nothing. The second argument is not used.
    void resize(unsigned capacity, unsigned short = 1) {
        if (capacity <= kMostEntries) setCapacity(capacity);
    }
    // Forgets the elements and keeps the storage.
    void clear() { entries_ = 0; }

protected:
    // True if there is an element of that index.
    bool contains(std::int64_t index) const { return index >= 0 && index < std::int64_t{entries_}; }

private:
    static T& spare() {
        static thread_local T record;
        return record = T();
    }
    // The capacity after the next growth. Never the present one: an array that is as large as can be throws.
    unsigned grownCapacity() const {
        if (capacity_ == kMostEntries) throw std::bad_alloc();
        const unsigned step = capacity_ < 128 ? 4 : capacity_ < 1024 ? 128 : capacity_ / 8;
        return step <= kMostEntries - capacity_ ? capacity_ + step : kMostEntries;
    }
    void setCapacity(unsigned capacity) {
        if (capacity == capacity_) return;
        if (capacity == 0) {
            std::free(data_);
            data_ = nullptr;
        } else {
            void* const moved = std::realloc(static_cast<void*>(data_), std::size_t{capacity} * sizeof(T));
            if (!moved) throw std::bad_alloc();
            data_ = static_cast<T*>(moved);
        }
        capacity_ = capacity;
        if (entries_ > capacity_) entries_ = capacity_;
    }
    void copyFrom(const UT_RefArray& other) {
        if (other.entries_ == 0) return;
        setCapacity(other.entries_);
        std::memcpy(static_cast<void*>(data_), other.data_, std::size_t{other.entries_} * sizeof(T));
        entries_ = other.entries_;
    }

    T* data_ = nullptr;
    unsigned capacity_ = 0;
    unsigned entries_ = 0;
};
