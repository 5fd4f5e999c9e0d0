#pragma once
// Private: reads a feature file, word by word, into a table of renderers. FS_RibFeatures tells the language.
#include <UT/UT_EnvControl.h>
#include <UT/UT_OptionFile.h>
#include <UT/UT_SortedSymbolTable.h>
#include <UT/UT_String.h>
#include <preprocessor/CPP_TokenStream.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

// The definitions come into the table, which doesn't own them. It may hold some already.
class FeatureReader {
public:
    FeatureReader(CPP_TokenStream& words, UT_SortedSymbolTable& renderers) : words_(words), renderers_(renderers) {}

    void read() {
        UT_String word;
        while (words_.getToken(word)) readEntry(word);
        if (!open_) return;
        close();
        report("Warning: Missing closing brace");
    }

private:
    static constexpr const char* kTokenKey = "rib.renderer.token";
    static constexpr const char* kLabelKey = "rib.renderer.label";
    // Bytes of memory that all definitions inherit, more or less, and the last one beyond that. Each takes over what
    // its parent took over: a few thousand in a row would fill any memory.
    static constexpr std::size_t kMostInherited = std::size_t{64} << 20;

    UT_OptionFile* find(const UT_String& token) const { return renderers_[token.view()].as<UT_OptionFile>(); }

    void readEntry(UT_String& word) {
        if (word == "{") {
            close();
            open_ = std::make_unique<UT_OptionFile>(nullptr);
        } else if (word == "}") {
            if (!open_) return report("Unexpected closing brace }");
            close();
        } else if (word == "inherit") {
            inherit();
        } else {
            setOption(word);
        }
    }

    void inherit() {
        if (!open_) return report("Expecting open brace { instead of 'inherit'");
        UT_String token;
        if (!words_.getToken(token)) return report("Missing inherit value");
        const UT_OptionFile* const parent = find(token);
        if (!parent) return report("Unable to find %s to inherit options from", token.buffer());
        if (left_ == 0) return report("Too much is inherited: nothing more from %s", token.buffer());
        left_ -= std::min(left_, bytesOf(*parent));
        open_->merge(*parent);
    }

    static std::size_t bytesOf(const UT_OptionFile& options) {
        constexpr std::size_t kEntry = 128;
        std::size_t count = 0;
        UT_String text;
        for (const char* name = options.getNextName(nullptr); name; name = options.getNextName(name)) {
            options.getOption(name, text, nullptr);
            count += kEntry + std::string_view(name).size() + text.view().size();
        }
        return count;
    }

    void setOption(UT_String& key) {
        if (!open_) return report("Expecting open brace { instead of %s", key.buffer());
        UT_String value;
        if (!words_.getToken(value)) return report("Missing value for %s", key.buffer());
        key.toLower();
        open_->setOptionFromText(key.buffer(), value);
    }

    // Puts the open definition, if there is one, into the table.
    void close() {
        std::unique_ptr<UT_OptionFile> options = std::move(open_);
        if (!options) return;
        UT_String token;
        if (!options->getOption(kTokenKey, token, "")) return report("Missing render identification (rib.renderer)");
        if (!options->hasOption(kLabelKey)) options->setOption(kLabelKey, token);
        add(token, std::move(options));
    }

    void add(const UT_String& token, std::unique_ptr<UT_OptionFile> options) {
        if (UT_OptionFile* const old = find(token)) {
            report("Overwriting existing definition for %s", token.buffer());
            delete old;  // and addSymbol takes its place
        }
        report("Adding defintion for renderer %s", token.buffer());
        renderers_.addSymbol(token.view(), UT_Thing(options.get()));
        static_cast<void>(options.release());
    }

    void report(const char* format, ...) const __attribute__((format(printf, 2, 3))) {
        if (!UT_EnvControl::getInt(UT_CONTROL_FEATURES_VERBOSE)) return;
        std::fprintf(stderr, "%s[%d]: ", words_.getFileName(), words_.getLineNumber());
        std::va_list arguments;
        va_start(arguments, format);
        std::vfprintf(stderr, format, arguments);
        va_end(arguments);
        std::fputc('\n', stderr);
    }

    CPP_TokenStream& words_;
    UT_SortedSymbolTable& renderers_;
    std::unique_ptr<UT_OptionFile> open_;  // the definition between its braces
    std::size_t left_ = kMostInherited;
};
