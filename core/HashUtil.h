#pragma once

#include <string>

namespace grs {

// SHA-256 of all bytes of `data` (embedded NULs included) as 64 lower-case
// hexadecimal characters. Used to turn user ids into folder names.
std::string Sha256Hex(const std::string& data);

// The folder name of a user: the SHA-256 hex digest of the id's UTF-8 bytes,
// so that accounts never share a cache folder.
std::wstring UserIdHash(const std::wstring& userId);

}  // namespace grs
