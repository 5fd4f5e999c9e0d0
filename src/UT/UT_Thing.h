#pragma once
// One word: what a symbol table keeps for a name. A pointer, or an integer of the same width; who reads it knows which.
//
//     table.addSymbol("geo", UT_Thing(section));
//     UT_Thing thing;
//     if (table.findSymbol("geo", &thing)) use(thing.as<Section>());
#include <cstdint>
#include <type_traits>

class UT_Thing {
public:
    constexpr UT_Thing() = default;
    // Borrows what `pointer` points to.
    constexpr UT_Thing(void* pointer) : pointer_(pointer) {}
    // Holds `value` itself; 0 is the same as null.
    template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
    explicit UT_Thing(Integer value) : pointer_(reinterpret_cast<void*>(static_cast<std::intptr_t>(value))) {}

    // The pointer as it was stored.
    void* asPointer() const { return pointer_; }
    // The pointer as one to T, which must be what was stored.
    template <class T>
    T* as() const {
        return static_cast<T*>(pointer_);
    }
    // The integer that was stored.
    std::intptr_t asInt() const { return reinterpret_cast<std::intptr_t>(pointer_); }
    // True for a null pointer and for the integer 0.
    bool isNull() const { return pointer_ == nullptr; }

    // True if both hold the same pointer or the same integer.
    friend bool operator==(const UT_Thing& a, const UT_Thing& b) { return a.pointer_ == b.pointer_; }
    friend bool operator!=(const UT_Thing& a, const UT_Thing& b) { return !(a == b); }

private:
    void* pointer_ = nullptr;
};
