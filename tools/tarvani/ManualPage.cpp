#include "ManualPage.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "Describe.h"
#include "Help.h"

namespace {

// The formatter fills the lines; the source has to be short ones nevertheless.
constexpr std::size_t kWidth = 76;

constexpr const char* kEnvironment = R"(.SH ENVIRONMENT
Lists of directories are split at
.BR : ;
an empty element stands for the defaults.
.TP
.B TARVANI_PATH
known path 0: where included files, path files and preferences are looked for
.TP
.B TARVANI_DSO_PATH
known path 1: where plug\-ins are looked for
.TP
.BR TARVANI_SITE_DSO_PATH ", " TARVANI_USER_DSO_PATH
known paths 2 and 3: plug\-ins of the site and of the user
.TP
.B TARVANI_HOME
the user\(aqs directory; else
.I $XDG_CONFIG_HOME/tarvani
or
.I $HOME/.config/tarvani
.TP
.B TMPDIR
where temporary files go, else
.I /tmp
.TP
.B NO_COLOR
if it is set, help and errors on a terminal have no bold words
.SH SEE ALSO
.BR tarvani\-path (7)
)";

// Text as it stands: a line that the formatter would obey is kept from it, and so are signs that it would change.
std::string escaped(std::string_view text) {
    std::string out = text.starts_with('.') ? "\\&" : "";
    for (const char c : text) {
        switch (c) {
            case '\\':
                out += "\\e";
                break;
            case '-':
                out += "\\-";
                break;
            case '\'':
                out += "\\(aq";
                break;
            case '`':
                out += "\\(ga";
                break;
            case '^':
                out += "\\(ha";
                break;
            case '~':
                out += "\\(ti";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// A paragraph, in lines.
std::string prose(std::string_view text) {
    std::string out;
    const std::string lines = wrapped(escaped(text), kWidth);
    for (std::string_view rest = lines; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        out.append(line.starts_with('.') ? "\\&" : "").append(line).append("\n");
    }
    return out;
}

std::string inBold(std::string_view text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string optionEntry(const ArgumentInfo& option) {
    std::string title;
    for (const std::string& name : option.names) title += (title.empty() ? "" : ", ") + inBold(name);
    if (!option.value.empty()) title += " \\fI" + escaped(option.value) + "\\fR" + (option.isRepeated ? "..." : "");
    return ".TP\n" + title + "\n" + prose(option.help);
}

std::string examplesText(const CommandInfo& command) {
    std::string text = ".PP\nExamples:\n.PP\n.nf\n.RS\n";
    for (const ExampleInfo& example : command.examples) {
        if (!example.purpose.empty()) text += escaped("# " + example.purpose) + "\n";
        text += escaped(example.line) + "\n";
    }
    return text + ".RE\n.fi\n";
}

std::string subcommandText(const CommandInfo& command, const std::string& usualStatus) {
    std::string text = ".SS tarvani " + command.words + "\n" + prose(command.usage()) + ".PP\n";
    text += prose(command.summary + "." + (command.details.empty() ? "" : " " + command.details));
    for (const ArgumentInfo& argument : command.arguments)
        text += ".TP\n\\fI" + escaped(argument.value) + "\\fR\n" + prose(argument.help);
    for (const ArgumentInfo& option : command.options) text += optionEntry(option);
    if (!command.examples.empty()) text += examplesText(command);
    if (command.status != usualStatus) text += ".PP\n" + prose("Exit status: " + command.status + ".");
    return text;
}

std::string date() {
    const char* const epoch = std::getenv("SOURCE_DATE_EPOCH");
    const std::time_t time = epoch != nullptr ? static_cast<std::time_t>(std::atoll(epoch)) : std::time(nullptr);
    std::tm day{};
    ::gmtime_r(&time, &day);
    char text[32];
    return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%d", &day));
}

}  // namespace

std::string manualPage(const CommandInfo& all) {
    std::string text = ".\\\" Made by \"tarvani help --man\".\n.TH TARVANI 1 " + date() + " \"tarvani " +
                       commandVersion() + "\"\n.SH NAME\ntarvani \\- files, and what lies in containers, by path\n";
    text += ".SH SYNOPSIS\n.B tarvani\n[\\fIOPTION\\fR]...\n.I SUBCOMMAND\n[\\fIARGUMENT\\fR]...\n";
    text += ".SH DESCRIPTION\n" + prose(all.summary + ". " + all.details);
    text += ".BR tarvani\\-path (7)\ntells what paths mean.\n.SH OPTIONS\n";
    for (const ArgumentInfo& option : all.options) text += optionEntry(option);
    text += ".SH SUBCOMMANDS\n";
    forEachCommand(all, [&](const CommandInfo& command) {
        if (!command.words.empty()) text += subcommandText(command, all.status);
    });
    text += ".SH EXIT STATUS\n" +
            prose(all.status +
                  ". Each failure is one line on standard error; of several paths the others are still served.");
    return text + kEnvironment;
}
