// Property database: one SQLite table of key/value rows per user.
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <initializer_list>
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

void Bind(sqlite3_stmt* statement, int index, const std::wstring& text) {
    sqlite3_bind_text16(statement, index, text.c_str(), static_cast<int>(text.size() * sizeof(wchar_t)),
                        SQLITE_TRANSIENT);
}

// Prepares `sql` with `texts` bound to ?1, ?2, ...; empty when the connection
// or the statement fails.
Statement Prepare(sqlite3* connection, const char* sql,
                  std::initializer_list<std::reference_wrapper<const std::wstring>> texts) {
    Statement statement;
    if (connection == nullptr || sqlite3_prepare_v2(connection, sql, -1, statement.put(), nullptr) != SQLITE_OK) {
        return Statement();
    }
    int index = 1;
    for (const std::wstring& text : texts) Bind(statement.get(), index++, text);
    return statement;
}

std::wstring Column(sqlite3_stmt* statement, int index) {
    const void* text = sqlite3_column_text16(statement, index);
    const int bytes = sqlite3_column_bytes16(statement, index);
    return text ? std::wstring(static_cast<const wchar_t*>(text), static_cast<size_t>(bytes) / sizeof(wchar_t))
                : std::wstring();
}

// Runs `work(connection, user)` for the current user under the database's
// lock; like the client's provider, a failure gives `fallback`, never a throw.
template <typename Result, typename Work>
Result ForCurrentUser(Result fallback, Work work) {
    try {
        const std::wstring user = AccountSession::GetInstance()->GetCurrentUserID();
        Database& db = Db();
        std::lock_guard<std::mutex> lock(db.mutex);
        return work(Connection(db), user);
    } catch (...) {
    }
    return fallback;
}

// Inserts or replaces one row; the row keeps its place when it existed.
bool Upsert(sqlite3* connection, const std::wstring& user, const std::wstring& key, const std::wstring& value) {
    Statement statement = Prepare(connection,
                                  "INSERT INTO user_properties(user_id, key, value) VALUES(?1, ?2, ?3) "
                                  "ON CONFLICT(user_id, key) DO UPDATE SET value = excluded.value",
                                  {user, key, value});
    return statement && sqlite3_step(statement.get()) == SQLITE_DONE;
}

// Runs `work` for the current user in one transaction: all of it or nothing.
template <typename Work>
void InTransaction(Work work) {
    ForCurrentUser(false, [&work](sqlite3* connection, const std::wstring& user) {
        if (connection == nullptr ||
            sqlite3_exec(connection, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            return false;
        const bool ok = work(connection, user);
        sqlite3_exec(connection, ok ? "COMMIT" : "ROLLBACK", nullptr, nullptr, nullptr);
        return ok;
    });
}

}  // namespace

namespace PropertyDb::MainDatabaseProvider {

std::vector<UserProperties> GetAllUserProperties() {
    const CallTimer timer;
    return ForCurrentUser(std::vector<UserProperties>(), [](sqlite3* connection, const std::wstring& user) {
        std::vector<UserProperties> rows;
        Statement statement =
            Prepare(connection, "SELECT key, value FROM user_properties WHERE user_id = ?1 ORDER BY seq", {user});
        while (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
            rows.push_back({Column(statement.get(), 0), Column(statement.get(), 1)});
        }
        return rows;
    });
}

std::wstring GetUserPropertieByKey(const std::wstring& key) {
    const CallTimer timer;
    return ForCurrentUser(std::wstring(), [&key](sqlite3* connection, const std::wstring& user) {
        Statement statement =
            Prepare(connection, "SELECT value FROM user_properties WHERE user_id = ?1 AND key = ?2", {user, key});
        return statement && sqlite3_step(statement.get()) == SQLITE_ROW ? Column(statement.get(), 0)
                                                                        : std::wstring();
    });
}

void UpdateUserProperties(const std::wstring& key, const std::wstring& value) {
    const CallTimer timer;
    ForCurrentUser(false, [&key, &value](sqlite3* connection, const std::wstring& user) {
        Statement statement = Prepare(
            connection, "UPDATE user_properties SET value = ?3 WHERE user_id = ?1 AND key = ?2", {user, key, value});
        return statement && sqlite3_step(statement.get()) == SQLITE_DONE;
    });
}

void InsertUserProperties(const std::wstring& key, const std::wstring& value) {
    const CallTimer timer;
    ForCurrentUser(false, [&key, &value](sqlite3* connection, const std::wstring& user) {
        return Upsert(connection, user, key, value);
    });
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
        Statement statement = Prepare(connection, "DELETE FROM user_properties WHERE user_id = ?1", {user});
        return statement && sqlite3_step(statement.get()) == SQLITE_DONE;
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
