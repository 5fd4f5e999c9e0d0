// The works on containers as done with a tar file by libarchive.
//
//     tar open FILE NAME | list FILE | read FILE | create FILE LIST
#include <archive.h>
#include <archive_entry.h>

#include <string>

#include "Work.h"

namespace {

constexpr std::size_t kBlock = 64 * 1024;

class TarReader {
public:
    explicit TarReader(const char* path) : archive_(archive_read_new()) {
        archive_read_support_format_tar(archive_);
        require(archive_read_open_filename(archive_, path, 256 * 1024) == ARCHIVE_OK, path);
    }
    ~TarReader() { archive_read_free(archive_); }
    TarReader(const TarReader&) = delete;
    TarReader& operator=(const TarReader&) = delete;

    bool next() { return archive_read_next_header(archive_, &entry_) == ARCHIVE_OK; }
    std::string_view name() const { return archive_entry_pathname(entry_); }
    long long size() const { return archive_entry_size(entry_); }
    long long readContent() {
        long long bytes = 0;
        for (la_ssize_t n; (n = archive_read_data(archive_, block_.get(), kBlock)) > 0;) bytes += n;
        return bytes;
    }

private:
    archive* const archive_;
    archive_entry* entry_ = nullptr;
    const std::unique_ptr<char[]> block_ = std::make_unique_for_overwrite<char[]>(kBlock);
};

int open(const char* path, std::string_view name) {
    Result result;
    for (TarReader in(path); in.next();) {
        if (in.name() != name) continue;
        result.add(in.readContent());
        break;
    }
    return result.print();
}

int list(const char* path) {
    Result result;
    for (TarReader in(path); in.next();) result.add(in.size());
    return result.print();
}

int read(const char* path) {
    Result result;
    for (TarReader in(path); in.next();) result.add(in.readContent());
    return result.print();
}

int create(const char* path, const char* list) {
    archive* const out = archive_write_new();
    archive_write_set_format_ustar(out);
    archive_write_set_bytes_per_block(out, 256 * 1024);
    require(archive_write_open_filename(out, path) == ARCHIVE_OK, path);
    archive_entry* const entry = archive_entry_new();
    FileBytes file;
    Result result;
    NameList(list).forEach([&](std::string_view name) {
        const FileBytes::Content content = file.read(name);
        archive_entry_clear(entry);
        archive_entry_set_pathname(entry, name.data());
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(content.size));
        archive_entry_set_mtime(entry, content.time, 0);
        require(archive_write_header(out, entry) == ARCHIVE_OK, name);
        require(archive_write_data(out, content.data, content.size) == static_cast<la_ssize_t>(content.size), name);
        result.add(static_cast<long long>(content.size));
    });
    archive_entry_free(entry);
    require(archive_write_free(out) == ARCHIVE_OK, path);
    return result.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 4 && work == "open") return open(argv[2], argv[3]);
    if (argc == 3 && work == "list") return list(argv[2]);
    if (argc == 3 && work == "read") return read(argv[2]);
    if (argc == 4 && work == "create") return create(argv[2], argv[3]);
    die("usage: tar open FILE NAME | list FILE | read FILE | create FILE LIST");
}
