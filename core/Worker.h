#pragma once

// Detached worker threads that survive an unload of the library.

#include <functional>

namespace grs {

// Runs `body` on a new thread that nobody joins. The thread holds its own
// reference on the module that contains this code, so the client may unload
// the library while the body runs: the code stays mapped until the body has
// returned and what it captured is destroyed; the thread then releases the
// module and ends in one step (FreeLibraryAndExitThread), never returning
// into code that may be gone. An exception from the body is logged under
// `function`, which must be a literal. False, logged under `function`, when
// the thread cannot be started; the body then does not run.
bool StartWorker(int line, const char* function, std::function<void()> body) noexcept;

}  // namespace grs
