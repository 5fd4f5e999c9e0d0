#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr int kNoLimit = 1 << 28;

// To the parser "[a,b]" is a list of two, even as the name of a file. So what begins with a bracket goes through it
// behind a mark, which is taken off afterwards; and so does what stands behind "--".
constexpr char kMark = '\1';

// What stands behind this option belongs to another program, options of its own included.
constexpr std::string_view kRestOption = "--exec";

bool needsMark(const char* text) {
    return *text == '[' || *text == kMark;
}

// The parser's own conversions give braces a meaning too; this takes the texts untouched.
CLI::Option* addRaw(CLI::App& app, const char* name, const char* help,
                    const std::function<void(const std::string&)>& take) {
    const std::string_view words(name);
    const std::size_t blank = words.find(' ');
    CLI::Option* const option = app.add_option(
        std::string(words.substr(0, blank)),
        [take](const CLI::results_t& results) {
            for (const std::string& result : results) take(unmarked(result));
            return true;
        },
        help);
    return option->type_name(blank == words.npos ? "" : std::string(words.substr(blank + 1)))
        ->type_size(1)
        ->expected(1)
        ->allow_extra_args(false);
}

void readNumber(const std::string& text, int least, int most, int& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && number >= least && number <= most) return;
    throw CLI::ValidationError("\"" + text + "\" is not a number from " + std::to_string(least) + " to " +
                               std::to_string(most));
}

void checkNumber(const std::string& text) {
    int number = 0;
    readNumber(text, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), number);
}

}  // namespace

std::string unmarked(const std::string& text) {
    return text.starts_with(kMark) ? text.substr(1) : text;
}

std::vector<std::string> plainArguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    bool isOthers = false;
    bool isPlain = false;
    for (int i = 1; i < argc; ++i) {
        // The parser would end the subcommand here once it has all that it must have.
        if (!isOthers && !isPlain && std::string_view(argv[i]) == "--") {
            isPlain = true;
            continue;
        }
        arguments.push_back(std::string(isOthers || isPlain || needsMark(argv[i]) ? 1 : 0, kMark) + argv[i]);
        isOthers = isOthers || (argv[i] == kRestOption && std::string_view(argv[1]) == "listen");
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

Given<std::string> addText(CLI::App& app, const char* name, const char* help) {
    const auto text = std::make_shared<std::string>();
    addRaw(app, name, help, [text](const std::string& given) { *text = given; })->required();
    return text;
}

Given<std::vector<std::string>> addOptionalText(CLI::App& app, const char* name, const char* help) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    addRaw(app, name, help, [texts](const std::string& given) { texts->push_back(given); });
    return texts;
}

Given<std::vector<std::string>> addTexts(CLI::App& app, const char* name, int fewest, const char* help) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    addRaw(app, name, help, [texts](const std::string& given) { texts->push_back(given); })
        ->expected(fewest, kNoLimit)
        ->allow_extra_args(true)
        ->required(fewest > 0);
    return texts;
}

Given<std::vector<std::string>> addProgram(CLI::App& app, const char* name, const char* help) {
    const auto words = std::make_shared<std::vector<std::string>>();
    addRaw(app, name, help, [words](const std::string& given) { words->push_back(given); })
        ->expected(1, kNoLimit)
        ->allow_extra_args(true);
    return words;
}

Given<int> addNumber(CLI::App& app, const char* name, int least, int most, const char* help) {
    const auto number = std::make_shared<int>(0);
    addRaw(app, name, help, [=](const std::string& given) { readNumber(given, least, most, *number); })->required();
    return number;
}

Given<int> addNumberOption(CLI::App& app, const char* name, int least, int most, int standard, const char* help) {
    const auto number = std::make_shared<int>(standard);
    addRaw(app, name, help, [=](const std::string& given) { readNumber(given, least, most, *number); });
    return number;
}

Given<std::vector<std::string>> addLetters(CLI::App& app, std::span<const Letter> letters) {
    const auto words = std::make_shared<std::vector<std::string>>();
    for (const Letter& letter : letters) {
        const std::string option(letter.name, 2);
        if (option == letter.name) {
            app.add_flag_callback(
                   option, [=] { words->push_back(option); }, letter.help)
                ->trigger_on_parse();
            continue;
        }
        const bool isNumber = std::string_view(letter.name).ends_with(" NUMBER");
        const auto take = [=](const std::string& given) {
            if (isNumber) checkNumber(given);
            words->insert(words->end(), {option, given});
        };
        addRaw(app, letter.name, letter.help, take)->trigger_on_parse();
    }
    return words;
}

Given<bool> addFlag(CLI::App& app, const char* name, const char* help) {
    const auto flag = std::make_shared<bool>(false);
    app.add_flag(name, *flag, help);
    return flag;
}

void addRule(CLI::App& app, const std::function<std::string()>& mistake) {
    app.parse_complete_callback([mistake] {
        if (const std::string words = mistake(); !words.empty()) throw CLI::ValidationError(words);
    });
}

int forEach(const std::vector<std::string>& paths, const std::function<void(const std::string&)>& work) {
    int status = 0;
    for (const std::string& path : paths) {
        try {
            work(path);
        } catch (const Failure& failure) {
            if (failure.path == StandardOutput::kName) throw;  // it will not be better for the next path
            standardOutput().flush();
            complain(failure);
            status = 1;
        }
    }
    return status;
}
