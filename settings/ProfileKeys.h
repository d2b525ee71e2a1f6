#pragma once

// Keys written as the private-profile functions write them, for every path
// the file system accepts. The profile functions are used wherever they can
// take the path; where they cannot (a path the ANSI code page cannot spell,
// or one of 260 characters or more), the same bytes are written into the
// file's content and saved whole.

#include <memory>
#include <string>

#include "core/IniFile.h"
#include "settings/ProfileText.h"

class IniFileHelper;

namespace grs::settings {

// Writes the keys of one section of one file, in order, through the profile
// accessors or, where they cannot take the path, into the file's content,
// which Finish saves once. Failures are logged at severity 5 under `function`
// with the path and the Win32 error; like the accessors, a failed key does not
// stop the others.
class ProfileKeyWriter {
public:
    ProfileKeyWriter(std::wstring path, const wchar_t* section, const char* function);
    ~ProfileKeyWriter();
    ProfileKeyWriter(const ProfileKeyWriter&) = delete;
    ProfileKeyWriter& operator=(const ProfileKeyWriter&) = delete;

    // As the wide accessor writes it.
    void Write(const std::wstring& key, std::wstring value);
    // As the narrow accessor writes the value's UTF-8 bytes.
    void WriteUtf8(const std::wstring& key, const std::wstring& value);
    // Saves what was written without the profile functions. True when every
    // key written that way landed; Error() then tells the Win32 error.
    bool Finish();
    unsigned long Error() const { return m_error; }

private:
    void Edit(const std::wstring& key, std::wstring value);

    std::wstring m_path;
    const wchar_t* m_section;
    const char* m_function;
    bool m_wideTakes;
    bool m_narrowTakes;
    bool m_loaded = false;
    bool m_changed = false;
    bool m_failed = false;
    unsigned long m_error = 0;
    std::string m_bytes;
    std::unique_ptr<IniFileHelper> m_wide;  // while the wide profile function takes the path
};

}  // namespace grs::settings
