#pragma once

// Keys written as the private-profile functions write them, for every path
// the file system accepts. The profile functions are used wherever they can
// take the path; where they cannot (a path the ANSI code page cannot spell,
// or one of 260 characters or more), the same bytes are written into the
// file's content and saved whole.

#include <memory>
#include <string>

#include "core/IniFile.h"

class IniFileHelper;

namespace grs::settings {

// Whether the private-profile functions can take `path`: shorter than 260
// characters, not in the extended "\\?\" form, and, for the narrow functions
// (`narrowPath`), spelt in `codePage` so that it converts back to the same
// text (no default character, no best-fit substitute such as "u" for "ü").
bool ProfileFunctionsTake(const std::wstring& path, bool narrowPath, unsigned codePage);

// A file's bytes after WritePrivateProfileString(section, key, value) as the
// system does it: a file with a UTF-16LE or UTF-8 byte-order mark keeps its
// encoding, any other is text in `codePage`; an existing key (names compared
// without regard to case) gets the new value, a new key follows the last
// line of its section, a new section goes at the end; lines end in CRLF.
std::string WithProfileKey(const std::string& fileBytes, const std::wstring& section, const std::wstring& key,
                           const std::wstring& value, unsigned codePage);

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
