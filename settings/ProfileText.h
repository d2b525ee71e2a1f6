#pragma once

// How the private-profile functions treat a path and a file's bytes, as pure
// decisions: the library's writes choose by them, and the inspection tells a
// user's profile by the same rules.

#include <cstddef>
#include <string>

namespace grs::settings {

// The profile functions refuse a path of this many characters or more.
constexpr std::size_t kProfilePathLimit = 260;

// Whether `codePage` spells `text` so that it converts back to the same text
// (no default character, no best-fit substitute such as "u" for "\u00fc").
bool SpelledIn(const std::wstring& text, unsigned codePage);

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

}  // namespace grs::settings
