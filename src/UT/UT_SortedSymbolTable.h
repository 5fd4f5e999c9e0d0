#pragma once
// A symbol table with places: its entries can be put in order of their names and are then reached by number.
//
//     table.sortThingsBySymbol();
//     for (unsigned i = 0; i < table.entries(); ++i) use(table[i]);
//
// Until it is sorted the order is that of adding; what is added later stands at the end until it is sorted again.
#include <UT/UT_Export.h>
#include <UT/UT_SymbolTable.h>

class TARVANI_EXPORT UT_SortedSymbolTable : public UT_SymbolTable {
public:
    UT_SortedSymbolTable() = default;
    UT_SortedSymbolTable(const UT_SortedSymbolTable&) = default;
    UT_SortedSymbolTable(UT_SortedSymbolTable&&) noexcept = default;
    ~UT_SortedSymbolTable() override;
    UT_SortedSymbolTable& operator=(const UT_SortedSymbolTable&) = default;
    UT_SortedSymbolTable& operator=(UT_SortedSymbolTable&&) noexcept = default;

    // The thing of a name. For an unknown name, which isn't added, a spare thing that holds null.
    UT_Thing& operator[](const char* name) const;
    UT_Thing& operator[](std::string_view name) const;
    // The thing at a place of the order. Out of range a spare thing that holds null. The first call behind a removal
    // closes the gap, which ends references and names that were given before.
    UT_Thing& operator[](unsigned index) const;
    UT_Thing& operator[](int index) const;

    // Puts the entries in order of their names, by byte; walks follow it too. Nothing happens while the table is being
    // walked.
    void sortThingsBySymbol() { sortByName(); }
};
