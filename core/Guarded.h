#pragma once

// The exception edge of an exported operation or a worker thread: runs the
// body; an exception becomes the usual "[function] what" log line and the
// failure result, so nothing escapes to the client.

#include "core/Log.h"

namespace grs {

template <typename Result, typename Body>
Result Guarded(int line, const char* function, Result failure, Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        log::CurrentException(line, function);
    }
    return failure;
}

template <typename Body>
void Guarded(int line, const char* function, Body&& body) noexcept {
    try {
        body();
    } catch (...) {
        log::CurrentException(line, function);
    }
}

// The same edge for an operation whose exception line names another
// operation in its brackets (kept for the client's log readers).
template <typename Body>
void GuardedNaming(int line, const char* function, const char* namedInMessage, Body&& body) noexcept {
    try {
        body();
    } catch (...) {
        log::CurrentException(line, function, namedInMessage);
    }
}

}  // namespace grs
