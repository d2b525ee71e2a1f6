#include "userprops/UserPropertyRules.h"

#include <cstdlib>
#include <cwchar>
#include <sstream>

#include "core/PathUtil.h"
#include "core/TextUtil.h"

namespace grs {

namespace {

using U = st_UserPropertiesShow;
using O = st_OtherUserProperties;

template <typename T>
T& FieldOf(T U::*member, U& show, O&) {
    return show.*member;
}
template <typename T>
T& FieldOf(T O::*member, U&, O& other) {
    return other.*member;
}
template <typename T>
const T& FieldOf(T U::*member, const U& show, const O&) {
    return show.*member;
}
template <typename T>
const T& FieldOf(T O::*member, const U&, const O& other) {
    return other.*member;
}

template <typename T>
T Extract(const std::wstring& value) {
    std::wistringstream stream(value);
    T result{};
    stream >> result;  // an unreadable number leaves 0
    return result;
}

bool Assign(wchar_t (&field)[256], const std::wstring& value, ValueReading reading) {
    return CopyToField(field, reading == ValueReading::FirstWord ? Extract<std::wstring>(value) : value);
}
bool Assign(int& field, const std::wstring& value, ValueReading) {
    field = Extract<int>(value);
    return true;
}
bool Assign(long long& field, const std::wstring& value, ValueReading) {
    field = Extract<long long>(value);
    return true;
}
bool Assign(bool& field, const std::wstring& value, ValueReading reading) {
    field = reading == ValueReading::NonZero ? _wtoi(value.c_str()) != 0 : Extract<bool>(value);
    return true;
}

std::wstring Text(const wchar_t (&field)[256]) {
    return FieldText(field);
}
std::wstring Text(int field) {
    return std::to_wstring(field);
}
std::wstring Text(long long field) {
    return std::to_wstring(field);
}
std::wstring Text(bool field) {
    return field ? L"1" : L"0";
}

bool ApplyValue(const PropertyField& field, const std::wstring& value, U& show, O& other) {
    return std::visit([&](auto member) { return Assign(FieldOf(member, show, other), value, field.reading); },
                      field.member);
}

std::wstring ValueText(const PropertyField& field, const U& show, const O& other) {
    if (field.savedAs != nullptr) return field.savedAs;
    return std::visit([&](auto member) { return Text(FieldOf(member, show, other)); }, field.member);
}

constexpr ValueReading kStream = ValueReading::Stream;

}  // namespace

const std::vector<PropertyField>& PropertyFields() {
    static const std::vector<PropertyField> fields = {
        {L"CacheFolder", &U::CacheFolder, kStream, nullptr},
        {L"DownLoadFolder", &U::DownLoadFolder, kStream, nullptr},
        {L"NewDownLoadFolder", &U::NewDownLoadFolder, kStream, nullptr},
        {L"OriginalCacheFileRealFolder", &U::OriginalCacheFileRealFolder, kStream, nullptr},
        {L"IsDefaultDownLoadFolder", &U::IsDefaultDownLoadFolder, kStream, nullptr},
        {L"DownloadThreadCount", &U::DownloadThreadCount, kStream, nullptr},
        {L"UploadThreadCount", &U::UploadThreadCount, kStream, nullptr},
        {L"IsFirstQuit", &U::IsFirstQuit, kStream, nullptr},
        {L"IsRemindLater", &U::IsRemindLater, kStream, nullptr},
        {L"IsDelCacheFile", &U::IsDelCacheFile, kStream, nullptr},
        {L"IsFirstEnterAlbum", &U::IsFirstEnterAlbum, kStream, nullptr},
        {L"IsFirstEnterCloudView", &U::IsFirstEnterCloudView, kStream, nullptr},
        {L"SyncCloudFolder", &U::SyncCloudFolder, kStream, nullptr},
        {L"IsDeskTopChecked", &U::IsDeskTopChecked, kStream, nullptr},
        {L"IsDocumentsChecked", &U::IsDocumentsChecked, kStream, nullptr},
        {L"isFirstLogin", &U::isFirstLogin, kStream, nullptr},
        {L"IsSyncSwitchOpen", &U::IsSyncSwitchOpen, kStream, nullptr},
        {L"ShowQirentDriveTray", &U::ShowQirentDriveTray, kStream, nullptr},
        {L"ShowQirentShortcut", &U::ShowQirentShortcut, kStream, nullptr},
        {L"IsSyncSwitchOnceOpen", &U::IsSyncSwitchOnceOpen, kStream, nullptr},
        {L"IsSyncSwitchFirstOpen", &U::IsSyncSwitchFirstOpen, kStream, nullptr},
        {L"DeskTopSyncFolder", &U::DeskTopSyncFolder, kStream, nullptr},
        {L"DocumentsSyncFolder", &U::DocumentsSyncFolder, kStream, nullptr},
        {L"IsAutoLogin", &U::IsAutoLogin, kStream, nullptr},
        {L"WarningText", &U::WarningText, kStream, nullptr},
        {L"AutoStartTransferTask", &U::AutoStartTransferTask, kStream, nullptr},
        {L"AutoPowerOnClientTime", &U::AutoPowerOnClientTime, kStream, nullptr},
        {L"IsSyncCloudClose", &U::IsSyncCloudClose, kStream, nullptr},
        {L"IsOpenDownloadWnd", &U::IsOpenDownloadWnd, ValueReading::NonZero, nullptr},
        {L"IsUseDownloadsPath", &U::IsUseDownloadsPath, ValueReading::NonZero, nullptr},
        {L"IsSyncMigrateDone", &U::IsSyncMigrateDone, kStream, nullptr},
        {L"GalleryRowCount", &O::GalleryRowCount, kStream, nullptr},
        {L"VolumnValue", &O::VolumnValue, kStream, nullptr},
        {L"PushTime", &O::PushTime, kStream, nullptr},
        {L"PushOperateLogTime", &O::PushOperateLogTime, kStream, nullptr},
        {L"LastClearVersion", &O::LastClearVersion, ValueReading::FirstWord, nullptr},
        {L"SyncDiskGuidDocumentHash", &O::SyncDiskGuidDocumentHash, kStream, nullptr},
        // These four are stored with fixed values whatever the records hold.
        {L"cloudPranteID", &U::cloudPranteID, kStream, L""},
        {L"cloudPranteName", &U::cloudPranteName, kStream, L""},
        {L"silentUser", &U::silentUser, kStream, L"0"},
        {L"dataCleanUpEnd", &U::dataCleanUpEnd, kStream, L"0"},
        {L"driveSortType", &U::driveSortType, kStream, nullptr},
        {L"driveSortUpOrDown", &U::driveSortUpOrDown, kStream, nullptr},
    };
    return fields;
}

const PropertyField* FindPropertyField(const std::wstring& key) {
    for (const PropertyField& field : PropertyFields())
        if (key == field.key) return &field;
    return nullptr;
}

void ResetUserPropertiesShow(st_UserPropertiesShow& show) {
    show = st_UserPropertiesShow{};
    show.DownloadThreadCount = 5;
    show.UploadThreadCount = 5;
    show.IsJoinUserExperiencePlan = true;
    show.IsFirstQuit = true;
    show.IsFirstEnterAlbum = true;
    show.IsFirstEnterCloudView = true;
    show.IsDeskTopChecked = true;
    show.IsDocumentsChecked = true;
    show.ShowQirentDriveTray = true;
    show.AutoStartTransferTask = true;
    show.IsOpenDownloadWnd = true;
    show.IsUseDownloadsPath = true;
    show.IsShowSyncMigrateTip = true;
    show.driveSortType = 2;
}

void ApplyPropertyRows(const std::vector<PropertyDb::UserProperties>& rows, st_UserPropertiesShow& show,
                       st_OtherUserProperties& other, bool modernWindows) {
    for (const PropertyDb::UserProperties& row : rows) {
        const std::wstring key = row.key;
        const std::wstring value = row.value;
        if (value.empty() && key != L"DownLoadFolder") continue;
        const PropertyField* field = FindPropertyField(key);
        if (field == nullptr) continue;
        if (!ApplyValue(*field, value, show, other)) {
            log::Error(__LINE__, "ClientInitialize::SetUserPropertiesModel", L"value too long for " + key);
        }
    }
    if (!modernWindows) {
        show.ShowQirentDriveTray = false;
        show.ShowQirentShortcut = false;
    }
}

std::vector<PropertyDb::UserProperties> PropertyRows(const st_UserPropertiesShow& show,
                                                     const st_OtherUserProperties& other) {
    std::vector<PropertyDb::UserProperties> rows;
    rows.reserve(PropertyFields().size());
    for (const PropertyField& field : PropertyFields()) rows.push_back({field.key, ValueText(field, show, other)});
    return rows;
}

bool IsWin10Build16299OrLater(unsigned long platformId, unsigned long major, unsigned long build) {
    return platformId == 2 && major >= 10 && build >= 16299;
}

std::wstring DriveRoot(const st_DriveInfo& drive) {
    return FieldText(drive.root);
}

std::wstring ChooseSyncCloudFolder(const std::vector<st_DriveInfo>& drives, const std::wstring& systemRoot,
                                   const std::wstring& profilePath, const DriveProbe& probe) {
    std::vector<st_DriveInfo> ordered;
    ClientInitialize::SortDrive(ordered, drives, systemRoot);
    std::wstring result;
    for (const st_DriveInfo& drive : ordered) {
        const std::wstring root = DriveRoot(drive);
        if (!probe.rootExists(root) || drive.freeBytes <= kSyncDriveMinimumFree ||
            probe.attributes(root) == kHiddenOnly || drive.driveType != kFixedDrive) {
            continue;
        }
        // On the system drive the folder goes under the user's profile.
        result =
            root == systemRoot ? systemRoot + (profilePath.size() > 3 ? profilePath.substr(3) : std::wstring()) : root;
        break;
    }
    if (!result.empty() && !EndsWithSeparator(result)) result += L'\\';
    return result;
}

bool LiesInSyncFolder(const std::wstring& path, const std::wstring& syncPath) {
    return path.find(syncPath) != std::wstring::npos || path + L'\\' == syncPath;
}

}  // namespace grs
