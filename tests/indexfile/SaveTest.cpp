// Containers written to a path: what a random model of savings doesn't meet.

#include "../support/Environment.h"
#include "Index.h"

namespace {

class Saving : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(dir.names("tmp"), IsEmpty()) << "a temporary file stayed"; }
    ScratchDir dir;
    const WithVariable tmpdir{"TMPDIR", dir.makeDirectory("tmp").c_str()};
};

TEST_F(Saving, WritesIntoTheFileThatIsThereOrRefuses) {
    FS_IndexFile index;
    add(index, "a", "content");
    const std::string path = dir.path("x.idx");
    EXPECT_EQ(save(index, path), "done");
    std::filesystem::create_hard_link(path, dir.path("second"));
    add(index, "b", std::string(100'000, 'b'));
    EXPECT_EQ(save(index, "file:" + path), "done");
    EXPECT_EQ(dir.read("second"), written(index));
    EXPECT_EQ(save(index, dir.write("empty", "")), "done");

    for (const std::string& bytes :
         {std::string("good text"), containerHead(0, 1), containerHead(2) + tableEntry("a", 0, 0)}) {
        const std::string other = dir.write("other", bytes);
        FS_IndexFile own(other.c_str());
        EXPECT_THAT(save(index, other), HasSubstr("not a container"));
        EXPECT_THAT(save(own, other), HasSubstr("not a container")) << "nor may it be its own source";
        EXPECT_EQ(dir.read("other"), bytes);
    }
    for (const std::string& nowhere : {dir.path(), dir.path("no/such/directory"), std::string()})
        EXPECT_NE(save(index, nowhere), "done");
    EXPECT_FALSE(index.save(nullptr));
}

TEST_F(Saving, RefusesPlacesThatSomebodyElseHasMoved) {
    const std::string path = dir.path("x.idx"), other = containerBytes({{"good", "data"}});
    for (const bool byReader : {false, true}) {
        for (const char* target : {"x.idx", "y.idx", "new.idx"}) {
            dir.write("x.idx", containerBytes({{"a", "1234"}, {"b", std::string(100'000, 'l')}, {"b", "twice"}}));
            dir.write("y.idx", other);
            FS_IndexFile byPath(path.c_str()), reading(new FS_Reader(path.c_str())), faster(path.c_str());
            faster.moveSections(0, 0, 1);
            ASSERT_EQ(save(faster, path), "done");
            const std::string now = dir.read("x.idx");
            if (byReader && target[0] != 'x') continue;  // reads on where it read before
            EXPECT_THAT(save(byReader ? reading : byPath, dir.path(target)), HasSubstr("has changed")) << target;
            EXPECT_EQ(dir.read("x.idx"), now);
            EXPECT_EQ(dir.read("y.idx"), other);
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
    for (const char* from : {"", "?in"}) index.linkIndexFile(FS_IndexFile((path + from).c_str()), true);
    ASSERT_TRUE(index.linkSection("a", (path + "?b").c_str()));
    ASSERT_TRUE(index.linkSection("b", (path + "?a").c_str()));
    add(index, "first", "moves all others");
    index.moveSections(4, 4, -4);
    const Sections now = sectionsIn(index);
    ASSERT_EQ(now[1].second, b);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(save(index, path), "done");
        EXPECT_EQ(sectionsOf(dir.read("x.idx")), now);
        EXPECT_EQ(sectionsIn(index), now);
    }
    ASSERT_EQ(save(index, path + "?in"), "done");
    EXPECT_EQ(sectionsOf(sectionsOf(dir.read("x.idx")).at(3).second), now);
    EXPECT_EQ(sectionsIn(index), now);
}

// The bytes that are read from would change under the reader.
TEST_F(Saving, OfASectionGoesNowhereElseInItsFile) {
    const std::string outer = dir.write("x.idx", containerBytes({{"in", containerBytes({{"a", "1"}})}, {"o", "2"}}));
    FS_IndexFile inner((outer + "?in").c_str());
    inner.setDescription("new");
    EXPECT_EQ(save(inner, outer + "?in"), "done");
    for (const std::string& other : {outer, outer + "?o"}) EXPECT_THAT(save(inner, other), HasSubstr("another part"));
    EXPECT_EQ(contentOf(inner, "a"), "1");
    EXPECT_EQ(sectionsOf(dir.read("x.idx")), (Sections{{"in", containerBytes({{"a", "1"}}, "new")}, {"o", "2"}}));
}

TEST_F(Saving, TellsWhichSectionCannotBeWritten) {
    const std::string bytes = containerBytes({{"a", "one"}, {"b", "two"}, {"c", "three"}});
    FS_IndexFile index(dir.write("x.idx", bytes).c_str());
    dir.cutAt("x.idx", bytes.size() - 6);
    const std::string old = containerBytes({{"old", "content"}});
    dir.write("y.idx", old);
    for (const char* target : {"y.idx", "new.idx"}) EXPECT_THAT(save(index, dir.path(target)), HasSubstr("\"b\""));
    EXPECT_FALSE(dir.exists("new.idx"));
    EXPECT_EQ(dir.read("y.idx"), old);
}

}  // namespace
