#pragma once

// The client's start-up groundwork over local files and the client's
// libraries: "Setting.ini", "SyncSetting.ini", start-up state, upgrade
// information and the signed-in user's properties and folders. All static;
// callable from any thread. Operations on "Setting.ini" share one process-wide
// lock, those on "SyncSetting.ini" another. Nothing here throws to the caller.

#include <string>
#include <vector>

#include "globalrootservice/GlobalRootServiceExport.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "globalrootservice/collaborators/UserRecords.h"

class CIniFileW;

// One upgrade setting: a key of section "Setting" and its value.
struct SettingInfo {
    std::wstring key;
    std::wstring value;
};

// One logical drive.
struct st_DriveInfo {
    unsigned long long freeBytes;  // the volume's total free bytes
    wchar_t root[16];              // such as L"D:\\"
    unsigned int driveType;        // as GetDriveTypeW answers (3: fixed disk)
};

class GLOBALROOTSERVICE_API ClientInitialize {
public:
    ClientInitialize& operator=(const ClientInitialize& other);
    ClientInitialize& operator=(ClientInitialize&& other) noexcept;

    // --- "Setting.ini" in the local app-data folder ---
    // Creates the file when absent and fills every missing or empty key;
    // values already present are kept.
    static void CreateSettingFile(std::wstring version);
    // Sets `key` in section "Setting" of `ini` only when it is missing or
    // empty. Does not save; the caller holds the settings lock.
    static void WriteSettingFile(CIniFileW& ini, std::wstring key, std::wstring value);
    // Reads the file into the user property record and the parameter store and
    // reconciles start-with-Windows with the registry. No file: does nothing.
    static void GetSettings();
    // Writes the property record's values back into the file.
    static void UpdateSettings();

    // --- "SyncSetting.ini" ---
    // Rewrites every key from the parameter store, then fills "BaseUri" in the
    // background once the server-id address is known.
    static void CreateSyncSettingFile();
    // These three load the file and change a copy in memory only: the values
    // reach the file through the next CreateSyncSettingFile.
    static void SaveSyncThumbnailRootFolder(const std::wstring& folder);
    static void SaveSyncLcdThumbnailRootFolder(const std::wstring& folder);
    static void SavePCModel(const std::wstring& model);
    static void InitSyncFileTransPort();

    // --- Start-up state ---
    // True exactly once after the installer set "IsFirstStartUp" to "true".
    static bool IsFirstStartUp();
    static bool IsNeedCreateShortcut();
    static void SetCreateShortcutFlag();
    // Writes (true) or deletes (false) the current user's Run value.
    static void RegisterStartingIsOpen(bool open);
    static bool GetRegisterStartingIsOpen();
    // Reads and blanks the install and upgrade marks in memory; the file is
    // left byte for byte as it was.
    static void InstallUpgradeLog();

    // --- Upgrade information ---
    static void SetUpgradeInfo(std::vector<SettingInfo> infos);
    // One pair per requested key, in request order; empty when no file.
    static std::vector<SettingInfo> GetUpgradeInfo(std::vector<std::wstring> keys);

    // --- User properties ---
    // Loads, repairs and mirrors the user's property rows; false when a value
    // did not fit its field.
    static bool InitializeUserProperties();
    static void SetUserPropertiesModel(std::vector<PropertyDb::UserProperties>& properties);
    // Replaces every stored row by the records' content (43 rows).
    static void SaveUserPropertiesModel();
    // Changes the first row of `key` in memory, and the stored row in any case.
    static void ModifyProValue(std::vector<PropertyDb::UserProperties>& properties, std::wstring key,
                               std::wstring value);

    // --- Download folder and drive choice ---
    static void SetDefaultDownloadsPath(st_UserPropertiesShow* properties);
    // Keeps the input order, moving the system drive last.
    static void SortDrive(std::vector<st_DriveInfo>& sorted, const std::vector<st_DriveInfo>& drives,
                          const std::wstring& systemDriveRoot);
    static void UpdateNewDownloadPathValue(std::vector<PropertyDb::UserProperties>& properties,
                                           st_UserPropertiesShow* show);
    // The folder under which the sync cloud folder is created, ending in a
    // separator; empty when no drive qualifies.
    static std::wstring GetSyncCloudFolder();

    // --- Sync folder closing and cache migration ---
    static bool BaseDataCloseSyncFolder(std::vector<PropertyDb::UserProperties>& properties);
    static bool CheckPathInSyncFolder(std::vector<PropertyDb::UserProperties>& properties);
    // Body of the detached copy thread; owns nothing but its arguments.
    static bool CopySyncFolderToCache(const std::wstring& sourceFolder, const std::wstring& destinationFolder);
    static bool CheckCacheFile(const std::wstring& sourceFolder, std::wstring destinationFolder);
    static bool CopyCacheFile(const std::wstring& sourceFile, const std::wstring& destinationFile);

private:
    friend class ClientInitializeTestAccess;

    static std::wstring GetProgramBits();
    static void SyncBaseUri(std::wstring path);
    static std::string GetBaseUri();
};
