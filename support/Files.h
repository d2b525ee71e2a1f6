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

// The kit's UTF-8 conversions (invalid input replaced, never refused).
inline std::string ToUtf8(const std::wstring& text) {
    return WideToUtf8(text);
}
inline std::wstring FromUtf8(const std::string& text) {
    return Utf8ToWide(text);
}

}  // namespace grs::support
