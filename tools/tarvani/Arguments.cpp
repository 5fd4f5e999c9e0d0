#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace {

constexpr int kNoLimit = 1 << 28;

// The parser's own conversions give brackets and braces a meaning; this takes the texts untouched.
CLI::Option* addRaw(CLI::App& app, const char* name, const char* help, Given<std::vector<std::string>> texts) {
    CLI::Option* const option = app.add_option(
        name,
        [texts](const CLI::results_t& results) {
            *texts = results;
            return true;
        },
        help);
    option->type_name("")->type_size(1)->expected(1)->allow_extra_args(false);
    return option;
}

void readNumber(const std::string& text, int least, int most, int& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && number >= least && number <= most) return;
    throw CLI::ValidationError("\"" + text + "\" is not a number from " + std::to_string(least) + " to " +
                               std::to_string(most));
}

CLI::Option* addNumberTo(CLI::App& app, const char* name, int least, int most, Given<int> number, const char* help) {
    CLI::Option* const option = app.add_option(
        name,
        [=](const CLI::results_t& results) {
            readNumber(results.front(), least, most, *number);
            return true;
        },
        help);
    option->type_name("")->type_size(1)->expected(1);
    return option;
}

}  // namespace

Given<std::string> addText(CLI::App& app, const char* name, const char* help) {
    const auto text = std::make_shared<std::string>();
    app.add_option(
           name,
           [text](const CLI::results_t& results) {
               *text = results.front();
               return true;
           },
           help)
        ->type_name("")
        ->type_size(1)
        ->expected(1)
        ->allow_extra_args(false)
        ->required();
    return text;
}

Given<std::vector<std::string>> addOptionalText(CLI::App& app, const char* name, const char* help) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    addRaw(app, name, help, texts);
    return texts;
}

Given<std::vector<std::string>> addTexts(CLI::App& app, const char* name, int fewest, const char* help) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    CLI::Option* const option = addRaw(app, name, help, texts);
    option->expected(fewest, kNoLimit)->allow_extra_args(false)->required(fewest > 0);
    return texts;
}

Given<int> addNumber(CLI::App& app, const char* name, int least, int most, const char* help) {
    const auto number = std::make_shared<int>(0);
    addNumberTo(app, name, least, most, number, help)->required();
    return number;
}

Given<int> addNumberOption(CLI::App& app, const char* name, int least, int most, int standard, const char* help) {
    const auto number = std::make_shared<int>(standard);
    addNumberTo(app, name, least, most, number, help);
    return number;
}

Given<bool> addFlag(CLI::App& app, const char* name, const char* help) {
    const auto flag = std::make_shared<bool>(false);
    app.add_flag(name, *flag, help);
    return flag;
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
