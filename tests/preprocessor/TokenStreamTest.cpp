// CPP_TokenStream: what cases/tokens.cases can't say.
#include <UT/UT_IStream.h>
#include <gtest/gtest.h>
#include <preprocessor/CPP_TokenStream.h>

#include <string>
#include <string_view>
#include <vector>

#include "../support/ScratchDir.h"

namespace {

using Words = std::vector<std::string>;

// Bases are made in order: the stream stands before what reads it.
struct Text {
    explicit Text(std::string_view text) : stream(text.data(), static_cast<int>(text.size()), UT_ISTREAM_BINARY) {}
    UT_IStream stream;
};

// The words of a text. Its errors are kept, and so are its warnings if they come that way.
class TextWords : private Text, public CPP_TokenStream {
public:
    explicit TextWords(std::string_view text) : Text(text), CPP_TokenStream(stream, "text", nullptr) {}

    void cppError(const char* message) const override { errors_.push_back(message); }

    mutable Words errors_;
};

std::string next(CPP_TokenStream& words) {
    UT_String word;
    if (words.getToken(word)) return std::string(word.view());
    EXPECT_TRUE(word.isNull());
    return "(end)";
}

Words rest(CPP_TokenStream& words) {
    Words all;
    for (UT_String word; words.getToken(word);) all.emplace_back(word.view());
    return all;
}

TEST(TokenStream, AWordThatIsGivenBackComesAgain) {
    TextWords words("a b\nc");
    EXPECT_EQ(next(words), "a");
    words.ungetToken(UT_String("a"));
    EXPECT_EQ(next(words), "a");
    words.ungetToken(UT_String("lost"));
    char text[] = "other word";
    words.ungetToken(UT_String(text));
    text[0] = 'O';
    EXPECT_EQ(next(words), "other word");
    words.ungetToken(UT_String(""));
    EXPECT_EQ(next(words), "b");
    words.ungetToken(UT_String("lost"));
    words.ungetToken(UT_String());
    EXPECT_EQ(rest(words), Words{"c"});
    EXPECT_EQ(next(words), "(end)");
    words.ungetToken(UT_String("c"));
    EXPECT_EQ(rest(words), Words{"c"}) << "also behind the end";
}

TEST(TokenStream, LinesOfAnyNumberOfWordsComeWhole) {
    for (const int count : {1, 63, 64, 78, 79, 80, 81, 5000}) {
        std::string line;
        Words expected;
        for (int i = 0; i < count; ++i) line += std::to_string(i) + " ", expected.push_back(std::to_string(i));
        TextWords words(line + "\n\"a b\"\nlast");
        expected.insert(expected.end(), {"a b", "last"});
        EXPECT_EQ(rest(words), expected) << count;
    }
}

TEST(TokenStream, AnInputThatCannotBeOpenedActsAsAnEmptyOne) {
    ScratchDir dir;
    for (const std::string& file : {std::string("no such file"), std::string(), dir.path("none"), dir.path()}) {
        CPP_TokenStream words(file.c_str(), -1, nullptr);
        EXPECT_EQ(next(words), "(end)") << file;
        EXPECT_EQ(words.getLineNumber(), -1);
        EXPECT_STREQ(words.getFileName(), "<unknown>");
        words.addIncludePath("/");
        words.ungetToken(UT_String("w"));
        EXPECT_EQ(rest(words), Words{"w"});
    }
    CPP_TokenStream null(nullptr, -1, nullptr);
    EXPECT_EQ(next(null), "(end)");
}

TEST(TokenStream, ItsPlaceIsThatOfTheFileBeingRead) {
    ScratchDir dir;
    const std::string inner = dir.write("in/inner", "x\ny z");
    const std::string main = dir.write("main", "a\n#include \"inner\"\nb");
    CPP_TokenStream words(main.c_str(), -1, nullptr);
    words.addIncludePath(nullptr);
    words.addIncludePath((dir.path("none") + ":" + dir.path("in")).c_str());
    const struct {
        const char* word;
        int line;
        std::string file;
    } cases[] = {{"a", 1, main}, {"x", 1, inner}, {"y", 2, inner}, {"z", 2, inner}, {"b", 3, main}};
    for (const auto& c : cases) {
        EXPECT_EQ(next(words), c.word);
        EXPECT_EQ(words.getLineNumber(), c.line) << c.word;
        EXPECT_EQ(words.getFileName(), c.file) << c.word;
    }
    EXPECT_EQ(next(words), "(end)");
    EXPECT_EQ(words.getLineNumber(), -1);
}

TEST(TokenStream, ErrorsComeBetweenTheWordsAndWarningsAsErrors) {
    TextWords words("#define X 1\na\n#bogus\n#define X 2\nb");
    EXPECT_EQ(next(words), "a");
    EXPECT_TRUE(words.errors_.empty());
    EXPECT_EQ(next(words), "b");
    EXPECT_EQ(words.errors_, (Words{"cpp error: \"text\":3 Undefined directive \"bogus\"\n",
                                    "cpp warning: \"text\":4 Macro \"X\" redefined.  Using later definition"}));
}

TEST(TokenStream, MessagesGoToTheStandardErrorStream) {
    Text text("#bogus\n#define X 1\n#define X 2");
    CPP_TokenStream words(text.stream, "text", nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(next(words), "(end)");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "cpp error: \"text\":1 Undefined directive \"bogus\"\n\n"
              "cpp warning: \"text\":3 Macro \"X\" redefined.  Using later definition\n");
}

TEST(TokenStream, ACopyHasTheSameWordsToGiveAndSharesTheLinesThatFollow) {
    TextWords words("a \"b b\" c\nd\ne\nf");
    EXPECT_EQ(next(words), "a");
    words.ungetToken(UT_String("back"));
    CPP_TokenStream copy(words);
    CPP_TokenStream assigned("none", -1, nullptr);
    assigned = copy;
    const CPP_TokenStream& self = assigned;
    assigned = self;
    EXPECT_EQ(next(copy), "back");
    EXPECT_EQ(next(copy), "b b");
    EXPECT_EQ(rest(words), (Words{"back", "b b", "c", "d", "e", "f"}));
    EXPECT_EQ(rest(copy), Words{"c"}) << "its words are its own";
    EXPECT_EQ(rest(assigned), (Words{"back", "b b", "c"}));
    TextWords other("o");
    assigned = other;
    EXPECT_EQ(rest(assigned), Words{"o"});
}

}  // namespace
