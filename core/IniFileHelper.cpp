#include "globalrootservice/IniFileHelper.h"

#include <windows.h>

#include <string_view>
#include <type_traits>
#include <utility>

#include "core/Guarded.h"
#include "core/IniText.h"
#include "core/Log.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kWriteIniKeyValue[] = "IniFileHelper::WriteIniKeyValue";
constexpr char kReadIniValueByKeyTypeWString[] = "IniFileHelper::ReadIniValueByKeyTypeWString";
constexpr char kReadIniValueByKeyTypeString[] = "IniFileHelper::ReadIniValueByKeyTypeString";
constexpr char kWriteIniKeyValueA[] = "IniFileHelperA::WriteIniKeyValueA";
constexpr char kReadIniValueByKeyTypeStringA[] = "IniFileHelperA::ReadIniValueByKeyTypeString";

constexpr DWORD kValueBufferSize = 260;
// The wide and narrow helpers differ only in which file and profile
// functions they call.
BOOL WriteProfile(const wchar_t* s, const wchar_t* k, const wchar_t* v, const wchar_t* f) { return ::WritePrivateProfileStringW(s, k, v, f); }
BOOL WriteProfile(const char* s, const char* k, const char* v, const char* f) { return ::WritePrivateProfileStringA(s, k, v, f); }
template <typename Char>
void CreateFileIfMissing(const Char* path) {
    if (path == nullptr) return;
    if constexpr (std::is_same_v<Char, wchar_t>) {
        WIN32_FIND_DATAW data = {};
        if (grs::UniqueFind(::FindFirstFileW(path, &data))) return;
        const grs::UniqueFile created(::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    } else {
        WIN32_FIND_DATAA data = {};
        if (grs::UniqueFind(::FindFirstFileA(path, &data))) return;
        const grs::UniqueFile created(::CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
}

// The file's path for a log line; the narrow accessor's is in the ANSI code page.
std::wstring PathText(const wchar_t* path) { return path; }
std::wstring PathText(const char* path) { return grs::MultiByteToWide(path, grs::kCodePageAnsi); }

// Refuses what would inject lines into the file and cuts a value at its first
// line break, so that one write sets exactly one key.
template <typename Char>
void WriteValue(const Char* path, const Char* section, const std::basic_string<Char>& key,
                std::basic_string<Char> value, int line, const char* function) {
    if (path == nullptr) return;
    if (section == nullptr || !grs::ini::IsWritableSection(std::basic_string_view<Char>(section)) ||
        !grs::ini::IsWritableKey(std::basic_string_view<Char>(key))) {
        grs::log::Error(line, function,
                        L"Key or section not written: empty, or holds a line break, '=' or a leading '['");
        return;
    }
    if (grs::ini::CutAtLineBreak(value)) grs::log::Error(line, function, L"Value cut at its first line break");
    // The other keys are still written: a failed one is named.
    if (!WriteProfile(section, key.c_str(), value.c_str(), path)) {
        const DWORD error = ::GetLastError();
        grs::log::Error(line, function, L"Key not written: " + std::wstring(key.begin(), key.end()) + L", error " +
                                            std::to_wstring(error) + L": " + PathText(path));
    }
}

template <typename Char>
std::basic_string<Char> ReadValue(const Char* path, const Char* section, const Char* key) {
    // A null section or key would list names instead of reading a value.
    if (path == nullptr || section == nullptr || key == nullptr) return std::basic_string<Char>();
    Char buffer[kValueBufferSize] = {};
    const Char empty[1] = {};
    if constexpr (std::is_same_v<Char, wchar_t>)
        ::GetPrivateProfileStringW(section, key, empty, buffer, kValueBufferSize, path);
    else
        ::GetPrivateProfileStringA(section, key, empty, buffer, kValueBufferSize, path);
    return std::basic_string<Char>(buffer);
}

}  // namespace

IniFileHelper::IniFileHelper(const wchar_t* filePath, const wchar_t* section)
    : m_filePath(filePath), m_section(section) {
    CreateFileIfMissing(m_filePath);
}

IniFileHelper::~IniFileHelper() = default;

IniFileHelper& IniFileHelper::operator=(const IniFileHelper& other) = default;

void IniFileHelper::WriteIniKeyValue(std::wstring key, std::wstring value) {
    grs::Guarded(__LINE__, kWriteIniKeyValue,
                 [&] { WriteValue(m_filePath, m_section, key, std::move(value), __LINE__, kWriteIniKeyValue); });
}

std::wstring IniFileHelper::ReadIniValueByKeyTypeWString(const wchar_t* key) {
    return grs::Guarded(__LINE__, kReadIniValueByKeyTypeWString, std::wstring(),
                        [&] { return ReadValue(m_filePath, m_section, key); });
}

std::string IniFileHelper::ReadIniValueByKeyTypeString(const wchar_t* key) {
    return grs::Guarded(__LINE__, kReadIniValueByKeyTypeString, std::string(), [&] {
        // COMPAT: the ANSI code page, not UTF-8: callers want the system's local
        // encoding, and characters it lacks come back as '?'.
        return grs::WideToMultiByte(ReadValue(m_filePath, m_section, key), grs::kCodePageAnsi);
    });
}

IniFileHelperA::IniFileHelperA(const char* filePath, const char* section) : m_filePath(filePath), m_section(section) {
    CreateFileIfMissing(m_filePath);
}

IniFileHelperA::~IniFileHelperA() = default;

IniFileHelperA& IniFileHelperA::operator=(const IniFileHelperA& other) = default;

void IniFileHelperA::WriteIniKeyValueA(std::string key, std::string value) {
    grs::Guarded(__LINE__, kWriteIniKeyValueA,
                 [&] { WriteValue(m_filePath, m_section, key, std::move(value), __LINE__, kWriteIniKeyValueA); });
}

std::string IniFileHelperA::ReadIniValueByKeyTypeString(const char* key) {
    return grs::Guarded(__LINE__, kReadIniValueByKeyTypeStringA, std::string(),
                        [&] { return ReadValue(m_filePath, m_section, key); });
}
