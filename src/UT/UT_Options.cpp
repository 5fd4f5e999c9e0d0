// Options text, line by line. Which type a value gets says UT_OptionFile::setOptionFromText.
#include <UT/TextScan.h>
#include <UT/UT_IStream.h>
#include <UT/UT_Options.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <string_view>

namespace {

// The line up to a NUL, without white space in front.
std::string_view contentOf(const UT_WorkBuffer& line) {
    const std::string_view text = std::string_view(line.buffer());
    const auto start = std::find_if_not(text.begin(), text.end(), textscan::isSpace);
    return text.substr(static_cast<std::size_t>(start - text.begin()));
}

}  // namespace

UT_Options::UT_Options() : UT_OptionFile(nullptr) {}
UT_Options::~UT_Options() = default;
UT_Options::UT_Options(const UT_Options& other) = default;
UT_Options& UT_Options::operator=(const UT_Options& other) = default;

bool UT_Options::load(const char* name, UT_IStream& stream) {
    source_ = name ? name : "";
    errorLine_ = 0;
    if (!stream.getSource()) return false;
    UT_WorkBuffer line;
    for (int number = 1; stream.getLine(line, '\n'); ++number) {
        const std::string_view content = contentOf(line);
        if (content.empty() || content.front() == '#') continue;
        UT_IStream words(content.data(), static_cast<int>(content.size()), UT_ISTREAM_ASCII);
        UT_String option, value, surplus;
        if (!words.readString(option, false) || option.isEmpty() || !words.readString(value, false) ||
            words.readString(surplus, false)) {
            errorLine_ = number;
            return false;
        }
        setOptionFromText(option.buffer(), value);
    }
    return !stream.hasFailed();
}
