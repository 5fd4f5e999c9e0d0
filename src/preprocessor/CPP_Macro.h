#pragma once
// One macro of the preprocessor: the text of a definition, read once, and the replacement text made from arguments.
//
//     CPP_Macro scale("scale(v) (v*100)", 0);
//     char argument[] = "width";
//     char* const arguments[] = {argument};
//     UT_String text;
//     scale.expandMacro(arguments, text);  // " (width*100)"
//
// A macro knows nothing of files, of other macros or of recursion: CPP_Manager scans what it gives. A copy borrows the
// texts of its original and must not outlive it.
#include <UT/UT_Export.h>

#include <cstddef>
#include <string_view>

class UT_String;
class UT_WorkBuffer;

// What a macro stands for.
enum CPP_MacroType {
    CPP_MACRO_NORMAL = 0,  // has a definition
    CPP_MACRO_FILE = 1,    // __FILE__
    CPP_MACRO_LINE = 2,    // __LINE__
    CPP_MACRO_DATE = 3,    // __DATE__
    CPP_MACRO_TIME = 4,    // __TIME__
};

class TARVANI_EXPORT CPP_Macro {
public:
    // Parameters that a macro can have at most. With more its definition counts as illegal.
    static constexpr int kMostParameters = 255;

    // A built-in macro. It has neither name nor definition: whoever expands it knows the text.
    explicit CPP_Macro(CPP_MacroType type);
    // A macro from its definition: with `commandLine` 0 what stands behind #define, otherwise what stands behind the
    // option -D (`NAME`, which is empty, or `NAME=value`). A text without a legal name gives an empty macro with a
    // name that no text can use. A null text is an empty one.
    CPP_Macro(const char* text, int commandLine);
    ~CPP_Macro();
    CPP_Macro(const CPP_Macro& other);
    CPP_Macro& operator=(const CPP_Macro& other);

    // Puts the replacement text into `out`, never null. `args` holds at least getArgCount() texts; a null text is an
    // empty one. Arguments go in unchanged. A built-in gives the empty text.
    void expandMacro(char* const args[], UT_String& out) const;
    // Appends the replacement text, made from getArgCount() texts at `args`, to `out`. False, with `out` holding a part
    // of it, if it is longer than `limit`.
    bool appendExpansion(const std::string_view* args, UT_WorkBuffer& out, std::size_t limit) const;
    // Adds `delta` to a counter that starts at 0 and gives its new value. The preprocessor doesn't use it.
    int bumpRecursion(int delta);

    // Null for a built-in macro. Valid as long as the macro.
    const char* getName() const { return name; }
    // The replacement text, in which #0#, #1# ... stand for the parameters. Null for a built-in macro.
    const char* getDefinition() const { return definition; }
    std::string_view getDefinitionView() const { return {definition, definitionLength_}; }
    // The number of parameters, -1 for a macro that is used without parentheses.
    int getArgCount() const { return argCount; }
    // What the macro stands for.
    CPP_MacroType getType() const { return type; }

private:
    char* name = nullptr;        // from strdup
    char* definition = nullptr;  // from strdup
    int argCount = -1;
    int recursion = 0;
    CPP_MacroType type;
    bool ownsTexts_ = true;
    std::size_t definitionLength_ = 0;
};
