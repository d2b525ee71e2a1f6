#include "tests/common/ChildProcess.h"

#include <windows.h>

#include <utility>

#include "core/PathUtil.h"

namespace grs::test {

namespace {

// Children die with the test process, also when it is killed from outside:
// the job's only handle closes when this process ends. Null when jobs are not
// available; the children then run as before.
HANDLE ChildrenJob() {
    static const HANDLE job = [] {
        HANDLE created = ::CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (created != nullptr &&
            !::SetInformationJobObject(created, JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
            ::CloseHandle(created);
            created = nullptr;
        }
        return created;
    }();
    return job;
}

}  // namespace

UniqueHandle StartProcess(std::wstring command, HANDLE output, HANDLE error) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = error;
    PROCESS_INFORMATION process = {};
    const BOOL started = ::CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                                          nullptr, &startup, &process);
    if (!started) return UniqueHandle();
    UniqueProcess owned(process);
    // Joined before it runs, so nothing it starts escapes the job either.
    if (ChildrenJob() != nullptr) ::AssignProcessToJobObject(ChildrenJob(), owned.process.get());
    ::ResumeThread(owned.thread.get());
    return std::move(owned.process);
}

UniqueHandle StartChildTest(const std::string& test, const wchar_t* variable, const std::wstring& value) {
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    UniqueFile nul(
        ::CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0, nullptr));
    // The child inherits the environment as it is at creation.
    ::SetEnvironmentVariableW(variable, value.c_str());
    UniqueHandle child =
        StartProcess(L"\"" + HostExecutablePath() + L"\" --gtest_also_run_disabled_tests --gtest_filter=" +
                         std::wstring(test.begin(), test.end()),
                     nul.get(), nul.get());
    ::SetEnvironmentVariableW(variable, nullptr);
    return child;
}

std::wstring ChildParameter(const wchar_t* variable) {
    wchar_t value[1024] = {};
    const DWORD length = ::GetEnvironmentVariableW(variable, value, 1024);
    return length == 0 || length >= 1024 ? std::wstring() : std::wstring(value, length);
}

bool KillChild(const UniqueHandle& child) {
    ::TerminateProcess(child.get(), 9);
    return ::WaitForSingleObject(child.get(), 30000) == WAIT_OBJECT_0;
}

}  // namespace grs::test
