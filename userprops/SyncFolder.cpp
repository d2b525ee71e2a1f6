// Closing the sync folder for accounts without the sync function, moving the
// cache and download folders out of the sync cloud folder, and the background
// copy of the thumbnail caches to the new cache folder.
#include <windows.h>

#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "core/Worker.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "userprops/UserPropertyRules.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kCheckPathInSyncFolder[] = "ClientInitialize::CheckPathInSyncFolder";
constexpr char kBaseDataCloseSyncFolder[] = "ClientInitialize::BaseDataCloseSyncFolder";
constexpr char kCopySyncFolderToCache[] = "ClientInitialize::CopySyncFolderToCache";
constexpr char kCopyCacheFile[] = "ClientInitialize::CopyCacheFile";
constexpr char kCheckCacheFile[] = "ClientInitialize::CheckCacheFile";

namespace Db = PropertyDb::MainDatabaseProvider;

// The Win32 error of a failed step of the copy, on a line of its own after
// the step's line (whose text the client's logs have always carried).
void LogWin32Error(int line, const char* function, unsigned long error, const std::wstring& path) {
    grs::log::Error(line, function, L"Win32 error " + std::to_wstring(error) + L": " + path);
}

void StartCacheCopy(const std::wstring& source, const std::wstring& destination) {
    // The thread owns copies of both paths; it never sees the rows.
    grs::StartWorker(__LINE__, kCheckPathInSyncFolder,
                     [source, destination] { ClientInitialize::CopySyncFolderToCache(source, destination); });
}

}  // namespace

namespace grs {

unsigned long long GetFileSizeByPath(const std::wstring& path) {
    UniqueFile file(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
    if (!file) return 0;
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0) return 0;
    return static_cast<unsigned long long>(size.QuadPart);
}

}  // namespace grs

bool ClientInitialize::BaseDataCloseSyncFolder(std::vector<PropertyDb::UserProperties>& properties) {
    return grs::Guarded(__LINE__, kBaseDataCloseSyncFolder, true, [&] {
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        grs::log::Info(__LINE__, kBaseDataCloseSyncFolder, "Get User Grade Code is " + store->GetUserGradeCode());
        if (store->CheckFunctionOpen(NewBusinessSyncFunction)) return false;
        for (PropertyDb::UserProperties& row : properties) {
            if (row.value != L"1") continue;
            if (row.key == L"IsSyncSwitchOpen") {
                grs::log::Info(__LINE__, kBaseDataCloseSyncFolder, L"Base data service update IsSyncSwitchOpen");
            } else if (row.key == L"IsSyncSwitchOnceOpen") {
                grs::log::Info(__LINE__, kBaseDataCloseSyncFolder, L"Base data service update IsSyncSwitchOnceOpen");
            } else {
                continue;
            }
            row.value = L"0";
            Db::UpdateUserProperties(row.key, row.value);
        }
        return true;
    });
}

bool ClientInitialize::CheckPathInSyncFolder(std::vector<PropertyDb::UserProperties>& properties) {
    return grs::Guarded(__LINE__, kCheckPathInSyncFolder, false, [&] {
        grs::log::Info(__LINE__, kCheckPathInSyncFolder, L"CopySyncFolderToCache check start");
        std::wstring syncPath;
        for (const PropertyDb::UserProperties& row : properties) {
            if (row.key == L"SyncCloudFolder") {
                syncPath = grs::LongFolderName(row.value, kCheckPathInSyncFolder);
                break;
            }
        }
        if (syncPath.empty()) {
            grs::log::Info(__LINE__, kCheckPathInSyncFolder, L"CopySyncFolderToCache syncCloudPath empty");
            return false;
        }
        syncPath += L'\\';

        bool moved = false;
        for (PropertyDb::UserProperties& row : properties) {
            const bool isCache = row.key == L"CacheFolder";
            const bool isDownload = row.key == L"NewDownLoadFolder" || row.key == L"DownLoadFolder";
            if (!(isCache || isDownload)) continue;
            if (!grs::LiesInSyncFolder(grs::LongFolderName(row.value, kCheckPathInSyncFolder), syncPath)) continue;
            if (isCache) {
                grs::log::Info(__LINE__, kCheckPathInSyncFolder, L"CopySyncFolderToCache update CacheFolder path");
                const std::wstring oldCache = row.value;
                row.value = grs::ProfileCloudFolder(L"Cache");
                Db::UpdateUserProperties(L"CacheFolder", row.value);
                grs::log::Info(__LINE__, kCheckPathInSyncFolder,
                               L"CopySyncFolderToCache update CacheFolder path = " + row.value);
                StartCacheCopy(oldCache, row.value);
            } else {
                row.value = grs::DefaultDownloadsFolder();
                // The new key even for an old-style row.
                Db::UpdateUserProperties(L"NewDownLoadFolder", row.value);
                Db::UpdateUserProperties(L"IsOpenDownloadWnd", L"1");
                grs::log::Info(__LINE__, kCheckPathInSyncFolder,
                               L"CopySyncFolderToCache update downloadPath = " + row.value);
            }
            moved = true;
        }

        if (moved) {
            GlobalParamWrapper::GetInstance()->SetModPathRes(true);
            properties = Db::GetAllUserProperties();
        }
        grs::log::Info(__LINE__, kCheckPathInSyncFolder, L"CopySyncFolderToCache check end");
        return moved;
    });
}

bool ClientInitialize::CopySyncFolderToCache(const std::wstring& sourceFolder, const std::wstring& destinationFolder) {
    GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
    grs::Guarded(__LINE__, kCopySyncFolderToCache, [&] {
        store->SettCacheCopyRes(true);
        const std::wstring hash = grs::CurrentUserHash();
        const std::wstring sourceRoot = sourceFolder + L"\\" + hash;
        const std::wstring destinationRoot = destinationFolder + L"\\" + hash;
        grs::log::Info(__LINE__, kCopySyncFolderToCache, L"CopySyncFolderToCache start copy SyncThumbnailFile");
        CheckCacheFile(sourceRoot + L"\\SyncThumbnailFile", destinationRoot + L"\\SyncThumbnailFile");
        grs::log::Info(__LINE__, kCopySyncFolderToCache, L"CopySyncFolderToCache start copy LcdSyncThumbnailFile");
        CheckCacheFile(sourceRoot + L"\\LcdSyncThumbnailFile", destinationRoot + L"\\LcdSyncThumbnailFile");
    });
    // The end is reported on every path: the client waits for it.
    grs::Guarded(__LINE__, kCopySyncFolderToCache, [&] {
        store->SettCacheCopyRes(false);
        grs::log::Info(__LINE__, kCopySyncFolderToCache, L"CopySyncFolderToCache end copy");
    });
    return false;
}

namespace {

// One file of the cache copy, with what is known of the source already
// answered: a walk has the entry's attributes and size from its enumeration
// and need not ask the file system again for each file.
template <typename SizeOf>
bool CopyCacheFileWith(const std::wstring& sourceFile, const std::wstring& destinationFile, bool placeholder,
                       SizeOf sizeOf) {
    if (placeholder) {
        grs::log::Info(__LINE__, kCopyCacheFile,
                       L"CopySyncFolderToCache CopyCacheFile IsPlaceholder srcPath = " + sourceFile);
        return false;
    }
    grs::log::Info(__LINE__, kCopyCacheFile,
                   L"CopySyncFolderToCache CopyCacheFile srcPath = " + sourceFile + L" destPath = " + destinationFile);
    if (!grs::IsCopiedCacheSize(sizeOf())) return true;
    const auto logCovered = [&] {
        grs::log::Info(__LINE__, kCopyCacheFile, L"CopySyncFolderToCache" + destinationFile + L" to be covered");
    };
    {  // The open tells whether the destination was there: no attribute query per file, lines in the same order.
        grs::UniqueFile created(::CreateFileW(destinationFile.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                              nullptr, OPEN_ALWAYS, FILE_FLAG_OVERLAPPED, nullptr));
        const DWORD opened = ::GetLastError();  // ERROR_ALREADY_EXISTS when it was there
        if (!created) {
            if (::GetFileAttributesW(destinationFile.c_str()) != INVALID_FILE_ATTRIBUTES) logCovered();  // still there
            grs::log::Error(__LINE__, kCopyCacheFile, destinationFile + L" Create File Fail");
            LogWin32Error(__LINE__, kCopyCacheFile, opened, destinationFile);
            return true;
        }
        if (opened == ERROR_ALREADY_EXISTS) logCovered();
    }
    if (DWORD ok = ::CopyFileW(sourceFile.c_str(), destinationFile.c_str(), FALSE), error = ::GetLastError(); !ok) {
        grs::log::Error(__LINE__, kCopyCacheFile, destinationFile + L" Copy File Fail");
        LogWin32Error(__LINE__, kCopyCacheFile, error, destinationFile);
        return false;
    }
    grs::log::Info(__LINE__, kCopyCacheFile,
                   L"CopySyncFolderToCache COPYSUCCESS = " + sourceFile + L" destPath = " + destinationFile);
    return true;
}

}  // namespace

bool ClientInitialize::CheckCacheFile(const std::wstring& sourceFolder, std::wstring destinationFolder) {
    return grs::Guarded(__LINE__, kCheckCacheFile, true, [&] {
        grs::log::Info(
            __LINE__, kCheckCacheFile,
            L"CopySyncFolderToCache CheckCacheFile srcPath = " + sourceFolder + L" destPath = " + destinationFolder);
        // The walk goes on: each file then reports its own failure.
        if (!grs::CreateFolderTree(destinationFolder))
            LogWin32Error(__LINE__, kCheckCacheFile, ::GetLastError(), destinationFolder);
        WIN32_FIND_DATAW entry = {};
        grs::UniqueFind find(::FindFirstFileW((sourceFolder + L"\\*").c_str(), &entry));
        // Linked folders are not followed: a link up the tree would never end. A walk cut short is reported.
        for (BOOL more = find.valid(); more; more = ::FindNextFileW(find.get(), &entry)) {
            const std::wstring name = entry.cFileName;
            const std::wstring source = std::wstring(sourceFolder).append(L"\\").append(name);
            const std::wstring destination = std::wstring(destinationFolder).append(L"\\").append(name);
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                const bool placeholder = grs::IsPlaceholderEntry(entry.dwFileAttributes, entry.dwReserved0);
                const unsigned long long size =
                    (static_cast<unsigned long long>(entry.nFileSizeHigh) << 32) | entry.nFileSizeLow;
                grs::Guarded(__LINE__, kCopyCacheFile, false, [&] {
                    return CopyCacheFileWith(source, destination, placeholder, [size] { return size; });
                });
            } else if (name != L"." && name != L".." && (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
                CheckCacheFile(source, destination);
            }
        }
        if (const DWORD ended = ::GetLastError(); !grs::IsEndOfListing(ended))
            LogWin32Error(__LINE__, kCheckCacheFile, ended, sourceFolder);
        return true;
    });
}

bool ClientInitialize::CopyCacheFile(const std::wstring& sourceFile, const std::wstring& destinationFile) {
    return grs::Guarded(__LINE__, kCopyCacheFile, false, [&] {
        return CopyCacheFileWith(sourceFile, destinationFile, grs::IsCloudPlaceholder(sourceFile),
                                 [&] { return grs::GetFileSizeByPath(sourceFile); });
    });
}
