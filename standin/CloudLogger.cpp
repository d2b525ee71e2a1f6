// Logger: every line to a log file and to an in-memory list for inspection.
#include "globalrootservice/collaborators/CloudLogger.h"

#include <windows.h>

#include <cstdio>
#include <deque>
#include <mutex>

#include "core/UniqueResource.h"
#include "standin/StandInState.h"

using namespace ClientStandIn;
using namespace ClientStandIn::detail;

namespace {

constexpr size_t kKeptLines = 20000;

struct LogState {
    std::mutex mutex;
    std::deque<LogLine> lines;
    std::wstring file;  // empty: "<app-data>\ClientStandIn\client.log"
    int echoSeverity = 0;
    std::wstring openPath;  // the file `handle` writes to
    grs::UniqueFile handle;
};

LogState& Log() {
    static LogState* state = new LogState();  // outlives detached threads at exit
    return *state;
}

std::string Timestamp() {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    char text[32] = {};
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u", now.wYear, now.wMonth, now.wDay, now.wHour,
                  now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

void Append(LogLine line) noexcept {
    try {
        LogState& log = Log();
        std::lock_guard<std::mutex> lock(log.mutex);
        std::string text = Timestamp() + " [" + std::to_string(line.severity) + "] " + line.function + ":" +
                           std::to_string(line.line) + " " + WideToUtf8(line.message) + "\r\n";
        std::wstring path = log.file;
        if (path.empty()) {
            const std::wstring folder = DataFolder();
            if (!folder.empty()) path = folder + L"\\client.log";
        }
        // Kept open between lines, as a logger would; reopened when the path changes.
        if (path != log.openPath || !log.handle) {
            log.handle.reset(path.empty() ? INVALID_HANDLE_VALUE
                                          : ::CreateFileW(path.c_str(), FILE_APPEND_DATA,
                                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                          nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
            log.openPath = path;
        }
        DWORD written = 0;
        if (log.handle) ::WriteFile(log.handle.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        if (log.echoSeverity > 0 && line.severity >= log.echoSeverity) {
            std::fputs(text.c_str(), stderr);
            std::fflush(stderr);
        }
        log.lines.push_back(std::move(line));
        if (log.lines.size() > kKeptLines) log.lines.pop_front();
    } catch (...) {
    }
}

}  // namespace

namespace Logger {

CloudLogger* CloudLogger::GetInstance() {
    static CloudLogger instance;
    return &instance;
}

void CloudLogger::Output(ModuleType module, LogSeverity severity, int line, std::string function, std::wstring message,
                         bool flag) {
    try {
        Append({static_cast<int>(module), static_cast<int>(severity), line, std::move(function), std::move(message),
                true, flag});
    } catch (...) {
    }
}

void CloudLogger::Output(ModuleType module, LogSeverity severity, int line, std::string function, std::string message,
                         bool flag) {
    try {
        Append({static_cast<int>(module), static_cast<int>(severity), line, std::move(function), Utf8ToWide(message),
                false, flag});
    } catch (...) {
    }
}

}  // namespace Logger

namespace ClientStandIn {

std::vector<LogLine> LogLines() {
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    return std::vector<LogLine>(log.lines.begin(), log.lines.end());
}

void ClearLogLines() {
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.lines.clear();
}

void SetLogFile(const std::wstring& path) {
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.file = path;
    log.handle.reset();  // a test may remove the old file's folder right after
    log.openPath.clear();
}

void SetLogEcho(int minimumSeverity) {
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.echoSeverity = minimumSeverity;
}

}  // namespace ClientStandIn
