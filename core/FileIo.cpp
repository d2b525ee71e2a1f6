#include "core/FileIo.h"

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "core/Log.h"
#include "core/UniqueResource.h"

namespace grs {

ReadFileResult ReadWholeFile(const std::wstring& path, unsigned long long maxBytes, std::string& bytes) {
    UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || ::GetFileType(file.get()) != FILE_TYPE_DISK) return ReadFileResult::CannotOpen;
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0) return ReadFileResult::Failed;
    if (static_cast<unsigned long long>(size.QuadPart) > maxBytes) return ReadFileResult::TooLarge;

    std::string content;
    content.reserve(static_cast<size_t>(size.QuadPart));
    char buffer[65536];
    for (;;) {
        DWORD read = 0;
        if (!::ReadFile(file.get(), buffer, sizeof buffer, &read, nullptr)) return ReadFileResult::Failed;
        if (read == 0) break;
        // The file may grow while it is read.
        if (content.size() + read > maxBytes) return ReadFileResult::TooLarge;
        content.append(buffer, read);
    }
    bytes.swap(content);
    return ReadFileResult::Ok;
}

namespace {

std::wstring TemporaryPathFor(const std::wstring& path) {
    // Unique per process and call: two writers of one file never share a
    // temporary file, so neither can move the other's unfinished content.
    static std::atomic<unsigned long> sequence{0};
    return path + L"~" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++sequence) + L".tmp";
}

void LogStep(int line, const char* function, const wchar_t* step, DWORD error) {
    log::Error(line, function, std::wstring(step) + L", error " + std::to_wstring(error));
}

bool WriteAll(HANDLE file, const std::string& bytes) {
    size_t offset = 0;
    while (offset < bytes.size()) {
        const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - offset, 1u << 20));
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data() + offset, chunk, &written, nullptr) || written == 0) return false;
        offset += written;
    }
    return true;
}

// Windows refuses to replace a file that another handle has open, even one
// that shares deletion: a reader of the same settings holds it for a moment
// only, so the move is tried again for about half a second before giving up.
bool MoveOver(const std::wstring& from, const std::wstring& to) {
    constexpr int kRetries = 50;
    for (int attempt = 0;; ++attempt) {
        if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
        const DWORD error = ::GetLastError();
        if ((error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) || attempt == kRetries) return false;
        ::Sleep(10);
    }
}

}  // namespace

bool ReplaceFileContent(const std::wstring& path, const std::string& bytes, const char* logFunction) {
    // Windows refuses to replace a read-only file; say so up front so that
    // the behaviour does not depend on the file system's rename.
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY))) {
        LogStep(__LINE__, logFunction, L"The file is read-only or a folder", ERROR_ACCESS_DENIED);
        return false;
    }

    const std::wstring temporary = TemporaryPathFor(path);
    {
        UniqueFile file(
            ::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) {
            LogStep(__LINE__, logFunction, L"Cannot create the temporary file", ::GetLastError());
            return false;
        }
        if (!WriteAll(file.get(), bytes)) {
            const DWORD error = ::GetLastError();
            file.reset();
            ::DeleteFileW(temporary.c_str());
            LogStep(__LINE__, logFunction, L"Cannot write the temporary file", error);
            return false;
        }
        if (!::FlushFileBuffers(file.get())) {
            const DWORD error = ::GetLastError();
            file.reset();
            ::DeleteFileW(temporary.c_str());
            LogStep(__LINE__, logFunction, L"Cannot flush the temporary file", error);
            return false;
        }
    }
    if (!MoveOver(temporary, path)) {
        const DWORD error = ::GetLastError();
        ::DeleteFileW(temporary.c_str());
        LogStep(__LINE__, logFunction, L"Cannot replace the file", error);
        return false;
    }
    return true;
}

}  // namespace grs
