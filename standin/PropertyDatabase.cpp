// Property database: one SQLite table of key/value rows per user.
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

#include "core/UniqueResource.h"
#include "globalrootservice/collaborators/AccountSession.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "standin/StandInState.h"

using namespace ClientStandIn;
using namespace ClientStandIn::detail;

namespace {

using UniqueConnection = grs::UniqueResource<grs::HandleTraits<sqlite3*, 0, &sqlite3_close>>;
using Statement = grs::UniqueResource<grs::HandleTraits<sqlite3_stmt*, 0, &sqlite3_finalize>>;

struct Database {
    std::mutex mutex;
    UniqueConnection connection;
    std::wstring path;  // empty: "<app-data>\ClientStandIn\properties.db"
};

Database& Db() {
    static Database* db = new Database();  // outlives detached threads at exit
    return *db;
}

std::atomic<long long>& DatabaseNanoseconds() {
    static std::atomic<long long> nanoseconds{0};
    return nanoseconds;
}

// Adds the time of one database call to the total that the benchmarks read to
// tell a step's own time from the database's.
class CallTimer {
public:
    CallTimer() : m_start(std::chrono::steady_clock::now()) {}
    ~CallTimer() {
        DatabaseNanoseconds() +=
            std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - m_start).count();
    }
    CallTimer(const CallTimer&) = delete;
    CallTimer& operator=(const CallTimer&) = delete;

private:
    std::chrono::steady_clock::time_point m_start;
};

// Opens the file on first use; callers hold the mutex.
sqlite3* Connection(Database& db) {
    if (db.connection) return db.connection.get();
    std::wstring path = db.path;
    if (path.empty()) {
        const std::wstring folder = DataFolder();
        if (folder.empty()) return nullptr;
        path = folder + L"\\properties.db";
    }
    // sqlite3_open16 hands out a connection even when it fails: the owner closes it.
    UniqueConnection connection;
    if (sqlite3_open16(path.c_str(), connection.put()) != SQLITE_OK) return nullptr;
    sqlite3_busy_timeout(connection.get(), 2000);
    const char* schema =
        "CREATE TABLE IF NOT EXISTS user_properties ("
        " seq INTEGER PRIMARY KEY AUTOINCREMENT,"
        " user_id TEXT NOT NULL, key TEXT NOT NULL, value TEXT NOT NULL,"
        " UNIQUE(user_id, key))";
    if (sqlite3_exec(connection.get(), schema, nullptr, nullptr, nullptr) != SQLITE_OK) return nullptr;
    db.connection = std::move(connection);
    return db.connection.get();
}

Statement Prepare(sqlite3* connection, const char* sql) {
    Statement statement;
    if (connection == nullptr || sqlite3_prepare_v2(connection, sql, -1, statement.put(), nullptr) != SQLITE_OK) {
        return Statement();
    }
    return statement;
}

void Bind(sqlite3_stmt* statement, int index, const std::wstring& text) {
    sqlite3_bind_text16(statement, index, text.c_str(), static_cast<int>(text.size() * sizeof(wchar_t)),
                        SQLITE_TRANSIENT);
}

std::wstring Column(sqlite3_stmt* statement, int index) {
    const void* text = sqlite3_column_text16(statement, index);
    const int bytes = sqlite3_column_bytes16(statement, index);
    return text ? std::wstring(static_cast<const wchar_t*>(text), static_cast<size_t>(bytes) / sizeof(wchar_t))
                : std::wstring();
}

std::wstring CurrentUser() {
    return AccountSession::GetInstance()->GetCurrentUserID();
}

// Inserts or replaces one row; the row keeps its place when it existed.
bool Upsert(sqlite3* connection, const std::wstring& user, const std::wstring& key, const std::wstring& value) {
    Statement statement = Prepare(connection,
                                  "INSERT INTO user_properties(user_id, key, value) VALUES(?1, ?2, ?3) "
                                  "ON CONFLICT(user_id, key) DO UPDATE SET value = excluded.value");
    if (!statement) return false;
    Bind(statement.get(), 1, user);
    Bind(statement.get(), 2, key);
    Bind(statement.get(), 3, value);
    return sqlite3_step(statement.get()) == SQLITE_DONE;
}

// Runs `work` for the current user in one transaction: all of it or nothing.
template <typename Work>
void InTransaction(Work work) {
    try {
        const std::wstring user = CurrentUser();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        sqlite3* connection = Connection(db);
        if (connection == nullptr ||
            sqlite3_exec(connection, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            return;
        const bool ok = work(connection, user);
        sqlite3_exec(connection, ok ? "COMMIT" : "ROLLBACK", nullptr, nullptr, nullptr);
    } catch (...) {
    }
}

}  // namespace

namespace PropertyDb::MainDatabaseProvider {

std::vector<UserProperties> GetAllUserProperties() {
    const CallTimer timer;
    std::vector<UserProperties> rows;
    try {
        const std::wstring user = CurrentUser();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        Statement statement =
            Prepare(Connection(db), "SELECT key, value FROM user_properties WHERE user_id = ?1 ORDER BY seq");
        if (!statement) return rows;
        Bind(statement.get(), 1, user);
        while (sqlite3_step(statement.get()) == SQLITE_ROW) {
            rows.push_back({Column(statement.get(), 0), Column(statement.get(), 1)});
        }
    } catch (...) {
    }
    return rows;
}

std::wstring GetUserPropertieByKey(const std::wstring& key) {
    const CallTimer timer;
    try {
        const std::wstring user = CurrentUser();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        Statement statement =
            Prepare(Connection(db), "SELECT value FROM user_properties WHERE user_id = ?1 AND key = ?2");
        if (!statement) return std::wstring();
        Bind(statement.get(), 1, user);
        Bind(statement.get(), 2, key);
        if (sqlite3_step(statement.get()) == SQLITE_ROW) return Column(statement.get(), 0);
    } catch (...) {
    }
    return std::wstring();
}

void UpdateUserProperties(const std::wstring& key, const std::wstring& value) {
    const CallTimer timer;
    try {
        const std::wstring user = CurrentUser();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        Statement statement =
            Prepare(Connection(db), "UPDATE user_properties SET value = ?3 WHERE user_id = ?1 AND key = ?2");
        if (!statement) return;
        Bind(statement.get(), 1, user);
        Bind(statement.get(), 2, key);
        Bind(statement.get(), 3, value);
        sqlite3_step(statement.get());
    } catch (...) {
    }
}

void InsertUserProperties(const std::wstring& key, const std::wstring& value) {
    const CallTimer timer;
    try {
        const std::wstring user = CurrentUser();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        Upsert(Connection(db), user, key, value);
    } catch (...) {
    }
}

void InsertUserProperties(std::vector<UserProperties>& properties) {
    const CallTimer timer;
    InTransaction([&properties](sqlite3* connection, const std::wstring& user) {
        for (const UserProperties& row : properties)
            if (!Upsert(connection, user, row.key, row.value)) return false;
        return true;
    });
}

void DeleteAllUserProperties() {
    const CallTimer timer;
    InTransaction([](sqlite3* connection, const std::wstring& user) {
        Statement statement = Prepare(connection, "DELETE FROM user_properties WHERE user_id = ?1");
        if (!statement) return false;
        Bind(statement.get(), 1, user);
        return sqlite3_step(statement.get()) == SQLITE_DONE;
    });
}

}  // namespace PropertyDb::MainDatabaseProvider

namespace ClientStandIn {

void SetDatabasePath(const std::wstring& path) {
    Database& db = Db();
    std::lock_guard<std::mutex> lock(db.mutex);
    db.connection.reset();
    db.path = path;
}

double DatabaseSeconds() {
    return static_cast<double>(DatabaseNanoseconds().load()) / 1e9;
}

void ResetDatabaseSeconds() {
    DatabaseNanoseconds() = 0;
}

void CloseDatabase() {
    Database& db = Db();
    std::lock_guard<std::mutex> lock(db.mutex);
    db.connection.reset();
}

}  // namespace ClientStandIn
