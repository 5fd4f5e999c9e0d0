#pragma once
// Private: the macros of a manager, by name. The table owns them. Most words of most lines are no macros, so a small
// filter in front of the hash table answers for those.
#include <UT/UT_SymbolTable.h>
#include <preprocessor/CPP_Macro.h>

#include <bitset>
#include <memory>
#include <string_view>
#include <vector>

class CPP_MacroTable : public UT_SymbolTable {
public:
    CPP_MacroTable() = default;
    ~CPP_MacroTable() override;
    CPP_MacroTable(const CPP_MacroTable&) = delete;
    CPP_MacroTable& operator=(const CPP_MacroTable&) = delete;

    // The macro of that name, null if there is none.
    const CPP_Macro* find(std::string_view name) const {
        if (name.empty() || !maybe_[slotOf(name)]) return nullptr;
        const UT_Thing* const thing = thingOf(name);
        return thing ? thing->as<const CPP_Macro>() : nullptr;
    }
    // True if no name begins with a small letter, which is the custom.
    bool areCapital() const { return capital_; }
    // Adds a macro in the place of one with that name.
    void add(std::string_view name, std::unique_ptr<CPP_Macro> macro);
    void remove(std::string_view name);

    // While one lives, macros that go are kept: an expansion reads their text, and a line source, which is an
    // application's code, may undefine them meanwhile.
    class Hold {
    public:
        explicit Hold(CPP_MacroTable& table) : table_(table) { ++table_.holds_; }
        ~Hold() {
            if (--table_.holds_ == 0) table_.gone_.clear();
        }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        CPP_MacroTable& table_;
    };

private:
    static constexpr std::size_t kFilterBits = 8192;

    // Names that differ in length, or at one end, mostly have different slots.
    static std::size_t slotOf(std::string_view name) {
        const std::size_t first = static_cast<unsigned char>(name.front());
        const std::size_t last = static_cast<unsigned char>(name.back());
        const std::size_t middle = static_cast<unsigned char>(name[name.size() / 2]);
        return (first * 37 + last * 419 + middle * 1031 + name.size() * 67) % kFilterBits;
    }

    bool capital_ = true;             // not set again for a name that goes
    std::bitset<kFilterBits> maybe_;  // set for every name that ever was in the table
    std::vector<std::unique_ptr<CPP_Macro>> gone_;
    int holds_ = 0;
};
