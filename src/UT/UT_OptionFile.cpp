// Typed options and their forms as text.
#include <UT/TextScan.h>
#include <UT/UT_OptionFile.h>
#include <UT/UT_String.h>

#include <charconv>
#include <iterator>
#include <string_view>

namespace {

template <class Number>
void putNumber(Number number, UT_String& out) {
    char text[32];  // more than the shortest form of any int or float takes
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    out = std::string_view(text, static_cast<std::size_t>(end - text));
}

// The number that the whole text is, if its type can hold it.
template <class Number>
bool readNumber(std::string_view text, Number& number) {
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

UT_OptionFile::UT_OptionFile(UT_OptionParser*) {}
UT_OptionFile::~UT_OptionFile() = default;
UT_OptionFile::UT_OptionFile(const UT_OptionFile& other) = default;
UT_OptionFile& UT_OptionFile::operator=(const UT_OptionFile& other) = default;

void UT_OptionFile::setOption(const char* name, int value) {
    store(name, value);
}

void UT_OptionFile::setOption(const char* name, float value) {
    store(name, value);
}

void UT_OptionFile::setOption(const char* name, bool value) {
    store(name, value);
}

void UT_OptionFile::setOption(const char* name, const UT_String& value) {
    store(name, std::string(value.view()));
}

void UT_OptionFile::setOption(const char* name, const char* value) {
    store(name, std::string(value ? value : ""));
}

void UT_OptionFile::setOptionFromText(const char* name, const UT_String& value) {
    const std::string_view text = value.view();
    int integer = 0;
    float number = 0;
    if (value.isInteger() && readNumber(text, integer)) return setOption(name, integer);
    if (value.isFloat() && readNumber(text, number)) return setOption(name, number);
    if (textscan::equalsLower(text, "true") || textscan::equalsLower(text, "on")) return setOption(name, true);
    if (textscan::equalsLower(text, "false") || textscan::equalsLower(text, "off")) return setOption(name, false);
    setOption(name, value);
}

bool UT_OptionFile::hasOption(const char* name) const {
    return find(name) != nullptr;
}

UT_OptionFile::Type UT_OptionFile::getOptionType(const char* name) const {
    const Value* value = find(name);
    return value ? static_cast<Type>(value->index() + 1) : NONE;
}

bool UT_OptionFile::getOption(const char* name, UT_String& out, const char* defaultText) const {
    const Value* value = find(name);
    if (!value) {
        out = defaultText;
        return false;
    }
    if (const int* integer = std::get_if<int>(value)) putNumber(*integer, out);
    if (const float* number = std::get_if<float>(value)) putNumber(*number, out);
    if (const bool* truth = std::get_if<bool>(value)) out = *truth ? "on" : "off";
    if (const std::string* text = std::get_if<std::string>(value)) out = text->c_str();
    return true;
}

void UT_OptionFile::merge(const UT_OptionFile& other) {
    if (this != &other) options_.insert(other.options_.begin(), other.options_.end());
}

int UT_OptionFile::entries() const {
    return static_cast<int>(options_.size());
}

const char* UT_OptionFile::getName(int index) const {
    if (index < 0 || index >= entries()) return nullptr;
    return std::next(options_.begin(), index)->first.c_str();
}

const char* UT_OptionFile::getNextName(const char* name) const {
    const auto next = name ? options_.upper_bound(std::string_view(name)) : options_.begin();
    return next == options_.end() ? nullptr : next->first.c_str();
}

const UT_OptionFile::Value* UT_OptionFile::find(const char* name) const {
    if (!name) return nullptr;
    const auto found = options_.find(std::string_view(name));
    return found == options_.end() ? nullptr : &found->second;
}

void UT_OptionFile::store(const char* name, Value value) {
    if (name && *name) options_.insert_or_assign(name, std::move(value));
}
