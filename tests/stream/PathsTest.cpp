// What paths lead to: files, and sections in them. paths.table says what is known of each.
#include <UT/UT_StringArray.h>
#include <stream/FS_Info.h>

#include <fstream>
#include <iomanip>
#include <sstream>

#include "Streams.h"

namespace {

class FileAndSectionPaths : public testing::Test {
protected:
    // A line "tree PATH MODE CONTENT"; a directory has no content.
    void make(std::istream& line) const {
        std::string path, content;
        unsigned mode = 0;
        line >> path >> std::oct >> mode;
        if (line >> std::quoted(content))
            scratch.write(path, content == "@sample" ? sample : content == "@none" ? none : content);
        else
            scratch.makeDirectory(path);
        if (path == "open/sparse") scratch.cutAt(path, 3LL << 30);
        scratch.setTime(path, 99);
        std::filesystem::permissions(scratch.path(path), std::filesystem::perms(mode));
    }

    const ScratchDir scratch;
    const std::string inner = packedContainer({{"deep", "deep bytes", 33}, {"none", "", 34}}),
                      none = packedContainer({});
    const std::string sample = packedContainer({{"geo", "geometry", 11},
                                                {"inner", inner, 22},
                                                {"void", none, 3},
                                                {"", "nameless", 1},
                                                {"two", "first", 1},
                                                {"two", "last", 2}},
                                               "a scene");
    const InDirectory here{scratch.makeDirectory("open")};
};

// The names in a directory or container, those with contents last and with a "/"; "-" where nothing can be listed.
std::string contentsOf(const std::string& path) {
    UT_StringArray files, dirs;
    if (!FS_Info(path.c_str()).getContents(files, &dirs, nullptr, nullptr)) return "-";
    std::string text;
    for (const UT_String& name : files) text.append(name.view()) += ' ';
    for (const UT_String& name : dirs) text.append(name.view()) += "/ ";
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

TEST_F(FileAndSectionPaths, AreKnownAsTheTableSays) {
    std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
    const std::string filtered = packedContainer({{"geo", keyed("geometry"), 11}, {"inner", keyed(inner), 22}});
    const TestHelper later =
        servesFile("/later", scratch.write("behind", std::string(100, '-') + sample), false, false, 100);
    const TestHelper filters = servesFile("/f.idx", scratch.write("filtered", filtered), true, true);
    const TestHelper memory(
        [&](const std::string& source) { return source.ends_with("/memory") ? memoryStream(sample, 5) : nullptr; });
    const TestHelper newest;
    std::vector<std::string> rows;
    std::ifstream table(TARVANI_PATHS_TABLE);
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        if (std::string first; words >> first && first == "tree")
            make(words);
        else if (!first.empty() && first[0] != '#')
            rows.push_back(line);
    }
    EXPECT_GT(rows.size(), 30u);
    checkInChild(true, [&] {
        for (const std::string& row : rows) {
            SCOPED_TRACE(row);
            std::istringstream words(row);
            std::string path, told, time, size, bytes, contents;
            words >> std::quoted(path) >> told >> time >> size >> std::quoted(bytes) >> std::quoted(contents);
            ASSERT_TRUE(words) << "a word is missing";
            FS_Reader reader(path.c_str());
            const FS_Info info(path.c_str());
            EXPECT_TRUE(path.find('?') != path.npos || newest.asked.back() == path);
            const Sections found = {{told, answers(info)},
                                    {time, std::to_string(info.getModTime())},
                                    {size, std::to_string(info.getFileDataSize())},
                                    {contents, contentsOf(path)}};
            for (const auto& [said, is] : found) EXPECT_EQ(is, said == "*" ? is : said);
            EXPECT_EQ(reader.getModTime(), info.getModTime());
            EXPECT_EQ(reader.getLength(), std::min<std::int64_t>(info.getFileDataSize(), INT32_MAX));
            EXPECT_EQ(reader.isGood(), bytes != "-");
            if (bytes == "*" || bytes == "-") continue;
            EXPECT_EQ(bytesOf(reader.getStream()), bytes);
            EXPECT_FALSE(reader.isGood()) << "read to its end";
        }
    });
    EXPECT_EQ(answers(FS_Info(nullptr)), "---------");
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
    EXPECT_EQ(bytesOf(cut.getStream()), "");
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
    EXPECT_EQ(bytesOf(reader.getStream()), "core") << "stays readable when all else has gone";
}

}  // namespace
