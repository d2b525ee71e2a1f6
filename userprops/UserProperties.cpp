// The signed-in user's property rows: loaded at start-up, repaired, mirrored
// into the parameter store's records and saved back.
#include <windows.h>

#include <mutex>

#include "core/HashUtil.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/AccountSession.h"
#include "globalrootservice/collaborators/ConfigEntityManager.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/collaborators/ResourceManager.h"
#include "userprops/UserPropertyRules.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kInitializeUserProperties[] = "ClientInitialize::InitializeUserProperties";
constexpr char kSetUserPropertiesModel[] = "ClientInitialize::SetUserPropertiesModel";
constexpr char kSaveUserPropertiesModel[] = "ClientInitialize::SaveUserPropertiesModel";
constexpr char kModifyProValue[] = "ClientInitialize::ModifyProValue";

using PropertyDb::MainDatabaseProvider::UpdateUserProperties;

// Out-of-range thread counts fall back to 5, in memory and in the database.
void RepairThreadCount(int& count, const wchar_t* key) {
    if (count >= 1 && count <= 10) return;
    count = 5;
    UpdateUserProperties(key, L"5");
}

}  // namespace

namespace grs {

bool IsWin10Build16299OrLater() {
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;  // 284: the extended record
#if defined(_MSC_VER)
#pragma warning(suppress : 4996)
#endif
    if (!::GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version))) return false;
    return IsWin10Build16299OrLater(version.dwPlatformId, version.dwMajorVersion, version.dwBuildNumber);
}

std::wstring CurrentUserHash() {
    return UserIdHash(AccountSession::GetInstance()->GetCurrentUserID());
}

std::wstring ProfileCloudFolder(const std::wstring& leaf) {
    return PathJoin(PathJoin(GlobalParamWrapper::GetInstance()->GetUserProfilePath(), L"Cloud"), leaf);
}

bool InitializeUserPropertiesFor(bool modernWindows) {
    GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
    st_UserPropertiesShow* show = store->GetUserPropertiesShow();
    st_OtherUserProperties* other = store->GetOtherUserProperties();
    if (show == nullptr || other == nullptr) {
        log::Error(__LINE__, kInitializeUserProperties, L"user property records unavailable");
        return false;
    }

    ResetUserPropertiesShow(*show);
    const st_UserInfo* userInfo = store->GetUserInfo();
    if ((userInfo != nullptr && userInfo->IsAutoLogin) || show->IsAutoLogin) UpdateUserProperties(L"IsAutoLogin", L"1");

    std::vector<PropertyDb::UserProperties> rows = PropertyDb::MainDatabaseProvider::GetAllUserProperties();
    ClientInitialize::BaseDataCloseSyncFolder(rows);
    ClientInitialize::CheckPathInSyncFolder(rows);

    if (!modernWindows) {
        UpdateUserProperties(L"IsSyncSwitchOpen", L"0");
        UpdateUserProperties(L"SyncCloudFolder", L"");
        UpdateUserProperties(L"ShowQirentDriveTray", L"0");
        UpdateUserProperties(L"IsSyncCloudClose", L"0");
        UpdateUserProperties(L"ShowQirentShortcut", L"0");
    }

    if (!rows.empty()) {
        ClientInitialize::UpdateNewDownloadPathValue(rows, show);
        ApplyPropertyRows(rows, *show, *other, modernWindows);
    } else {
        ClientInitialize::SetDefaultDownloadsPath(show);
        show->DownloadThreadCount = 5;
        show->UploadThreadCount = 5;
        if (modernWindows) {
            const std::wstring parent = ClientInitialize::GetSyncCloudFolder();
            if (parent.empty()) {
                // A bare drive name would be a relative path the client cannot use.
                log::Error(__LINE__, kInitializeUserProperties, L"SyncCloudFolder :: no drive qualifies");
            } else {
                const wchar_t* driveName =
                    DuiLib::CResourceManager::GetInstance()->GetText(L"IDS_MAIN_PAGE_Qirent_Drive", nullptr);
                const std::wstring path = ToLongPath(parent + (driveName ? driveName : L""));
                log::Info(__LINE__, kInitializeUserProperties, L"SyncCloudFolder :: " + path);
                if (!StoreFolder(show->SyncCloudFolder, path, L"SyncCloudFolder", kInitializeUserProperties))
                    return false;
            }
        }
        if (!StoreFolder(show->CacheFolder, ProfileCloudFolder(L"Cache"), L"CacheFolder", kInitializeUserProperties))
            return false;
        ClientInitialize::SaveUserPropertiesModel();
    }

    if (show->SyncCloudFolder[0] == L'\0' && modernWindows) {
        UpdateUserProperties(L"SyncCloudFolder", ToLongPath(FieldText(show->SyncCloudFolder)));
    }
    RepairThreadCount(show->DownloadThreadCount, L"DownloadThreadCount");
    RepairThreadCount(show->UploadThreadCount, L"UploadThreadCount");

    const std::wstring hash = CurrentUserHash();
    if (!StoreFolder(show->UserCacheFolder, FieldText(show->CacheFolder) + L"\\" + hash, L"UserCacheFolder",
                     kInitializeUserProperties))
        return false;
    ConfigEntityManager::GetInstance()->saveCacheDir(hash, FieldText(show->UserCacheFolder));

    ClientInitialize::GetSettings();
    ClientInitialize::InstallUpgradeLog();

    const bool showTabBar = show->IsSyncSwitchFirstOpen != 0 && show->IsSyncSwitchOpen;
    if (const unsigned long error = settings::WriteShowTabBar(showTabBar, kInitializeUserProperties)) {
        log::Error(__LINE__, kInitializeUserProperties,
                   L"TabMainWnd\uFF1ASet ShowTabBar error code " + std::to_wstring(error));
    }
    return true;
}

}  // namespace grs

bool ClientInitialize::InitializeUserProperties() {
    return grs::Guarded(__LINE__, kInitializeUserProperties, false,
                        [] { return grs::InitializeUserPropertiesFor(grs::IsWin10Build16299OrLater()); });
}

void ClientInitialize::SetUserPropertiesModel(std::vector<PropertyDb::UserProperties>& properties) {
    grs::Guarded(__LINE__, kSetUserPropertiesModel, [&] {
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        st_UserPropertiesShow* show = store->GetUserPropertiesShow();
        st_OtherUserProperties* other = store->GetOtherUserProperties();
        if (show == nullptr || other == nullptr) return;
        grs::ApplyPropertyRows(properties, *show, *other, grs::IsWin10Build16299OrLater());
    });
}

void ClientInitialize::SaveUserPropertiesModel() {
    grs::Guarded(__LINE__, kSaveUserPropertiesModel, [] {
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        const st_UserPropertiesShow* show = store->GetUserPropertiesShow();
        const st_OtherUserProperties* other = store->GetOtherUserProperties();
        if (show == nullptr || other == nullptr) return;
        std::vector<PropertyDb::UserProperties> rows = grs::PropertyRows(*show, *other);
        PropertyDb::MainDatabaseProvider::DeleteAllUserProperties();
        PropertyDb::MainDatabaseProvider::InsertUserProperties(rows);
    });
}

void ClientInitialize::ModifyProValue(std::vector<PropertyDb::UserProperties>& properties, std::wstring key,
                                      std::wstring value) {
    grs::Guarded(__LINE__, kModifyProValue, [&] {
        for (PropertyDb::UserProperties& row : properties) {
            if (row.key == key) {
                row.value = value;
                break;
            }
        }
        UpdateUserProperties(key, value);
    });
}
