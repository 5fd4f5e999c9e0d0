#include "Help.h"

#include <CLI/CLI.hpp>

#include "Console.h"

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 24;

// Breaks a text at blanks into lines of at most `width`. The parser's formatter indents what follows a line end.
std::string wrapped(std::string_view text, std::size_t width) {
    std::string lines;
    while (text.size() > width) {
        const std::size_t blank = text.rfind(' ', width);
        if (blank == std::string_view::npos) break;
        lines.append(text.substr(0, blank)).append("\n");
        text.remove_prefix(blank + 1);
    }
    return lines.append(text);
}

class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() { column_width(kColumn); }

    std::string make_usage(const CLI::App* app, std::string name) const override {
        std::string line = "Usage: " + name;
        if (!app->get_options([](const CLI::Option* o) { return o->nonpositional(); }).empty()) line += " [OPTION]...";
        for (const CLI::Option* option : app->get_options([](const CLI::Option* o) { return o->get_positional(); }))
            line += " " + make_option_usage(option);
        if (!app->get_subcommands({}).empty()) line += " SUBCOMMAND";
        return line + "\n";
    }
    std::string make_option_usage(const CLI::Option* option) const override {
        const std::string name = option->get_name(true) + (option->get_expected_max() > 1 ? "..." : "");
        return option->get_required() ? name : "[" + name + "]";
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        const std::string type = option->get_type_name();
        return option->get_positional() || type.empty() ? "" : " " + type;
    }
    std::string make_option_desc(const CLI::Option* option) const override {
        return wrapped(option->get_description(), kWidth - kColumn);
    }
    std::string make_subcommand(const CLI::App* app) const override {
        std::stringstream out;
        CLI::detail::format_help(out, app->get_name(), wrapped(app->get_description(), kWidth - kColumn), kColumn);
        return out.str();
    }
};

}  // namespace

std::shared_ptr<CLI::FormatterBase> makeHelpFormatter() {
    return std::make_shared<HelpFormatter>();
}

std::string examplesText(std::string_view examples) {
    std::string text = "Examples:";
    while (!examples.empty()) {
        const std::size_t end = examples.find('\n');
        text.append("\n  ").append(examples.substr(0, end));
        examples.remove_prefix(end == std::string_view::npos ? examples.size() : end + 1);
    }
    return text;
}

void printHelp(const CLI::App& app, const std::string& line) {
    // Not the parser's own help(), which goes on into the subcommand that was parsed: that may be "help" itself.
    const std::string name = line + (line.empty() ? "" : " ") + app.get_name();
    standardOutput().write(app.get_formatter()->make_help(&app, name, CLI::AppFormatMode::Normal));
}
