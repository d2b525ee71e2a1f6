#pragma once

// One zip file of named entries, through minizip (zlib's contrib). Entries
// are stored, not compressed: a bundle is small, Explorer opens it all the
// same, and a scan of its bytes sees exactly what it holds.

#include <map>
#include <string>

namespace supporttool {

// Writes `entries` (name -> bytes, names in ASCII with "/" between folders)
// as a new zip file at `path`. False, with `error`, when it cannot.
bool WriteZip(const std::wstring& path, const std::map<std::string, std::string>& entries, std::string& error);

// Reads every entry of the zip file at `path`, none larger than `maxBytes`.
bool ReadZip(const std::wstring& path, unsigned long long maxBytes, std::map<std::string, std::string>& entries,
             std::string& error);

}  // namespace supporttool
