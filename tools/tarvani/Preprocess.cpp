// cpp and tokens.
#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <preprocessor/CPP_Manager.h>
#include <preprocessor/CPP_Stream.h>
#include <preprocessor/CPP_TokenStream.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <optional>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Destination.h"
#include "LibraryPath.h"

namespace {

constexpr Letter kLetters[] = {
    {"-P", "leave out the markers that tell file and line"},
    {"-C", "leave comments in"},
    {"-U NAME", "remove a macro"},
    {"-D TEXT", "define a macro: NAME or NAME=VALUE"},
    {"-I DIR", "look for included files there, too, last of all"},
    {"-r NUMBER", "expand macros nested up to one less than this, 128 if not given"},
    {"-n", "has no effect"},
    {"-h", "\"#\" begins a comment; a directive must begin its line"},
    {"-H", "take lines of include and sinclude without \"#\""},
    {"-c", "take // and /* as plain text"},
    {"-x", "replace variables in the names of included files, which is done in any case"},
};

// Why there is no source. What other subcommands read by the same path may be there.
std::string whyClosed(const std::string& path, int error) {
    const LibraryPath parts(path);
    const bool isPlain = parts.isLocal && parts.file == path;
    return errorWords(error) + (isPlain ? "" : "; a section or a page is piped from \"tarvani cat\" to \"-\"");
}

// The file that is read: as it stands on the command line, without a search.
class Input {
public:
    explicit Input(const std::string& path)
        : path_(path), file_(path == "-" ? stdin : std::fopen(path.c_str(), "rb"), &std::fclose) {
        if (!file_) throw Failure{path, whyClosed(path, errno)};
        if (::fstat(::fileno(file_.get()), &status_) == 0 && S_ISDIR(status_.st_mode))
            throw Failure{name(), errorWords(EISDIR)};
        std::setvbuf(file_.get(), block_.get(), _IOFBF, kBlockSize);
    }

    std::FILE* file() const { return file_.get(); }
    // In messages of the command, and of the preprocessor.
    std::string name() const { return path_ == "-" ? "standard input" : path_; }
    const char* nameInText() const { return path_ == "-" ? "stdin" : path_.c_str(); }
    bool isTerminal() const { return ::isatty(::fileno(file_.get())) == 1; }

    bool isSameAs(const struct stat& other) const {
        return S_ISREG(status_.st_mode) && status_.st_dev == other.st_dev && status_.st_ino == other.st_ino;
    }
    // Throws Failure if the end that was reached isn't the file's.
    void checkEnd() const {
        if (std::ferror(file_.get())) throw Failure{name(), "reading failed"};
    }

private:
    static constexpr std::size_t kBlockSize = 64 * 1024;

    std::string path_;
    const std::unique_ptr<char[]> block_ = std::make_unique_for_overwrite<char[]>(kBlockSize);  // outlives file_
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    struct stat status_ {};
};

// Where the lines go to: a path, or standard output.
class Output {
public:
    // Opens `path`, if there is one. Writing must never change what is being read.
    Output(const std::vector<std::string>& path, const Input& input) {
        struct stat status {};
        const bool known = path.empty() ? ::fstat(STDOUT_FILENO, &status) == 0
                                        : ::stat(LibraryPath(path.front()).file.c_str(), &status) == 0;
        if (known && input.isSameAs(status))
            throw path.empty() ? Failure{input.name(), "is the file that standard output goes to"}
                               : Failure{path.front(), "is the same as " + input.name()};
        if (!path.empty()) destination_.emplace(path.front());
    }

    void write(std::string_view text) {
        if (destination_)
            destination_->write(text);
        else
            standardOutput().write(text);
    }
    // A person who types gets an answer at once.
    void flush() {
        if (!destination_) standardOutput().flush();
    }
    void finish() {
        if (destination_)
            destination_->finish();
        else
            standardOutput().flush();
    }

private:
    std::optional<Destination> destination_;
};

std::vector<const char*> optionList(const std::vector<std::string>& letters) {
    std::vector<const char*> options{"tarvani"};
    for (const std::string& word : letters) options.push_back(word.c_str());
    options.push_back(nullptr);
    return options;
}

std::string withoutLineEnd(std::string_view text) {
    while (text.ends_with('\n')) text.remove_suffix(1);
    return std::string(text);
}

// The error lines of an output: one line on standard error speaks for them all. Text may look like one, so those count
// that come once the preprocessor has an error; and a call that goes on behind an included file may take one for an
// argument.
class ErrorLines {
public:
    explicit ErrorLines(const CPP_Manager& manager) : manager_(manager) {}

    void look(std::string_view line) {
        constexpr std::string_view kMark = "# error ";
        if (!line.starts_with(kMark) || !manager_.hasError()) return;
        if (count_++ == 0) first_ = withoutLineEnd(line.substr(kMark.size()));
    }
    int report(const Input& input) const {
        if (!manager_.hasError()) return 0;
        const std::string others = " (the first of " + std::to_string(count_) + " errors)";
        complain({input.name(), first_ + (count_ > 1 ? others : "")});
        return 1;
    }

private:
    const CPP_Manager& manager_;
    std::size_t count_ = 0;
    std::string first_ = "an error line went into the arguments of a macro";
};

// Makes a stream the preprocessor's standard input, for as long as this lives.
class StandsForStdin {
public:
    explicit StandsForStdin(UT_IStream& source) { CPP_Stream::setStdin(source); }
    ~StandsForStdin() { CPP_Stream::clearStdin(); }
    StandsForStdin(const StandsForStdin&) = delete;
    StandsForStdin& operator=(const StandsForStdin&) = delete;
};

int preprocess(const std::vector<std::string>& letters, const std::string& path,
               const std::vector<std::string>& outputPath) {
    const Input input(path);
    Output output(outputPath, input);
    const std::vector<const char*> options = optionList(letters);
    CPP_Manager manager;
    manager.setOptions(static_cast<int>(options.size()) - 1, options.data());
    UT_IStream source(input.file(), UT_ISTREAM_BINARY);
    // A source that includes "stdin" goes on where this one stands.
    std::optional<StandsForStdin> standsForStdin;
    if (path == "-") standsForStdin.emplace(source);
    manager.open(source, input.nameInText());
    const bool typed = input.isTerminal();
    ErrorLines errors(manager);
    std::string_view line;
    while (manager.getLine(line)) {
        output.write(line);
        errors.look(line);
        if (typed) output.flush();
    }
    input.checkEnd();
    output.finish();
    return errors.report(input);
}

class Words : public CPP_TokenStream {
public:
    Words(UT_IStream& source, const Input& input, const char* const* options)
        : CPP_TokenStream(source, input.nameInText(), options), name_(input.name()) {}

    void cppError(const char* message) const override {
        tell(message);
        failed_ = true;
    }
    void cppWarning(const char* message) const override { tell(message); }
    bool hasFailed() const { return failed_; }

private:
    void tell(const char* message) const {
        standardOutput().flush();
        complain({name_, withoutLineEnd(message)});
    }

    std::string name_;
    mutable bool failed_ = false;
};

int printWords(const std::vector<std::string>& letters, const std::string& path) {
    const Input input(path);
    Output output({}, input);
    UT_IStream source(input.file(), UT_ISTREAM_BINARY);
    Words words(source, input, optionList(letters).data());
    const bool typed = input.isTerminal();
    UT_String word;
    while (words.getToken(word)) {
        output.write(word.view());
        output.write("\n");
        if (typed) output.flush();
    }
    input.checkEnd();
    output.finish();
    return words.hasFailed() ? 1 : 0;
}

constexpr const char* kFileHelp = "the source, opened as it stands; \"-\" is standard input";

// The letter -h is the preprocessor's.
void declareLongHelp(CLI::App& app) {
    app.set_help_flag("--help", "print this help and exit");
}

Action declareCpp(CLI::App& app) {
    declareLongHelp(app);
    const auto letters = addLetters(app, kLetters);
    const auto output = addOptionalText(app, "--output PATH", "write to a file or a section, not to standard output");
    const auto file = addText(app, "FILE", kFileHelp);
    return [=] { return preprocess(*letters, *file, *output); };
}

Action declareTokens(CLI::App& app) {
    declareLongHelp(app);
    const auto letters = addLetters(app, kLetters);
    const auto file = addText(app, "FILE", kFileHelp);
    return [=] { return printWords(*letters, *file); };
}

constexpr const char* kStatus = "0 done, 1 failed or the text has an error, 2 wrong usage";

constexpr Subcommand kCommands[] = {
    {"cpp", "Preprocess a text file",
     "tarvani cpp -P -D DEBUG=1 -I include scene.rc\n"
     "make-it | tarvani cpp -P --output scene.txt -",
     declareCpp,
     "That is to expand macros, to put in included files, and to choose by conditions. A letter means what it means to "
     "the preprocessor, so help is --help alone.",
     kStatus},
    {"tokens", "Print the words of a preprocessed text file, by lines", "tarvani tokens -D QUALITY=2 scene.rc",
     declareTokens, "", kStatus},
};

}  // namespace

const std::span<const Subcommand> kPreprocessCommands = kCommands;
