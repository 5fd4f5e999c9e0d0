// cpp, tokens, renderers.
#include <fcntl.h>
#include <platform/UniqueFd.h>
#include <unistd.h>

#include <cstdlib>

#include "../support/Environment.h"
#include "../support/Network.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;
using testing::StartsWith;

class PreprocessCommands : public TarvaniCommand {};

TEST_F(PreprocessCommands, CppHandsItsLettersOnInTheirOrder) {
    dir_.write("inc/i", "included\n");
    dir_.write("f", "X Y # /* c */\n");
    dir_.write("hash", "# comment\nX # end\n//\n");
    dir_.write("old", "include i\n");
    dir_.write("deep", "#define A X\nA\n");
    expect({
        {"cpp f", "# 1 \"f\"\nX Y #        \n"},
        {"cpp f -P -n -x", "X Y #        \n"},
        {"cpp -PC f", "X Y # /* c */\n"},
        {"cpp -P -D X=1 -DY=2 f", "1 2 #        \n"},
        {"cpp -P -DX=1 -UX -D Y f", "X  #        \n"},
        {"cpp -P -D -P f", "X Y #        \n"},  // the value of -D, whatever it looks like
        {"cpp -Ph -r2 hash", "\nX \n"},
        {"cpp -Phc hash", "\nX //\n"},
        {"cpp -PH -I inc old", "\nincluded\n", "CPP Warning:  old style include detected old:1", {}, 0},
        {"cpp -P -r 3 -D X=7 deep", "\n7\n"},
        {"cpp -P -r 2 -D X=7 deep", "\n# error cpp error: \"deep\":2 Macro recursion limit reached",
         "deep: cpp error: \"deep\":2 Macro recursion limit reached"},
        {"cpp --help", HasSubstr("Usage: tarvani cpp ")},  // the letter -h is the preprocessor's
    });
    expectWrongUsage({"cpp", "cpp -h", "tokens -h", "cpp f f", "cpp -z f", "cpp -D", "tokens --output o f"});
}

TEST_F(PreprocessCommands, AFileIsOpenedAsItStandsAndStandardInputIsAFileLikeOthers) {
    for (const std::string name : {"stdin", "<a>", "\"q", " b", "file:c", "s?t", "[a,b]"}) {
        dir_.write(name, "__FILE__\n");
        expect({{"cpp -P -- '" + name + "'", "\"" + name + "\"\n"}});
    }
    dir_.write("found/only", "1\n");
    dir_.write("a/main", "#include \"beside\"\n#include \"only\"\n");
    dir_.write("a/beside", "2\n");
    dir_.write("asks", "#include \"stdin\"\n");
    dir_.write("stdin", "");  // the name must be found, and then it isn't the file that is read
    const WithVariable path("TARVANI_PATH", dir_.path("found").c_str());
    expect({
        {"cpp only", "", "only: No such file or directory"},
        {"tokens only", "", "only: No such file or directory"},
        {"cpp found", "", "found: Is a directory"},
        // What it includes is looked for beside it, and along the path.
        {"cpp -P a/main", "\n2\n\n1\n"},
        {"tokens a/main", "2\n1\n"},
        {"cpp -", "# 1 \"stdin\"\na\n\"stdin\" 2\n", "", {.input = "a\n__FILE__ __LINE__"}},
        {"cpp -P -"},
        {"cpp -", "# 1 \"stdin\"\n\n# 1 \"stdin\"\na\n", "", {.input = "#include \"stdin\"\na\n"}},
        {"cpp -P asks", "\ntyped\n", "", {.input = "typed\n"}},
        {"tokens -DX=b -", "a\nb\n", "", {.input = "a X\n"}},
    });
}

TEST_F(PreprocessCommands, APersonWhoTypesGetsAnAnswerAtOnce) {
    const platform::UniqueFd person(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(person && ::grantpt(person.get()) == 0 && ::unlockpt(person.get()) == 0);
    const std::string terminal = ::ptsname(person.get());
    for (const char* command : {"cpp", "tokens"}) {
        ASSERT_EQ(::mkfifo(dir_.path(command).c_str(), 0600), 0);
        const platform::UniqueFd output(::open(dir_.path(command).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        const Circumstances typing{.output = dir_.path(command), .inputFile = terminal};
        const pid_t child = start({command, "-"}, typing);
        EXPECT_EQ(::write(person.get(), "word\n", 5), 5);
        EXPECT_TRUE(comes(output.get())) << command;
        EXPECT_EQ(::write(person.get(), "\4", 1), 1);
        EXPECT_EQ(finish(child, typing).status, 0);
    }
}

TEST_F(PreprocessCommands, AnErrorInTheTextIsALineOfTheOutputAndAFailure) {
    dir_.write("one", "#bogus\na\n");
    dir_.write("two", "#bogus\n#include \"no\"\n");
    dir_.write("open", "#if 1\nf(1,");
    dir_.write("caller", "#define f(a,b)[a]\n#include \"open\"\n)\n");
    dir_.write("warned", "#define X 1\n#define X 2\nX\n");
    const char* const bogus = "one: cpp error: \"one\":1 Undefined directive \"bogus\"";
    expect({
        {"cpp -P one", "# error cpp error: \"one\":1 Undefined directive \"bogus\"\n\na\n", bogus},
        {"tokens one", "a\n", bogus},
        {"cpp --output out two", "", "two: cpp error: \"two\":1 Undefined directive \"bogus\" (the first of 2 errors)"},
        {"cat out", HasSubstr("Unable to include \"no\"\n")},
        // Not by its look: text can begin like one, and a call can swallow one.
        {"cpp -P -", "# error a\n", "", {.input = "\\# error a\n"}},
        {"cpp -P caller", "\n\n\n[1]\n\n\n", "caller: an error line went into the arguments of a macro"},
        {"cpp -P warned", HasSubstr("# warning cpp warning: \"warned\":2 Macro")},
        {"tokens warned", "2\n", StartsWith("warned: cpp warning: \"warned\":2 Macro"), {}, 0},
    });
}

TEST_F(PreprocessCommands, OutputGoesToAFileOrASectionAndNeverIntoTheInput) {
    dir_.write("f", "a /* b */\n");
    const Circumstances ontoItself = {.output = dir_.path("f")};
    expect({
        {"cpp -P --output out f"},
        {"cpp --output x.idx?s -P f"},
        {"cat out x.idx?s", "a        \na        \n"},
        {"cpp --output ./f f", "", "./f: is the same as f"},
        {"cpp f", "", "f: is the file that standard output goes to", ontoItself},
        {"tokens f", "", "f: is the file that standard output goes to", ontoItself},
        {"cpp --output none/out f", "", "none/out: no directory \"none\"; make it first"},
        {"cpp --output /dev/full f", "", "/dev/full: No space left on device"},
        {"cat f", "a /* b */\n"},
    });
}

TEST_F(PreprocessCommands, RenderersAreTold) {
    const WithVariable path("TARVANI_PATH", dir_.path().c_str());
    expect({{"renderers --json", "[]\n"},
            {"renderers x", "",
             "x: no such renderer: there is no file ROPfeatures along the path (set TARVANI_PATH to look elsewhere)"}});
    dir_.write("ROPfeatures", "{ rib.renderer.token zed gain 0.1 motion On note \"a b\" }\n");
    expect({{"renderers --json",
             R"([{"gain":0.1,"motion":true,"note":"a b","rib.renderer.label":"zed","rib.renderer.token":"zed"}])"
             "\n"},
            {"renderers x", "", "x: no such renderer in ROPfeatures (\"tarvani renderers\" lists those that are)"}});
}
