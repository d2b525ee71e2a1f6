#pragma once

// Move-only owners of Win32 handles. Closing keeps GetLastError intact so that
// a caller can still report the error of the call that failed before it.

#include <windows.h>

#include <cstdint>
#include <type_traits>
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

// Traits from the handle type, its invalid value as a number (-1 for
// INVALID_HANDLE_VALUE and INVALID_SOCKET, 0 for null) and its close function.
template <typename H, std::intptr_t InvalidValue, auto CloseFunction>
struct HandleTraits {
    using Handle = H;
    static Handle Invalid() noexcept {
        if constexpr (std::is_pointer_v<H>) {
            // The platform defines INVALID_HANDLE_VALUE as this very cast.
            return reinterpret_cast<Handle>(InvalidValue);  // NOLINT(performance-no-int-to-ptr)
        } else {
            return static_cast<Handle>(InvalidValue);
        }
    }
    static void Close(Handle h) noexcept { CloseFunction(h); }
};

// CreateFileW
using UniqueFile = UniqueResource<HandleTraits<HANDLE, -1, &::CloseHandle>>;
// events, threads, processes
using UniqueHandle = UniqueResource<HandleTraits<HANDLE, 0, &::CloseHandle>>;
// FindFirstFileW
using UniqueFind = UniqueResource<HandleTraits<HANDLE, -1, &::FindClose>>;
// RegOpenKeyExW, RegCreateKeyExW
using UniqueKey = UniqueResource<HandleTraits<HKEY, 0, &::RegCloseKey>>;
// LoadLibraryW, and GetModuleHandleExW without the unchanged-refcount flag
using UniqueModule = UniqueResource<HandleTraits<HMODULE, 0, &::FreeLibrary>>;
// memory that the API hands out for LocalFree (CommandLineToArgvW, FormatMessageW)
using UniqueLocal = UniqueResource<HandleTraits<HLOCAL, 0, &::LocalFree>>;

// Both handles CreateProcessW returns.
struct UniqueProcess {
    UniqueHandle process;
    UniqueHandle thread;

    UniqueProcess() = default;
    explicit UniqueProcess(const PROCESS_INFORMATION& info) noexcept
        : process(info.hProcess), thread(info.hThread) {}
};

}  // namespace grs
