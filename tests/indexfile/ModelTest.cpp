// Thousands of random edits, merges, savings and openings, with a filter pair and without, against a plain list that
// can't be wrong.
#include <UT/UT_OStrStream.h>

#include <algorithm>
#include <random>

#include "../support/Keyed.h"
#include "Index.h"

namespace {

struct Entry {
    std::string name, bytes;
    int time;
};

class Model {
public:
    Model(unsigned seed, bool filtered) : random_(seed), filtered_(filtered) { open(new FS_IndexFile); }

    // Makes one random change to both sides.
    void step() {
        using Change = void (Model::*)();
        static constexpr Change kChanges[] = {
            &Model::addOne, &Model::addOne, &Model::addOne,  &Model::modifyOne,       &Model::removeOne,
            &Model::move,   &Model::merge,  &Model::addFile, &Model::copyOne,         &Model::describe,
            &Model::reopen, &Model::save,   &Model::save,    &Model::throughDirectory};
        (this->*kChanges[below(static_cast<int>(std::size(kChanges)))])();
    }

    void compare() const {
        ASSERT_EQ(index_->getNumSections(), static_cast<int>(entries_.size()));
        ASSERT_EQ(index_->getDescription(), description_);
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            const auto& [name, bytes, time] = entries_[i];
            ASSERT_EQ(index_->getSectionName(static_cast<int>(i)), name);
            ASSERT_EQ(index_->getSectionDataSizeAt(static_cast<int>(i)), static_cast<int>(bytes.size()));
            ASSERT_EQ(index_->getSectionModTime(name.c_str()), time);
            std::string read(bytes.size(), '.');
            index_->readSection(name.c_str(), read.data());
            ASSERT_EQ(read, bytes);
        }
        ASSERT_FALSE(index_->hasSection("no such name"));
        if (entries_.empty() || fromMemory_) return;
        const Entry& some = entries_[entries_.size() / 2];
        ASSERT_EQ(contentOf(*index_, some.name.c_str()), some.bytes);
    }

private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string someName() { return "n/" + std::to_string(below(24)); }
    std::string newFile() { return "f" + std::to_string(files_++); }
    // Now and then larger than a block of a source.
    std::string someBytes() {
        const int size = below(20) == 0 ? 60'000 + below(20'000) : below(50);
        return std::string(static_cast<std::size_t>(size), static_cast<char>('a' + below(26)));
    }
    // A source in memory has no name, and so no streams over its sections.
    void open(FS_IndexFile* index, bool fromMemory = false) {
        index_.reset(index);
        fromMemory_ = fromMemory;
        if (filtered_) index->setFilters(&writer_, &reader_);
    }

    Entry* find(const std::string& name) {
        const auto found = std::find_if(entries_.begin(), entries_.end(), [&](auto& e) { return e.name == name; });
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
        UT_OStrStream stream;
        stream << bytes;
        if (below(2) == 0)
            add(*index_, name.c_str(), bytes, time);
        else
            index_->addSection(name.c_str(), stream, time);
        stream << bytes;
        EXPECT_EQ(stream.pcount(), 2 * bytes.size()) << "the stream stays usable";
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
        const int count = static_cast<int>(entries_.size()), first = below(13) - 1, last = first + below(5) - 1;
        const int offset = below(17) - 8;
        index_->moveSections(first, last, offset);
        if (first < 0 || last < first || last >= count || first + offset < 0 || last + offset >= count) return;
        const std::vector<Entry> moved(entries_.begin() + first, entries_.begin() + last + 1);
        entries_.erase(entries_.begin() + first, entries_.begin() + last + 1);
        entries_.insert(entries_.begin() + first + offset, moved.begin(), moved.end());
    }
    void merge() {
        Sections other;
        for (int i = below(5); i >= 0; --i) other.emplace_back(someName() + "." + std::to_string(i), someBytes());
        other.emplace_back(someName(), someBytes());
        const bool overwrite = below(2) == 0, link = below(2) == 0;
        // A new file each time, for what is linked must stay as it was; stored through a filter or not.
        Sections stored = other;
        const bool filtered = below(2) == 0;
        for (auto& [name, bytes] : stored) bytes = filtered ? keyed(bytes) : bytes;
        FS_IndexFile from(dir_.write(newFile(), containerBytes(stored)).c_str());
        if (filtered) from.setFilters(&writer_, &reader_);
        from.setDescription("another's");
        other.emplace_back(someName() + ".memory", someBytes());
        add(from, other.back().first.c_str(), other.back().second, 1000);
        for (const FS_IndexFile* source : {&from, index_.get()})
            link ? index_->linkIndexFile(*source, overwrite) : index_->mergeIndexFile(*source, overwrite);
        for (const auto& [name, bytes] : other)
            if (overwrite || !find(name)) put(name, bytes, 1000);
    }
    void addFile() {
        const std::string name = someName(), bytes = someBytes(), file = newFile(), path = dir_.write(file, bytes);
        dir_.setTime(file, 333);
        if (below(2) == 0)
            index_->addSection(name.c_str(), path.c_str());
        else
            EXPECT_TRUE(index_->linkSection(name.c_str(), path.c_str()));
        put(name, bytes, 333);
    }
    void copyOne() {
        const std::string name = someName();
        FS_IndexFile copy;
        copy.addSection(name.c_str(), *index_);
        EXPECT_EQ(contentOf(copy, name.c_str()), find(name) ? find(name)->bytes : "");
        EXPECT_EQ(copy.getSectionModTime(name.c_str()), find(name) ? find(name)->time : 0);
    }
    void describe() {
        description_ = someBytes();
        index_->setDescription(description_.c_str());
    }
    void reopen() {
        const std::string bytes = written(*index_);
        Sections stored;
        for (const Entry& e : entries_) stored.emplace_back(e.name, filtered_ ? keyed(e.bytes) : e.bytes);
        EXPECT_EQ(sectionsOf(bytes), stored);
        if (below(2) == 0) return open(new FS_IndexFile(memoryReader(bytes)), true);
        // A container may begin anywhere.
        auto* const reader = new FS_Reader(dir_.write(newFile(), std::string(100, '#') + bytes + "behind").c_str());
        reader->getStream()->seekg(100, 0);
        open(new FS_IndexFile(reader));
    }
    void save() {
        const char* const names[] = {"x.idx", "y.idx", "z.idx?in"};
        const std::string name = names[below(3)], path = dir_.path(name);
        ASSERT_EQ(::save(*index_, path), "done") << name;
        const int next = below(4);
        if (next == 0) return;  // goes on with what it has
        // A section that is read by a reader could not be saved over what the reader has open.
        const bool byReader = next == 1 && name != names[2];
        open(byReader ? new FS_IndexFile(new FS_Reader(path.c_str())) : new FS_IndexFile(path.c_str()));
    }
    // What a filter makes of the bytes is what the directory holds, so that way there is no way back.
    void throughDirectory() {
        if (filtered_ || entries_.empty() || entries_.size() > 60) return;
        const std::string to = dir_.path(newFile());
        EXPECT_TRUE(index_->expandToDirectory(to.c_str())) << index_->getWriteFailure().buffer();
        open(new FS_IndexFile);
        EXPECT_TRUE(index_->collapseFromDirectory(to.c_str()));
    }

    std::minstd_rand random_;
    const bool filtered_;
    bool fromMemory_ = false;
    KeyedWriteFactory writer_{"key"};
    KeyedReadFactory reader_{"key"};
    ScratchDir dir_;
    std::unique_ptr<FS_IndexFile> index_;
    std::vector<Entry> entries_;
    std::string description_;
    int files_ = 0;
};

TEST(AContainer, DoesWhatAPlainListDoes) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        Model model(seed, seed % 2 == 0);
        for (int step = 0; step < 300; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            model.step();
            model.compare();
            if (testing::Test::HasFailure()) return;
        }
    }
}

}  // namespace
