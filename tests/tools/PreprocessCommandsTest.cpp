// cpp, tokens, renderers.
#include "../support/Environment.h"
#include "TarvaniCommand.h"

class PreprocessCommands : public TarvaniCommand {
protected:
    // A run whose text has an error: status 1, its output, and one line for standard error.
    void expectErrors(const Words& words, const std::string& out, const std::string& err) {
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 1) << testing::PrintToString(words);
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
    }
};

TEST_F(PreprocessCommands, CppHandsItsLettersOnInTheirOrder) {
    dir_.write("inc/i", "included\n");
    dir_.write("f", "X Y # /* c */\n");
    dir_.write("hash", "# comment\nX # end\n//\n");
    dir_.write("old", "include i\n");
    dir_.write("deep", "#define A X\nA\n");
    const struct {
        Words words;
        const char* out;
    } cases[] = {
        {{"f"}, "# 1 \"f\"\nX Y #        \n"},
        {{"f", "-P", "-n", "-x"}, "X Y #        \n"},
        {{"-PC", "f"}, "X Y # /* c */\n"},
        {{"-P", "-D", "X=1", "-DY=2", "f"}, "1 2 #        \n"},
        {{"-P", "-DX=1", "-UX", "-D", "Y", "f"}, "X  #        \n"},
        {{"-P", "-D", "-P", "f"}, "X Y #        \n"},  // the value of -D, whatever it looks like
        {{"-Ph", "-r2", "hash"}, "\nX \n"},
        {{"-Phc", "hash"}, "\nX //\n"},
        {{"-PH", "-I", "inc", "old"}, "\nincluded\n"},
        {{"-P", "-r", "3", "-D", "X=7", "deep"}, "\n7\n"},
    };
    for (const auto& c : cases) {
        Words words = {"cpp"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 0) << testing::PrintToString(words);
        EXPECT_EQ(outcome.out, c.out) << testing::PrintToString(words);
    }
    expectErrors({"cpp", "-P", "-r", "2", "-D", "X=7", "deep"},
                 "\n# error cpp error: \"deep\":2 Macro recursion limit reached",
                 "tarvani: deep: cpp error: \"deep\":2 Macro recursion limit reached\n");
}

TEST_F(PreprocessCommands, AFileIsOpenedAsItStands) {
    for (const char* name : {"stdin", "<a>", "\"q", " b", "file:c", "s?t", "[a,b]"}) {
        dir_.write(name, "__FILE__\n");
        EXPECT_EQ(printed({"cpp", "-P", "--", name}), "\"" + std::string(name) + "\"\n");
    }
    dir_.write("found/only", "1\n");
    const WithVariable path("TARVANI_PATH", dir_.path("found").c_str());
    EXPECT_EQ(failure({"cpp", "only"}), "tarvani: only: No such file or directory");
    EXPECT_EQ(failure({"tokens", "only"}), "tarvani: only: No such file or directory");
    EXPECT_EQ(failure({"cpp", "found"}), "tarvani: found: Is a directory");
    // What it includes is looked for beside it, and along the path.
    dir_.write("a/main", "#include \"beside\"\n#include \"only\"\n");
    dir_.write("a/beside", "2\n");
    EXPECT_EQ(printed({"cpp", "-P", "a/main"}), "\n2\n\n1\n");
    EXPECT_EQ(printed({"tokens", "a/main"}), "2\n1\n");
}

TEST_F(PreprocessCommands, StandardInputIsAFileLikeOthers) {
    EXPECT_EQ(printed({"cpp", "-"}, {.input = "a\n__FILE__ __LINE__"}), "# 1 \"stdin\"\na\n\"stdin\" 2\n");
    EXPECT_EQ(printed({"cpp", "-P", "-"}, {.input = ""}), "");
    dir_.write("stdin", "");  // the name must be found, and then it isn't the file that is read
    EXPECT_EQ(printed({"cpp", "-"}, {.input = "#include \"stdin\"\na\n"}), "# 1 \"stdin\"\n\n# 1 \"stdin\"\na\n");
    EXPECT_EQ(printed({"tokens", "-DX=b", "-"}, {.input = "a X\n"}), "a\nb\n");
}

TEST_F(PreprocessCommands, AnErrorInTheTextIsALineOfTheOutputAndAFailure) {
    dir_.write("one", "#bogus\na\n");
    expectErrors({"cpp", "-P", "one"}, "# error cpp error: \"one\":1 Undefined directive \"bogus\"\n\na\n",
                 "tarvani: one: cpp error: \"one\":1 Undefined directive \"bogus\"\n");
    expectErrors({"tokens", "one"}, "a\n", "tarvani: one: cpp error: \"one\":1 Undefined directive \"bogus\"\n");
    dir_.write("two", "#bogus\n#include \"no\"\n");
    expectErrors({"cpp", "--output", "out", "two"}, "",
                 "tarvani: two: cpp error: \"two\":1 Undefined directive \"bogus\" (the first of 2 errors)\n");
    EXPECT_THAT(dir_.read("out"), testing::HasSubstr("Unable to include \"no\"\n"));
    // Not by its look: text can begin like one, and a call can swallow one.
    EXPECT_EQ(printed({"cpp", "-P", "-"}, {.input = "\\# error a\n"}), "# error a\n");
    dir_.write("open", "#if 1\nf(1,");
    dir_.write("caller", "#define f(a,b)[a]\n#include \"open\"\n)\n");
    expectErrors({"cpp", "-P", "caller"}, "\n\n\n[1]\n\n\n",
                 "tarvani: caller: an error line went into the arguments of a macro\n");
    dir_.write("warned", "#define X 1\n#define X 2\nX\n");
    EXPECT_THAT(printed({"cpp", "-P", "warned"}), testing::HasSubstr("# warning cpp warning: \"warned\":2 Macro"));
    const Outcome words = run({"tokens", "warned"});
    EXPECT_EQ(words.status, 0);
    EXPECT_EQ(words.out, "2\n");
    EXPECT_THAT(words.err, testing::StartsWith("tarvani: warned: cpp warning: \"warned\":2 Macro"));
}

TEST_F(PreprocessCommands, OutputGoesToAFileOrASectionAndNeverIntoTheInput) {
    dir_.write("f", "a /* b */\n");
    EXPECT_EQ(printed({"cpp", "-P", "--output", "out", "f"}), "");
    EXPECT_EQ(dir_.read("out"), "a        \n");
    EXPECT_EQ(printed({"cpp", "--output", "x.idx?s", "-P", "f"}), "");
    EXPECT_EQ(printed({"cat", "x.idx?s"}), "a        \n");
    EXPECT_EQ(failure({"cpp", "--output", "./f", "f"}), "tarvani: ./f: is the same as f");
    EXPECT_EQ(failure({"cpp", "f"}, {.output = dir_.path("f")}),
              "tarvani: f: is the file that standard output goes to");
    EXPECT_EQ(failure({"tokens", "f"}, {.output = dir_.path("f")}),
              "tarvani: f: is the file that standard output goes to");
    EXPECT_EQ(dir_.read("f"), "a /* b */\n");
    EXPECT_EQ(failure({"cpp", "--output", "none/out", "f"}), "tarvani: none/out: no directory \"none\"; make it first");
    EXPECT_EQ(failure({"cpp", "--output", "/dev/full", "f"}), "tarvani: /dev/full: No space left on device");
    for (const char* command : {"cpp", "tokens"})
        EXPECT_EQ(failure({command, "f"}, {.output = "/dev/full"}),
                  "tarvani: standard output: No space left on device");
}

TEST_F(PreprocessCommands, HelpIsTheLongOptionAlone) {
    for (const char* command : {"cpp", "tokens"}) {
        EXPECT_THAT(printed({command, "--help"}), testing::HasSubstr("Usage: tarvani " + std::string(command) + " "));
        EXPECT_EQ(run({command, "-h"}).status, 2) << "a FILE is missing";
    }
    dir_.write("f", "a\n");
    const Words cases[] = {
        {"cpp"}, {"cpp", "f", "f"}, {"cpp", "-z", "f"}, {"cpp", "-D"}, {"tokens", "--output", "o", "f"}};
    for (const Words& words : cases) {
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(words);
        EXPECT_THAT(outcome.err, testing::MatchesRegex("tarvani: wrong usage: [^\n]*\n"));
    }
}

TEST_F(PreprocessCommands, RenderersAreTold) {
    const WithVariable path("TARVANI_PATH", dir_.path().c_str());
    EXPECT_EQ(printed({"renderers"}), "");
    EXPECT_EQ(printed({"renderers", "--json"}), "[]\n");
    EXPECT_EQ(failure({"renderers", "x"}),
              "tarvani: x: no such renderer: there is no file ROPfeatures along the path (set TARVANI_PATH to look "
              "elsewhere)");
    dir_.write("ROPfeatures", "{ rib.renderer.token zed gain 0.1 motion On note \"a b\" }\n");
    EXPECT_EQ(printed({"renderers", "--json"}),
              R"([{"gain":0.1,"motion":true,"note":"a b","rib.renderer.label":"zed","rib.renderer.token":"zed"}])"
              "\n");
    EXPECT_EQ(failure({"renderers", "x"}), "tarvani: x: no such renderer in " + dir_.path("ROPfeatures") +
                                               " (\"tarvani renderers\" lists those that are)");
}
