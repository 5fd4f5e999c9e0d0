// Entries stand in a list in the order of adding, with their names in a few large blocks. An index of slots, with open
// addressing and linear probing, finds the entry of a name. A removed entry stays in the list as a gap, so that places
// in a walk keep their meaning; gaps go when an entry is added, there are more gaps than entries, and nobody walks.
#include <UT/TextHash.h>
#include <UT/UT_SortedSymbolTable.h>
#include <UT/UT_SymbolTable.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace {

// Copies of names, each ended by a NUL, that stay where they are until all of them go.
class NameStore {
public:
    const char* add(std::string_view name) {
        const std::size_t size = name.size() + 1;
        char* const copy = size > left_ ? newBlock(size) : next_;
        if (copy == next_) {
            next_ += size;
            left_ -= size;
        }
        if (!name.empty()) std::memcpy(copy, name.data(), name.size());
        copy[name.size()] = '\0';
        return copy;
    }

private:
    static constexpr std::size_t kFirstBlock = 256, kLargestBlock = 64 * 1024;

    // A place for `size` bytes at the start of a new block. A name as large as the block has it for itself, and the
    // block in use goes on.
    char* newBlock(std::size_t size) {
        const bool own = size >= blockSize_;
        const std::size_t wanted = own ? size : blockSize_;
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(wanted));
        char* const block = blocks_.back().get();
        if (!own) {
            next_ = block;
            left_ = wanted;
            blockSize_ = std::min(blockSize_ * 2, kLargestBlock);
        }
        return block;
    }

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;  // free part of the block in use
    std::size_t left_ = 0;
    std::size_t blockSize_ = kFirstBlock;
};

UT_Thing& spareThing() {
    static thread_local UT_Thing thing;
    return thing = UT_Thing();
}

}  // namespace

class UT_SymbolTable::Entries {
public:
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    struct Entry {
        const char* text;  // null for a gap
        std::uint32_t length;
        std::uint32_t hash;
        UT_Thing thing;

        std::string_view name() const { return {text, length}; }
    };

    // Between the two gaps and names stay where they are.
    void beginWalk() { ++walks_; }
    void endWalk() { --walks_; }

    std::uint32_t live() const { return live_; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(entries_.size()); }
    Entry& operator[](std::uint32_t place) { return entries_[place]; }
    // The first entry at or behind a place that is no gap; size() if there is none.
    std::uint32_t skipGaps(std::uint32_t place) const {
        while (place < size() && !entries_[place].text) ++place;
        return place;
    }

    // Calls `call` with one entry after the other until it gives 0. Gaps and names stay meanwhile. The end is asked for
    // anew at every step, since `call` may change the table.
    template <class Call>
    int callForAll(Call call) {
        const traverser walk(this, 0);
        for (std::uint32_t place = skipGaps(0); place < size(); place = skipGaps(place + 1)) {
            if (!call(entries_[place])) return 0;
        }
        return 1;
    }

    static std::uint32_t hashOf(std::string_view name) {
        const std::uint64_t hash = hashText(name);
        return static_cast<std::uint32_t>(hash ^ (hash >> 32));
    }

    Entry* find(std::string_view name, std::uint32_t hash) {
        if (live_ == 0) return nullptr;
        const std::size_t slot = slotOf(name, hash);
        return slots_[slot].place == kNone ? nullptr : &entries_[slots_[slot].place];
    }

    void add(std::string_view name, UT_Thing thing) {
        const std::uint32_t hash = hashOf(name);
        if (Entry* const known = find(name, hash)) {
            known->thing = thing;
            return;
        }
        if (name.size() >= kNone || size() == kNone - 1) throw std::bad_alloc();
        NameStore old;  // the name may be one that this table held
        if (walks_ == 0 && entries_.size() - live_ > live_) old = closeGaps();
        if (slots_.size() * 3 < (std::size_t{live_} + 1) * 4) index(std::max<std::size_t>(8, slots_.size() * 2));
        entries_.push_back({names_.add(name), static_cast<std::uint32_t>(name.size()), hash, thing});
        slots_[slotOf(name, hash)] = {hash, size() - 1};
        ++live_;
    }

    bool remove(std::string_view name) {
        if (live_ == 0) return false;
        const std::size_t slot = slotOf(name, hashOf(name));
        if (slots_[slot].place == kNone) return false;
        entries_[slots_[slot].place].text = nullptr;
        --live_;
        freeSlot(slot);
        return true;
    }

    void clear() {
        for (Entry& entry : entries_) entry.text = nullptr;
        std::fill(slots_.begin(), slots_.end(), Slot());
        live_ = 0;
        if (walks_ == 0) *this = Entries();
    }

    // The entry at a place among those that are no gaps, or null.
    Entry* at(std::uint32_t place) {
        if (place >= live_) return nullptr;
        if (size() != live_ && walks_ == 0) closeGaps();
        if (size() == live_) return &entries_[place];
        std::uint32_t found = skipGaps(0);
        while (place-- > 0) found = skipGaps(found + 1);
        return &entries_[found];
    }

    void sortByName() {
        if (walks_ != 0) return;
        closeGaps();
        std::sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) { return a.name() < b.name(); });
        index(slots_.size());
    }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t place = kNone;  // in entries_; kNone: free
    };

    std::size_t mask() const { return slots_.size() - 1; }

    // The slot of a name, or the free one where it belongs. There always is a free one.
    std::size_t slotOf(std::string_view name, std::uint32_t hash) const {
        for (std::size_t slot = hash & mask();; slot = (slot + 1) & mask()) {
            const auto [slotHash, place] = slots_[slot];
            if (place == kNone || (slotHash == hash && entries_[place].name() == name)) return slot;
        }
    }

    // Frees a slot and lets those behind it close up, each no further than to where its search starts. So searches stop
    // at the first free slot, and removals leave nothing behind that slows them down.
    void freeSlot(std::size_t hole) {
        for (std::size_t slot = (hole + 1) & mask(); slots_[slot].place != kNone; slot = (slot + 1) & mask()) {
            const std::size_t fromHome = (slot - slots_[slot].hash) & mask();
            if (fromHome < ((slot - hole) & mask())) continue;
            slots_[hole] = slots_[slot];
            hole = slot;
        }
        slots_[hole] = Slot();
    }

    // Slots for a good deal more names than there are, so that the work that a removal leaves to be done later follows
    // the names that are still there, not those that once were.
    std::size_t fittingSlots() const {
        std::size_t count = 8;
        while (count < std::size_t{live_} * 2) count *= 2;
        return std::min(count, slots_.size());
    }

    // Makes the index anew, with `count` slots, a power of two.
    void index(std::size_t count) {
        slots_.assign(count, Slot());
        for (std::uint32_t place = skipGaps(0); place < size(); place = skipGaps(place + 1)) {
            std::size_t slot = entries_[place].hash & mask();
            while (slots_[slot].place != kNone) slot = (slot + 1) & mask();
            slots_[slot] = {entries_[place].hash, place};
        }
    }

    // Gives the old names, on which a caller may still stand.
    NameStore closeGaps() {
        if (size() == live_) return {};
        std::vector<Entry> kept;
        NameStore names;
        kept.reserve(live_);
        for (std::uint32_t place = skipGaps(0); place < size(); place = skipGaps(place + 1)) {
            kept.push_back(entries_[place]);
            kept.back().text = names.add(entries_[place].name());
        }
        // From here on nothing takes memory: until then the table is as it was.
        entries_.swap(kept);
        std::swap(names_, names);
        index(fittingSlots());
        return names;
    }

    std::vector<Entry> entries_;
    std::vector<Slot> slots_;
    NameStore names_;
    std::uint32_t live_ = 0;   // entries that are no gaps
    std::uint32_t walks_ = 0;  // going on now
};

UT_SymbolTable::UT_SymbolTable() = default;

UT_SymbolTable::UT_SymbolTable(const UT_SymbolTable& other) {
    if (!other.body_) return;
    Entries& from = *other.body_;
    for (std::uint32_t place = from.skipGaps(0); place < from.size(); place = from.skipGaps(place + 1))
        addSymbol(from[place].name(), from[place].thing);
}

UT_SymbolTable::UT_SymbolTable(UT_SymbolTable&& other) noexcept = default;

UT_SymbolTable::~UT_SymbolTable() = default;

UT_SymbolTable& UT_SymbolTable::operator=(const UT_SymbolTable& other) {
    if (this != &other) *this = UT_SymbolTable(other);
    return *this;
}

UT_SymbolTable& UT_SymbolTable::operator=(UT_SymbolTable&& other) noexcept = default;

void UT_SymbolTable::addSymbol(std::string_view name, UT_Thing value) {
    if (!body_) body_ = std::make_unique<Entries>();
    body_->add(name, value);
}

int UT_SymbolTable::findSymbol(std::string_view name, UT_Thing* value) const {
    const UT_Thing* const found = thingOf(name);
    if (!found) return 0;
    if (value) *value = *found;
    return 1;
}

int UT_SymbolTable::deleteSymbol(std::string_view name) {
    return body_ && body_->remove(name);
}

void UT_SymbolTable::clear() {
    if (body_) body_->clear();
}

unsigned UT_SymbolTable::entries() const {
    return body_ ? body_->live() : 0;
}

int UT_SymbolTable::traverse(Callback callback, void* data) {
    if (!callback) return 0;
    if (!body_) return 1;
    return body_->callForAll([&](Entries::Entry& entry) { return callback(entry.thing, entry.text, data); });
}

int UT_SymbolTable::traverseConst(Callback callback, void* data) const {
    if (!callback) return 0;
    if (!body_) return 1;
    return body_->callForAll([&](const Entries::Entry& entry) {
        UT_Thing copy = entry.thing;
        return callback(copy, entry.text, data);
    });
}

UT_SymbolTable::traverser UT_SymbolTable::begin() {
    if (!body_) body_ = std::make_unique<Entries>();  // what is added meanwhile is reached
    return {body_.get(), body_->skipGaps(0)};
}

UT_SymbolTable::traverser UT_SymbolTable::end() {
    return {nullptr, 0};
}

UT_Thing* UT_SymbolTable::thingAt(std::int64_t index) const {
    if (!body_ || index < 0 || index >= std::int64_t{body_->live()}) return nullptr;
    return &body_->at(static_cast<std::uint32_t>(index))->thing;
}

UT_Thing* UT_SymbolTable::thingOf(std::string_view name) const {
    Entries::Entry* const entry = body_ ? body_->find(name, Entries::hashOf(name)) : nullptr;
    return entry ? &entry->thing : nullptr;
}

void UT_SymbolTable::sortByName() {
    if (body_) body_->sortByName();
}

UT_SymbolTable::traverser::traverser(Entries* table, std::uint32_t index) : table_(table), index_(index) {
    if (table_) table_->beginWalk();
}

UT_SymbolTable::traverser::traverser(const traverser& other) : traverser(other.table_, other.index_) {}

UT_SymbolTable::traverser& UT_SymbolTable::traverser::operator=(const traverser& other) {
    if (other.table_) other.table_->beginWalk();
    if (table_) table_->endWalk();
    table_ = other.table_;
    index_ = other.index_;
    return *this;
}

UT_SymbolTable::traverser::~traverser() {
    if (table_) table_->endWalk();
}

UT_SymbolTable::traverser& UT_SymbolTable::traverser::operator++() {
    if (!atEnd()) index_ = table_->skipGaps(index_ + 1);
    return *this;
}

const char* UT_SymbolTable::traverser::name() const {
    const char* const text = atEnd() ? nullptr : (*table_)[index_].text;
    return text ? text : "";
}

std::string_view UT_SymbolTable::traverser::nameView() const {
    return atEnd() || !(*table_)[index_].text ? std::string_view("") : (*table_)[index_].name();
}

UT_Thing& UT_SymbolTable::traverser::thing() const {
    return atEnd() ? spareThing() : (*table_)[index_].thing;
}

bool UT_SymbolTable::traverser::atEnd() const {
    return !table_ || index_ >= table_->size();
}

UT_SortedSymbolTable::~UT_SortedSymbolTable() = default;

UT_Thing& UT_SortedSymbolTable::operator[](const char* name) const {
    return name ? (*this)[std::string_view(name)] : spareThing();
}

UT_Thing& UT_SortedSymbolTable::operator[](std::string_view name) const {
    UT_Thing* const thing = thingOf(name);
    return thing ? *thing : spareThing();
}

UT_Thing& UT_SortedSymbolTable::operator[](unsigned index) const {
    UT_Thing* const thing = thingAt(index);
    return thing ? *thing : spareThing();
}

UT_Thing& UT_SortedSymbolTable::operator[](int index) const {
    UT_Thing* const thing = thingAt(index);
    return thing ? *thing : spareThing();
}
