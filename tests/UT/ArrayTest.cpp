// Work buffers and the arrays.
#include <UT/UT_IntArray.h>
#include <UT/UT_PtrArray.h>
#include <UT/UT_String.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_WorkBuffer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <vector>

#include "../support/Rules.h"
#include "Streams.h"

namespace {

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
    EXPECT_FALSE(string.isNull() || buffer.lock(-1) || buffer.lock(1));
    EXPECT_NE(buffer.lock(0, 0), other.buffer());  // what may be written on isn't the shared one
    std::fill_n(buffer.lock(0, 9), 9, 'z');        // under the first lock, and beyond what that asked for
    for (int i = 0; i < 2; ++i) buffer.release(0);
    EXPECT_EQ(buffer.view(), "zzzzzzzzz");
    buffer.strcpy("ab");
    EXPECT_EQ(buffer.view(), "ab");
    UT_WorkBuffer(std::string_view("a used block of some length, which is given to the next")), other.reserve(63);
    EXPECT_STREQ(other.buffer(), "");
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
    UT_PtrArray<const char*> pointers;
    pointers.append("a");
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

// Each line of a C file with a bar behind it.
std::string linesIn(const Columns& row) {
    std::string text = row[0], all;
    const CFile file(fmemopen(text.data(), text.size(), "r"), std::fclose);
    UT_WorkBuffer line("old");
    while (line.getline(file.get())) {
        EXPECT_EQ(line.view(), line.buffer()) << "ends in a NUL";
        all.append(line.view()) += '|';
    }
    EXPECT_TRUE(line.isEmpty() && !line.getline(nullptr));
    return all;
}

using Letters = UT_PtrArray<const char*>;

constexpr char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz";

// What steps make of an array of letters, with "." for a null.
std::string changed(const Columns& row) {
    Letters array;
    for (const char c : row[0]) array.append(kAlphabet + (c - 'a'));
    const Letters copy(array);
    std::istringstream steps(row[1]);
    std::string verb;
    char letter = 'a';
    for (int from = 0, to = 0, count = 0; steps >> verb;) {
        if (verb == "move" && steps >> from >> to >> count) array.move(from, to, count);
        if (verb == "set" && steps >> to >> letter) array[to] = kAlphabet + (letter - 'a');
        if (verb == "remove" && steps >> letter) array.remove(kAlphabet + (letter - 'a'));
        if (verb == "resize" && steps >> count) array.resize(static_cast<unsigned>(count), 1);
    }
    std::string text;
    for (const char* place : array) text += place ? *place : '.';
    EXPECT_EQ(copy.entries(), static_cast<int>(row[0].size()));
    return text;
}

TEST(ArrayRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/arrays.rules", {{"changed", changed}, {"lines", linesIn}});
    Letters array;
    for (const int i : {0, 1, 0}) array.append(kAlphabet + i);
    EXPECT_EQ(array.find(kAlphabet, 1), 2);
    EXPECT_EQ(array.remove(kAlphabet + 1), 1);
    EXPECT_EQ(array.remove("elsewhere"), -1);
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
        UT_PtrArray<int*> typed(array), byLambda(array);
        int (*const byPlaces)(const void*, const void*) = [](const void* a, const void* b) {
            return **static_cast<int* const*>(a) - **static_cast<int* const*>(b);
        };
        raw.sort(byPlaces);
        typed.sort(byPlaces);
        byLambda.sort([](int* const* a, int* const* b) { return **a - **b; });
        raw.sort(nullptr);  // changes nothing
        array.sort([](const int* a, const int* b) { return *a - *b; });
        const auto isSorted = [&](auto& a) { return std::equal(a.begin(), a.end(), model.begin(), model.end()); };
        EXPECT_TRUE(isSorted(array) && isSorted(raw) && isSorted(typed) && isSorted(byLambda));
        array.sort([&random](int*, int*) { return static_cast<int>(random() % 3) - 1; });
        for (const int answer : {1, -1}) array.sort([answer](int*, int*) { return answer; });
        EXPECT_TRUE(std::is_permutation(model.begin(), model.end(), array.begin(), array.end()));
    }
}

}  // namespace
