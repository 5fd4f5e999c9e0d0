// Symbol tables, held against a list in the order of adding.
#include <UT/UT_SortedSymbolTable.h>
#include <UT/UT_SymbolTable.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::intptr_t>>;

int note(UT_Thing& thing, const char* name, void* data) {
    static_cast<Pairs*>(data)->emplace_back(name, thing.asInt());
    return 1;
}

// What the table holds, by both ways of walking.
Pairs pairs(UT_SymbolTable& table) {
    Pairs all, walked;
    EXPECT_EQ(table.traverseConst(note, &all), 1);
    for (auto entry = table.begin(); entry != table.end(); ++entry)
        walked.emplace_back(entry.name(), entry.thing().asInt());
    EXPECT_EQ(all, walked);
    EXPECT_EQ(all.size(), table.entries());
    return all;
}

// Walks with a function that may do what it likes.
int traverse(UT_SymbolTable& table, std::function<int(UT_Thing&, const char*)> visit) {
    return table.traverse(
        [](UT_Thing& thing, const char* name, void* data) {
            return (*static_cast<std::function<int(UT_Thing&, const char*)>*>(data))(thing, name);
        },
        &visit);
}

template <class Table = UT_SymbolTable>
Table tableOf(std::initializer_list<const char*> names) {
    Table table;
    int value = 0;
    for (const char* name : names) table.addSymbol(name, UT_Thing(++value));
    return table;
}

TEST(SymbolTable, AgreesWithAListWhateverIsDone) {
    std::mt19937 random(6);
    for (const unsigned names : {3u, 40u, 2000u}) {
        UT_SymbolTable table;
        Pairs inOrder;
        const auto checkOrder = [&] { EXPECT_EQ(pairs(table), inOrder); };
        for (int i = 0; i < 20'000; ++i) {
            const std::string name =
                "name" + std::to_string(random() % names) + std::string(random() % 50 ? 0 : 300, 'x');
            const auto place =
                std::find_if(inOrder.begin(), inOrder.end(), [&](const auto& p) { return p.first == name; });
            const bool known = place != inOrder.end();
            UT_Thing thing(-1);
            ASSERT_EQ(table.findSymbol(name, &thing), known);
            ASSERT_EQ(thing.asInt(), known ? place->second : -1);
            if (random() % 2) {
                table.addSymbol(name.c_str(), UT_Thing(i));
                if (known) {
                    place->second = i;
                } else {
                    inOrder.emplace_back(name, i);
                }
            } else {
                ASSERT_EQ(table.deleteSymbol(name.c_str()), known);
                if (known) inOrder.erase(place);
            }
            if (i % 1000 == 0) checkOrder();
            if (random() % 5000 == 0) table.clear(), inOrder.clear();
        }
    }
}

TEST(SymbolTable, KnowsNoNullNameAndEveryOtherOne) {
    UT_SymbolTable table;
    EXPECT_EQ(table.findSymbol("a", nullptr) + table.deleteSymbol("a"), 0);
    EXPECT_EQ(table.begin(), table.end());
    EXPECT_EQ(table.traverse(nullptr, nullptr), 0);
    table.addSymbol(static_cast<const char*>(nullptr), UT_Thing(1));
    EXPECT_EQ(table.entries(), 0u);
    const std::string names[] = {"", std::string("a\0b", 3), "a", std::string(100'000, 'n')};
    for (const std::string& name : names) table.addSymbol(name, UT_Thing(name.size()));
    for (const std::string& name : names) {
        UT_Thing thing;
        EXPECT_EQ(table.findSymbol(name, &thing), 1);
        EXPECT_EQ(thing.asInt(), static_cast<std::intptr_t>(name.size()));
    }
    EXPECT_EQ(table.findSymbol(static_cast<const char*>(nullptr), nullptr), 0);
    EXPECT_EQ(table.deleteSymbol(static_cast<const char*>(nullptr)), 0);
}

TEST(SymbolTable, ACopyIsAnotherTable) {
    UT_SymbolTable table = tableOf({"a", "b", "c"});
    table.deleteSymbol("a");
    UT_SymbolTable copy(table), assigned;
    assigned = copy;
    table.clear();
    copy.addSymbol("d", UT_Thing(4));
    EXPECT_EQ(pairs(copy), (Pairs{{"b", 2}, {"c", 3}, {"d", 4}}));
    EXPECT_EQ(pairs(assigned), (Pairs{{"b", 2}, {"c", 3}}));
}

// Changes during a walk

TEST(SymbolTableWalk, EndsAtAZeroAndWritesThroughUnlessTheTableIsConst) {
    UT_SymbolTable table = tableOf({"a", "b"});
    const auto set = [](UT_Thing& thing, const char*, void*) {
        thing = UT_Thing(9);
        return 0;
    };
    EXPECT_EQ(table.traverseConst(set, nullptr), 0);
    EXPECT_EQ(pairs(table), (Pairs{{"a", 1}, {"b", 2}}));
    EXPECT_EQ(table.traverse(set, nullptr), 0);
    EXPECT_EQ(pairs(table), (Pairs{{"a", 9}, {"b", 2}}));
    *table.begin() = UT_Thing(5);
    EXPECT_EQ(pairs(table), (Pairs{{"a", 5}, {"b", 2}}));
}

TEST(SymbolTableWalk, EntriesMayGoAndComeMeanwhile) {
    UT_SymbolTable table;
    for (int i = 0; i < 1000; ++i) table.addSymbol(std::to_string(i), UT_Thing(i));
    std::vector<std::string> seen;
    // Each entry removes itself and the one behind it; the last hundred add one each, when the table would close its
    // gaps if nobody walked.
    traverse(table, [&](UT_Thing& thing, const char* name) {
        seen.push_back(name);
        const auto value = thing.asInt();
        table.deleteSymbol(name);
        table.deleteSymbol(std::to_string(value + 1));
        if (value >= 800 && value < 1000) table.addSymbol("new" + std::to_string(value), UT_Thing(5000 + value));
        EXPECT_EQ(name, seen.back());  // the name stays readable
        return 1;
    });
    ASSERT_EQ(seen.size(), 600u);
    EXPECT_EQ(seen[1], "2");
    EXPECT_EQ(seen.back(), "new998");
    EXPECT_EQ(table.entries(), 0u);
}

TEST(SymbolTableWalk, ATableMayBeEmptiedMeanwhile) {
    UT_SymbolTable table = tableOf({"a", "b", "c"});
    {
        auto entry = table.begin();
        const char* const name = entry.name();
        table.clear();
        EXPECT_STREQ(name, "a");
        auto copy = entry;
        copy = ++entry;
        EXPECT_TRUE(entry == table.end() && copy == table.end());
        EXPECT_TRUE(entry.thing().isNull());
    }
    table.addSymbol("d", UT_Thing(4));
    EXPECT_EQ(pairs(table), (Pairs{{"d", 4}}));
}

TEST(SymbolTableWalk, ANameOfTheTableMayBeAddedAgain) {
    UT_SymbolTable table = tableOf({"a", "b", "c", "d"});
    std::vector<const char*> names;
    traverse(table, [&](UT_Thing&, const char* name) { return names.push_back(name), 1; });
    for (const char* name : names) table.deleteSymbol(name);
    table.addSymbol(names[2], UT_Thing(7));  // the gaps close here, and the old names go
    EXPECT_EQ(pairs(table), (Pairs{{"c", 7}}));
}

// Places

TEST(SortedSymbolTable, PlacesFollowTheNamesOnceSorted) {
    auto table = tableOf<UT_SortedSymbolTable>({"b", "\xc3\xa9", "a", "B", "c"});
    EXPECT_EQ(table[0].asInt(), 1);
    table.sortThingsBySymbol();
    EXPECT_EQ(pairs(table), (Pairs{{"B", 4}, {"a", 3}, {"b", 1}, {"c", 5}, {"\xc3\xa9", 2}}));
    table.addSymbol("A", UT_Thing(6));
    EXPECT_EQ(table[5u].asInt(), 6);
    table.deleteSymbol("a");
    EXPECT_EQ(table.entries(), 5u);
    EXPECT_EQ(table[1].asInt(), 1);
    EXPECT_EQ(table["c"].asInt(), 5);
    {
        const auto walk = table.begin();
        table.deleteSymbol("b");
        table.sortThingsBySymbol();  // not now
        EXPECT_EQ(table[1].asInt(), 5);
    }
    table["c"] = UT_Thing(8);
    EXPECT_EQ(pairs(table), (Pairs{{"B", 4}, {"c", 8}, {"\xc3\xa9", 2}, {"A", 6}}));
}

TEST(SortedSymbolTable, WhatItDoesNotHoldIsNullAndStaysUnknown) {
    auto table = tableOf<UT_SortedSymbolTable>({"a"});
    table["x"] = UT_Thing(1);
    EXPECT_TRUE(table["x"].isNull());
    EXPECT_TRUE(table[static_cast<const char*>(nullptr)].isNull());
    for (const int index : {1, -1, INT32_MAX, INT32_MIN}) EXPECT_TRUE(table[index].isNull());
    EXPECT_TRUE(table[UINT32_MAX].isNull());
    EXPECT_TRUE(UT_SortedSymbolTable()[0].isNull());
    EXPECT_EQ(table.entries(), 1u);
}

}  // namespace
