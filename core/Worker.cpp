#include "core/Worker.h"

#include <windows.h>

#include <memory>
#include <string>

#include "core/Guarded.h"
#include "core/Log.h"
#include "core/UniqueResource.h"

namespace grs {

namespace {

// Any address inside this module names the module.
const char kThisModule = 0;

struct Job {
    int line;
    const char* function;
    std::function<void()> body;
    HMODULE module;
};

DWORD WINAPI RunJob(LPVOID parameter) {
    HMODULE module = nullptr;
    {
        const std::unique_ptr<Job> job(static_cast<Job*>(parameter));
        module = job->module;
        Guarded(job->line, job->function, job->body);
    }
    ::FreeLibraryAndExitThread(module, 0);
}

}  // namespace

bool StartWorker(int line, const char* function, std::function<void()> body) noexcept {
    return Guarded(line, function, false, [&] {
        auto job = std::make_unique<Job>(Job{line, function, std::move(body), nullptr});
        // The reference the thread gives back when it ends.
        if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&kThisModule),
                                  &job->module)) {
            log::Error(line, function,
                       L"Cannot pin the module for a worker thread, error " + std::to_wstring(::GetLastError()));
            return false;
        }
        const UniqueHandle thread(::CreateThread(nullptr, 0, &RunJob, job.get(), 0, nullptr));
        if (!thread) {
            const DWORD error = ::GetLastError();
            ::FreeLibrary(job->module);
            log::Error(line, function, L"Cannot start a worker thread, error " + std::to_wstring(error));
            return false;
        }
        static_cast<void>(job.release());  // the thread owns it; the handle closes: detached
        return true;
    });
}

}  // namespace grs
