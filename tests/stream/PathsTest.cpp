// What paths lead to: files, and sections in them. rules/paths.rules says what is known of each.
#include <UT/UT_StringArray.h>
#include <stream/FS_Info.h>

#include <cstdlib>

#include "../support/Rules.h"
#include "Streams.h"

namespace {

namespace fs = std::filesystem;

class FileAndSectionPaths : public testing::Test {
protected:
    const ScratchDir scratch;
    const std::string none = packedContainer({});
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}, {"none", "", 34}});
    const std::string sample = packedContainer({{"geo", "geometry", 11},
                                                {"inner", inner, 22},
                                                {"void", none, 3},
                                                {"", "nameless", 1},
                                                {"two", "first", 1},
                                                {"two", "last", 2}},
                                               "a scene");
    const InDirectory here{scratch.makeDirectory("open")};
};

// The names in a container in brackets, those with contents last and with a "/"; nothing where it can't be listed.
std::string contentsOf(const std::string& path) {
    UT_StringArray files, dirs;
    if (!FS_Info(path.c_str()).getContents(files, &dirs, nullptr, nullptr)) return "";
    std::string text;
    for (const UT_String& name : files) text.append(" ").append(name.view());
    for (const UT_String& name : dirs) text.append(" ").append(name.view()) += '/';
    return " [" + text.substr(text.empty() ? 0 : 1) + "]";
}

std::string known(const std::string& path) {
    FS_Reader reader(path.c_str());
    const FS_Info info(path.c_str());
    const std::int64_t size = info.getFileDataSize();
    std::error_code unknown;
    if (fs::is_directory(path, unknown)) return answers(info) + (reader.isGood() ? " read" : "");
    EXPECT_EQ(reader.getModTime(), info.getModTime()) << path;
    EXPECT_EQ(reader.getLength(), std::min<std::int64_t>(size, INT32_MAX)) << path;
    std::string bytes = !reader.isGood() ? "-" : size > 1000 ? "(long)" : readAll(*reader.getStream());
    if (bytes.starts_with("INDX")) bytes = "(container)";
    EXPECT_EQ(reader.isGood(), bytes == "(long)") << "read to its end";
    return answers(info) + ' ' + std::to_string(info.getModTime()) + ' ' + std::to_string(size) + ' ' +
           (bytes.empty() ? "''" : bytes) + contentsOf(path);
}

TEST_F(FileAndSectionPaths, LeadWhereTheRulesSay) {
    for (const auto& [name, bytes] : Sections{{"x.idx", sample}, {"locked.idx", sample}, {"none.idx", none}})
        scratch.write("open/" + name, bytes);
    ASSERT_EQ(std::system("mkdir ../closed ../blind ../shut; touch empty; truncate -s 3G sparse;"
                          "printf content | tee free locked secret > ../closed/free; touch -d @99 * ../closed/free;"
                          "chmod 666 * ../closed/free; chmod 444 locked locked.idx; chmod 0 secret;"
                          "chmod 777 free ../open; chmod 755 .. ../closed; chmod 333 ../blind; chmod 222 ../shut"),
              0);
    const std::string filtered = packedContainer({{"geo", keyed("geometry"), 11}, {"inner", keyed(inner), 22}});
    const TestHelper later =
        servesFile("/later", scratch.write("behind", std::string(100, '-') + sample), false, false, 100);
    const TestHelper filters = servesFile("/f.idx", scratch.write("filtered", filtered), true, true);
    const TestHelper memory(
        [&](const std::string& source) { return source.ends_with("/memory") ? memoryStream(sample, 5) : nullptr; });
    const TestHelper newest;
    checkInChild(true, [&] {
        expectRules(TARVANI_RULES "/paths.rules", {{"known", [](const Columns& c) { return known(c[0]); }}});
        EXPECT_EQ(answers(FS_Info("file:../open")), "erw-FRW--") << "a directory only without the prefix";
        EXPECT_EQ(answers(FS_Info(nullptr)), "---------");
        for (const char* path : {"file:free", ""}) {
            const FS_Reader reader(path);
            EXPECT_EQ(newest.asked.back(), path) << "helpers see every path as it was given";
        }
    });
    EXPECT_FALSE(FS_Info("/no-such-file-here").canWriteFile()) << "its directory has an empty name";
    for (const auto& [path, file] : {std::pair("file:free", "free"), {"no/x", "no/x"}, {"x.idx?inner?deep", "x.idx"}})
        EXPECT_EQ(fileNameOf(FS_Reader(path)), scratch.path("open/") + file);
}

TEST_F(FileAndSectionPaths, NeverFallBackToAHelperOrAFile) {
    for (const char* name : {"x.idx?unknown", "y?z"}) scratch.write("open/" + std::string(name), "a plain file");
    const std::size_t tableEnd = sample.find("geometry");
    scratch.write("open/x.idx", sample);
    scratch.write("open/cut.idx", sample.substr(0, tableEnd - 1));
    const TestHelper helper([](const std::string& source) {
        return source.find('?') != std::string::npos ? memoryStream("served") : nullptr;
    });
    const TestHelper half =
        servesFile("/half.idx", scratch.write("half", packedContainer({{"geo", keyed("g"), 11}})), true, false);
    for (const char* path :
         {"x.idx?unknown", "y?z", "?geo", "x.idx?geo?x", "x.idx?inner?", "cut.idx?geo", "half.idx?geo"})
        EXPECT_EQ(FS_Reader(path).getStream(), nullptr) << path;
    EXPECT_EQ(bytesAt("x.idx?"), "nameless");
    for (const std::string& asked : helper.asked) EXPECT_EQ(asked.find('?'), std::string::npos) << asked;
    scratch.write("open/cut.idx", sample.substr(0, tableEnd));
    FS_Reader cut("cut.idx?geo");
    EXPECT_EQ(cut.getLength(), 8) << "the table is whole, the bytes are not";
    EXPECT_EQ(readAll(*cut.getStream()), "");
}

TEST_F(FileAndSectionPaths, OpenTheOutermostContainerOnceWhateverTheDepth) {
    std::string bytes = "core", path = scratch.path("deep.idx");
    for (int level = 0; level < 60; ++level) {
        bytes = packedContainer({{"other", "x", 1}, {"s", bytes, level}});
        path += "?s";
    }
    scratch.write("deep.idx", bytes);
    const TestHelper helper;
    FS_Reader reader(path.c_str());
    EXPECT_THAT(helper.asked, ElementsAre(scratch.path("deep.idx")));
    EXPECT_EQ(reader.getModTime(), 0);
    std::filesystem::remove(scratch.path("deep.idx"));
    EXPECT_EQ(readAll(*reader.getStream()), "core") << "stays readable when all else has gone";
}

}  // namespace
