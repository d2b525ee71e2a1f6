#include "settings/SettingReadings.h"

#include "core/TextUtil.h"

namespace grs::settings {

bool ReadsAutoCheckUpdateOn(const std::wstring& text) {
    for (const wchar_t* accepted : {L"true", L"TRUE", L"1", L"True"})
        if (text == accepted) return true;
    return false;
}

bool ReadsJoinPlanOn(const std::wstring& text) {
    return !text.empty() && LeadingInteger(WideToUtf8(text)) != 0;
}

unsigned long long ErrorLimitingTimeFromPlan(const std::wstring& joinPlanText) {
    long long limit = LeadingInteger(WideToUtf8(joinPlanText));
    if (limit == -1) limit = 0;
    return static_cast<unsigned long long>(limit);
}

AutoStartChoice ReadAutoStartChoice(const std::wstring& text) {
    if (text.empty()) return AutoStartChoice::FromRunValue;
    return text == L"1" ? AutoStartChoice::On : AutoStartChoice::Off;
}

bool ReadsFirstStart(const std::wstring& text) {
    return text == L"true";
}

bool ReadsShortcutPending(const std::wstring& text) {
    return text.empty() || text == L"0";
}

}  // namespace grs::settings
