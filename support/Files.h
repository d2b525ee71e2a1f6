#pragma once

// Plain file helpers for the tools and the tests (not the library, which has
// its own crash-safe writer), over the file and text kit of core.

#include <string>

#include "core/PathUtil.h"
#include "core/TextUtil.h"

namespace grs::support {

using ::grs::CreateFolderTree;
// Removes a file or a folder with everything in it (attributes cleared first).
void RemoveTree(const std::wstring& path);
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);
// The whole file; empty when it cannot be read.
std::string ReadFileBytes(const std::wstring& path);

}  // namespace grs::support
