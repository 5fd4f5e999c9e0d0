#include <UT/TextScan.h>
#include <preprocessor/CPP_MacroTable.h>

CPP_MacroTable::~CPP_MacroTable() {
    traverse(
        [](UT_Thing& macro, const char*, void*) {
            delete macro.as<CPP_Macro>();
            return 1;
        },
        nullptr);
}

void CPP_MacroTable::add(std::string_view name, std::unique_ptr<CPP_Macro> macro) {
    remove(name);
    addSymbol(name, UT_Thing(macro.get()));
    static_cast<void>(macro.release());
    maybe_.set(slotOf(name));
    if (!name.empty() && textscan::isLetter(name[0]) && !textscan::isUpper(name[0])) capital_ = false;
}

void CPP_MacroTable::remove(std::string_view name) {
    UT_Thing thing;
    if (!findSymbol(name, &thing)) return;
    std::unique_ptr<CPP_Macro> macro(thing.as<CPP_Macro>());
    deleteSymbol(name);
    if (holds_ > 0) gone_.push_back(std::move(macro));
}
