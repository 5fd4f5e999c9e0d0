#pragma once
// An environment variable with another value, or none (null), for as long as it lives.
#include <cstdlib>
#include <optional>
#include <string>

class WithVariable {
public:
    WithVariable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        put(value);
    }
    ~WithVariable() { put(before_ ? before_->c_str() : nullptr); }
    WithVariable(const WithVariable&) = delete;
    WithVariable& operator=(const WithVariable&) = delete;

private:
    void put(const char* value) const { value ? ::setenv(name_.c_str(), value, 1) : ::unsetenv(name_.c_str()); }

    std::string name_;
    std::optional<std::string> before_;
};
