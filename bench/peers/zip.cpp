// The works on containers as done with a zip file by libzip, without compression.
//
//     zip open FILE NAME | list FILE | read FILE | create FILE LIST | replace FILE NAME CONTENT
#include <zip.h>

#include <string>

#include "Work.h"

namespace {

constexpr std::size_t kBlock = 64 * 1024;

zip_t* openZip(const char* path, int flags) {
    int error = 0;
    zip_t* const zip = zip_open(path, flags, &error);
    require(zip != nullptr, path);
    return zip;
}

long long readContent(zip_t* zip, zip_uint64_t index, char* block) {
    zip_file_t* const file = zip_fopen_index(zip, index, 0);
    require(file != nullptr, "no such entry");
    long long bytes = 0;
    for (zip_int64_t n; (n = zip_fread(file, block, kBlock)) > 0;) bytes += n;
    zip_fclose(file);
    return bytes;
}

void put(zip_t* zip, const char* name, const char* content) {
    zip_source_t* const source = zip_source_file(zip, content, 0, -1);
    const zip_int64_t index = zip_file_add(zip, name, source, ZIP_FL_OVERWRITE);
    require(index >= 0, name);
    zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
}

int open(const char* path, const char* name) {
    zip_t* const zip = openZip(path, ZIP_RDONLY);
    const zip_int64_t index = zip_name_locate(zip, name, 0);
    require(index >= 0, name);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    result.add(readContent(zip, static_cast<zip_uint64_t>(index), block.get()));
    zip_discard(zip);
    return result.print();
}

int list(const char* path) {
    zip_t* const zip = openZip(path, ZIP_RDONLY);
    Result result;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t status;
        require(zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &status) == 0, path);
        result.add(static_cast<long long>(status.size));
    }
    zip_discard(zip);
    return result.print();
}

int read(const char* path) {
    zip_t* const zip = openZip(path, ZIP_RDONLY);
    const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
    Result result;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) result.add(readContent(zip, static_cast<zip_uint64_t>(i), block.get()));
    zip_discard(zip);
    return result.print();
}

int create(const char* path, const char* list) {
    zip_t* const zip = openZip(path, ZIP_CREATE | ZIP_TRUNCATE);
    Result result;
    NameList(list).forEach([&](std::string_view name) {
        put(zip, name.data(), name.data());
        struct stat status {};
        require(::stat(name.data(), &status) == 0, name);
        result.add(status.st_size);
    });
    require(zip_close(zip) == 0, path);
    return result.print();
}

int replace(const char* path, const char* name, const char* content) {
    zip_t* const zip = openZip(path, 0);
    put(zip, name, content);
    require(zip_close(zip) == 0, path);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view work = argc > 1 ? argv[1] : "";
    if (argc == 4 && work == "open") return open(argv[2], argv[3]);
    if (argc == 3 && work == "list") return list(argv[2]);
    if (argc == 3 && work == "read") return read(argv[2]);
    if (argc == 4 && work == "create") return create(argv[2], argv[3]);
    if (argc == 5 && work == "replace") return replace(argv[2], argv[3], argv[4]);
    die("usage: zip open FILE NAME | list FILE | read FILE | create FILE LIST | replace FILE NAME CONTENT");
}
