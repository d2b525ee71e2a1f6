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

namespace {
template <typename Handle, size_t N>
std::vector<SettingKey> KeysOf(const KeyRow<Handle> (&rows)[N]) {
    std::vector<SettingKey> keys;
    keys.reserve(N);
    for (const KeyRow<Handle>& row : rows) keys.push_back(row.key);
    return keys;
}
}  // namespace

const std::vector<SettingKey>& SettingKeys() {
    static const std::vector<SettingKey> keys = KeysOf(kSettingRows);
    return keys;
}

const std::vector<SettingKey>& SyncSettingKeys() {
    static const std::vector<SettingKey> keys = KeysOf(kSyncSettingRows);
    return keys;
}

std::wstring Read(CIniFileW& ini, Key key) {
    return ini.GetValue(kSettingSection, Name(key), std::wstring());
}

std::wstring Read(CIniFileW& ini, SyncKey key) {
    return ini.GetValue(kSyncSettingSection, Name(key), std::wstring());
}

void SetValue(CIniFileW& ini, Key key, const std::wstring& value) {
    SetValue(ini, kSettingSection, Name(key), value);
}

void SetValue(CIniFileW& ini, SyncKey key, const std::wstring& value) {
    SetValue(ini, kSyncSettingSection, Name(key), value);
}

bool ReadsOn(Key key, const std::wstring& value) {
    return ReadsOn(KeyOf(key).reading, value).value_or(false);
}

const wchar_t* FlagValue(Key key, bool on) {
    const wchar_t* spelled = FlagSpelling(KeyOf(key).reading, on);
    return spelled ? spelled : FlagText(on);
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
    for (const wchar_t* accepted : kAutoCheckUpdateOnTexts)
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
