#pragma once

// Move-only owners of Win32 handles. Closing keeps GetLastError intact so that
// a caller can still report the error of the call that failed before it.

// winsock2.h must come before windows.h, which would otherwise bring the old
// winsock.h.
#include <winsock2.h>
#include <windows.h>

#include <utility>

namespace grs {

template <typename Traits>
class UniqueResource {
public:
    using Handle = typename Traits::Handle;

    UniqueResource() noexcept : m_handle(Traits::Invalid()) {}
    explicit UniqueResource(Handle handle) noexcept : m_handle(handle) {}
    UniqueResource(UniqueResource&& other) noexcept : m_handle(other.release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    ~UniqueResource() { reset(); }

    [[nodiscard]] bool valid() const noexcept { return m_handle != Traits::Invalid(); }
    explicit operator bool() const noexcept { return valid(); }
    [[nodiscard]] Handle get() const noexcept { return m_handle; }

    // For out-parameters of the API that opens the resource.
    Handle* put() noexcept {
        reset();
        return &m_handle;
    }

    Handle release() noexcept { return std::exchange(m_handle, Traits::Invalid()); }

    void reset(Handle handle = Traits::Invalid()) noexcept {
        if (valid()) {
            const DWORD lastError = ::GetLastError();
            Traits::Close(m_handle);
            ::SetLastError(lastError);
        }
        m_handle = handle;
    }

private:
    Handle m_handle;
};

struct FileHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle h) noexcept { ::CloseHandle(h); }
};

struct KernelHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle h) noexcept { ::CloseHandle(h); }
};

struct FindHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle h) noexcept { ::FindClose(h); }
};

struct RegKeyTraits {
    using Handle = HKEY;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle h) noexcept { ::RegCloseKey(h); }
};

struct ModuleTraits {
    using Handle = HMODULE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle h) noexcept { ::FreeLibrary(h); }
};

struct SocketTraits {
    using Handle = SOCKET;
    static Handle Invalid() noexcept { return INVALID_SOCKET; }
    static void Close(Handle h) noexcept { ::closesocket(h); }
};

struct LocalMemoryTraits {
    using Handle = HLOCAL;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle h) noexcept { ::LocalFree(h); }
};

using UniqueFile = UniqueResource<FileHandleTraits>;      // CreateFileW
using UniqueHandle = UniqueResource<KernelHandleTraits>;  // events, threads, processes
using UniqueFind = UniqueResource<FindHandleTraits>;      // FindFirstFileW
using UniqueKey = UniqueResource<RegKeyTraits>;           // RegOpenKeyExW
using UniqueModule = UniqueResource<ModuleTraits>;        // LoadLibraryW, pinning GetModuleHandleExW
using UniqueSocket = UniqueResource<SocketTraits>;        // socket, accept
using UniqueLocal = UniqueResource<LocalMemoryTraits>;    // memory the API hands out for LocalFree

// Both handles CreateProcessW returns.
struct UniqueProcess {
    UniqueHandle process;
    UniqueHandle thread;

    UniqueProcess() = default;
    explicit UniqueProcess(const PROCESS_INFORMATION& info) noexcept
        : process(info.hProcess), thread(info.hThread) {}
};

}  // namespace grs
