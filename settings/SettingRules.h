#pragma once

// The rules of the settings files as plain functions over the document: how a
// value is set, how CreateSettingFile completes "Setting.ini", and how
// GetSettings reads its flags. No file, lock, parameter store or logger here,
// so that the rules can be checked on their own.

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/IniFile.h"
#include "core/TextUtil.h"

namespace grs::settings {

constexpr wchar_t kSettingFileName[] = L"Setting.ini";
constexpr wchar_t kSyncSettingFileName[] = L"SyncSetting.ini";
constexpr wchar_t kSettingSection[] = L"Setting";
constexpr wchar_t kSyncSettingSection[] = L"SyncSetting";

// The user record's text fields hold this many characters and a terminator.
constexpr size_t kRecordFieldChars = 255;

// "SyncSetting.ini": "MacAddressEncrypt" is this prefix and the system UUID;
// the thumbnail folders are the user's cache folder, a backslash, these
// leaves and a backslash.
constexpr wchar_t kMacAddressPrefix[] = L"SYNC";
constexpr wchar_t kThumbnailLeaf[] = L"SyncThumbnailFile";
constexpr wchar_t kLcdThumbnailLeaf[] = L"LcdSyncThumbnailFile";

// Where the value that a start writes for a key comes from.
enum class Source {
    None,           // no start writes it
    Literal,        // SettingKey::literal
    LocalLanguage,    // the parameter store's language
    InstallLanguage,  // the same, kept as the language at installation
    CallerVersion,  // the version handed to CreateSettingFile
    DmpUploadUrl,
    LogPingUrl,
    // "SyncSetting.ini": the parameter store's values and the user record's
    SyncServerUrl,
    FamilyShareUrl,
    NspUrl,
    HelpAndServiceUrl,
    UserInformationUrl,
    MacAddress,  // kMacAddressPrefix and the system UUID
    DeviceId,    // the system UUID
    RecordVersion,
    ConfigBasicUrl,
    BusinessUrl,
    BaseUri,  // replaced by the server-id address once that is known
    UbaUrl,
    PcModel,
    BasicUrl,
    OpenSource,
    PortalUrl,
    OmCdnUrl,        // only the routing servers give it
    OmCdnByPassUrl,  // only the routing servers give it
    ThumbnailFolder,
    LcdThumbnailFolder,
    CacheFolder,  // the cache folder, a backslash and the SHA-256 of the user id
};

// What the next start does while a key is missing or empty. Names are exact,
// so a misspelt key is never read: the next start treats the exact key as
// missing, and the misspelt one stays as it is.
enum class Absent {
    Filled,           // CreateSettingFile writes the key's value
    AddedEmpty,       // CreateSettingFile adds it empty: empty is its normal state
    FromRunValue,     // GetSettings records the Run registration ("IsAutoStartUp", "IsAutoCheckUpdate")
    FirstStartCheck,  // reads as not the first start; IsFirstStartUp writes "false"
    ShortcutOffered,  // reads as "the shortcut is still to be offered"
    AfterSignIn,      // the client writes it after sign-in
    Optional,         // nothing: a profile may well lack it
    Rewritten,        // CreateSyncSettingFile writes it at every start
};

// How the library reads a non-empty value.
enum class Reading {
    Kept,             // kept for the client, not read by this library
    Discarded,        // read, decides nothing
    RecordText,       // copied into a record field: longer than kRecordFieldChars stops GetSettings unsaved
    ClientPlatform,   // kept; the client's platform is the literal
    ErrorLimit,       // only its emptiness matters (ErrorLimitingTimeFrom)
    AutoCheckUpdate,  // IsAutoCheckUpdateOn
    JoinPlan,         // JoinsExperiencePlan
    AutoStart,        // PlanAutoStart
    FirstStart,       // ReadsFirstStart
    ShortcutSettled,  // !ReadsShortcutPending
    Address,          // an address for the sync component
};

struct SettingKey {
    const wchar_t* name;
    Source source;
    const wchar_t* literal;  // the value of Source::Literal, else null
    Absent absent;
    Reading reading;
};

// The handles the operations read and write through: one per row of the
// tables below, in the rows' order (checked at compile time). A key is added
// or changed here and nowhere else.
enum class Key {
    // Written by CreateSettingFile, in its order.
    Language,
    InstallLanguage,
    CheckTime,
    IsJoinUserExperiencePlan,
    Platform,
    DiscreteTime,
    SapceOMVersion,
    NoticeOMVersion,
    Version,
    ErrorLimitingTime,
    IsGuidRun,
    IsOpenSyncGuide,
    DmpUploadUrl,
    LogPingUrl,
    // Read or written by the other operations.
    VersionType,
    IsAutoCheckUpdate,
    IsAutoStartUp,
    FirstStart,
    IsFirstStartUp,
    NoticeCreateLink,
    InstallTime,
    UpgradeTime,
    ShowTabBar,
    Count
};

// "SyncSetting.ini", in CreateSyncSettingFile's order.
enum class SyncKey {
    ServerUrl,
    FamilyShareUrl,
    NspUrl,
    HelpAndServiceUrl,
    UserinformationUrl,
    MacAddressEncrypt,
    deviceUUid,
    PcVersion,
    ConfigBasic,
    BusinessUrl,
    BaseUri,
    UBAUri,
    PCModel,
    BasicUrl,
    OpenSource,
    Portal,
    OmCdnUrl,
    OmCdnByPassUrl,
    ThumbnailRootFolder,
    LcdThumbnailRootFolder,
    CatchFolder,
    Count
};

template <typename Handle>
struct KeyRow {
    Handle handle;
    SettingKey key;
};

// Every key this library writes or reads, per file.
inline constexpr KeyRow<Key> kSettingRows[] = {
    {Key::Language, {L"Language", Source::LocalLanguage, nullptr, Absent::Filled, Reading::RecordText}},
    {Key::InstallLanguage, {L"InstallLanguage", Source::InstallLanguage, nullptr, Absent::Filled, Reading::Kept}},
    {Key::CheckTime, {L"CheckTime", Source::Literal, L"", Absent::AddedEmpty, Reading::Kept}},
    {Key::IsJoinUserExperiencePlan,
     {L"IsJoinUserExperiencePlan", Source::Literal, L"true", Absent::Filled, Reading::JoinPlan}},
    {Key::Platform, {L"Platform", Source::Literal, L"x64", Absent::Filled, Reading::ClientPlatform}},
    {Key::DiscreteTime, {L"DiscreteTime", Source::Literal, L"1440", Absent::Filled, Reading::Kept}},
    // COMPAT: the misspelling is part of the file format.
    {Key::SapceOMVersion, {L"SapceOMVersion", Source::Literal, L"0", Absent::Filled, Reading::Kept}},
    {Key::NoticeOMVersion, {L"NoticeOMVersion", Source::Literal, L"0", Absent::Filled, Reading::Kept}},
    {Key::Version, {L"Version", Source::CallerVersion, nullptr, Absent::Filled, Reading::Kept}},
    {Key::ErrorLimitingTime, {L"ErrorLimitingTime", Source::Literal, L"", Absent::AddedEmpty, Reading::ErrorLimit}},
    {Key::IsGuidRun, {L"IsGuidRun", Source::Literal, L"0", Absent::Filled, Reading::Kept}},
    {Key::IsOpenSyncGuide, {L"IsOpenSyncGuide", Source::Literal, L"0", Absent::Filled, Reading::Kept}},
    {Key::DmpUploadUrl, {L"DmpUploadUrl", Source::DmpUploadUrl, nullptr, Absent::Filled, Reading::Kept}},
    {Key::LogPingUrl, {L"LogPingUrl", Source::LogPingUrl, nullptr, Absent::Filled, Reading::Kept}},
    {Key::VersionType, {L"VersionType", Source::None, nullptr, Absent::Optional, Reading::RecordText}},
    {Key::IsAutoCheckUpdate,
     {L"IsAutoCheckUpdate", Source::None, nullptr, Absent::FromRunValue, Reading::AutoCheckUpdate}},
    {Key::IsAutoStartUp, {L"IsAutoStartUp", Source::None, nullptr, Absent::FromRunValue, Reading::AutoStart}},
    {Key::FirstStart, {L"FirstStart", Source::None, nullptr, Absent::Optional, Reading::Discarded}},
    {Key::IsFirstStartUp, {L"IsFirstStartUp", Source::None, nullptr, Absent::FirstStartCheck, Reading::FirstStart}},
    {Key::NoticeCreateLink,
     {L"NoticeCreateLink", Source::None, nullptr, Absent::ShortcutOffered, Reading::ShortcutSettled}},
    {Key::InstallTime, {L"InstallTime", Source::None, nullptr, Absent::Optional, Reading::Kept}},
    {Key::UpgradeTime, {L"UpgradeTime", Source::None, nullptr, Absent::Optional, Reading::Kept}},
    {Key::ShowTabBar, {L"ShowTabBar", Source::None, nullptr, Absent::AfterSignIn, Reading::Kept}},
};

inline constexpr KeyRow<SyncKey> kSyncSettingRows[] = {
    {SyncKey::ServerUrl, {L"ServerUrl", Source::SyncServerUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::FamilyShareUrl,
     {L"FamilyShareUrl", Source::FamilyShareUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::NspUrl, {L"NspUrl", Source::NspUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::HelpAndServiceUrl,
     {L"HelpAndServiceUrl", Source::HelpAndServiceUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::UserinformationUrl,
     {L"UserinformationUrl", Source::UserInformationUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::MacAddressEncrypt, {L"MacAddressEncrypt", Source::MacAddress, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::deviceUUid, {L"deviceUUid", Source::DeviceId, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::PcVersion, {L"PcVersion", Source::RecordVersion, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::ConfigBasic, {L"ConfigBasic", Source::ConfigBasicUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::BusinessUrl, {L"BusinessUrl", Source::BusinessUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::BaseUri, {L"BaseUri", Source::BaseUri, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::UBAUri, {L"UBAUri", Source::UbaUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::PCModel, {L"PCModel", Source::PcModel, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::BasicUrl, {L"BasicUrl", Source::BasicUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::OpenSource, {L"OpenSource", Source::OpenSource, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::Portal, {L"Portal", Source::PortalUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::OmCdnUrl, {L"OmCdnUrl", Source::OmCdnUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::OmCdnByPassUrl,
     {L"OmCdnByPassUrl", Source::OmCdnByPassUrl, nullptr, Absent::Rewritten, Reading::Address}},
    {SyncKey::ThumbnailRootFolder,
     {L"ThumbnailRootFolder", Source::ThumbnailFolder, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::LcdThumbnailRootFolder,
     {L"LcdThumbnailRootFolder", Source::LcdThumbnailFolder, nullptr, Absent::Rewritten, Reading::Kept}},
    {SyncKey::CatchFolder, {L"CatchFolder", Source::CacheFolder, nullptr, Absent::Rewritten, Reading::Kept}},
};

// A handle names its own row: row i carries handle i, and every handle has one.
template <typename Handle, size_t N>
constexpr bool RowsFollowHandles(const KeyRow<Handle> (&rows)[N]) {
    if (N != static_cast<size_t>(Handle::Count)) return false;
    for (size_t i = 0; i < N; ++i)
        if (rows[i].handle != static_cast<Handle>(i)) return false;
    return true;
}
static_assert(RowsFollowHandles(kSettingRows), "a \"Setting.ini\" row out of its handle's place");
static_assert(RowsFollowHandles(kSyncSettingRows), "a \"SyncSetting.ini\" row out of its handle's place");

constexpr const SettingKey& KeyOf(Key key) {
    return kSettingRows[static_cast<size_t>(key)].key;
}
constexpr const SettingKey& KeyOf(SyncKey key) {
    return kSyncSettingRows[static_cast<size_t>(key)].key;
}
constexpr const wchar_t* Name(Key key) {
    return KeyOf(key).name;
}
constexpr const wchar_t* Name(SyncKey key) {
    return KeyOf(key).name;
}

// The rows in the tables' order, for those that walk every key.
const std::vector<SettingKey>& SettingKeys();
const std::vector<SettingKey>& SyncSettingKeys();

// The "SyncSetting.ini" values written as UTF-8 bytes through the narrow
// profile functions (the folders, which the sync component reads so); the
// others go through the wide ones.
bool WrittenAsUtf8(Source source);

// The library's reading of a flag: on or off; nullopt for a reading that is
// not a flag.
std::optional<bool> ReadsOn(Reading reading, const std::wstring& value);

// How this library itself writes on and off for a flag; null for a reading
// that is not a flag.
const wchar_t* FlagSpelling(Reading reading, bool on);

// Start with Windows: HKEY_CURRENT_USER\<kRunKey>, value kRunValue.
constexpr wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kRunValue[] = L"QIRENT Cloud";
// COMPAT: the client's other versions read the value with a byte count of 260
// (not 520); commands that fit that, terminator included, are the ones they
// recognise.
constexpr unsigned long kRunValueReadBytes = 260;
// The longest command that reads as registered: 129 UTF-16 characters.
constexpr size_t kRunValueReadableChars = kRunValueReadBytes / 2 - 1;

// "0" / "1".
inline const wchar_t* FlagText(bool flag) {
    return flag ? L"1" : L"0";
}

// The buffer earlier versions built the Run command in, terminator included.
constexpr size_t kRunCommandBufferChars = 260;

// The Run value's command: the quoted executable path followed by
// " /background". COMPAT: false when it would not fit the 260-character buffer
// that earlier versions used (259 characters and the terminator); such an
// install then never registers.
bool BuildRunCommand(const std::wstring& executablePath, std::wstring& command);

// Gets or adds the section and the key and assigns the value, overwriting.
void SetValue(CIniFileW& ini, const wchar_t* section, const std::wstring& key, const std::wstring& value);

// The value of a key of its file's section; empty when missing.
std::wstring Read(CIniFileW& ini, Key key);
std::wstring Read(CIniFileW& ini, SyncKey key);
void SetValue(CIniFileW& ini, Key key, const std::wstring& value);
void SetValue(CIniFileW& ini, SyncKey key, const std::wstring& value);

// How the operations read a flag key's value (its row's reading), and how
// they write it on or off.
bool ReadsOn(Key key, const std::wstring& value);
const wchar_t* FlagValue(Key key, bool on);

// Sets `key` of section "Setting" only while it is missing or empty: a value
// the user or the client has put there stays.
void FillIfEmpty(CIniFileW& ini, const std::wstring& key, const std::wstring& value);

// What CreateSettingFile takes from the parameter store and its caller.
struct SettingDefaults {
    std::wstring language;
    std::wstring installLanguage;
    std::wstring version;
    std::wstring dmpUploadUrl;
    std::wstring logPingUrl;
};

// The keys of a complete "Setting.ini" with the values CreateSettingFile
// fills in, in the file's order.
std::vector<std::pair<const wchar_t*, std::wstring>> DefaultSettings(const SettingDefaults& defaults);

// FillIfEmpty of every default setting, in order.
void CompleteSettings(CIniFileW& ini, const SettingDefaults& defaults);

// "IsAutoCheckUpdate": the spellings of "on" the file may hold, exactly
// (any other text, "yes" or "on" among them, reads as off).
inline constexpr const wchar_t* kAutoCheckUpdateOnTexts[] = {L"1", L"true", L"TRUE", L"True"};
bool IsAutoCheckUpdateOn(const std::wstring& text);

// COMPAT: "IsJoinUserExperiencePlan" is read as a number (atoi): the default "true"
// reads as not joined until UpdateSettings writes "0" or "1".
bool JoinsExperiencePlan(const std::wstring& joinPlan);

// The error limiting time GetSettings hands to the store while
// "ErrorLimitingTime" is empty. COMPAT: the number comes from the plan key,
// not from "ErrorLimitingTime": that is how the client has always read it.
// COMPAT: only -1 means "no limit" (0); any other negative number wraps to a
// huge unsigned limit, as the client's store has always received it.
unsigned long long ErrorLimitingTimeFrom(const std::wstring& joinPlan);

// "IsFirstStartUp": the first start only for exactly "true".
bool ReadsFirstStart(const std::wstring& text);

// "NoticeCreateLink": the shortcut is still to be offered while the value is
// empty or exactly "0".
bool ReadsShortcutPending(const std::wstring& text);

// Start with Windows: GetSettings brings the record, the file and the Run
// registration in line. The "IsAutoStartUp" value decides, except when it says
// nothing; then the Run registration decides and the file learns it. The
// caller asks the registry (only when NeedsRegistration says so) and carries
// the plan out.
enum class AutoStartCase {
    Empty,  // the file says nothing
    On,     // "1"
    Off,    // anything else
};

enum class RunRegistration {
    Keep,
    Register,    // written again at every start from the file's choice
    Unregister,  // only when it is registered
};

struct AutoStartPlan {
    AutoStartCase which = AutoStartCase::Off;
    bool autoStart = false;           // the property record's IsAutoStartUp
    bool writeFile = false;           // set "IsAutoStartUp" and "IsAutoCheckUpdate" to `autoStart`
    bool setAutoCheckUpdate = false;  // the record's IsAutoCheckUpdate follows `autoStart`
    RunRegistration registration = RunRegistration::Keep;
};

// Whether the plan for this file value depends on the Run registration.
inline bool NeedsRegistration(const std::wstring& fileValue) {
    return fileValue != L"1";
}

// `registered` is only read when NeedsRegistration(fileValue).
inline AutoStartPlan PlanAutoStart(const std::wstring& fileValue, bool registered) {
    AutoStartPlan plan;
    if (fileValue.empty()) {
        plan.which = AutoStartCase::Empty;
        plan.autoStart = registered;
        plan.writeFile = true;
        plan.setAutoCheckUpdate = true;
    } else if (fileValue == L"1") {
        plan.which = AutoStartCase::On;
        plan.autoStart = true;
        plan.registration = RunRegistration::Register;
    } else {
        plan.which = AutoStartCase::Off;
        plan.registration = registered ? RunRegistration::Unregister : RunRegistration::Keep;
    }
    return plan;
}

}  // namespace grs::settings
