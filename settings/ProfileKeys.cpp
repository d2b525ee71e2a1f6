#include "settings/ProfileKeys.h"

#include <windows.h>

#include <utility>

#include "core/FileIo.h"
#include "core/IniText.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "globalrootservice/IniFileHelper.h"

namespace grs::settings {

static_assert(kProfilePathLimit == MAX_PATH, "the profile functions' path limit");

ProfileKeyWriter::ProfileKeyWriter(std::wstring path, const wchar_t* section, const char* function)
    : m_path(std::move(path)),
      m_section(section),
      m_function(function),
      m_wideTakes(ProfileFunctionsTake(m_path, false, kCodePageAnsi)),
      m_narrowTakes(ProfileFunctionsTake(m_path, true, kCodePageAnsi)) {
    // The wide accessor creates the file when it is missing.
    if (m_wideTakes) m_wide = std::make_unique<IniFileHelper>(m_path.c_str(), m_section);
}

ProfileKeyWriter::~ProfileKeyWriter() = default;

void ProfileKeyWriter::Write(const std::wstring& key, std::wstring value) {
    if (!m_wideTakes) return Edit(key, std::move(value));
    Finish();  // what the file's content holds goes first
    m_wide->WriteIniKeyValue(key, std::move(value));
}

void ProfileKeyWriter::WriteUtf8(const std::wstring& key, const std::wstring& value) {
    // The narrow function reads the bytes in the ANSI code page.
    if (!m_narrowTakes) return Edit(key, MultiByteToWide(WideToUtf8(value), kCodePageAnsi));
    Finish();
    const std::string narrowPath = WideToMultiByte(m_path, kCodePageAnsi);
    IniFileHelperA(narrowPath.c_str(), WideToUtf8(m_section).c_str()).WriteIniKeyValueA(WideToUtf8(key), WideToUtf8(value));
}

void ProfileKeyWriter::Edit(const std::wstring& key, std::wstring value) {
    if (!m_loaded) {
        m_loaded = true;
        m_bytes.clear();
        const ReadFileResult read = ReadWholeFile(WithExtendedPrefix(m_path), kIniMaxFileBytes, m_bytes);
        if (read != ReadFileResult::Ok && read != ReadFileResult::Missing) {
            // Writing over a file that could not be read would lose its other keys.
            m_failed = true;
            m_error = ::GetLastError();
            log::Error(__LINE__, m_function,
                       L"Keys not written, reading the file failed (error " + std::to_wstring(m_error) + L"): " +
                           m_path);
        }
    }
    if (m_failed) return;
    // The same rules as the accessors: one write sets exactly one key.
    if (!ini::IsWritableKey(std::wstring_view(key))) {
        log::Error(__LINE__, m_function, L"Key not written, empty, or holds a line break, '=' or a leading '[': " + key);
        return;
    }
    if (ini::CutAtLineBreak(value)) log::Error(__LINE__, m_function, L"Value cut at its first line break");
    m_bytes = WithProfileKey(m_bytes, m_section, key, value, kCodePageAnsi);
    m_changed = true;
}

bool ProfileKeyWriter::Finish() {
    m_loaded = false;
    if (!m_changed) return !m_failed;
    m_changed = false;
    const SaveResult saved = ReplaceFileContent(WithExtendedPrefix(m_path), m_bytes);
    if (!saved.Succeeded()) {
        m_failed = true;
        m_error = saved.error;
        log::Error(__LINE__, m_function,
                   L"Keys not written, step " + Utf8ToWide(SaveStepName(saved.failedStep)) + L" failed with error " +
                       std::to_wstring(saved.error) + L": " + m_path);
    }
    // The profile functions may cache the old content.
    if (m_wideTakes) ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, m_path.c_str());
    return !m_failed;
}

}  // namespace grs::settings
