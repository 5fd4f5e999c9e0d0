#pragma once
// Private: the class-wide list behind FS_ReaderHelper, FS_InfoHelper and FS_WriterHelper.
//
// The newest helper is asked first. Helpers may register and go while they are asked: entries bear rising numbers, and
// a walk remembers the number that it has come to and nothing else. So it asks nobody twice, nobody who has gone, and
// nobody who came after it began; and walks write nothing, so that several threads may walk at once.
//
// Who owns a list chooses how long it lives: the readers' and the infos' are made on the heap and never freed, since
// handles may be used to the very end of the process; the writers' is a static object.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

template <class Helper>
class HelperList {
public:
    void add(Helper* helper) {
        if (helper != nullptr) entries_.push_back({next_++, helper});
    }
    // Every entry of the helper goes, so that none outlives it.
    void remove(const Helper* helper) {
        std::erase_if(entries_, [=](const Entry& entry) { return entry.helper == helper; });
    }
    // Calls `ask(helper)` from the newest helper to the oldest until a result converts to true, and gives that result;
    // an empty one when nobody answered.
    template <class Ask>
    auto firstAnswer(Ask&& ask) const {
        using Answer = decltype(ask(static_cast<Helper*>(nullptr)));
        std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
        while (const Entry* entry = newestBefore(last)) {
            last = entry->number;
            if (Answer answer = ask(entry->helper)) return answer;
        }
        return Answer{};
    }

private:
    struct Entry {
        std::uint64_t number;
        Helper* helper;
    };
    const Entry* newestBefore(std::uint64_t number) const {
        const auto behind = std::lower_bound(entries_.begin(), entries_.end(), number,
                                             [](const Entry& entry, std::uint64_t n) { return entry.number < n; });
        return behind == entries_.begin() ? nullptr : &*(behind - 1);
    }

    std::vector<Entry> entries_;  // by rising number
    std::uint64_t next_ = 0;
};
