#pragma once

// The library's one way to log: through the client's logger, module 0, never
// throwing (a failing logger must not turn into a failing operation).
//
// Conventions: `function` is the operation's tag, "Class::Operation", kept in
// a file-scope constant named after the operation (kGetSettings for
// "ClientInitialize::GetSettings") and used both here and at the operation's
// exception edge (core/Guarded.h). `line` is the source line, __LINE__; the
// few line numbers that the client's log readers match on are named
// constants beside their messages instead (kLine...).

#include <string>

namespace grs::log {

constexpr int kInfo = 2;
constexpr int kError = 5;

void Write(int severity, int line, const char* function, const std::wstring& message, bool flag = true) noexcept;
void Write(int severity, int line, const char* function, const std::string& message, bool flag = true) noexcept;

inline void Info(int line, const char* function, const std::wstring& message) noexcept {
    Write(kInfo, line, function, message);
}
inline void Info(int line, const char* function, const std::string& message) noexcept {
    Write(kInfo, line, function, message);
}
inline void Error(int line, const char* function, const std::wstring& message) noexcept {
    Write(kError, line, function, message);
}
inline void Error(int line, const char* function, const std::string& message) noexcept {
    Write(kError, line, function, message);
}

// "[Class::Operation] " followed by the exception's text, at severity 5: the
// convention for exceptions caught at the edge of an operation.
// `namedInMessage`, when given, replaces the function in the bracketed name
// (one operation logs that way: see its COMPAT note).
void Exception(int line, const char* function, const char* what, const char* namedInMessage = nullptr) noexcept;

// The same for the exception being handled; call only inside a catch block.
void CurrentException(int line, const char* function, const char* namedInMessage = nullptr) noexcept;

}  // namespace grs::log
