#pragma once

#include <string>

namespace grs {

// SHA-256 of all bytes of `data` (embedded NULs included) as 64 lower-case
// hexadecimal characters. Used to turn user ids into folder names.
std::string Sha256Hex(const std::string& data);

}  // namespace grs
