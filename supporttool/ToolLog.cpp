// The library's log lines, as the support program has them. The library's
// own core/Log.cpp writes to the client's logger; the support program links
// none of the client's libraries, so the rules and edges it shares with the
// library (the settings document's load and save, the route record's reader)
// log here instead: failures to standard error, where they stay apart from
// the report on standard output; progress lines are dropped.
#include <cstdio>
#include <string>

#include "core/Log.h"
#include "core/TextUtil.h"

namespace grs::log {

void Write(int severity, int /*line*/, const char* function, const std::string& message, bool /*flag*/) noexcept {
    if (severity < kError) return;
    std::fprintf(stderr, "grs-support: %s: %s\n", function ? function : "", message.c_str());
}

void Write(int severity, int line, const char* function, const std::wstring& message, bool flag) noexcept {
    try {
        Write(severity, line, function, grs::WideToUtf8(message), flag);
    } catch (...) {
        // Logging is best effort.
    }
}

}  // namespace grs::log
