#include "core/Log.h"

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

}  // namespace grs::log
