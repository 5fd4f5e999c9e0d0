// index check and recover: damaged containers, and what a killed command left of one.
#include <fcntl.h>
#include <platform/UniqueFd.h>
#include <sys/stat.h>

#include "../support/Container.h"
#include "TarvaniCommand.h"

using testing::StartsWith;

class IndexRecover : public TarvaniCommand {
protected:
    // An entry of a table with whatever numbers.
    static std::string entry(const std::string& name, int offset, int size) {
        return packed(name) + packed(offset) + packed(size) + packed(0);
    }
    static std::string table(int count, const std::string& entries) {
        return "INDX" + packed(0) + packed("words") + packed(count) + entries;
    }
    // What a commit over `file` is killed at, by the name that it would have.
    std::string leave(const std::string& file, const std::string& bytes, const char* letters = "AbCdEf") {
        struct stat status {};
        EXPECT_EQ(::stat(dir_.path(file).c_str(), &status), 0);
        char name[80];
        std::snprintf(name, sizeof name, "tarvani-%s.%llx-%llx", letters,
                      static_cast<unsigned long long>(status.st_dev), static_cast<unsigned long long>(status.st_ino));
        temporary_.write(name, bytes);
        temporary_.setTime(name, 2000);
        return name;
    }
    void removeTemporaries() {
        for (const std::string& name : temporaries()) std::remove(temporary_.path(name).c_str());
    }

    const std::string old_ = packedContainer({{"a", "old"}, {"b", "some bytes"}});
    const std::string longer_ = packedContainer({{"a", "old"}, {"b", "new"}, {"c", "many more bytes"}});
};

TEST_F(IndexRecover, CheckTellsEverythingThatIsWrong) {
    const std::string one = packedContainer({{"in", "x"}});
    const struct {
        std::string bytes;
        const char* told;
    } cases[] = {
        {packedContainer({}), "f: whole, 0 sections\n"},
        {one + "12", "f: whole, 1 section; 2 bytes belong to no section\n"},
        {"", "f: not a container: it is empty\n"},
        {"INDY" + one, "f: not a container: it doesn't begin with \"INDX\"\n"},
        {"INDX" + packed(3), "f: container of a newer version (3); this library reads version 0\n"},
        {"INDX" + packed(0) + packed(2147483647) + "words", "f: ends in its header\n"},
        {table(2147483647, entry("a", 0, 0) + entry("b", 0, 0)),
         "f: the table ends behind 2 of its 2147483647 sections\n"},
        {table(1, packed(-1) + packed(0) + packed(0) + packed(0)), "f: the table ends behind 0 of its 1 sections\n"},
        {table(4, entry("a", -1, -2) + entry("b", 0, 3) + entry("c", 2147483647, 0) + entry("b", 1, 1)) + "x",
         "f: section \"a\" (0): its offset is negative (-1)\n"
         "f: section \"a\" (0): its size is negative (-2)\n"
         "f: section \"b\" (1): reaches 2 bytes beyond the end\n"
         "f: section \"c\" (2): begins behind position 2147483647\n"
         "f: section \"b\" (3): reaches 1 byte beyond the end\n"
         "f: section \"b\" (3): has the name of section 1\n"
         "f: section \"b\" (3): shares 1 byte with section \"b\" (1)\n"},
        // The one that reaches furthest may lie far in front.
        {table(3, entry("a", 0, 9) + entry("b", 1, 2) + entry("c", 4, 5)) + "123456789",
         "f: section \"b\" (1): shares 2 bytes with section \"a\" (0)\n"
         "f: section \"c\" (2): shares 5 bytes with section \"a\" (0)\n"},
        {packedContainer({{"o", packedContainer({{"in", one.substr(0, one.size() - 1)}})}, {"t", "text"}}),
         "f?o?in: section \"in\" (0): reaches 1 byte beyond the end\n"},
    };
    for (const auto& c : cases) {
        dir_.write("f", c.bytes);
        const Outcome outcome = run("index check --nested f");
        EXPECT_EQ(outcome.out, c.told);
        EXPECT_EQ(outcome.status, std::string_view(c.told).starts_with("f: whole") ? 0 : 1) << c.told;
        EXPECT_EQ(outcome.err, "");
    }
    expect({{"index check f", "f: whole, 2 sections\n"},
            {"index check f?o nope", "f?o: whole, 1 section\n", "nope: No such file or directory"},
            {"index check --json -r f",
             R"([{"path":"f","whole":false,"sections":2,"unused":0,"count":1,"faults":[{"path":"f?o?in",)"
             R"("text":"section \"in\" (0): reaches 1 byte beyond the end"}]}])"
             "\n",
             "",
             {},
             1}});
}

TEST_F(IndexRecover, CheckOfManyFaultsAndManyLevelsEnds) {
    std::string same;
    for (int i = 0; i < 100'000; ++i) same += entry("n", 0, 1);
    dir_.write("same", table(100'000, same) + "x");
    const std::string told = run("index check -r same").out;
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1001);
    EXPECT_THAT(told, testing::EndsWith("\nsame: 198998 more faults\n"));
    std::string deep = "text";
    for (int i = 0; i < 70; ++i) deep = packedContainer({{"n", deep}});
    dir_.write("deep", deep);
    EXPECT_THAT(run("index check -r deep").out, testing::HasSubstr("lies deeper than 64 containers"));
}

TEST_F(IndexRecover, WhereverTheCopyEndedTheNewContainerIsPutInItsPlace) {
    for (const auto& [before, after] : {std::pair(old_, longer_), std::pair(longer_, old_)}) {
        for (std::size_t copied = 0; copied <= after.size(); ++copied) {
            std::string torn = before;
            torn.resize(std::max(before.size(), after.size()));  // the room that was reserved
            torn.replace(0, copied, after, 0, copied);
            dir_.write("x.idx", torn);
            leave("x.idx", after);
            const Outcome outcome = run("index recover --put x.idx");
            // A file that is the old one to the last byte is only written over when the temporary is named.
            const bool untouched = torn == before;
            EXPECT_EQ(outcome.status, untouched ? 1 : 0) << copied << outcome.err;
            EXPECT_EQ(dir_.read("x.idx"), untouched ? before : after) << copied;
            EXPECT_EQ(temporaries().empty(), !untouched) << copied;
            removeTemporaries();
        }
    }
}

TEST_F(IndexRecover, NothingIsPutThatIsNotWholeAndTheFiles) {
    dir_.write("x.idx", old_);
    dir_.write("text", "text");
    const std::string ready = leave("x.idx", longer_), path = temporary_.path(ready);
    temporary_.write("tarvani-AbCdEf.1-2", longer_);  // of another file
    expect({
        {"index recover x.idx", "older\t88\t2000\t" + ready + "\n\t3\t0\ta\n\t3\t0\tb\n\t15\t0\tc\n"},
        {"index recover --put x.idx", "", "x.idx: no temporary file is put in its place unless it is named"},
        {"index recover --put text '" + path + "'", "", "text: is not a container, and is left as it is"},
        {"index recover --put x.idx x.idx", "", "x.idx: is the same file"},
        {"index recover --put x.idx text", "", StartsWith("x.idx: text: not a container")},
        {"index recover --put nope gone", "", "nope: gone: No such file or directory"},
        {"index recover text", "", StartsWith("text: not a container: it doesn't begin with \"INDX\"; no temporary")},
        {"index recover x.idx?a", "", "x.idx?a: only a local file can be recovered, and with it its sections"},
    });
    {
        const platform::UniqueFd open(::open(path.c_str(), O_RDWR | O_CLOEXEC));
        expect({{"index recover x.idx", "in use\t88\t2000\t" + ready + "\n"},
                {"index recover --put x.idx '" + path + "'", "", "x.idx: " + ready + ": a program has it open"}});
    }
    leave("x.idx", longer_.substr(0, longer_.size() - 1));
    const std::string cut = ready + ": section \"c\" (2): reaches 1 byte beyond the end";
    expect({{"index recover x.idx", "incomplete\t87\t2000\t" + cut + "\n"},
            {"index recover --put x.idx '" + path + "'", "", "x.idx: " + cut}});
    EXPECT_EQ(dir_.read("x.idx") + dir_.read("text"), old_ + "text");
    leave("x.idx", longer_);
    leave("x.idx", old_, "second");
    dir_.setTime("x.idx", 1000);  // before the temporaries
    expect({
        {"index recover --json x.idx",
         R"({"path":"x.idx","fault":"","temporaries":[{"path":")" + ready +
             R"(","state":"ready","size":88,"modified":2000,"fault":"","sections":[{"name":"a","size":3,"modified":0},)"
             R"({"name":"b","size":3,"modified":0},{"name":"c","size":15,"modified":0}]},{"path":")" +
             leave("x.idx", old_, "second") +
             R"(","state":"same","size":63,"modified":2000,"fault":"","sections":[{"name":"a","size":3,"modified":0},)"
             R"({"name":"b","size":10,"modified":0}]}]})"
             "\n"},
        {"index recover --put x.idx"},  // the one that is ready
    });
    EXPECT_EQ(dir_.read("x.idx"), longer_);
    leave("x.idx", old_);
    dir_.setTime("x.idx", 1000);
    expect({{"index recover --put x.idx", "",
             "x.idx: more than one temporary file can be put in its place; name one of them"},
            {"index recover --put x.idx '" + path + "'"}});
    EXPECT_EQ(dir_.read("x.idx"), old_);
    removeTemporaries();
}

TEST_F(IndexRecover, AFileThatIsMissingTakesOnlyWhatIsNamed) {
    dir_.write("d/tarvani-AbCdEf", longer_);
    dir_.setTime("d/tarvani-AbCdEf", 2000);
    expect({{"index recover d/x.idx", StartsWith("unclaimed\t88\t2000\td/tarvani-AbCdEf\n")},
            {"index recover --put d/x.idx", "", "d/x.idx: no temporary file is put in its place unless it is named"},
            {"index recover --put d/x.idx d/tarvani-AbCdEf"}});
    EXPECT_EQ(dir_.names("d"), Words{"x.idx"});
    EXPECT_EQ(dir_.read("d/x.idx"), longer_);
    expectWrongUsage(
        {"index recover", "index recover d/x.idx d/x.idx", "index recover --put --json d/x.idx", "index check"});
}
