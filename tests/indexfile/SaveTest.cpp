// Containers written to a path, by the model and in one pass: what a random model of savings doesn't meet.
#include <indexfile/FS_IndexWriter.h>
#include <sys/stat.h>

#include <iterator>

#include "../support/Environment.h"
#include "Index.h"

namespace {

class Saving : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(dir.names("tmp"), IsEmpty()) << "a temporary file stayed"; }
    // Writes the file "a" as the sections "1" and "2" in one pass, or these files. Gives the reason, or "done".
    std::string pack(const std::string& path, const std::vector<std::string>& files = {"a", "a"}) const {
        FS_IndexWriter writer(path.c_str());
        UT_String reason;
        for (const char* name : {"1", "2"}) writer.addName(name);
        for (const std::string& file : files)
            if (!writer.addFile(dir.path(file).c_str(), &reason)) break;
        return writer.finish(&reason) ? "done" : std::string(reason.view());
    }

    ScratchDir dir;
    const WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
};

TEST_F(Saving, WritesIntoTheFileThatIsThereAndOverNothingButContainers) {
    const Sections both = {{"1", "content"}, {"2", "content"}};
    dir.write("a", "content");
    FS_IndexFile index(nullptr);
    for (const auto& [name, bytes] : both) add(index, name.c_str(), bytes);
    ASSERT_EQ(::mkfifo(dir.path("pipe").c_str(), 0600), 0);
    const auto saved = [&](const Columns& c) {
        std::string reasons[2];
        for (const bool inOnePass : {false, true}) {
            const std::string path = dir.path(c[0]), second = dir.path("second");
            std::filesystem::remove(second);
            std::filesystem::remove(dir.path("new.idx"));
            const std::string before = c.size() > 1 ? spelledBytes(c[1]) : "";
            if (c.size() > 1) std::filesystem::create_hard_link(dir.write(c[0], before), second);
            reasons[inOnePass] = inOnePass ? pack(path) : save(index, "file:" + path);
            const bool done = reasons[inOnePass] == "done";
            EXPECT_TRUE(!done || sectionsOf(dir.read(c[0])) == both);
            if (c.size() < 2) continue;
            EXPECT_EQ(dir.read("second"), done ? dir.read(c[0]) : before) << "another name of the file";
        }
        EXPECT_EQ(reasons[1], reasons[0]);
        const bool namesIt = reasons[0].starts_with(dir.path());
        return namesIt ? "@" + reasons[0].substr(dir.path().size()) : reasons[0];
    };
    const auto packs = [&](const Columns& c) {
        std::istringstream words(c[0]);
        const std::vector<std::string> files(std::istream_iterator<std::string>(words), {});
        const std::string old = dir.read("x.idx");
        const std::vector<std::string> names = dir.names();
        const std::string reason = pack(dir.path("x.idx"), files);
        EXPECT_EQ(pack(dir.path("other.idx"), files), reason);
        EXPECT_EQ(dir.read("x.idx"), old);
        EXPECT_EQ(dir.names(), names);
        return reason;
    };
    dir.cutAt((dir.write("huge", ""), "huge"), 3'000'000'000);
    expectRules(TARVANI_RULES "/saves.rules", {{"saved", saved}, {"packed", packs}});
    FS_IndexWriter givenUp(dir.path("other.idx").c_str());
    EXPECT_TRUE(givenUp.addName("a") && !givenUp.addFile(nullptr) && !dir.exists("other.idx"));
}

TEST_F(Saving, InOnePassGivesTheBytesOfTheModel) {
    const Sections files = {
        {"x.idx", packedContainer({{"old", std::string(700'000, 'o')}})}, {"a", "aaa"}, {"empty", ""}};
    for (const auto& [name, bytes] : files) dir.setTime((dir.write(name, bytes), name), 1234);
    FS_IndexFile model;
    FS_IndexWriter writer(dir.path("x.idx").c_str());
    model.setDescription("d");
    writer.setDescription("d");
    const Sections sections = {
        {"1", dir.path("a")}, {"2", "file:" + dir.path("empty")}, {"", dir.path("x.idx") + "?old"}};
    for (const auto& [name, file] : sections) EXPECT_TRUE(writer.addName(name.c_str()));
    EXPECT_FALSE(writer.addName("1") || writer.addName(nullptr));
    for (const auto& [name, file] : sections) {
        EXPECT_TRUE(writer.addFile(file.c_str(), nullptr));
        EXPECT_FALSE(writer.addName("late"));
        model.addSection(name.c_str(), file.c_str());
    }
    EXPECT_EQ(dir.read("x.idx"), files[0].second);
    EXPECT_TRUE(writer.finish());
    EXPECT_EQ(dir.read("x.idx"), written(model));
    EXPECT_FALSE(writer.finish());
}

}  // namespace
