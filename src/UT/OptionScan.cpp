#include <UT/OptionScan.h>

OptionScan::OptionScan(int argc, const char* const* argv, std::string_view letters)
    : argc_(argv ? argc : 0), argv_(argv), letters_(letters) {}

int OptionScan::next() {
    argument_ = nullptr;
    if (!*place_) {
        const char* word = this->word(index_);
        // "-" alone is an operand.
        if (!word || word[0] != '-' || !word[1]) return kEnd;
        ++index_;
        if (std::string_view(word) == "--") return kEnd;
        place_ = word + 1;
    }
    const char letter = *place_++;
    const std::size_t known = letter == ':' ? letters_.npos : letters_.find(letter);
    if (known == letters_.npos) return kUnknown;
    if (letters_.substr(known + 1).starts_with(':')) {
        // The argument is what is left of the word, else the next word.
        argument_ = *place_ ? place_ : word(index_);
        if (!argument_) return kUnknown;
        if (!*place_) ++index_;
        place_ = "";
    }
    return static_cast<unsigned char>(letter);
}
