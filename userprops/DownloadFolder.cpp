// Where downloads go, where the sync cloud folder is placed on a fresh installation, and the move of the old
// single download-folder row to the "NewDownLoadFolder" / "IsUseDownloadsPath" pair.
#include <windows.h>

#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "userprops/UserPropertyRules.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kSetDefaultDownloadsPath[] = "ClientInitialize::SetDefaultDownloadsPath";
constexpr char kSortDrive[] = "ClientInitialize::SortDrive";
constexpr char kGetSyncCloudFolder[] = "ClientInitialize::GetSyncCloudFolder";
constexpr char kUpdateNewDownloadPathValue[] = "ClientInitialize::UpdateNewDownloadPathValue";

namespace Db = PropertyDb::MainDatabaseProvider;

bool IsAbsent(const wchar_t* key) {
    return Db::GetUserPropertieByKey(key).empty();
}

void InsertRow(std::vector<PropertyDb::UserProperties>& rows, const std::wstring& key, const std::wstring& value) {
    Db::InsertUserProperties(key, value);
    rows.push_back({key, value});
}

// Inserts the row when the database lacks it, otherwise changes it in place.
void SetRow(std::vector<PropertyDb::UserProperties>& rows, const wchar_t* key, const wchar_t* value) {
    if (IsAbsent(key)) {
        InsertRow(rows, key, value);
    } else {
        ClientInitialize::ModifyProValue(rows, key, value);
    }
}

// The long form of an existing folder; empty when the folder does not exist, or (`error` set) when it cannot be told.
std::wstring LongFormOrEmpty(const std::wstring& path, DWORD& error) {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = ::GetLongPathNameW(path.c_str(), buffer, MAX_PATH);
    if (length == 0 && !grs::IsNoSuchEntry(::GetLastError())) error = ::GetLastError();
    return length < MAX_PATH ? std::wstring(buffer) : std::wstring();
}

std::wstring SystemDriveRoot() {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = ::GetEnvironmentVariableW(L"systemdrive", buffer, MAX_PATH);
    return (length < MAX_PATH ? std::wstring(buffer) : std::wstring()) + L"\\";
}

void InsertDefaultNewDownloadFolder(std::vector<PropertyDb::UserProperties>& rows, st_UserPropertiesShow* show) {
    ClientInitialize::SetDefaultDownloadsPath(show);
    InsertRow(rows, L"NewDownLoadFolder",
              show != nullptr ? grs::FieldText(show->NewDownLoadFolder) : grs::DefaultDownloadsFolder());
}

}  // namespace

namespace grs {

bool StoreFolder(wchar_t* field, size_t capacity, const std::wstring& path, const wchar_t* what,
                 const char* function) {
    if (CopyToField(field, capacity, path)) return true;
    log::Error(__LINE__, function,
               std::wstring(what) + L" not stored: " + std::to_wstring(path.size()) + L" characters, the record holds " +
                   std::to_wstring(capacity - 1) + L": " + path);
    return false;
}

std::wstring LongFolderName(const std::wstring& path, const char* function) {
    bool tooLong = false;
    std::wstring longPath = ToLongPath(path, &tooLong);
    if (tooLong)
        log::Error(__LINE__, function,
                   L"Long name not looked up, it does not fit in " + std::to_wstring(MAX_PATH) +
                       L" characters; compared as given: " + path);
    return longPath;
}

std::wstring DefaultDownloadsFolder() {
    const std::wstring downloads = GlobalParamWrapper::GetInstance()->GetUserDownloadsPath();
    return downloads.empty() ? ProfileCloudFolder(L"Downloads") : downloads;
}

std::vector<st_DriveInfo> EnumerateDrives() {
    std::vector<st_DriveInfo> drives;
    wchar_t list[MAX_PATH] = {};
    const DWORD length = ::GetLogicalDriveStringsW(MAX_PATH - 1, list);
    if (length == 0 || length > MAX_PATH - 1) return drives;
    // An empty card reader must fail quietly, not raise a "no disk" box.
    DWORD previousMode = 0;
    const BOOL modeSet = ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, &previousMode);
    for (const wchar_t* root = list; *root != L'\0'; root += wcslen(root) + 1) {
        const unsigned int type = ::GetDriveTypeW(root);
        ULARGE_INTEGER totalFree = {};
        if (!::GetDiskFreeSpaceExW(root, nullptr, nullptr, &totalFree)) {
            // Only a fixed drive can hold the sync folder: one that cannot
            // say its free space is left out of this choice, and said so.
            if (type == kFixedDrive)
                log::Error(__LINE__, kGetSyncCloudFolder,
                           L"Drive free space not read, error " + std::to_wstring(::GetLastError()) + L": " + root);
            continue;
        }
        st_DriveInfo drive = {};
        drive.freeBytes = totalFree.QuadPart;
        drive.driveType = type;
        CopyToField(drive.root, root);
        drives.push_back(drive);
    }
    if (modeSet) ::SetThreadErrorMode(previousMode, nullptr);
    return drives;
}

}  // namespace grs

void ClientInitialize::SetDefaultDownloadsPath(st_UserPropertiesShow* properties) {
    grs::Guarded(__LINE__, kSetDefaultDownloadsPath, [&] {
        if (properties == nullptr) return;
        grs::StoreFolder(properties->NewDownLoadFolder, grs::DefaultDownloadsFolder(), L"Download folder",
                         kSetDefaultDownloadsPath);
    });
}

void ClientInitialize::SortDrive(std::vector<st_DriveInfo>& sorted, const std::vector<st_DriveInfo>& drives,
                                 const std::wstring& systemDriveRoot) {
    grs::Guarded(__LINE__, kSortDrive, [&] {
        // Built aside so that `sorted` may be the input itself.
        std::vector<st_DriveInfo> result;
        const st_DriveInfo* systemDrive = nullptr;
        for (const st_DriveInfo& drive : drives) {
            if (grs::DriveRoot(drive) != systemDriveRoot) {
                result.push_back(drive);
            } else if (systemDrive == nullptr) {
                systemDrive = &drive;
            }
        }
        if (systemDrive != nullptr) result.push_back(*systemDrive);
        sorted.swap(result);
    });
}

std::wstring ClientInitialize::GetSyncCloudFolder() {
    std::wstring result;
    grs::Guarded(__LINE__, kGetSyncCloudFolder, [&] {
        const grs::DriveProbe probe{
            [](const std::wstring& root) {
                const grs::PathPresence presence = grs::ProbePath(root);
                if (presence == grs::PathPresence::Unknown)
                    grs::log::Error(__LINE__, kGetSyncCloudFolder,
                                    L"Drive not read, error " + std::to_wstring(::GetLastError()) + L": " + root);
                return presence == grs::PathPresence::Present;
            },
            [](const std::wstring& root) { return static_cast<unsigned long>(::GetFileAttributesW(root.c_str())); }};
        result = grs::ChooseSyncCloudFolder(grs::EnumerateDrives(), SystemDriveRoot(),
                                            GlobalParamWrapper::GetInstance()->GetUserProfilePath(), probe);
    });
    return result;
}

void ClientInitialize::UpdateNewDownloadPathValue(std::vector<PropertyDb::UserProperties>& properties,
                                                  st_UserPropertiesShow* show) {
    grs::Guarded(__LINE__, kUpdateNewDownloadPathValue, [&] {
        const std::wstring oldFolder = Db::GetUserPropertieByKey(L"DownLoadFolder");
        if (oldFolder.empty()) {
            if (IsAbsent(L"IsUseDownloadsPath")) InsertRow(properties, L"IsUseDownloadsPath", L"1");
            // A user who follows the default folder gets it recomputed at every start.
            if (IsAbsent(L"NewDownLoadFolder") || Db::GetUserPropertieByKey(L"IsUseDownloadsPath") == L"1") {
                InsertDefaultNewDownloadFolder(properties, show);
            }
            ModifyProValue(properties, L"DownLoadFolder", L"");
            if (IsAbsent(L"IsOpenDownloadWnd")) InsertRow(properties, L"IsOpenDownloadWnd", L"1");
            return;
        }

        DWORD error = ERROR_SUCCESS;
        const std::wstring longOld = LongFormOrEmpty(oldFolder, error);
        const std::wstring longDefault = LongFormOrEmpty(grs::ProfileCloudFolder(L"Downloads"), error);
        if (error != ERROR_SUCCESS) {
            // Whether the old folder is the default one cannot be told: it stays where it is, to be migrated by a
            // later start, and serves as this start's download folder (it is the user's folder either way).
            grs::log::Error(__LINE__, kUpdateNewDownloadPathValue,
                            L"DownLoadFolder not migrated, cannot tell whether it exists (error " +
                                std::to_wstring(error) + L"): " + oldFolder);
            if (IsAbsent(L"NewDownLoadFolder")) properties.push_back({L"NewDownLoadFolder", oldFolder});
            return;
        }
        const bool isDefault =
            longOld == longDefault || longOld == GlobalParamWrapper::GetInstance()->GetUserDownloadsPath();
        if (isDefault) {
            if (IsAbsent(L"NewDownLoadFolder")) InsertDefaultNewDownloadFolder(properties, show);
            SetRow(properties, L"IsUseDownloadsPath", L"1");
        } else {
            if (IsAbsent(L"NewDownLoadFolder")) InsertRow(properties, L"NewDownLoadFolder", oldFolder);
            SetRow(properties, L"IsUseDownloadsPath", L"0");
        }
        SetRow(properties, L"IsOpenDownloadWnd", L"1");
        // Emptied in memory and in the database, so the migration runs once.
        ModifyProValue(properties, L"DownLoadFolder", L"");
    });
}
