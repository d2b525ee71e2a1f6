#pragma once

// Path helpers. The pure ones take text and attribute values; the thin ones
// ask the file system once.

#include <cstdint>
#include <string>

namespace grs {

constexpr unsigned long kAttributeRecallOnDataAccess = 0x00400000;
constexpr unsigned long kAttributeReparsePoint = 0x400;
constexpr unsigned long kAttributeOffline = 0x1000;
constexpr unsigned long kReparseTagCloud4 = 0x9000401A;

// Joins a folder and a name with one backslash; a folder that already ends in
// "\" or "/" gets none. An empty folder gives the name alone.
std::wstring PathJoin(const std::wstring& folder, const std::wstring& name);

// True when the text ends in "\" or "/".
bool EndsWithSeparator(const std::wstring& path);

// The directory part of `path` up to and including its last backslash; the
// whole text when there is no backslash or nothing follows it.
std::wstring DirectoryWithSeparator(const std::wstring& path);

// Whether a directory entry with these attributes and reparse tag is a cloud
// placeholder whose content is not on the disk.
bool IsPlaceholderEntry(unsigned long attributes, unsigned long reparseTag);

// The extended-length form ("\\?\" prefix) for paths of 260 characters or more
// that do not carry the prefix yet; other paths unchanged.
std::wstring WithExtendedPrefix(const std::wstring& path);

// GetLongPathNameW into 260 characters; the input unchanged when that fails.
// `tooLong`, when given, tells whether it failed because the long form (or
// the path itself) does not fit in 260 characters.
std::wstring ToLongPath(std::wstring path, bool* tooLong = nullptr);

// Queries the entry once (FindFirstFileW); false when it cannot be found.
bool IsCloudPlaceholder(const std::wstring& path);

// Any file-system entry (a file or a directory) exists at the path.
bool PathExists(const std::wstring& path);

// Whether an entry exists, for a caller about to change it. Only "no such
// file or folder" means Missing; any other failure of the query (access
// denied, a sharing violation, an I/O error) cannot tell, and GetLastError
// then holds the error.
enum class PathPresence { Present, Missing, Unknown };
PathPresence ProbePath(const std::wstring& path);

// The error says there is no such file or folder (and no more than that).
bool IsNoSuchEntry(unsigned long error);

// Whether a folder listing (FindFirstFileW / FindNextFileW) ended with this
// error because there was nothing (more) to list: no more entries, no such
// folder. Any other error cut the listing short.
bool IsEndOfListing(unsigned long error);

// Creates the folder and its missing parents. True when the folder exists
// afterwards (an existing folder is success, a file of that name is not).
// False leaves the folder's own creation error as the last error.
bool CreateFolderTree(const std::wstring& folder);

// The full path of the host executable (the process's main module).
std::wstring HostExecutablePath();

}  // namespace grs
