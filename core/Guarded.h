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

}  // namespace grs
