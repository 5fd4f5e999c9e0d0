#pragma once
// A plain model of an entry of a path file: the rules of what is current, each written out, and no text shared with
// another.
#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace entrymodel {

using Text = std::optional<std::string>;
enum Part : unsigned { kFull = 1, kIndex = 2, kName = 4, kBase = 8, kExtension = 16, kFlags = 32, kAll = 63 };

struct Model {
    std::vector<std::string> directories;  // by index
    std::string below;                     // what the pattern has in front of its last slash, with a slash before it
    // Whether a path is one that the pattern finds below a directory.
    std::function<bool(const std::string& path, const std::string& directory)> belongs;
    Text disk, full, directory, name, base, extension, middle;
    int index = 0;
    bool flags[3] = {};     // hide, append, nosave
    unsigned valid = kAll;  // what is current

    bool has(unsigned parts) const { return (valid & parts) == parts; }

    bool takeApart() {
        if (!full) return false;
        const auto fits = [this](const std::string& front) { return belongs(*full, front); };
        const auto found = std::find_if(directories.begin(), directories.end(), fits);
        if (found == directories.end()) return false;
        takeApart(static_cast<int>(found - directories.begin()));
        return true;
    }
    void takeApart(int itsIndex) {
        if (!full) return;
        index = itsIndex;
        std::string rest = *full;
        for (;;) {
            const std::string last = rest.substr(std::min(rest.rfind('.'), rest.size()));
            if (last != ".hide" && last != ".append" && last != ".nosave") break;
            flags[last == ".hide" ? 0 : last == ".append" ? 1 : 2] = true;
            rest.resize(rest.size() - last.size());
        }
        const std::size_t slash = rest.rfind('/');
        directory = slash == std::string::npos ? "." : rest.substr(0, slash);
        name = slash == std::string::npos ? rest : rest.substr(slash + 1);
        valid |= kAll & ~unsigned{kFull};
        cut(kBase), cut(kExtension);
    }

    void cut(Part part) {
        const std::size_t dot = !name ? std::string::npos : part == kBase ? name->find('.') : name->rfind('.');
        if (part == kBase) base = name ? name->substr(0, dot) : Text();
        if (part == kExtension) extension = dot == std::string::npos ? Text() : name->substr(dot);
        valid |= part;
    }

    Text getName() {
        if (!has(kName) && has(kBase | kExtension)) {
            const std::string joined = base.value_or("") + middle.value_or("") + extension.value_or("");
            name = base || extension || !joined.empty() ? Text(joined) : Text();
        } else if (!has(kName) && has(kFull)) {
            takeApart();
        }
        return name;
    }
    Text getCut(Part part) {
        if (!has(part) && has(kName)) cut(part);
        if (!has(part) && has(kFull)) takeApart();
        return part == kBase ? base : extension;
    }
    // An index or a flag.
    template <class Value>
    Value get(Part part, Value& value) {
        if (!has(part) && has(kFull)) takeApart();
        return value;
    }
    Text getFull() {
        if (has(kFull) || !has(kIndex) || (!has(kName) && !has(kBase | kExtension))) return full;
        if (index < 0 || index >= static_cast<int>(directories.size())) return full;
        const char* const suffix = flags[0] ? ".hide" : flags[1] ? ".append" : flags[2] ? ".nosave" : "";
        full = directories[static_cast<std::size_t>(index)] + below + "/" + getName().value_or("") + suffix;
        valid |= kFull;
        return full;
    }

    // One part becomes another one, whereby `stale` ones are no longer current.
    template <class Value>
    void set(Part part, unsigned stale, Value& field, const Value& value) {
        if (has(kFull) && !has(kAll & ~unsigned{part})) takeApart();
        if ((stale & kName) && has(kName)) {
            const std::size_t first = name ? name->find('.') : std::string::npos;
            middle = first == std::string::npos ? Text() : name->substr(first, name->rfind('.') - first);
        }
        field = value;
        valid = (valid & ~stale) | part;
    }
    void setFull(const Text& text) {
        full = text;
        middle = Text();
        valid = kFull;
    }
    void setFlag(bool& flag, bool value) {
        if (get(kFlags, flag) != value) set(kFlags, kFull | kName, flag, value);
    }
    // Takes the parts of `source`, and with `takesFile` only its place on disk, which `source` then has no longer.
    void copy(Model& source, bool keepsFile, bool takesFile) {
        const Text place = source.disk;
        if (takesFile) {
            setFull(place);
            source.disk = Text();
        } else {
            std::tie(full, directory, name, base, extension, middle, valid) = std::tie(
                source.full, source.directory, source.name, source.base, source.extension, source.middle, source.valid);
        }
        disk = keepsFile ? place : Text();
        index = source.index;
        std::copy_n(source.flags, 3, flags);
    }
};

}  // namespace entrymodel
