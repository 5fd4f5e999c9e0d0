// Work buffers and the arrays.
#include <UT/UT_IntArray.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Streams.h"

namespace {

using Letters = UT_PtrArray<const char*>;

Letters letters(std::string_view text) {
    static constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz";
    Letters array;
    for (char c : text) array.append(kAlphabet + (c - 'a'));
    return array;
}

std::string shown(const Letters& array) {
    std::string text;
    for (const char* letter : array) text += letter ? *letter : '.';
    return text;
}

// Work buffers

TEST(WorkBuffer, HoldsWhatAStringWouldHoldWhateverIsDone) {
    std::mt19937 random(3);
    UT_WorkBuffer buffer;
    std::string model;
    for (int i = 0; i < 6000; ++i) {
        const std::size_t start = random() % (model.size() + 1), count = random() % 50;
        const std::string piece(model, start, count);
        const auto kind = random() % 160;
        if (kind < 10) buffer.fill(start, count, '-'), model.replace(start, piece.size(), piece.size(), '-');
        if (kind >= 10 && kind < 40) buffer.append('c'), model += 'c';
        if (kind >= 40 && kind < 80) buffer.append("a\0b", 3), model.append("a\0b", 3);
        if (kind >= 80 && kind < 120) buffer.strcat("text"), model += "text";
        // A piece of itself, which moves when the buffer grows.
        if (kind >= 120 && kind < 157) buffer.append(buffer.view().substr(start, count)), model += piece;
        if (kind == 157) {
            const int width = 1 + static_cast<int>(random() % 1000);
            const int length = buffer.sprintf("<%s%0*d>", buffer.buffer() + start, width, 0);
            model = "<" + std::string(model.c_str() + start) + std::string(static_cast<std::size_t>(width), '0') + ">";
            ASSERT_EQ(length, buffer.length());
        }
        if (kind == 158) buffer.assign(buffer.view().substr(start, count)), model = piece;
        if (kind == 159) {  // what is locked and not written on is as it was, or NUL; the length ends at the first one
            char* const place = buffer.lock(static_cast<int>(start), static_cast<unsigned>(count));
            buffer.clear();  // not while it is locked
            std::fill_n(place, count / 2, 'z');
            buffer.release(0);
            model.resize(std::max(model.size(), start + count));
            model = model.replace(start, count / 2, count / 2, 'z').c_str();
        }
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
    buffer.strcpy(nullptr);
    buffer.truncate(-1);
    buffer.fill(1, 2, 'x');
    buffer = other;
    EXPECT_STREQ(buffer.buffer(), "");
    EXPECT_EQ(buffer.buffer(), other.buffer());  // the shared empty text: no allocation
    UT_String string;
    buffer.copyIntoString(string);
    EXPECT_FALSE(string.isNull());
    for (const int outside : {-1, 1}) EXPECT_EQ(buffer.lock(outside), nullptr);
    EXPECT_NE(buffer.lock(0, 0), other.buffer());  // what may be written on isn't the shared one
    std::fill_n(buffer.lock(0, 9), 9, 'z');        // under the first lock, and beyond what that asked for
    for (int i = 0; i < 2; ++i) buffer.release(0);
    EXPECT_EQ(buffer.view(), "zzzzzzzzz");
    buffer.strcpy("ab");
    EXPECT_EQ(buffer.view(), "ab");
}

TEST(WorkBuffer, ReadsACFileByLines) {
    const std::string lengthy(5000, 'y');
    std::string text = "one\n\n" + lengthy + "\r\nhidden" + '\0' + "rest\nlast", read;
    const CFile file(fmemopen(text.data(), text.size(), "r"), std::fclose);
    UT_WorkBuffer line("old");
    while (line.getline(file.get())) read.append(line.view()) += '|';
    EXPECT_EQ(read, "one||" + lengthy + "\r|hidden|last|");
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
    numbers.resize(UINT32_MAX);
    Letters pointers = letters("a");
    UT_StringArray strings;
    strings.append("a");
    for (const std::int64_t index :
         {INT64_MIN, std::int64_t{-1}, std::int64_t{1}, std::int64_t{INT32_MAX}, INT64_MAX}) {
        numbers(index) = index == 1 ? 1 : numbers[index] = 1;
        strings(index) = "lost";
        EXPECT_EQ(numbers(index), 0);
        EXPECT_EQ(index == 1 ? pointers(index) : pointers[index], nullptr);
        EXPECT_TRUE(strings(index).isNull());
        EXPECT_EQ(numbers.removeAt(index) + pointers.removeAt(index) + strings.removeAt(index), -3);
    }
    EXPECT_EQ(numbers.entries() + pointers.entries() + strings.entries(), 3);
    EXPECT_EQ(strings.find("a"), 0);
    EXPECT_EQ(strings.append(nullptr), 1);
    EXPECT_EQ(strings.removeAt(0), 0);
    EXPECT_TRUE(strings.last().isNull());
}

TEST(PtrArray, GrowsByAnIndexBehindTheEndAndShrinksByRemoval) {
    Letters array = letters("abca");
    array[5] = array(1);
    EXPECT_EQ(shown(array), "abca.b");
    const Letters copy(array);
    EXPECT_EQ(array.find(array(1), 2), 5);
    EXPECT_EQ(array.remove(array(1)), 1);
    EXPECT_EQ(array.remove("elsewhere"), -1);
    EXPECT_EQ(shown(array), "aca.b");
    for (const unsigned capacity : {2u, 0u}) {
        array.resize(capacity, 1);
        EXPECT_EQ(shown(array), std::string("ac", capacity));
    }
    EXPECT_EQ(shown(copy), "abca.b");
}

TEST(PtrArray, MovesARangeInsideTheArrayOnly) {
    const struct {
        int from, to, count;
        const char* moved;
    } cases[] = {{0, 3, 2, "cdeab"},  {3, 0, 2, "deabc"},  {1, 2, 2, "adbce"},         {2, 1, 2, "acdbe"},
                 {4, 0, 1, "eabcd"},  {0, 0, 5, "abcde"},  {0, 4, 2, "abcde"},         {4, 0, 2, "abcde"},
                 {-1, 0, 2, "abcde"}, {0, -1, 2, "abcde"}, {0, 1, INT32_MAX, "abcde"}, {0, 1, -1, "abcde"}};
    for (const auto& c : cases) {
        Letters array = letters("abcde");
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
        std::vector<int*> model(array.begin(), array.end());
        std::stable_sort(model.begin(), model.end(), [](int* a, int* b) { return *a < *b; });
        raw.sort([](const void* a, const void* b) {  // places of elements
            return **static_cast<int* const*>(a) - **static_cast<int* const*>(b);
        });
        raw.sort(nullptr);  // changes nothing
        array.sort([](const int* a, const int* b) { return *a - *b; });
        EXPECT_EQ(std::vector<int*>(array.begin(), array.end()), model);
        EXPECT_EQ(std::vector<void*>(raw.begin(), raw.end()), std::vector<void*>(model.begin(), model.end()));

        array.sort([&random](int*, int*) { return static_cast<int>(random() % 3) - 1; });
        for (const int answer : {1, -1}) array.sort([answer](int*, int*) { return answer; });
        EXPECT_TRUE(std::is_permutation(model.begin(), model.end(), array.begin(), array.end()));
    }
}

}  // namespace
