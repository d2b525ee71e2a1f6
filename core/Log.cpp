#include "core/Log.h"

#include <exception>

#include "globalrootservice/collaborators/CloudLogger.h"

namespace grs::log {

namespace {
template <typename Text>
void Forward(int severity, int line, const char* function, const Text& message, bool flag) noexcept {
    try {
        Logger::CloudLogger* logger = Logger::CloudLogger::GetInstance();
        if (logger == nullptr) return;
        logger->Output(Logger::ModuleMain, static_cast<Logger::LogSeverity>(severity), line,
                       std::string(function ? function : ""), message, flag);
    } catch (...) {
        // Logging is best effort.
    }
}
}  // namespace

void Write(int severity, int line, const char* function, const std::wstring& message, bool flag) noexcept {
    Forward(severity, line, function, message, flag);
}

void Write(int severity, int line, const char* function, const std::string& message, bool flag) noexcept {
    Forward(severity, line, function, message, flag);
}

void Exception(int line, const char* function, const char* what, const char* namedInMessage) noexcept {
    try {
        const char* named = namedInMessage ? namedInMessage : function;
        std::string message = "[";
        message += named ? named : "";
        message += "] ";
        message += (what && *what) ? what : "Unknown exception";
        Forward(kError, line, function, message, true);
    } catch (...) {
    }
}

void CurrentException(int line, const char* function, const char* namedInMessage) noexcept {
    try {
        throw;
    } catch (const std::exception& e) {
        Exception(line, function, e.what(), namedInMessage);
    } catch (...) {
        Exception(line, function, nullptr, namedInMessage);
    }
}

}  // namespace grs::log
