// The exception convention of core/Log.h, over Write: shared by every program
// that logs the library's lines, whatever writes them (core/Log.cpp for the
// library, the support program's own).
#include <exception>
#include <string>

#include "core/Log.h"

namespace grs::log {

void Exception(int line, const char* function, const char* what, const char* namedInMessage) noexcept {
    try {
        const char* named = namedInMessage ? namedInMessage : function;
        std::string message = "[";
        message += named ? named : "";
        message += "] ";
        message += (what && *what) ? what : "Unknown exception";
        Write(kError, line, function, message, true);
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
