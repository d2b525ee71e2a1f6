#include "support/Files.h"

#include <windows.h>

#include "core/FileIo.h"
#include "core/UniqueResource.h"

namespace grs::support {

namespace {
// The tests and the tools read their own files; none comes near this.
constexpr unsigned long long kMaxTestFileBytes = 1ull << 30;
}  // namespace

void RemoveTree(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return;
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY) || (attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        if (!::DeleteFileW(path.c_str())) ::RemoveDirectoryW(path.c_str());
        return;
    }
    WIN32_FIND_DATAW data;
    const UniqueFind find(::FindFirstFileW((path + L"\\*").c_str(), &data));
    if (find) {
        do {
            const std::wstring name = data.cFileName;
            if (name != L"." && name != L"..") RemoveTree(path + L"\\" + name);
        } while (::FindNextFileW(find.get(), &data));
    }
    ::RemoveDirectoryW(path.c_str());
}

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    const UniqueFile file(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return false;
    DWORD written = 0;
    const BOOL ok =
        bytes.empty() || ::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return ok && written == bytes.size();
}

std::string ReadFileBytes(const std::wstring& path) {
    std::string bytes;
    ReadWholeFile(path, kMaxTestFileBytes, bytes);
    return bytes;
}

}  // namespace grs::support
