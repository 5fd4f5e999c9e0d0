#pragma once
// A set of named options, each with a value of one of four types. Copies are independent values.
//
//     UT_OptionFile options(nullptr);
//     options.setOption("rib.motion", true);
//     UT_String text;
//     options.getOption("rib.motion", text, "off");  // "on"
#include <UT/UT_Export.h>

#include <map>
#include <string>
#include <variant>

class UT_OptionParser;
class UT_String;

class TARVANI_EXPORT UT_OptionFile {
public:
    // The type of a value; NONE of an option that isn't there.
    enum Type { NONE, INT, FLOAT, BOOL, STRING };

    // An empty set. There are no parsers: pass null.
    explicit UT_OptionFile(UT_OptionParser* parser);
    ~UT_OptionFile();
    UT_OptionFile(const UT_OptionFile& other);
    UT_OptionFile& operator=(const UT_OptionFile& other);

    // Stores a value under `name`, over one that is there already. A null or empty name stores nothing.
    void setOption(const char* name, int value);
    void setOption(const char* name, float value);
    void setOption(const char* name, bool value);
    void setOption(const char* name, const UT_String& value);
    void setOption(const char* name, const char* value);
    // Stores a text as the first type that fits it: a whole number of 32 bits, a number, a truth value ("true" or "on",
    // "false" or "off", in any case), else text.
    void setOptionFromText(const char* name, const UT_String& value);

    // False for a null name.
    bool hasOption(const char* name) const;
    // The type of an option's value; NONE if there is no such option.
    Type getOptionType(const char* name) const;
    // The value as text into `out`: numbers in their shortest form that reads back as the same value, truth values as
    // "on" and "off". True if there is such an option; otherwise `out` is a copy of `defaultText`, which may be null.
    bool getOption(const char* name, UT_String& out, const char* defaultText) const;

    // Takes over the options of `other` that are not set here yet: a value that is set already stays.
    void merge(const UT_OptionFile& other);

    // The options in order of their names: how many there are; a name by its index, null out of range; and the name
    // behind `name`, which is the first for null, and null behind the last. To go over all, use getNextName: getName
    // counts from the front each time. Names are borrowed until the next change.
    int entries() const;
    const char* getName(int index) const;
    const char* getNextName(const char* name) const;

private:
    using Value = std::variant<int, float, bool, std::string>;
    const Value* find(const char* name) const;
    void store(const char* name, Value value);

    std::map<std::string, Value, std::less<>> options_;
};
