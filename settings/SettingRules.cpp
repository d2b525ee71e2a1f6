#include "settings/SettingRules.h"

#include "core/TextUtil.h"

namespace grs::settings {

void SetValue(CIniFileW& ini, const wchar_t* section, const std::wstring& key, const std::wstring& value) {
    CIniFileW::Section* found = ini.AddSection(section);
    CIniFileW::Key* entry = found ? ini.AddKey(found, key) : nullptr;
    if (entry) entry->value = value;
}

void FillIfEmpty(CIniFileW& ini, const std::wstring& key, const std::wstring& value) {
    if (ini.GetValue(kSettingSection, key, std::wstring()).empty()) SetValue(ini, kSettingSection, key, value);
}

const std::vector<SettingKey>& SettingKeys() {
    using A = Absent;
    using R = Reading;
    using S = Source;
    static const std::vector<SettingKey> keys = {
        // Written by CreateSettingFile, in its order.
        {L"Language", S::LocalLanguage, nullptr, A::Filled, R::RecordText},
        {L"InstallLanguage", S::InstallLanguage, nullptr, A::Filled, R::Kept},
        {L"CheckTime", S::Literal, L"", A::AddedEmpty, R::Kept},
        {L"IsJoinUserExperiencePlan", S::Literal, L"true", A::Filled, R::JoinPlan},
        {L"Platform", S::Literal, L"x64", A::Filled, R::ClientPlatform},
        {L"DiscreteTime", S::Literal, L"1440", A::Filled, R::Kept},
        {L"SapceOMVersion", S::Literal, L"0", A::Filled, R::Kept},  // COMPAT: the misspelling is part of the file format
        {L"NoticeOMVersion", S::Literal, L"0", A::Filled, R::Kept},
        {L"Version", S::CallerVersion, nullptr, A::Filled, R::Kept},
        {L"ErrorLimitingTime", S::Literal, L"", A::AddedEmpty, R::ErrorLimit},
        {L"IsGuidRun", S::Literal, L"0", A::Filled, R::Kept},
        {L"IsOpenSyncGuide", S::Literal, L"0", A::Filled, R::Kept},
        {L"DmpUploadUrl", S::DmpUploadUrl, nullptr, A::Filled, R::Kept},
        {L"LogPingUrl", S::LogPingUrl, nullptr, A::Filled, R::Kept},
        // Read or written by the other operations.
        {L"VersionType", S::None, nullptr, A::Optional, R::RecordText},
        {L"IsAutoCheckUpdate", S::None, nullptr, A::FromRunValue, R::AutoCheckUpdate},
        {L"IsAutoStartUp", S::None, nullptr, A::FromRunValue, R::AutoStart},
        {L"FirstStart", S::None, nullptr, A::Optional, R::Discarded},
        {L"IsFirstStartUp", S::None, nullptr, A::FirstStartCheck, R::FirstStart},
        {L"NoticeCreateLink", S::None, nullptr, A::ShortcutOffered, R::ShortcutSettled},
        {L"InstallTime", S::None, nullptr, A::Optional, R::Kept},
        {L"UpgradeTime", S::None, nullptr, A::Optional, R::Kept},
        {L"ShowTabBar", S::None, nullptr, A::AfterSignIn, R::Kept},
    };
    return keys;
}

const std::vector<SettingKey>& SyncSettingKeys() {
    using A = Absent;
    using R = Reading;
    using S = Source;
    static const std::vector<SettingKey> keys = {
        {L"ServerUrl", S::SyncServerUrl, nullptr, A::Rewritten, R::Address},
        {L"FamilyShareUrl", S::FamilyShareUrl, nullptr, A::Rewritten, R::Address},
        {L"NspUrl", S::NspUrl, nullptr, A::Rewritten, R::Address},
        {L"HelpAndServiceUrl", S::HelpAndServiceUrl, nullptr, A::Rewritten, R::Address},
        {L"UserinformationUrl", S::UserInformationUrl, nullptr, A::Rewritten, R::Address},
        {L"MacAddressEncrypt", S::MacAddress, nullptr, A::Rewritten, R::Kept},
        {L"deviceUUid", S::DeviceId, nullptr, A::Rewritten, R::Kept},
        {L"PcVersion", S::RecordVersion, nullptr, A::Rewritten, R::Kept},
        {L"ConfigBasic", S::ConfigBasicUrl, nullptr, A::Rewritten, R::Address},
        {L"BusinessUrl", S::BusinessUrl, nullptr, A::Rewritten, R::Address},
        {L"BaseUri", S::BaseUri, nullptr, A::Rewritten, R::Address},
        {L"UBAUri", S::UbaUrl, nullptr, A::Rewritten, R::Address},
        {L"PCModel", S::PcModel, nullptr, A::Rewritten, R::Kept},
        {L"BasicUrl", S::BasicUrl, nullptr, A::Rewritten, R::Address},
        {L"OpenSource", S::OpenSource, nullptr, A::Rewritten, R::Address},
        {L"Portal", S::PortalUrl, nullptr, A::Rewritten, R::Address},
        {L"OmCdnUrl", S::OmCdnUrl, nullptr, A::Rewritten, R::Address},
        {L"OmCdnByPassUrl", S::OmCdnByPassUrl, nullptr, A::Rewritten, R::Address},
        {L"ThumbnailRootFolder", S::ThumbnailFolder, nullptr, A::Rewritten, R::Kept},
        {L"LcdThumbnailRootFolder", S::LcdThumbnailFolder, nullptr, A::Rewritten, R::Kept},
        {L"CatchFolder", S::CacheFolder, nullptr, A::Rewritten, R::Kept},
    };
    return keys;
}

const SettingKey* FindSettingKey(const std::vector<SettingKey>& keys, const std::wstring& name) {
    for (const SettingKey& key : keys)
        if (name == key.name) return &key;
    return nullptr;
}

std::vector<std::pair<const wchar_t*, std::wstring>> DefaultSettings(const SettingDefaults& defaults) {
    // Keys written empty stay empty and are written again, harmlessly, at
    // every call: an empty value counts as missing.
    std::vector<std::pair<const wchar_t*, std::wstring>> settings;
    for (const SettingKey& key : SettingKeys()) {
        if (key.absent != Absent::Filled && key.absent != Absent::AddedEmpty) continue;
        switch (key.source) {
            case Source::LocalLanguage:
                settings.emplace_back(key.name, defaults.language);
                break;
            case Source::InstallLanguage:
                settings.emplace_back(key.name, defaults.installLanguage);
                break;
            case Source::CallerVersion:
                settings.emplace_back(key.name, defaults.version);
                break;
            case Source::DmpUploadUrl:
                settings.emplace_back(key.name, defaults.dmpUploadUrl);
                break;
            case Source::LogPingUrl:
                settings.emplace_back(key.name, defaults.logPingUrl);
                break;
            default:
                settings.emplace_back(key.name, key.literal ? key.literal : L"");
                break;
        }
    }
    return settings;
}

void CompleteSettings(CIniFileW& ini, const SettingDefaults& defaults) {
    for (const auto& setting : DefaultSettings(defaults)) FillIfEmpty(ini, setting.first, setting.second);
}

bool WrittenAsUtf8(Source source) {
    return source == Source::ThumbnailFolder || source == Source::LcdThumbnailFolder || source == Source::CacheFolder;
}

bool BuildRunCommand(const std::wstring& executablePath, std::wstring& command) {
    const std::wstring built = L"\"" + executablePath + L"\" /background";
    if (built.size() > kRunCommandBufferChars - 1) return false;
    command = built;
    return true;
}

bool IsAutoCheckUpdateOn(const std::wstring& text) {
    for (const wchar_t* accepted : {L"true", L"TRUE", L"1", L"True"})
        if (text == accepted) return true;
    return false;
}

bool JoinsExperiencePlan(const std::wstring& joinPlan) {
    return !joinPlan.empty() && LeadingInteger(WideToUtf8(joinPlan)) != 0;
}

unsigned long long ErrorLimitingTimeFrom(const std::wstring& joinPlan) {
    long long limit = LeadingInteger(WideToUtf8(joinPlan));
    if (limit == -1) limit = 0;
    return static_cast<unsigned long long>(limit);
}

bool ReadsFirstStart(const std::wstring& text) {
    return text == L"true";
}

bool ReadsShortcutPending(const std::wstring& text) {
    return text.empty() || text == L"0";
}

std::optional<bool> ReadsOn(Reading reading, const std::wstring& value) {
    switch (reading) {
        case Reading::AutoCheckUpdate:
            return IsAutoCheckUpdateOn(value);
        case Reading::JoinPlan:
            return JoinsExperiencePlan(value);
        case Reading::AutoStart:
            return PlanAutoStart(value, false).which == AutoStartCase::On;
        case Reading::FirstStart:
            return ReadsFirstStart(value);
        case Reading::ShortcutSettled:
            return !ReadsShortcutPending(value);
        default:
            return std::nullopt;
    }
}

const wchar_t* FlagSpelling(Reading reading, bool on) {
    switch (reading) {
        case Reading::FirstStart:
            return on ? L"true" : L"false";  // IsFirstStartUp writes "false"
        case Reading::AutoCheckUpdate:
        case Reading::JoinPlan:
        case Reading::AutoStart:
        case Reading::ShortcutSettled:
            return FlagText(on);
        default:
            return nullptr;
    }
}

}  // namespace grs::settings
