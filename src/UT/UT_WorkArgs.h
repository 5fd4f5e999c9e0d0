#pragma once
// The list of words that UT_String::dosParse fills. It borrows the words: they lie in the characters of the string
// that was split and are valid until that string changes, also when the list has gone.
//
//     UT_WorkArgs args;
//     if (line.dosParse(args) > 1) use(args(0), args(1));
#include <cstdint>
#include <vector>

class UT_WorkArgs {
public:
    UT_WorkArgs() = default;
    // A copy shows the same words. There is no move, which would leave the array without its null.
    UT_WorkArgs(const UT_WorkArgs&) = default;
    UT_WorkArgs& operator=(const UT_WorkArgs&) = default;

    // Words in all.
    int entries() const { return static_cast<int>(words_.size()) - 1; }
    int argc() const { return entries(); }
    // The words as an array that ends with a null. Valid until the list changes.
    char** argv() { return words_.data(); }
    char* const* argv() const { return words_.data(); }
    // A word by index, null out of range.
    char* operator()(std::int64_t index) const {
        return index >= 0 && index < entries() ? words_[static_cast<std::size_t>(index)] : nullptr;
    }
    // Adds a word at the end; borrows its characters. Null ends the words for who reads argv().
    void append(char* word) {
        words_.back() = word;
        words_.push_back(nullptr);
    }
    // Removes all words.
    void clear() { words_.assign(1, nullptr); }

private:
    std::vector<char*> words_{nullptr};
};
