#include "core/PathUtil.h"

#include <windows.h>

#include "core/UniqueResource.h"

namespace grs {

bool EndsWithSeparator(const std::wstring& path) {
    return !path.empty() && (path.back() == L'\\' || path.back() == L'/');
}

std::wstring PathJoin(const std::wstring& folder, const std::wstring& name) {
    if (folder.empty()) return name;
    return EndsWithSeparator(folder) ? folder + name : folder + L'\\' + name;
}

std::wstring DirectoryWithSeparator(const std::wstring& path) {
    const size_t slash = path.rfind(L'\\');
    if (slash == std::wstring::npos || slash + 1 >= path.size()) return path;
    return path.substr(0, slash + 1);
}

bool IsPlaceholderEntry(unsigned long attributes, unsigned long reparseTag) {
    if (attributes & kAttributeRecallOnDataAccess) return true;
    if (attributes & kAttributeReparsePoint) {
        return reparseTag == kReparseTagCloud4 ||
               (attributes & (kAttributeOffline | kAttributeRecallOnDataAccess)) != 0;
    }
    return false;
}

std::wstring WithExtendedPrefix(const std::wstring& path) {
    if (path.size() >= MAX_PATH && path.find(L"\\\\?\\") == std::wstring::npos) return L"\\\\?\\" + path;
    return path;
}

std::wstring ToLongPath(std::wstring path, bool* tooLong) {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = ::GetLongPathNameW(path.c_str(), buffer, MAX_PATH);
    // A long form that does not fit reports the size it needs: not supported,
    // the input is kept.
    if (tooLong != nullptr) *tooLong = length >= MAX_PATH || (length == 0 && path.size() >= MAX_PATH);
    if (length != 0 && length < MAX_PATH) return std::wstring(buffer);
    return path;
}

bool IsCloudPlaceholder(const std::wstring& path) {
    try {
        const std::wstring query = WithExtendedPrefix(path);
        WIN32_FIND_DATAW data = {};
        UniqueFind find(::FindFirstFileW(query.c_str(), &data));
        if (!find) return false;
        return IsPlaceholderEntry(data.dwFileAttributes, data.dwReserved0);
    } catch (...) {
        // The kit does not log; a path that cannot even be copied is not a
        // placeholder, and the caller's own edge reports what else fails.
        return false;
    }
}

bool PathExists(const std::wstring& path) {
    return !path.empty() && ::GetFileAttributesW(WithExtendedPrefix(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsNoSuchEntry(unsigned long error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

PathPresence ProbePath(const std::wstring& path) {
    if (path.empty()) return PathPresence::Missing;
    if (::GetFileAttributesW(WithExtendedPrefix(path).c_str()) != INVALID_FILE_ATTRIBUTES) return PathPresence::Present;
    return IsNoSuchEntry(::GetLastError()) ? PathPresence::Missing : PathPresence::Unknown;
}

bool IsEndOfListing(unsigned long error) {
    return error == ERROR_NO_MORE_FILES || IsNoSuchEntry(error);
}

std::wstring HostExecutablePath() {
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, &buffer[0], static_cast<DWORD>(buffer.size()));
        if (length == 0) return std::wstring();
        if (length < buffer.size()) {
            buffer.resize(length);
            return buffer;
        }
        if (buffer.size() >= 32768) return std::wstring();
        buffer.resize(buffer.size() * 2);
    }
}

namespace {
// CreateDirectoryW takes at most 248 characters (room for an 8.3 name) unless
// the path is in the extended form, which wants backslashes only.
constexpr size_t kCreateDirectoryLimit = MAX_PATH - 12;

BOOL CreateOneFolder(const std::wstring& folder) {
    const bool drivePath = folder.size() > 2 && folder[1] == L':' && (folder[2] == L'\\' || folder[2] == L'/');
    if (folder.size() < kCreateDirectoryLimit || !drivePath) return ::CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring extended = L"\\\\?\\" + folder;
    for (wchar_t& c : extended)
        if (c == L'/') c = L'\\';
    return ::CreateDirectoryW(extended.c_str(), nullptr);
}
}  // namespace

bool CreateFolderTree(const std::wstring& folder) {
    if (folder.empty()) return false;
    // Parents first; their failures (a drive root, a share name) do not matter,
    // only whether the folder itself ends up existing.
    for (size_t slash = folder.find_first_of(L"\\/", 1); slash != std::wstring::npos;
         slash = folder.find_first_of(L"\\/", slash + 1)) {
        CreateOneFolder(folder.substr(0, slash));
    }
    if (CreateOneFolder(folder)) return true;
    const DWORD error = ::GetLastError();
    const DWORD attributes = ::GetFileAttributesW(WithExtendedPrefix(folder).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return true;
    ::SetLastError(error);
    return false;
}

}  // namespace grs
