#pragma once

// Internal to the user-property operations of ClientInitialize: the property
// key table and its row conversions, the drive choice, the folder tests, and
// the seams that let the tests drive these decisions with plain data.

#include <exception>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "core/Guarded.h"
#include "core/Log.h"
#include "globalrootservice/ClientInitialize.h"
#include "settings/SettingsFiles.h"

namespace grs {

// --- Property rows ---------------------------------------------------------
using ShowText = wchar_t (st_UserPropertiesShow::*)[256];
using ShowInt = int st_UserPropertiesShow::*;
using ShowBool = bool st_UserPropertiesShow::*;
using OtherText = wchar_t (st_OtherUserProperties::*)[256];
using OtherInt = int st_OtherUserProperties::*;
using OtherInt64 = long long st_OtherUserProperties::*;
using PropertyMember = std::variant<ShowText, ShowInt, ShowBool, OtherText, OtherInt, OtherInt64>;

enum class ValueReading {
    Stream,     // text copied; numbers and flags by stream extraction
    NonZero,    // flag true for any non-zero _wtoi
    FirstWord,  // text up to the first white space
};

struct PropertyField {
    const wchar_t* key;
    PropertyMember member;
    ValueReading reading;
    const wchar_t* savedAs;  // the value always stored, or null for the field's own
};

// The 43 stored properties, in the order they are saved.
const std::vector<PropertyField>& PropertyFields();
const PropertyField* FindPropertyField(const std::wstring& key);

// Defaults of a fresh start (the settings mirrors included).
void ResetUserPropertiesShow(st_UserPropertiesShow& show);

// Loads rows in order into the records; the later of two equal keys wins, an
// empty value leaves its field alone except for "DownLoadFolder". Old Windows
// gets both show flags forced off.
void ApplyPropertyRows(const std::vector<PropertyDb::UserProperties>& rows, st_UserPropertiesShow& show,
                       st_OtherUserProperties& other, bool modernWindows);
std::vector<PropertyDb::UserProperties> PropertyRows(const st_UserPropertiesShow& show,
                                                     const st_OtherUserProperties& other);

// --- Operating system --------------------------------------------------------
// COMPAT: major and build are tested separately (a later major with a smaller
// build number does not count), as the client always tested them.
bool IsWin10Build16299OrLater(unsigned long platformId, unsigned long major, unsigned long build);
bool IsWin10Build16299OrLater();

// The start-up load with the operating-system check already answered.
bool InitializeUserPropertiesFor(bool modernWindows);

// --- Drives ----------------------------------------------------------------
constexpr unsigned long long kSyncDriveMinimumFree = 100ull * 1024 * 1024;  // must be exceeded
constexpr unsigned int kFixedDrive = 3;                                     // DRIVE_FIXED
constexpr unsigned long kHiddenOnly = 2;                                    // FILE_ATTRIBUTE_HIDDEN

struct DriveProbe {
    std::function<bool(const std::wstring&)> rootExists;
    std::function<unsigned long(const std::wstring&)> attributes;
};

// Logical drives whose free space can be read, in the system's order.
std::vector<st_DriveInfo> EnumerateDrives();

std::wstring DriveRoot(const st_DriveInfo& drive);

// The folder under which the sync cloud folder goes, ending in a separator;
// empty when no drive qualifies.
std::wstring ChooseSyncCloudFolder(const std::vector<st_DriveInfo>& drives, const std::wstring& systemRoot,
                                   const std::wstring& profilePath, const DriveProbe& probe);

// --- Folders -----------------------------------------------------------------
// Profile\Cloud\<leaf>.
std::wstring ProfileCloudFolder(const std::wstring& leaf);
// The user's Downloads folder, or profile\Cloud\Downloads when it is unknown.
std::wstring DefaultDownloadsFolder();

// Copies a folder into a record field. The record holds 255 characters: a
// folder that does not fit (a deep profile) is not stored, and a severity-5
// line under `function` names `what` and the path; false then.
bool StoreFolder(wchar_t* field, size_t capacity, const std::wstring& path, const wchar_t* what,
                 const char* function);
template <size_t N>
bool StoreFolder(wchar_t (&field)[N], const std::wstring& path, const wchar_t* what, const char* function) {
    return StoreFolder(field, N, path, what, function);
}

// The long form of a folder's name (ToLongPath). Where the query's 260
// characters cannot hold it, the name is used as given, and a severity-5 line
// under `function` says so with the path.
std::wstring LongFolderName(const std::wstring& path, const char* function);

// `path` is the folder `syncPath` (given with its trailing separator) or lies in it.
bool LiesInSyncFolder(const std::wstring& path, const std::wstring& syncPath);

constexpr unsigned long long kLargestCachedFile = 4ull * 1024 * 1024 - 1;
inline bool IsCopiedCacheSize(unsigned long long size) {
    return size >= 1 && size <= kLargestCachedFile;
}

// 0 when the file cannot be opened or its size read.
unsigned long long GetFileSizeByPath(const std::wstring& path);

// SHA-256 hex of the current user id's UTF-8 form: the per-user folder name.
std::wstring CurrentUserHash();

}  // namespace grs
