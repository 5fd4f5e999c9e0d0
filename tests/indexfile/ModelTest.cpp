// Thousands of random edits, merges, savings and openings, against a plain list that can't be wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "../support/ScratchDir.h"
#include "Index.h"

namespace {

struct Entry {
    std::string name, bytes;
    int time;
};

class Model {
public:
    explicit Model(unsigned seed) : random_(seed) {}

    // Makes one random change to both sides.
    void step() {
        using Change = void (Model::*)();
        static constexpr Change kChanges[] = {
            &Model::addOne, &Model::addOne, &Model::addOne,          &Model::modifyOne, &Model::removeOne,
            &Model::move,   &Model::merge,  &Model::addFile,         &Model::describe,  &Model::copyOne,
            &Model::save,   &Model::save,   &Model::reopenFromMemory};
        (this->*kChanges[below(static_cast<int>(std::size(kChanges)))])();
    }

    void compare() const {
        ASSERT_EQ(index_->getNumSections(), static_cast<int>(entries_.size()));
        ASSERT_EQ(index_->getDescription(), description_);
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            const Entry& entry = entries_[i];
            ASSERT_EQ(index_->getSectionName(static_cast<int>(i)), entry.name);
            ASSERT_EQ(index_->getSectionDataSizeAt(static_cast<int>(i)), static_cast<int>(entry.bytes.size()));
            ASSERT_EQ(index_->getSectionModTime(entry.name.c_str()), entry.time);
            std::string bytes(entry.bytes.size(), '.');
            index_->readSection(entry.name.c_str(), bytes.data());
            ASSERT_EQ(bytes, entry.bytes);
        }
        ASSERT_FALSE(index_->hasSection("no such name"));
    }

private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string someName() { return "n" + std::to_string(below(24)); }
    // Now and then larger than a block of a source.
    std::string someBytes() {
        const int size = below(20) == 0 ? 60'000 + below(20'000) : below(50);
        return std::string(static_cast<std::size_t>(size), static_cast<char>('a' + below(26)));
    }

    Entry* find(const std::string& name) {
        const auto found =
            std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.name == name; });
        return found == entries_.end() ? nullptr : &*found;
    }
    void put(const std::string& name, const std::string& bytes, int time) {
        if (Entry* const old = find(name))
            *old = {name, bytes, time};
        else
            entries_.push_back({name, bytes, time});
    }

    void addOne() {
        const std::string name = someName(), bytes = someBytes();
        const int time = below(1000);
        add(*index_, name.c_str(), bytes, time);
        put(name, bytes, time);
    }
    void modifyOne() {
        const std::string name = someName(), bytes = someBytes();
        index_->modifySection(name.c_str(), bytes.data(), static_cast<int>(bytes.size()), 5);
        if (find(name)) put(name, bytes, 5);
    }
    void removeOne() {
        const std::string name = someName();
        index_->removeSection(name.c_str());
        std::erase_if(entries_, [&](const Entry& e) { return e.name == name; });
    }
    void move() {
        const int count = static_cast<int>(entries_.size()), first = below(12), last = first + below(4);
        const int offset = below(17) - 8;
        index_->moveSections(first, last, offset);
        if (last >= count || first + offset < 0 || last + offset >= count) return;
        const std::vector<Entry> moved(entries_.begin() + first, entries_.begin() + last + 1);
        entries_.erase(entries_.begin() + first, entries_.begin() + last + 1);
        entries_.insert(entries_.begin() + first + offset, moved.begin(), moved.end());
    }
    void merge() {
        Sections other;
        for (int i = below(5); i >= 0; --i) other.emplace_back(someName() + "." + std::to_string(i), someBytes());
        other.emplace_back(someName(), someBytes());
        const bool overwrite = below(2) == 0, link = below(2) == 0;
        // A new file each time: what is linked must stay as it was.
        const std::string file = dir_.write("o" + std::to_string(files_++), containerBytes(other));
        FS_IndexFile from(file.c_str());
        from.setDescription("another's");
        other.emplace_back(someName() + ".memory", someBytes());
        add(from, other.back().first.c_str(), other.back().second, 1000);
        link ? index_->linkIndexFile(from, overwrite) : index_->mergeIndexFile(from, overwrite);
        link ? index_->linkIndexFile(*index_, overwrite) : index_->mergeIndexFile(*index_, overwrite);
        for (const auto& [name, bytes] : other)
            if (overwrite || !find(name)) put(name, bytes, 1000);
    }
    void addFile() {
        const std::string name = someName(), bytes = someBytes(), file = "f" + std::to_string(files_++);
        dir_.write(file, bytes);
        dir_.setTime(file, 333);
        if (below(2) == 0)
            index_->addSection(name.c_str(), dir_.path(file).c_str());
        else
            EXPECT_TRUE(index_->linkSection(name.c_str(), dir_.path(file).c_str()));
        put(name, bytes, 333);
    }
    void copyOne() {
        const std::string name = someName();
        FS_IndexFile copy;
        copy.addSection(name.c_str(), *index_);
        EXPECT_EQ(copy.getSectionDataSize(name.c_str()), find(name) ? static_cast<int>(find(name)->bytes.size()) : 0);
    }
    void describe() {
        description_ = someBytes();
        index_->setDescription(description_.c_str());
    }
    void reopenFromMemory() {
        const std::string bytes = written(*index_);
        index_ = std::make_unique<FS_IndexFile>(memoryReader(bytes));
    }
    void save() {
        const std::string path = dir_.path("x" + std::to_string(below(3)) + ".idx");
        UT_String reason;
        ASSERT_TRUE(index_->save(path.c_str(), &reason)) << reason.buffer();
        const int next = below(4);
        if (next == 0) return;  // goes on with what it has
        FS_Reader* const reader = new FS_Reader(path.c_str());
        index_ = next == 1 ? std::make_unique<FS_IndexFile>(reader) : std::make_unique<FS_IndexFile>(path.c_str());
        if (next != 1) delete reader;
    }

    std::minstd_rand random_;
    ScratchDir dir_;
    std::unique_ptr<FS_IndexFile> index_ = std::make_unique<FS_IndexFile>();
    std::vector<Entry> entries_;
    std::string description_;
    int files_ = 0;
};

TEST(AContainer, DoesWhatAPlainListDoes) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        Model model(seed);
        for (int step = 0; step < 500; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            model.step();
            model.compare();
            if (testing::Test::HasFailure()) return;
        }
    }
}

}  // namespace
