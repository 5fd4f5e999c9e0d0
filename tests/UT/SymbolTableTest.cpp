// Symbol tables, held against a list in the order of adding.
#include <UT/UT_SortedSymbolTable.h>
#include <UT/UT_SymbolTable.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "../support/Rules.h"

// Of memory that this thread asks for, how many pieces it gets before one is refused. Negative: none is.
static thread_local int piecesLeft = -1;

// In front of the library's own, which gives the memory.
void* operator new(std::size_t size) {
    static const auto real = reinterpret_cast<void* (*)(std::size_t)>(::dlsym(RTLD_NEXT, "_Znwm"));
    if (piecesLeft >= 0 && piecesLeft-- == 0) throw std::bad_alloc();
    return real(size);
}

namespace {

using Pairs = std::vector<std::pair<std::string, std::intptr_t>>;
using Visit = std::function<int(UT_Thing&, const char*)>;

// Walks with a function that may do what it likes.
int traverse(UT_SymbolTable& table, Visit visit, bool isConst = false) {
    const auto call = [](UT_Thing& thing, const char* name, void* data) {
        return (*static_cast<Visit*>(data))(thing, name);
    };
    return isConst ? table.traverseConst(call, &visit) : table.traverse(call, &visit);
}

// What the table holds, by both ways of walking.
Pairs pairs(UT_SymbolTable& table) {
    Pairs all, walked;
    const auto note = [&](UT_Thing& thing, const char* name) { return all.emplace_back(name, thing.asInt()), 1; };
    EXPECT_EQ(traverse(table, note, true), 1);
    for (auto entry = table.begin(); entry != table.end(); ++entry)
        walked.emplace_back(entry.name(), entry.thing().asInt());
    EXPECT_EQ(all, walked);
    EXPECT_EQ(all.size(), table.entries());
    return all;
}

// What steps on a table give. Walks go on side by side, and "here" is where the last one stands.
std::string stepped(const Columns& row) {
    UT_SortedSymbolTable table;
    std::vector<UT_SymbolTable::traverser> walks;
    std::istringstream steps(row[0]);
    std::string answers, verb, name;
    const auto tell = [&](const std::string& text) { answers.append(answers.empty() ? "" : " ").append(text); };
    const auto told = [](const UT_Thing& thing) { return thing.isNull() ? "null" : std::to_string(thing.asInt()); };
    const char* began = nullptr;  // the name where the last walk began, which stays while it goes on
    for (std::int64_t number = 0; steps >> verb;) {
        if (verb == "add" && steps >> name >> number) table.addSymbol(name, UT_Thing(static_cast<int>(number)));
        if (verb == "delete" && steps >> name) table.deleteSymbol(name);
        if (verb == "clear") table.clear();
        if (verb == "sort") table.sortThingsBySymbol();
        if (verb == "at" && steps >> number)
            tell(told(number > INT_MAX ? table[static_cast<unsigned>(number)] : table[static_cast<int>(number)]));
        if (verb == "of" && steps >> name) tell(told(table[name.c_str()] = table[name.c_str()]));
        if (verb == "all")
            for (const auto& [key, value] : pairs(table)) tell(key + "=" + std::to_string(value));
        if (verb == "walk") walks.push_back(table.begin()), began = walks.back().name();
        if (verb == "began") tell(began);
        if (verb == "again" && steps >> number) table.addSymbol(began, UT_Thing(static_cast<int>(number)));
        if (verb == "leave") walks.clear();
        if (verb == "next") std::for_each(walks.begin(), walks.end(), [](auto& walk) { ++walk; });
        if (verb == "set" && steps >> number) *walks.back() = UT_Thing(static_cast<int>(number));
        if (verb == "here")
            tell(walks.back() == table.end() ? "end" : walks.back().name() + ("=" + told(walks.back().thing())));
    }
    return answers;
}

TEST(SymbolTableRules, HoldForEachRow) {
    expectRules(TARVANI_RULES "/tables.rules", {{"steps", stepped}});
}

TEST(SymbolTable, AgreesWithAListWhateverIsDoneAlsoWhereMemoryEnds) {
    std::mt19937 random(6);
    int refused = 0;
    for (const unsigned names : {3u, 40u, 2000u}) {
        UT_SortedSymbolTable table;
        Pairs model;
        for (int i = 0; i < 20'000; ++i) {
            std::string name = "name" + std::to_string(random() % names) + std::string(random() % 50 ? 0 : 300, 'x');
            const auto place = std::find_if(model.begin(), model.end(), [&](const auto& p) { return p.first == name; });
            const bool known = place != model.end();
            UT_Thing thing(-1);
            ASSERT_EQ(table.findSymbol(name, &thing), known);
            ASSERT_EQ(thing.asInt(), known ? place->second : -1);
            if (random() % 2) {
                piecesLeft = random() % 4 ? -1 : static_cast<int>(random() % 8);
                try {
                    table.addSymbol(name.c_str(), UT_Thing(i));
                } catch (const std::bad_alloc&) {
                    ++refused;
                    continue;
                }
                piecesLeft = -1;
                (known ? *place : model.emplace_back(name, i)).second = i;
            } else {
                ASSERT_EQ(table.deleteSymbol(name.c_str()), known);
                if (known) model.erase(place);
            }
            if (i % 1000 == 0) {
                UT_SymbolTable copy(table), assigned;
                assigned = copy;
                copy.clear();
                EXPECT_TRUE(pairs(table) == model && pairs(assigned) == model) << "what a copy loses is its own";
                table.sortThingsBySymbol();
                std::sort(model.begin(), model.end());
                for (std::size_t at = 0; at < model.size(); ++at)
                    ASSERT_EQ(table[static_cast<int>(at)].asInt(), model[at].second);
            }
            if (random() % 5000 == 0) table.clear(), model.clear();
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(SymbolTable, KnowsNoNullNameAndEveryOtherOne) {
    constexpr const char* null = nullptr;
    UT_SymbolTable table;
    EXPECT_EQ(table.traverse(nullptr, nullptr) + table.traverseConst(nullptr, nullptr), 0);
    EXPECT_EQ(table.begin(), table.end());
    table.addSymbol(null, UT_Thing(1));
    EXPECT_EQ(table.findSymbol(null, nullptr) + table.deleteSymbol(null) + static_cast<int>(table.entries()), 0);
    const std::string names[] = {"", std::string("a\0b", 3), "a", std::string(100'000, 'n')};
    for (const std::string& name : names) table.addSymbol(name, UT_Thing(name.size()));
    for (auto entry = table.begin(); entry != table.end(); ++entry)
        EXPECT_EQ(entry.nameView().size(), static_cast<std::size_t>(entry.thing().asInt()));
    EXPECT_EQ(table.entries(), std::size(names));
}

TEST(SymbolTableWalk, BearsChangesEndsAtAZeroAndWritesThroughUnlessTheTableIsConst) {
    for (const bool isConst : {true, false}) {
        UT_SymbolTable table;
        for (const char* name : {"a", "b", "c"}) table.addSymbol(name, UT_Thing(1));
        std::string seen;
        const auto visit = [&](UT_Thing& thing, const char* name) {
            seen += name;
            thing = UT_Thing(9);
            for (const char* gone : {"a", "b"}) table.deleteSymbol(gone);
            for (int i = 0; i < 999; ++i) table.deleteSymbol("d"), table.addSymbol("d", UT_Thing(1));
            return *name == 'd' ? 0 : 1;
        };
        EXPECT_EQ(traverse(table, visit, isConst), 0);
        EXPECT_EQ(seen, "acd");
        EXPECT_EQ(pairs(table), (Pairs{{"c", isConst ? 1 : 9}, {"d", 1}}));
    }
}

}  // namespace
