#pragma once
// A list of texts, which it owns.
//
//     UT_StringArray names;
//     names.append("geo");
//     for (const UT_String& name : names) use(name.buffer());
//
// An index out of range, negative or absurd, gives a spare null string that nobody reads. References to elements are
// valid until the list grows; the characters of an element stay where they are.
#include <UT/UT_Export.h>
#include <UT/UT_String.h>

#include <cstdint>
#include <vector>

class TARVANI_EXPORT UT_StringArray {
public:
    // Stores a copy at the end and gives its index. Null is stored as a null string.
    int append(const char* text);
    int append(std::string_view text);
    int append(const UT_String& text) { return append(text.view()); }

    // The number of elements, and whether it is 0.
    int entries() const { return static_cast<int>(strings_.size()); }
    bool isEmpty() const { return strings_.empty(); }
    // An element by index, and the last one. Out of range there is a spare string that nobody reads.
    UT_String& operator()(std::int64_t index) { return contains(index) ? strings_[place(index)] : spare(); }
    const UT_String& operator()(std::int64_t index) const { return contains(index) ? strings_[place(index)] : spare(); }
    UT_String& last() { return (*this)(std::int64_t{entries()} - 1); }
    const UT_String& last() const { return (*this)(std::int64_t{entries()} - 1); }
    // The index of the first element with that text, -1 if there is none.
    int find(std::string_view text) const;
    // Removes one element; later ones close up. Gives the index, -1 if it was out of range.
    int removeAt(std::int64_t index);
    // Removes all elements.
    void clear() { strings_.clear(); }

    // The elements, one behind the other.
    UT_String* begin() { return strings_.data(); }
    UT_String* end() { return strings_.data() + strings_.size(); }
    const UT_String* begin() const { return strings_.data(); }
    const UT_String* end() const { return strings_.data() + strings_.size(); }

private:
    static std::size_t place(std::int64_t index) { return static_cast<std::size_t>(index); }
    static UT_String& spare();
    bool contains(std::int64_t index) const { return index >= 0 && index < std::int64_t{entries()}; }

    std::vector<UT_String> strings_;
};
