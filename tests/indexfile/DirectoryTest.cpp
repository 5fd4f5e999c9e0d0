// Containers as directories: the names of files, lists, and an end. cases/directories.cases has what else there is.
#include <cstdlib>

#include "../support/Rules.h"
#include "Index.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

bool expand(const ScratchDir& dir, const std::string& bytes) {
    fs::remove_all(dir.path("expanded"));
    return FS_IndexFile(dir.write("source.idx", bytes).c_str()).expandToDirectory(dir.path("expanded").c_str());
}

TEST(DirectoryForm, NamesFilesAndTakesListsAsTheRulesSay) {
    const ScratchDir dir;
    const InDirectory there(dir.makeDirectory("form"));
    ASSERT_EQ(
        std::system("echo 1 | tee ../outside a > b; mkdir sub in; mkfifo pipe; ln -s ../outside link; ln -s . loop;"
                    "printf '\"\"\nlarge\tone\n' > in/Sections.list; truncate -s 2G large in/large;"
                    "echo '\"\"' > ../Sections.list; touch sub/Sections.list"),
        0);
    dir.write("form/x.idx", containerBytes({{"s", "3"}}));
    const auto list = [&](const Columns& c) {
        FS_IndexFile index;
        dir.write("form/Sections.list", c[0]);
        const bool done = index.collapseFromDirectory(dir.path("form").c_str());
        std::string text;
        for (const std::string& name : namesOf(index)) text += (text.empty() ? "" : " ") + name;
        const std::string missing(index.getWriteFailure().view());
        return text + (done ? "" : " refused") + (missing.empty() ? "" : " (" + missing + ")");
    };
    const auto file = [&](const Columns& c) {
        const Sections one = {{c[0], "content"}};
        FS_IndexFile back;
        if (!expand(dir, containerBytes(one))) {
            EXPECT_THAT(dir.names("expanded"), ElementsAre("Sections.list"));
            return "none"s;
        }
        EXPECT_TRUE(back.collapseFromDirectory(dir.path("expanded").c_str()));
        EXPECT_EQ(sectionsIn(back), one);
        fs::remove(dir.path("expanded/Sections.list"));
        return dir.names("expanded").at(0);
    };
    expectRules(TARVANI_RULES "/directories.rules", {{"file", file}, {"list", list}});
}

// Two sections in one place, and two in each of these: names for a thousand million files.
TEST(DirectoryForm, EndsWhateverSectionsShareTheirBytes) {
    const ScratchDir dir;
    std::string twice = "x";
    for (int level = 1; level <= 30; ++level) {
        const int size = static_cast<int>(twice.size());
        twice = containerHead(2) + tableEntry("a", 0, size) + tableEntry("b", 0, size) + twice;
        EXPECT_TRUE(level != 5 || expand(dir, twice));
    }
    EXPECT_FALSE(expand(dir, twice));
}

}  // namespace
