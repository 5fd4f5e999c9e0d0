#include <gmock/gmock.h>
#include <filesystem>

#include "../support/Environment.h"
#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class Saving : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(dir.names("tmp"), IsEmpty()) << "a temporary file stayed"; }
    static std::unique_ptr<FS_IndexFile> opened(const std::string& path, bool byReader) {
        return byReader ? std::make_unique<FS_IndexFile>(new FS_Reader(path.c_str()))
                        : std::make_unique<FS_IndexFile>(path.c_str());
    }
    ScratchDir dir;
    const WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
    UT_String reason;
};

TEST_F(Saving, MakesAFileOrWritesIntoTheOneThatIsThere) {
    FS_IndexFile index;
    add(index, "a", "content");
    const std::string path = dir.path("x.idx");
    ASSERT_TRUE(index.save(path.c_str(), &reason)) << reason.buffer();
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), (Sections{{"a", "content"}}));
    std::filesystem::create_hard_link(path, dir.path("second"));
    add(index, "b", std::string(100'000, 'b'));
    ASSERT_TRUE(index.save(("file:" + path).c_str()));
    EXPECT_EQ(dir.read("second"), written(index));
    EXPECT_TRUE(index.save(dir.write("empty", "").c_str()));
}

TEST_F(Saving, RefusesWhatIsNoContainer) {
    const std::pair<const char*, std::string> files[] = {
        {"text", "good text"},
        {"newer", containerHead(0, 1)},
        {"damaged", containerHead(2) + tableEntry("a", 0, 0)},
    };
    FS_IndexFile index;
    add(index, "a", "content");
    for (const auto& [name, bytes] : files) {
        const std::string path = dir.write(name, bytes);
        EXPECT_FALSE(index.save(path.c_str(), &reason));
        EXPECT_THAT(reason.buffer(), HasSubstr("not a container"));
        EXPECT_FALSE(FS_IndexFile(path.c_str()).save(path.c_str())) << "nor may it be its own source";
        EXPECT_EQ(dir.read(name), bytes);
    }
    const std::string directory = dir.path(), nowhere = dir.path("no/such/directory");
    for (const char* path : {directory.c_str(), nowhere.c_str(), "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(index.save(path, &reason));
}

// Edited, saved and read on, with and without section objects, several times over.
TEST_F(Saving, OntoItsOwnSourceReadsOnInTheNewFile) {
    const Sections sections = {{"a", "one"}, {"b", "two"}, {"c", std::string(200'000, 'c')}};
    for (const bool byReader : {false, true}) {
        const std::string path = dir.write("x.idx", containerBytes(sections));
        const auto index = opened(path, byReader);
        index->setDescription("a longer description moves every section");
        ASSERT_TRUE(index->save(path.c_str(), &reason)) << reason.buffer();
        EXPECT_EQ(contentOf(*index, "b"), "two");
        index->removeSection("a");
        add(*index, "d", "four");
        index->linkIndexFile(FS_IndexFile(path.c_str()), false);
        ASSERT_TRUE(index->save(path.c_str(), &reason)) << reason.buffer();
        const Sections now = {{"b", "two"}, {"c", sections[2].second}, {"d", "four"}, {"a", "one"}};
        EXPECT_EQ(sectionsOf(dir.read("x.idx")), now);
        EXPECT_EQ(contentOf(*index, "a"), "one");
        EXPECT_EQ(contentOf(*index, "c"), now[1].second);
        EXPECT_EQ(sectionsOf(written(*index)), now);
    }
}

TEST_F(Saving, RefusesPlacesThatSomebodyElseHasMoved) {
    const std::string large(100'000, 'l');
    for (const bool byReader : {false, true}) {
        for (const char* target : {"x.idx", "y.idx", "new.idx"}) {
            const std::string path = dir.write("x.idx", containerBytes({{"a", "1234"}, {"b", large}, {"b", "twice"}}));
            dir.write("y.idx", containerBytes({{"good", "data"}}));
            const auto index = opened(path, byReader);
            FS_IndexFile faster(path.c_str());
            faster.moveSections(0, 0, 1);
            ASSERT_TRUE(faster.save(path.c_str(), &reason)) << reason.buffer();
            const std::string now = dir.read("x.idx");
            if (byReader && target[0] != 'x') continue;  // reads on where it read before
            EXPECT_FALSE(index->save(dir.path(target).c_str(), &reason)) << target;
            EXPECT_THAT(reason.buffer(), HasSubstr("has changed"));
            EXPECT_EQ(dir.read("x.idx"), now);
            EXPECT_EQ(sectionsOf(dir.read("y.idx")), (Sections{{"good", "data"}}));
            EXPECT_FALSE(dir.exists("new.idx"));
        }
    }
}

// What was linked from the file that is written over is read on in the new one.
TEST_F(Saving, OverWhatItsLinksReadFrom) {
    const std::string a(100'000, 'a'), b(100'000, 'b');
    const std::string path =
        dir.write("x.idx", containerBytes({{"a", a}, {"b", b}, {"in", containerBytes({{"c", a}})}}));
    FS_IndexFile index;
    index.linkIndexFile(FS_IndexFile(path.c_str()), true);
    index.linkIndexFile(FS_IndexFile((path + "?in").c_str()), true);
    ASSERT_TRUE(index.linkSection("a", (path + "?b").c_str()));
    ASSERT_TRUE(index.linkSection("b", (path + "?a").c_str()));
    add(index, "first", "moves all others");
    index.moveSections(4, 4, -4);
    const Sections now = sectionsOf(written(index));
    ASSERT_EQ(now[1].second, b);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(index.save(path.c_str(), &reason)) << reason.buffer();
        EXPECT_EQ(sectionsOf(dir.read("x.idx")), now);
        EXPECT_EQ(sectionsOf(written(index)), now);
    }
    ASSERT_TRUE(index.save((path + "?in").c_str(), &reason)) << reason.buffer();
    EXPECT_EQ(sectionsOf(sectionsOf(dir.read("x.idx")).at(3).second), now);
    EXPECT_EQ(sectionsOf(written(index)), now);
}

TEST_F(Saving, IntoASectionWritesItsContainer) {
    const std::string outer = dir.write("x.idx", containerBytes({{"in", containerBytes({{"a", "1"}})}, {"o", "2"}}));
    FS_IndexFile inner((outer + "?in").c_str());
    inner.setDescription("new");
    ASSERT_TRUE(inner.save((outer + "?in").c_str(), &reason)) << reason.buffer();
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), (Sections{{"in", containerBytes({{"a", "1"}}, "new")}, {"o", "2"}}));
    EXPECT_EQ(contentOf(inner, "a"), "1");
    // The bytes that are read from would change under the reader.
    EXPECT_FALSE(inner.save(outer.c_str(), &reason));
    EXPECT_FALSE(inner.save((outer + "?o").c_str(), &reason));
    EXPECT_EQ(contentOf(inner, "a"), "1");
}

TEST_F(Saving, TellsWhichSectionCannotBeWritten) {
    const std::string bytes = containerBytes({{"a", "one"}, {"b", "two"}, {"c", "three"}});
    const std::string path = dir.write("x.idx", bytes), old = containerBytes({{"old", "content"}});
    const std::string target = dir.write("y.idx", old);
    FS_IndexFile index(path.c_str());
    dir.cutAt("x.idx", bytes.size() - 6);
    EXPECT_FALSE(index.save(target.c_str(), &reason));
    EXPECT_THAT(reason.buffer(), HasSubstr("\"b\""));
    EXPECT_FALSE(index.save(dir.path("new.idx").c_str()));
    EXPECT_FALSE(dir.exists("new.idx"));
    EXPECT_EQ(dir.read("y.idx"), old);
}

}  // namespace
