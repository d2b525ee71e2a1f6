#include "tests/faults/FaultInjector.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

namespace grs::test {

namespace {

std::atomic<DWORD> g_thread{0};
std::atomic<long> g_calls{0};
long g_failAt = 0;
bool g_persistent = false;
std::mutex g_injectedLock;
std::vector<InjectedFault> g_injected;

// True when this call is to fail (its error is then recorded).
bool Fails(const char* function, DWORD error) {
    if (g_thread.load() != ::GetCurrentThreadId()) return false;
    const long call = ++g_calls;
    if (call != g_failAt && !(g_persistent && call > g_failAt)) return false;
    std::lock_guard<std::mutex> lock(g_injectedLock);
    g_injected.push_back(InjectedFault{function, error});
    return true;
}

// One stand-in per function: fails with `error` (set as the last error, or
// returned where the function returns its error) or calls the original.
#define GRS_STAND_IN(name, Ret, failure, error, params, args)          \
    using name##Type = Ret(WINAPI*) params;                            \
    name##Type g_real##name = nullptr;                                 \
    Ret WINAPI Fake##name params {                                     \
        if (Fails(#name, error)) {                                     \
            ::SetLastError(error);                                     \
            return failure;                                            \
        }                                                              \
        return g_real##name args;                                      \
    }

constexpr DWORD kDiskFull = ERROR_DISK_FULL;
constexpr DWORD kSharing = ERROR_SHARING_VIOLATION;
constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
constexpr DWORD kIo = ERROR_IO_DEVICE;

// Opens.
GRS_STAND_IN(CreateFileW, HANDLE, INVALID_HANDLE_VALUE, kSharing,
             (LPCWSTR a, DWORD b, DWORD c, LPSECURITY_ATTRIBUTES d, DWORD e, DWORD f, HANDLE g), (a, b, c, d, e, f, g))
GRS_STAND_IN(CreateFileA, HANDLE, INVALID_HANDLE_VALUE, kSharing,
             (LPCSTR a, DWORD b, DWORD c, LPSECURITY_ATTRIBUTES d, DWORD e, DWORD f, HANDLE g), (a, b, c, d, e, f, g))
GRS_STAND_IN(FindFirstFileW, HANDLE, INVALID_HANDLE_VALUE, kDenied, (LPCWSTR a, LPWIN32_FIND_DATAW b), (a, b))
GRS_STAND_IN(FindFirstFileA, HANDLE, INVALID_HANDLE_VALUE, kDenied, (LPCSTR a, LPWIN32_FIND_DATAA b), (a, b))
// Reads and queries.
GRS_STAND_IN(ReadFile, BOOL, FALSE, kIo, (HANDLE a, LPVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e), (a, b, c, d, e))
GRS_STAND_IN(GetFileSizeEx, BOOL, FALSE, kIo, (HANDLE a, PLARGE_INTEGER b), (a, b))
GRS_STAND_IN(GetFileType, DWORD, FILE_TYPE_UNKNOWN, kIo, (HANDLE a), (a))
GRS_STAND_IN(FindNextFileW, BOOL, FALSE, kIo, (HANDLE a, LPWIN32_FIND_DATAW b), (a, b))
GRS_STAND_IN(GetFileAttributesW, DWORD, INVALID_FILE_ATTRIBUTES, kDenied, (LPCWSTR a), (a))
GRS_STAND_IN(GetFileAttributesExW, BOOL, FALSE, kDenied, (LPCWSTR a, GET_FILEEX_INFO_LEVELS b, LPVOID c), (a, b, c))
GRS_STAND_IN(GetLongPathNameW, DWORD, 0, kDenied, (LPCWSTR a, LPWSTR b, DWORD c), (a, b, c))
GRS_STAND_IN(GetDiskFreeSpaceExW, BOOL, FALSE, kIo,
             (LPCWSTR a, PULARGE_INTEGER b, PULARGE_INTEGER c, PULARGE_INTEGER d), (a, b, c, d))
GRS_STAND_IN(SetFilePointerEx, BOOL, FALSE, kIo, (HANDLE a, LARGE_INTEGER b, PLARGE_INTEGER c, DWORD d), (a, b, c, d))
// Writes, flushes and truncations.
GRS_STAND_IN(WriteFile, BOOL, FALSE, kDiskFull, (HANDLE a, LPCVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e),
             (a, b, c, d, e))
GRS_STAND_IN(FlushFileBuffers, BOOL, FALSE, kDiskFull, (HANDLE a), (a))
GRS_STAND_IN(SetEndOfFile, BOOL, FALSE, kDiskFull, (HANDLE a), (a))
GRS_STAND_IN(WritePrivateProfileStringW, BOOL, FALSE, kDiskFull, (LPCWSTR a, LPCWSTR b, LPCWSTR c, LPCWSTR d),
             (a, b, c, d))
GRS_STAND_IN(WritePrivateProfileStringA, BOOL, FALSE, kDiskFull, (LPCSTR a, LPCSTR b, LPCSTR c, LPCSTR d),
             (a, b, c, d))
// Attribute changes, renames, deletes, folders, copies.
GRS_STAND_IN(SetFileAttributesW, BOOL, FALSE, kDenied, (LPCWSTR a, DWORD b), (a, b))
GRS_STAND_IN(SetFileInformationByHandle, BOOL, FALSE, kDenied,
             (HANDLE a, FILE_INFO_BY_HANDLE_CLASS b, LPVOID c, DWORD d), (a, b, c, d))
GRS_STAND_IN(MoveFileExW, BOOL, FALSE, kDenied, (LPCWSTR a, LPCWSTR b, DWORD c), (a, b, c))
GRS_STAND_IN(ReplaceFileW, BOOL, FALSE, kDenied, (LPCWSTR a, LPCWSTR b, LPCWSTR c, DWORD d, LPVOID e, LPVOID f),
             (a, b, c, d, e, f))
GRS_STAND_IN(DeleteFileW, BOOL, FALSE, kDenied, (LPCWSTR a), (a))
GRS_STAND_IN(CreateDirectoryW, BOOL, FALSE, kDenied, (LPCWSTR a, LPSECURITY_ATTRIBUTES b), (a, b))
GRS_STAND_IN(CopyFileW, BOOL, FALSE, kDiskFull, (LPCWSTR a, LPCWSTR b, BOOL c), (a, b, c))
#undef GRS_STAND_IN

// The registry returns its error instead of setting it.
#define GRS_REGISTRY_STAND_IN(name, error, params, args) \
    using name##Type = LSTATUS(WINAPI*) params;          \
    name##Type g_real##name = nullptr;                   \
    LSTATUS WINAPI Fake##name params {                   \
        if (Fails(#name, error)) return error;           \
        return g_real##name args;                        \
    }

GRS_REGISTRY_STAND_IN(RegOpenKeyExW, kDenied, (HKEY a, LPCWSTR b, DWORD c, REGSAM d, PHKEY e), (a, b, c, d, e))
GRS_REGISTRY_STAND_IN(RegCreateKeyExW, kDenied,
                      (HKEY a, LPCWSTR b, DWORD c, LPWSTR d, DWORD e, REGSAM f, LPSECURITY_ATTRIBUTES g, PHKEY h,
                       LPDWORD i),
                      (a, b, c, d, e, f, g, h, i))
GRS_REGISTRY_STAND_IN(RegQueryValueExW, kIo, (HKEY a, LPCWSTR b, LPDWORD c, LPDWORD d, LPBYTE e, LPDWORD f),
                      (a, b, c, d, e, f))
GRS_REGISTRY_STAND_IN(RegGetValueW, kIo, (HKEY a, LPCWSTR b, LPCWSTR c, DWORD d, LPDWORD e, PVOID f, LPDWORD g),
                      (a, b, c, d, e, f, g))
GRS_REGISTRY_STAND_IN(RegSetValueExW, kDenied, (HKEY a, LPCWSTR b, DWORD c, DWORD d, const BYTE* e, DWORD f),
                      (a, b, c, d, e, f))
GRS_REGISTRY_STAND_IN(RegDeleteValueW, kDenied, (HKEY a, LPCWSTR b), (a, b))
GRS_REGISTRY_STAND_IN(RegSetKeyValueW, kDenied, (HKEY a, LPCWSTR b, LPCWSTR c, DWORD d, LPCVOID e, DWORD f),
                      (a, b, c, d, e, f))
GRS_REGISTRY_STAND_IN(RegDeleteKeyValueW, kDenied, (HKEY a, LPCWSTR b, LPCWSTR c), (a, b, c))
#undef GRS_REGISTRY_STAND_IN

// A profile read that fails gives the default, as for a missing file.
template <typename Char, typename Real>
DWORD FailedProfileRead(const char* function, Real real, const Char* section, const Char* key, const Char* fallback,
                        Char* buffer, DWORD size, const Char* file) {
    if (!Fails(function, kIo)) return real(section, key, fallback, buffer, size, file);
    DWORD length = 0;
    if (buffer != nullptr && size > 0) {
        for (; fallback != nullptr && fallback[length] != 0 && length + 1 < size; ++length) buffer[length] = fallback[length];
        buffer[length] = 0;
    }
    ::SetLastError(kIo);
    return length;
}
using GetPrivateProfileStringWType = DWORD(WINAPI*)(LPCWSTR, LPCWSTR, LPCWSTR, LPWSTR, DWORD, LPCWSTR);
using GetPrivateProfileStringAType = DWORD(WINAPI*)(LPCSTR, LPCSTR, LPCSTR, LPSTR, DWORD, LPCSTR);
GetPrivateProfileStringWType g_realGetPrivateProfileStringW = nullptr;
GetPrivateProfileStringAType g_realGetPrivateProfileStringA = nullptr;
DWORD WINAPI FakeGetPrivateProfileStringW(LPCWSTR a, LPCWSTR b, LPCWSTR c, LPWSTR d, DWORD e, LPCWSTR f) {
    return FailedProfileRead("GetPrivateProfileStringW", g_realGetPrivateProfileStringW, a, b, c, d, e, f);
}
DWORD WINAPI FakeGetPrivateProfileStringA(LPCSTR a, LPCSTR b, LPCSTR c, LPSTR d, DWORD e, LPCSTR f) {
    return FailedProfileRead("GetPrivateProfileStringA", g_realGetPrivateProfileStringA, a, b, c, d, e, f);
}

struct StandIn {
    const char* name;
    void** real;
    void* fake;
};

#define GRS_ROW(name) {#name, reinterpret_cast<void**>(&g_real##name), reinterpret_cast<void*>(&Fake##name)}
const StandIn kStandIns[] = {
    GRS_ROW(CreateFileW),        GRS_ROW(CreateFileA),        GRS_ROW(FindFirstFileW),
    GRS_ROW(FindFirstFileA),     GRS_ROW(ReadFile),           GRS_ROW(GetFileSizeEx),
    GRS_ROW(GetFileType),        GRS_ROW(FindNextFileW),      GRS_ROW(GetFileAttributesW),
    GRS_ROW(GetFileAttributesExW), GRS_ROW(GetLongPathNameW), GRS_ROW(GetDiskFreeSpaceExW),
    GRS_ROW(SetFilePointerEx),
    GRS_ROW(WriteFile),          GRS_ROW(FlushFileBuffers),   GRS_ROW(SetEndOfFile),
    GRS_ROW(WritePrivateProfileStringW), GRS_ROW(WritePrivateProfileStringA), GRS_ROW(SetFileAttributesW),
    GRS_ROW(SetFileInformationByHandle), GRS_ROW(MoveFileExW), GRS_ROW(ReplaceFileW),
    GRS_ROW(DeleteFileW),        GRS_ROW(CreateDirectoryW),   GRS_ROW(CopyFileW),
    GRS_ROW(RegOpenKeyExW),      GRS_ROW(RegCreateKeyExW),    GRS_ROW(RegQueryValueExW),
    GRS_ROW(RegGetValueW),       GRS_ROW(RegSetValueExW),     GRS_ROW(RegDeleteValueW),
    GRS_ROW(RegSetKeyValueW),    GRS_ROW(RegDeleteKeyValueW), GRS_ROW(GetPrivateProfileStringW),
    GRS_ROW(GetPrivateProfileStringA),
};
#undef GRS_ROW

bool HasStandIn(const std::string& name) {
    return std::any_of(std::begin(kStandIns), std::end(kStandIns),
                       [&](const StandIn& standIn) { return name == standIn.name; });
}

// What a file, folder, profile or registry call is named like.
bool LooksLikeStorageCall(const std::string& name) {
    static const char* const kWords[] = {"File", "Directory", "PrivateProfile", "Reg", "Folder"};
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](const char* word) { return name.find(word) != std::string::npos; });
}

}  // namespace

FaultInjector::FaultInjector(HMODULE dll) : m_dll(dll) {
    for (const StandIn& standIn : kStandIns) {
        void* const original = m_redirect.Redirect(dll, standIn.name, standIn.fake);
        if (original == nullptr) continue;
        *standIn.real = original;
        m_redirected.emplace_back(standIn.name);
    }
}

FaultInjector::~FaultInjector() {
    Disarm();
}

void FaultInjector::Arm(long failAt, bool persistent) {
    Disarm();
    {
        std::lock_guard<std::mutex> lock(g_injectedLock);
        g_injected.clear();
    }
    g_failAt = failAt;
    g_persistent = persistent;
    g_calls = 0;
    g_thread = ::GetCurrentThreadId();
}

void FaultInjector::Disarm() {
    g_thread = 0;
}

long FaultInjector::Calls() const {
    return g_calls.load();
}

std::vector<InjectedFault> FaultInjector::Injected() const {
    std::lock_guard<std::mutex> lock(g_injectedLock);
    return g_injected;
}

std::vector<std::string> FaultInjector::UncoveredImports() const {
    // Handle and file-type queries that cannot change what is stored.
    static const char* const kHarmless[] = {"GetModuleFileNameW", "GetModuleHandleExW", "GetModuleHandleW",
                                            "GetModuleHandleA", "LoadLibraryW", "FreeLibraryAndExitThread",
                                            "FreeLibrary", "RegCloseKey", "FindClose", "RegOverridePredefKey",
                                            "GetTempPathW", "GetSystemTimeAsFileTime"};
    std::vector<std::string> uncovered;
    for (const char* library : {"KERNEL32.dll", "ADVAPI32.dll"}) {
        for (const std::string& name : ImportRedirect::ImportedNames(m_dll, library)) {
            if (!LooksLikeStorageCall(name) || HasStandIn(name)) continue;
            if (std::any_of(std::begin(kHarmless), std::end(kHarmless),
                            [&](const char* harmless) { return name == harmless; }))
                continue;
            uncovered.push_back(name);
        }
    }
    return uncovered;
}

}  // namespace grs::test
