#pragma once

// How the settings operations read the values of "Setting.ini" and the Run
// registration: pure decisions over the stored text, shared with the tools
// that explain a user's files. Several readings are literal on purpose and
// differ from what the text seems to say.

#include <string>

#include "core/TextUtil.h"

namespace grs::settings {

// Start with Windows: HKEY_CURRENT_USER\<kRunKey>, value kRunValue.
constexpr wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kRunValue[] = L"QIRENT Cloud";
// COMPAT: earlier versions read the value with a byte count of 260 (not 520);
// commands that fit that, terminator included, are the ones they recognise.
constexpr unsigned long kRunValueReadBytes = 260;
// The longest command that reads as registered: 129 UTF-16 characters.
constexpr size_t kRunValueReadableChars = kRunValueReadBytes / 2 - 1;

using ::grs::LeadingInteger;

// "IsAutoCheckUpdate": on only for "true", "TRUE", "1" and "True".
bool ReadsAutoCheckUpdateOn(const std::wstring& text);

// COMPAT: "IsJoinUserExperiencePlan" is read as a number, so the "true" that
// CreateSettingFile writes reads as not joined until UpdateSettings writes
// "0" or "1". Empty: not joined.
bool ReadsJoinPlanOn(const std::wstring& text);

// COMPAT: with "ErrorLimitingTime" empty, the error limiting time comes from
// the number in "IsJoinUserExperiencePlan" (-1 counts as 0).
unsigned long long ErrorLimitingTimeFromPlan(const std::wstring& joinPlanText);

// "IsAutoStartUp": exactly "1" registers start with Windows, empty defers to
// the Run value, anything else unregisters.
enum class AutoStartChoice { FromRunValue, On, Off };
AutoStartChoice ReadAutoStartChoice(const std::wstring& text);

// "IsFirstStartUp": the first start only for exactly "true".
bool ReadsFirstStart(const std::wstring& text);

// "NoticeCreateLink": the shortcut is still to be offered while the value is
// empty or exactly "0".
bool ReadsShortcutPending(const std::wstring& text);

}  // namespace grs::settings
