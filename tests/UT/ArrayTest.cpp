// Work buffers and the arrays.
#include <UT/UT_IntArray.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_view_literals;

constexpr std::int64_t kAbsurd[] = {-1, INT32_MIN, 1'000'000, INT32_MAX, UINT32_MAX, INT64_MIN, INT64_MAX};

UT_PtrArray<const char*> letters(std::string_view text) {
    static constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz";
    UT_PtrArray<const char*> array;
    for (char c : text) array.append(kAlphabet + (c - 'a'));
    return array;
}

std::string shown(const UT_PtrArray<const char*>& array) {
    std::string text;
    for (const char* letter : array) text += letter ? *letter : '.';
    return text;
}

// Work buffers

TEST(WorkBuffer, HoldsWhatAStringWouldHoldWhateverIsAppended) {
    std::mt19937 random(3);
    UT_WorkBuffer buffer;
    std::string model;
    for (int i = 0; i < 3000; ++i) {
        const std::size_t start = random() % (model.size() + 1), count = random() % 50;
        const std::string piece(model, start, count);
        const auto kind = random() % 160;
        if (kind < 10) buffer.fill(start, count, '-'), model.replace(start, piece.size(), piece.size(), '-');
        if (kind >= 10 && kind < 40) buffer.append('c'), model += 'c';
        if (kind >= 40 && kind < 80) buffer.append("a\0b", 3), model.append("a\0b", 3);
        if (kind >= 80 && kind < 120) buffer.strcat("text"), model += "text";
        // A piece of itself, which moves when the buffer grows.
        if (kind >= 120 && kind < 159) buffer.append(buffer.view().substr(start, count)), model += piece;
        if (kind == 159) buffer.assign(buffer.view().substr(start, count)), model = piece;
        ASSERT_EQ(buffer.view(), model);
        ASSERT_EQ(buffer.buffer()[buffer.length()], '\0');
    }
    const UT_WorkBuffer copy(buffer);
    buffer.clear();
    EXPECT_TRUE(buffer.isEmpty());
    EXPECT_EQ(copy.view(), model);
}

TEST(WorkBuffer, NothingMakesNoHarm) {
    UT_WorkBuffer buffer, other;
    buffer.append(nullptr, 5);
    buffer.append("x", -1);
    buffer.append("");
    buffer.strcpy(nullptr);
    buffer.truncate(-1);
    buffer.fill(1, 2, 'x');
    buffer.clear();
    buffer = other;
    EXPECT_STREQ(buffer.buffer(), "");
    UT_String string;
    buffer.copyIntoString(string);
    EXPECT_FALSE(string.isNull());
    EXPECT_EQ(buffer.buffer(), other.buffer());  // the shared empty text: no allocation
    EXPECT_EQ(buffer.lock(-1), nullptr);
    EXPECT_EQ(buffer.lock(1), nullptr);
}

TEST(WorkBuffer, FormatsTextOfAnyLengthAlsoFromItself) {
    UT_WorkBuffer buffer;
    EXPECT_EQ(buffer.sprintf("%s-%d", "a", 7), 3);
    const std::string lengthy(1000, 'x');
    EXPECT_EQ(buffer.sprintf("%s%s", buffer.buffer(), lengthy.c_str()), 1003);
    EXPECT_EQ(buffer.sprintf("<%s>", buffer.buffer()), 1005);
    EXPECT_EQ(buffer.view(), "<a-7" + lengthy + ">");
    EXPECT_EQ(buffer.sprintf("%s", buffer.buffer() + 1000), 5);
}

TEST(WorkBuffer, TheLengthFollowsWhatALockLeaves) {
    UT_WorkBuffer buffer("scene.idx");
    char* const text = buffer.lock(0, 0);
    buffer.clear();  // not while it is locked
    EXPECT_STREQ(text, "scene.idx");
    text[5] = '\0';
    buffer.release(0);
    EXPECT_EQ(buffer.view(), "scene");

    std::fill_n(buffer.lock(5, 300), 300, 'x');
    buffer.release(0);
    EXPECT_EQ(buffer.view(), "scene" + std::string(300, 'x'));

    buffer.clear();
    *buffer.lock(0, 9) = 'y';  // nothing of the old content shows behind it
    buffer.release(0);
    EXPECT_EQ(buffer.view(), "y");

    buffer.strcpy("0123456789");
    buffer.clear();
    buffer.lock(0, 1);
    std::fill_n(buffer.lock(0, 8), 8, 'z');  // under the first lock, and beyond what that asked for
    buffer.release(0);
    buffer.release(0);
    EXPECT_EQ(buffer.view(), "zzzzzzzz");

    UT_WorkBuffer empty;
    EXPECT_NE(empty.lock(0, 0), UT_WorkBuffer().buffer());  // what may be written on isn't the shared empty text
}

TEST(WorkBuffer, ReadsACFileByLines) {
    const std::string lengthy(5000, 'y');
    std::string text = "one\n\n" + lengthy + "\r\n" + std::string("hidden\0rest\nlast"sv);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(fmemopen(text.data(), text.size(), "r"), std::fclose);
    UT_WorkBuffer line("old");
    for (const std::string& expected : std::vector<std::string>{"one", "", lengthy + "\r", "hidden", "last"}) {
        EXPECT_TRUE(line.getline(file.get()));
        EXPECT_EQ(line.view(), expected);
    }
    EXPECT_FALSE(line.getline(file.get()));
    EXPECT_TRUE(line.isEmpty());
    EXPECT_FALSE(line.getline(nullptr));
}

// Arrays

TEST(RefArray, GrowsInTheStepsThatItPromises) {
    UT_RefArray<int> array;
    unsigned capacity = 0;
    for (int i = 0; i < 10'000; ++i) {
        if (static_cast<unsigned>(i) == capacity) capacity += capacity < 128 ? 4 : capacity < 1024 ? 128 : capacity / 8;
        EXPECT_EQ(array.append(i ? array(0) : 42), i);  // its own element, also when it moves
        ASSERT_EQ(array.capacity(), capacity);
    }
    EXPECT_EQ(std::count(array.begin(), array.end(), 42), 10'000);
}

TEST(Arrays, AnIndexOutOfRangeDoesNoHarm) {
    UT_IntArray numbers;
    numbers.append(7);
    UT_PtrArray<const char*> pointers = letters("a");
    UT_StringArray strings;
    strings.append("a");
    for (const std::int64_t index : kAbsurd) {
        numbers(index) = 1;
        EXPECT_EQ(numbers(index), 0);
        EXPECT_EQ(numbers.removeAt(index), -1);
        EXPECT_EQ(pointers(index), nullptr);
        EXPECT_EQ(pointers.removeAt(index), -1);
        strings(index) = "lost";
        EXPECT_TRUE(strings(index).isNull());
        EXPECT_EQ(strings.removeAt(index), -1);
        if (index >= 0 && index < INT32_MAX) continue;
        numbers[index] = 1;
        EXPECT_EQ(pointers[index], nullptr);
    }
    numbers.resize(UINT32_MAX);
    EXPECT_EQ(numbers.entries() + pointers.entries() + strings.entries(), 3);
    EXPECT_EQ(numbers(0), 7);
}

TEST(PtrArray, GrowsByAnIndexBehindTheEndAndShrinksByRemoval) {
    UT_PtrArray<const char*> array = letters("abca");
    array[5] = array(1);
    EXPECT_EQ(shown(array), "abca.b");
    const UT_PtrArray<const char*> copy(array);
    EXPECT_EQ(array.find(array(1), 2), 5);
    EXPECT_EQ(array.remove(array(1)), 1);
    EXPECT_EQ(array.remove("elsewhere"), -1);
    EXPECT_EQ(shown(array), "aca.b");
    array.resize(2, 1);
    EXPECT_EQ(shown(array), "ac");
    array.resize(0, 1);
    EXPECT_EQ(array.entries(), 0);
    EXPECT_EQ(shown(copy), "abca.b");
}

TEST(PtrArray, MovesARangeInsideTheArrayOnly) {
    const struct {
        int from, to, count;
        const char* moved;
    } cases[] = {{0, 3, 2, "cdeab"},         {3, 0, 2, "deabc"},
                 {1, 2, 2, "adbce"},         {2, 1, 2, "acdbe"},
                 {0, 0, 5, "abcde"},         {4, 0, 1, "eabcd"},
                 {0, 4, 2, "abcde"},         {4, 0, 2, "abcde"},
                 {-1, 0, 2, "abcde"},        {0, -1, 2, "abcde"},
                 {0, 1, 0, "abcde"},         {0, 1, -1, "abcde"},
                 {0, 1, INT32_MAX, "abcde"}, {INT32_MAX, 0, INT32_MAX, "abcde"}};
    for (const auto& c : cases) {
        UT_PtrArray<const char*> array = letters("abcde");
        array.move(c.from, c.to, c.count);
        EXPECT_EQ(shown(array), c.moved) << c.from << " to " << c.to;
    }
}

TEST(PtrArraySort, KeepsTheOrderOfEqualElementsAndEveryElementWhenTheComparisonLies) {
    std::mt19937 random(4);
    for (std::size_t count = 0; count < 200; ++count) {
        std::vector<int> numbers(count);
        UT_PtrArray<int*> array;
        UT_PtrArrayRaw raw;
        for (int& number : numbers) array.append(&(number = static_cast<int>(random() % 10))), raw.append(&number);
        const std::vector<int*> all(array.begin(), array.end());
        std::vector<int*> model(all);
        std::stable_sort(model.begin(), model.end(), [](int* a, int* b) { return *a < *b; });
        array.sort([](const int* a, const int* b) { return *a - *b; });
        EXPECT_EQ(std::vector<int*>(array.begin(), array.end()), model);
        raw.sort(nullptr);  // changes nothing
        EXPECT_TRUE(std::equal(all.begin(), all.end(), raw.begin(), raw.end()));
        raw.sort([](const void* a, const void* b) {  // places of elements
            return **static_cast<int* const*>(a) - **static_cast<int* const*>(b);
        });
        EXPECT_TRUE(std::equal(model.begin(), model.end(), raw.begin(), raw.end()));

        array.sort([&random](int*, int*) { return static_cast<int>(random() % 3) - 1; });
        array.sort([](int*, int*) { return 1; });
        array.sort([](int*, int*) { return -1; });
        std::sort(array.begin(), array.end());
        EXPECT_EQ(std::vector<int*>(array.begin(), array.end()), all);
    }
}

TEST(StringArray, OwnsItsTexts) {
    UT_StringArray array;
    std::string text = "one";
    array.append(text.c_str());
    EXPECT_EQ(array.append(text = "two"), 1);
    array.append(nullptr);
    EXPECT_EQ(array.find("two"), 1);
    EXPECT_EQ(array.removeAt(1), 1);
    EXPECT_EQ(array(0), "one");
    EXPECT_TRUE(array.last().isNull());
}

}  // namespace
