#pragma once
// Private: reads option letters from a word list by the POSIX rules: no permutation, no message, no state outside
// the object.
//
//     OptionScan scan(argc, argv, "PCU:");
//     for (int letter = scan.next(); letter != OptionScan::kEnd; letter = scan.next()) apply(letter, scan.argument());
#include <string_view>

class OptionScan {
public:
    static constexpr int kEnd = -1;
    static constexpr int kUnknown = '?';  // an unknown letter, or one whose argument is missing

    // Scans argv[1] to argv[argc - 1]. In `letters` each option letter stands once, with ":" behind it if it takes an
    // argument. All three are borrowed. A null word ends the list.
    OptionScan(int argc, const char* const* argv, std::string_view letters);

    // The next option letter, kUnknown, or kEnd at the first word that is no option and behind "--", where
    // the scan is over.
    int next();
    // The argument of the letter that next() gave; null if it takes none.
    const char* argument() const { return argument_; }
    // Index of the next word to be read: behind the end of the scan, that of the first operand.
    int index() const { return index_; }

private:
    const char* word(int index) const { return index < argc_ ? argv_[index] : nullptr; }

    int argc_;
    const char* const* argv_;
    std::string_view letters_;
    int index_ = 1;
    const char* place_ = "";  // what is left of the word being read
    const char* argument_ = nullptr;
};
