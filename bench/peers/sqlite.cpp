// The works on containers as done with an SQLite archive: the table that "sqlite3 -A" uses, without compression.
//
//     sqlite open FILE NAME | list FILE | read FILE | create FILE LIST | replace FILE NAME CONTENT
#include <sqlite3.h>

#include <string>

#include "Work.h"

namespace {

class Database {
public:
    Database(const char* path, int flags) {
        require(sqlite3_open_v2(path, &handle_, flags, nullptr) == SQLITE_OK, path);
    }
    ~Database() { sqlite3_close(handle_); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void run(const char* sql) {
        require(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(handle_));
    }
    sqlite3* handle() const { return handle_; }

private:
    sqlite3* handle_ = nullptr;
};

class Statement {
public:
    Statement(Database& database, const char* sql) {
        require(sqlite3_prepare_v2(database.handle(), sql, -1, &handle_, nullptr) == SQLITE_OK, sql);
    }
    ~Statement() { sqlite3_finalize(handle_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(int place, std::string_view text) {
        sqlite3_bind_text(handle_, place, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    }
    void bind(int place, const FileBytes::Content& content) {
        sqlite3_bind_blob(handle_, place, content.data, static_cast<int>(content.size), SQLITE_STATIC);
    }
    void bind(int place, std::int64_t number) { sqlite3_bind_int64(handle_, place, number); }
    bool next() { return sqlite3_step(handle_) == SQLITE_ROW; }
    void restart() { sqlite3_reset(handle_); }
    long long number(int column) const { return sqlite3_column_int64(handle_, column); }
    std::string_view bytes(int column) const {
        const void* const data = sqlite3_column_blob(handle_, column);
        return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(handle_, column))};
    }

private:
    sqlite3_stmt* handle_ = nullptr;
};

int open(const char* path, std::string_view name) {
    Database database(path, SQLITE_OPEN_READONLY);
    Statement select(database, "SELECT data FROM sqlar WHERE name = ?");
    select.bind(1, name);
    Result result;
    while (select.next()) result.add(static_cast<long long>(select.bytes(0).size()));
    return result.print();
}

int list(const char* path) {
    Database database(path, SQLITE_OPEN_READONLY);
    Statement select(database, "SELECT name, sz FROM sqlar");
    Result result;
    while (select.next() && !select.bytes(0).empty()) result.add(select.number(1));
    return result.print();
}

int read(const char* path) {
    Database database(path, SQLITE_OPEN_READONLY);
    Statement select(database, "SELECT name, data FROM sqlar");
    Result result;
    while (select.next()) result.add(static_cast<long long>(select.bytes(1).size()));
    return result.print();
}

int create(const char* path, const char* list) {
    Database database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    database.run("CREATE TABLE sqlar(name TEXT PRIMARY KEY, mode INT, mtime INT, sz INT, data BLOB)");
    database.run("BEGIN");
    Statement insert(database, "REPLACE INTO sqlar VALUES(?, 33188, ?, ?, ?)");
    FileBytes file;
    Result result;
    NameList(list).forEach([&](std::string_view name) {
        const FileBytes::Content content = file.read(name);
        insert.bind(1, name);
        insert.bind(2, content.time);
        insert.bind(3, static_cast<std::int64_t>(content.size));
        insert.bind(4, content);
        insert.next();
        insert.restart();
        result.add(static_cast<long long>(content.size));
    });
    database.run("COMMIT");
    return result.print();
}

int replace(const char* path, std::string_view name, const char* contentPath) {
    Database database(path, SQLITE_OPEN_READWRITE);
    FileBytes file;
    const FileBytes::Content content = file.read(contentPath);
    Statement update(database, "UPDATE sqlar SET mtime = ?, sz = ?, data = ? WHERE name = ?");
    update.bind(1, content.time);
    update.bind(2, static_cast<std::int64_t>(content.size));
    update.bind(3, content);
    update.bind(4, name);
    update.next();
    require(sqlite3_changes(database.handle()) == 1, name);
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
    die("usage: sqlite open FILE NAME | list FILE | read FILE | create FILE LIST | replace FILE NAME CONTENT");
}
