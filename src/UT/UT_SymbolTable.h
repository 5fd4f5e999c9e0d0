#pragma once
// A table from names to things, a hash table that walks in the order in which its names were added. It owns copies of
// the names and borrows what the things point to.
//
//     UT_SymbolTable sections;
//     sections.addSymbol("geo", UT_Thing(section));
//     UT_Thing thing;
//     if (sections.findSymbol("geo", &thing)) use(thing.as<Section>());
//     for (auto entry = sections.begin(); entry != sections.end(); ++entry) use(entry.name(), entry.thing());
//
// Entries may be added and removed while the table is being walked: a removed one isn't reached any more, an added one
// is. A reference to a thing, and a name that a walk gave, are valid until an entry is added or removed; while a walk
// goes on, names stay for as long as it does, and references until an entry is added. A table must outlive its walks
// and is not assigned to meanwhile. Null names are unknown to every table. For one thread at a time, reading too.
#include <UT/UT_Export.h>
#include <UT/UT_Thing.h>

#include <cstdint>
#include <memory>
#include <string_view>

class TARVANI_EXPORT UT_SymbolTable {
    class Entries;

public:
    // Given the thing of an entry, its name and the data of the walk. 0 ends the walk.
    using Callback = int (*)(UT_Thing& thing, const char* name, void* data);

    UT_SymbolTable();
    // An independent table with the same names and things in the same order.
    UT_SymbolTable(const UT_SymbolTable& other);
    UT_SymbolTable(UT_SymbolTable&& other) noexcept;
    virtual ~UT_SymbolTable();
    UT_SymbolTable& operator=(const UT_SymbolTable& other);
    UT_SymbolTable& operator=(UT_SymbolTable&& other) noexcept;

    // Adds a name, which is copied, at the end. The thing of a name that is there already is replaced, and the name
    // keeps its place.
    void addSymbol(std::string_view name, UT_Thing value);
    void addSymbol(const char* name, UT_Thing value) {
        if (name) addSymbol(std::string_view(name), value);
    }
    // 1 if the name is in the table, else 0. With 1, `*value` is its thing, unless `value` is null.
    int findSymbol(std::string_view name, UT_Thing* value) const;
    int findSymbol(const char* name, UT_Thing* value) const {
        return name ? findSymbol(std::string_view(name), value) : 0;
    }
    // Removes a name. 1 if it was there, else 0.
    int deleteSymbol(std::string_view name);
    int deleteSymbol(const char* name) { return name ? deleteSymbol(std::string_view(name)) : 0; }
    // Removes all names.
    void clear();
    // Number of names.
    unsigned entries() const;

    // Calls back for every entry. 1 after the last one, 0 if the callback ended the walk or is null. What a callback
    // of traverseConst writes into the thing isn't kept.
    int traverse(Callback callback, void* data);
    int traverseConst(Callback callback, void* data) const;

    // A place in a walk.
    class TARVANI_EXPORT traverser {
    public:
        traverser(const traverser& other);
        traverser& operator=(const traverser& other);
        ~traverser();

        // Moves to the next entry that is still there.
        traverser& operator++();
        // Of the entry here, which must not have been removed. At the end: "" and a spare thing that nobody reads.
        const char* name() const;
        std::string_view nameView() const;
        UT_Thing& thing() const;
        UT_Thing& operator*() const { return thing(); }
        // True where there is no entry any more. All ends of walks are equal.
        bool atEnd() const;
        friend bool operator==(const traverser& a, const traverser& b) {
            return a.atEnd() || b.atEnd() ? a.atEnd() == b.atEnd() : a.index_ == b.index_;
        }
        friend bool operator!=(const traverser& a, const traverser& b) { return !(a == b); }

    private:
        friend class UT_SymbolTable;
        traverser(Entries* table, std::uint32_t index);

        Entries* table_;  // null for the end
        std::uint32_t index_;
    };
    // A walk from the first entry, and the place behind the last one.
    traverser begin();
    traverser end();

protected:
    // The thing at a place of the order, null for a place that there isn't.
    UT_Thing* thingAt(std::int64_t index) const;
    // The thing of a name, null for an unknown name.
    UT_Thing* thingOf(std::string_view name) const;
    // Puts the entries in order of their names, by byte. Nothing happens while the table is being walked.
    void sortByName();

private:
    std::unique_ptr<Entries> body_;  // null until something is added
};
