#include "core/FileIo.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <set>
#include <vector>

#include "core/PathUtil.h"
#include "core/UniqueResource.h"

namespace grs {

namespace {

// Reads from the file's current position to its end, at most `maxBytes`.
ReadFileResult ReadToEnd(HANDLE file, unsigned long long maxBytes, std::string& content) {
    char buffer[65536];
    for (;;) {
        DWORD read = 0;
        if (!::ReadFile(file, buffer, sizeof buffer, &read, nullptr)) return ReadFileResult::Failed;
        if (read == 0) return ReadFileResult::Ok;
        // The file may grow while it is read.
        if (content.size() + read > maxBytes) return ReadFileResult::TooLarge;
        content.append(buffer, read);
    }
}

}  // namespace

ReadFileResult ReadWholeFile(const std::wstring& path, unsigned long long maxBytes, std::string& bytes) {
    // Windows opens a path of 260 characters or more only in the extended form (Wine opens it either way).
    UniqueFile file(::CreateFileW(WithExtendedPrefix(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ReadFileResult::Missing
                                                                              : ReadFileResult::CannotOpen;
    }
    const DWORD type = ::GetFileType(file.get());
    if (type != FILE_TYPE_DISK) {
        // Unknown with an error: the query failed, and its error tells why.
        if (type != FILE_TYPE_UNKNOWN || ::GetLastError() == NO_ERROR) ::SetLastError(ERROR_INVALID_FUNCTION);
        return ReadFileResult::CannotOpen;
    }
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0) return ReadFileResult::Failed;
    if (static_cast<unsigned long long>(size.QuadPart) > maxBytes) return ReadFileResult::TooLarge;

    std::string content;
    content.reserve(static_cast<size_t>(size.QuadPart));
    const ReadFileResult read = ReadToEnd(file.get(), maxBytes, content);
    if (read != ReadFileResult::Ok) return read;
    bytes.swap(content);
    return ReadFileResult::Ok;
}

const char* SaveStepName(SaveStep step) {
    // By number: the steps are numbered from 0 without gaps.
    static const char* const kNames[] = {"None",           "CheckTarget",   "CreateTemporary",   "WriteTemporary",
                                         "FlushTemporary", "ReplaceTarget", "OpenTargetInPlace", "WriteInPlace",
                                         "FlushInPlace"};
    const size_t index = static_cast<size_t>(step);
    return index < sizeof kNames / sizeof kNames[0] ? kNames[index] : "Unknown";
}

namespace {

// A held target is usually held for a moment only (a reader, a scanner): the
// replace is tried this many times, this far apart, before the in-place path.
constexpr int kReplaceAttempts = 20;
constexpr DWORD kReplacePauseMs = 10;

// "<target>~.tmp" is the temporary file of every save of the target, so that a
// save killed at any moment leaves at most that one file, which the next save
// reuses. A save that finds it busy (another process saving the same file)
// uses "<target>~<process>-<n>.tmp" instead. Both match "<target>~*.tmp".
constexpr wchar_t kSharedTemporarySuffix[] = L"~.tmp";

std::wstring UniqueTemporaryPath(const std::wstring& target) {
    static std::atomic<unsigned long> sequence{0};
    return target + L"~" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++sequence) + L".tmp";
}

// Removes the temporary files of `target` that killed saves left behind. A
// save still running holds its file without sharing, so the delete cannot
// take that one from under it.
void RemoveStaleTemporaries(const std::wstring& target, const std::wstring& keep) {
    WIN32_FIND_DATAW entry = {};
    const UniqueFind find(::FindFirstFileW((target + L"~*.tmp").c_str(), &entry));
    if (!find) return;
    const std::wstring folder = target.substr(0, target.find_last_of(L"\\/") + 1);
    do {
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
        const std::wstring stale = folder + entry.cFileName;
        if (::_wcsicmp(stale.c_str(), keep.c_str()) != 0) ::DeleteFileW(stale.c_str());
    } while (::FindNextFileW(find.get(), &entry));
}

// Stray temporary files come from a save killed in an earlier process, or
// from a save in this one that could not remove its own. So each target is
// swept once per process, and again after a save of it that failed or left
// its file: looking for them costs more than the rest of a small save.
// Targets are told apart as the file system does, without regard to case.
class SweptTargets {
public:
    // True the first time for `target`, and after Forget: the caller sweeps.
    bool First(const std::wstring& target) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_swept.insert(target).second;
    }
    void Forget(const std::wstring& target) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_swept.erase(target);
    }

private:
    struct NoCaseLess {
        bool operator()(const std::wstring& a, const std::wstring& b) const {
            return ::_wcsicmp(a.c_str(), b.c_str()) < 0;
        }
    };
    std::mutex m_mutex;  // saves of different files run on different threads
    std::set<std::wstring, NoCaseLess> m_swept;
};

SweptTargets& Swept() {
    static SweptTargets swept;
    return swept;
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

SaveResult Failure(SaveStep step, DWORD error) {
    SaveResult result;
    result.failedStep = step;
    result.error = error;
    return result;
}

// The temporary file of one save, open without sharing from its creation to
// its rename, so that no other writer can change it in between (a rename by
// path would need the handle closed first). Removed unless it was moved.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { static_cast<void>(Remove()); }

    // Removes the file unless it was moved; ERROR_SUCCESS, or the Win32 error
    // of the delete when the file stays.
    DWORD Remove() {
        if (!m_file) return ERROR_SUCCESS;
        FILE_DISPOSITION_INFO remove = {};
        remove.DeleteFile = TRUE;
        const bool marked =
            ::SetFileInformationByHandle(m_file.get(), FileDispositionInfo, &remove, sizeof remove) != FALSE;
        m_file.reset();
        if (marked || ::DeleteFileW(m_path.c_str())) return ERROR_SUCCESS;
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    }

    // A failed save: the result of `step`, with the temporary file removed or
    // reported as left.
    SaveResult Fail(SaveStep step, DWORD error) {
        SaveResult result = Failure(step, error);
        NoteRemoval(result);
        return result;
    }

    void NoteRemoval(SaveResult& result) {
        const DWORD error = Remove();
        if (error == ERROR_SUCCESS) return;
        result.temporaryLeft = m_path;
        result.temporaryError = error;
    }

    bool Create(const std::wstring& target) {
        m_path = target + kSharedTemporarySuffix;
        // Windows refuses CREATE_ALWAYS over a hidden or system file (Wine
        // does not): such a leftover is then handled like a busy one.
        m_file = Open(CREATE_ALWAYS);
        const DWORD error = ::GetLastError();
        const bool busy = !m_file;
        if (busy && error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED) return false;
        // Left by a killed save, or by a failed one that could not remove its
        // file, under this name or a unique one. A busy file may be such a
        // leftover (hidden, or held by a dying process): swept whenever seen.
        if (Swept().First(target) || busy) RemoveStaleTemporaries(target, m_path);
        if (!busy) return true;
        m_path = UniqueTemporaryPath(target);
        m_file = Open(CREATE_NEW);
        return m_file.valid();
    }

    HANDLE Handle() const { return m_file.get(); }

    // Moves the file over `target` through its own handle; ERROR_SUCCESS or
    // the Win32 error. The rename replaces the target in one step: a reader
    // sees the old content or the new, never a mixture.
    DWORD MoveOver(const std::wstring& target) {
        std::vector<unsigned char> buffer(sizeof(FILE_RENAME_INFO) + target.size() * sizeof(wchar_t));
        auto* rename = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
        rename->ReplaceIfExists = TRUE;
        rename->RootDirectory = nullptr;
        rename->FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
        std::memcpy(rename->FileName, target.c_str(), (target.size() + 1) * sizeof(wchar_t));
        if (!::SetFileInformationByHandle(m_file.get(), FileRenameInfo, rename, static_cast<DWORD>(buffer.size())))
            return ::GetLastError();
        m_file.reset();  // the file is the target now: nothing left to remove
        return ERROR_SUCCESS;
    }

private:
    UniqueFile Open(DWORD disposition) const {
        return UniqueFile(::CreateFileW(m_path.c_str(), GENERIC_WRITE | DELETE, /*shareMode=*/0, nullptr, disposition,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    std::wstring m_path;
    UniqueFile m_file;
};

// Another handle holds the target: Windows (classic rename semantics, as Wine)
// refuses to rename over any open file, whatever it shares, with "access
// denied"; a handle in the middle of its own rename gives a sharing violation.
bool HeldByAnotherHandle(DWORD error) {
    return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
}

// The fallback when the target cannot be replaced: the new bytes over the
// old from the start, the file cut to their length, a flush, in the one file.
// Opening shares everything, so it works whenever the holder shares writing.
// The bytes it replaces are read first: a write, cut or flush that fails puts
// them back, so a full disk does not leave the file torn. Windows refuses to
// open a file whose deletion is pending; Wine opens it, and the content then
// goes with the file.
SaveResult RewriteInPlace(const std::wstring& path, const std::string& bytes) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    // A holder that shares writing but not reading: written without a copy.
    const bool readable = file.valid();
    if (!readable)
        file.reset(::CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                 nullptr));
    if (!file) return Failure(SaveStep::OpenTargetInPlace, ::GetLastError());
    std::string previous;
    if (readable && ReadToEnd(file.get(), ~0ull, previous) != ReadFileResult::Ok)
        return Failure(SaveStep::WriteInPlace, ::GetLastError());
    const auto writeFromStart = [&file](const std::string& content) {
        LARGE_INTEGER start = {};
        return ::SetFilePointerEx(file.get(), start, nullptr, FILE_BEGIN) && WriteAll(file.get(), content) &&
               ::SetEndOfFile(file.get());
    };
    SaveStep failed = SaveStep::None;
    if (!writeFromStart(bytes))
        failed = SaveStep::WriteInPlace;
    else if (!::FlushFileBuffers(file.get()))
        failed = SaveStep::FlushInPlace;
    if (failed != SaveStep::None) {
        SaveResult result = Failure(failed, ::GetLastError());
        if (readable) {
            result.restoreTried = true;
            if (!writeFromStart(previous) || !::FlushFileBuffers(file.get())) result.restoreError = ::GetLastError();
        }
        return result;
    }
    // The attributes a replaced file would have; zero times stay as they are.
    FILE_BASIC_INFO basic = {};
    basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    ::SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic);
    return SaveResult();
}

SaveResult SaveThroughTemporary(const std::wstring& path, const std::string& bytes) {
    // Windows refuses to replace a read-only file; say so up front so that
    // the behaviour does not depend on the file system's rename.
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)))
        return Failure(SaveStep::CheckTarget, ERROR_ACCESS_DENIED);

    TemporaryFile temporary;
    if (!temporary.Create(path)) return Failure(SaveStep::CreateTemporary, ::GetLastError());
    if (!WriteAll(temporary.Handle(), bytes)) return temporary.Fail(SaveStep::WriteTemporary, ::GetLastError());
    if (!::FlushFileBuffers(temporary.Handle())) return temporary.Fail(SaveStep::FlushTemporary, ::GetLastError());

    DWORD refused = ERROR_SUCCESS;
    for (int attempt = 1; attempt <= kReplaceAttempts; ++attempt) {
        refused = temporary.MoveOver(path);
        if (refused == ERROR_SUCCESS) return SaveResult();
        if (!HeldByAnotherHandle(refused)) return temporary.Fail(SaveStep::ReplaceTarget, refused);
        if (attempt < kReplaceAttempts) ::Sleep(kReplacePauseMs);
    }
    SaveResult result = RewriteInPlace(path, bytes);
    result.refusedReplace = refused;
    temporary.NoteRemoval(result);
    return result;
}

}  // namespace

SaveResult ReplaceFileContent(const std::wstring& target, const std::string& bytes) {
    // The temporary file, every call and the memory of swept files take the
    // extended form of a long path.
    const std::wstring path = WithExtendedPrefix(target);
    SaveResult result = SaveThroughTemporary(path, bytes);
    // Whatever this save left, the next one looks for.
    if (!result.Succeeded() || !result.temporaryLeft.empty()) Swept().Forget(path);
    return result;
}

void RemoveLeftTemporaries(const std::wstring& path) {
    // The temporary file, every call and the memory of swept files take the
    // extended form of a long path.
    const std::wstring target = WithExtendedPrefix(path);
    if (Swept().First(target)) RemoveStaleTemporaries(target, std::wstring());
}

}  // namespace grs
