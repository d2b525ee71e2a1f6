#pragma once

// Plain file and text helpers for the tools and the tests (not the library,
// which has its own crash-safe writer).

#include <string>

namespace grs::support {

// Creates the folder and its missing parents; an existing folder is success.
bool CreateFolderTree(const std::wstring& folder);
// Removes a file or a folder with everything in it (attributes cleared first).
void RemoveTree(const std::wstring& path);
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);
// The whole file; empty when it cannot be read.
std::string ReadFileBytes(const std::wstring& path);

std::string ToUtf8(const std::wstring& text);
std::wstring FromUtf8(const std::string& text);

}  // namespace grs::support
