// Any bytes as "Setting.ini" through what the settings operations do with it:
// load, complete (CreateSettingFile), overwrite (UpdateSettings and the
// upgrade pairs of SetUpgradeInfo), read the flags (GetSettings), save. The
// saved file loads back as the same document, every value that can be
// written reads back as set, and saving the loaded file again writes the same
// bytes (what makes an unchanged save skippable).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "core/IniFile.h"
#include "core/IniText.h"
#include "fuzz/FuzzSupport.h"
#include "settings/SettingRules.h"

namespace {

using grs::settings::kSettingSection;

constexpr wchar_t kPath[] = L"Setting.ini";
constexpr wchar_t kPairSeparator = 0x1F;

// The pair text as UTF-16LE units, any unit allowed; key and value alternate
// between separators.
std::vector<std::pair<std::wstring, std::wstring>> Pairs(const uint8_t* data, size_t size) {
    std::vector<std::wstring> fields(1);
    for (size_t i = 0; i + 1 < size; i += 2) {
        const wchar_t unit = static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
        if (unit == kPairSeparator)
            fields.emplace_back();
        else
            fields.back() += unit;
    }
    std::vector<std::pair<std::wstring, std::wstring>> pairs;
    for (size_t i = 0; i + 1 < fields.size(); i += 2) pairs.emplace_back(fields[i], fields[i + 1]);
    return pairs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // The first byte tells how many bytes at the end are upgrade pairs.
    const size_t pairBytes = std::min<size_t>(data[0], size - 1);
    const size_t fileBytes = size - 1 - pairBytes;
    fuzz::File() = {std::string(reinterpret_cast<const char*>(data) + 1, fileBytes), true};

    CIniFileW ini;
    fuzz::Check(ini.Load(kPath) == 1, "an existing file loads");

    const grs::settings::SettingDefaults defaults{L"en-US", L"zh-CN", L"17.0.0.300", L"https://dmp", L"https://ping"};
    const auto settings = grs::settings::DefaultSettings(defaults);
    std::vector<std::wstring> before;
    for (const auto& setting : settings) before.push_back(ini.GetValue(kSettingSection, setting.first, L""));
    grs::settings::CompleteSettings(ini, defaults);
    for (size_t i = 0; i < settings.size(); ++i) {
        const std::wstring after = ini.GetValue(kSettingSection, settings[i].first, L"");
        fuzz::Check(after == (before[i].empty() ? settings[i].second : before[i]), "a filled key keeps its value");
    }

    // What GetSettings reads; only that it reads anything without harm.
    static_cast<void>(grs::settings::IsAutoCheckUpdateOn(ini.GetValue(kSettingSection, L"IsAutoCheckUpdate", L"")));
    const std::wstring joinPlan = ini.GetValue(kSettingSection, L"IsJoinUserExperiencePlan", L"");
    static_cast<void>(grs::settings::JoinsExperiencePlan(joinPlan));
    static_cast<void>(grs::settings::ErrorLimitingTimeFrom(joinPlan));

    grs::settings::SetValue(ini, kSettingSection, L"IsAutoStartUp", L"1");
    std::map<std::wstring, std::wstring, grs::IniNameLess> set;
    for (const auto& pair : Pairs(data + 1 + fileBytes, pairBytes)) {
        grs::settings::SetValue(ini, kSettingSection, pair.first, pair.second);
        set[std::wstring(grs::ini::TrimBlanks(std::wstring_view(pair.first)))] = pair.second;
    }
    for (const auto& entry : set)
        fuzz::Check(ini.GetValue(kSettingSection, entry.first, L"?") == entry.second, "a set value reads back");

    const std::wstring rendered = ini.RenderText();
    fuzz::Check(ini.Save(kPath) == 1, "the document saves");
    const std::string saved = fuzz::File().bytes;
    CIniFileW back;
    fuzz::Check(back.Load(kPath) == 1, "the saved file loads");
    fuzz::Check(back.RenderText() == rendered, "the saved file loads back as the same document");
    for (const auto& entry : set) {
        std::wstring value = entry.second;
        if (grs::ini::IsWritableKey(std::wstring_view(entry.first)) && !grs::ini::CutAtLineBreak(value))
            fuzz::Check(back.GetValue(kSettingSection, entry.first, L"?") == value, "a written value reads back");
    }
    fuzz::Check(back.Save(kPath) == 1 && fuzz::File().bytes == saved, "saving it again writes the same bytes");
    return 0;
}
