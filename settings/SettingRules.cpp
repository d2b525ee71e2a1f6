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

std::vector<std::pair<const wchar_t*, std::wstring>> DefaultSettings(const SettingDefaults& defaults) {
    // Keys written empty stay empty and are written again, harmlessly, at
    // every call: an empty value counts as missing.
    return {
        {L"Language", defaults.language},
        {L"InstallLanguage", defaults.installLanguage},
        {L"CheckTime", L""},
        {L"IsJoinUserExperiencePlan", L"true"},
        {L"Platform", L"x64"},
        {L"DiscreteTime", L"1440"},
        {L"SapceOMVersion", L"0"},  // COMPAT: the misspelling is part of the file format
        {L"NoticeOMVersion", L"0"},
        {L"Version", defaults.version},
        {L"ErrorLimitingTime", L""},
        {L"IsGuidRun", L"0"},
        {L"IsOpenSyncGuide", L"0"},
        {L"DmpUploadUrl", defaults.dmpUploadUrl},
        {L"LogPingUrl", defaults.logPingUrl},
    };
}

void CompleteSettings(CIniFileW& ini, const SettingDefaults& defaults) {
    for (const auto& setting : DefaultSettings(defaults)) FillIfEmpty(ini, setting.first, setting.second);
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

}  // namespace grs::settings
