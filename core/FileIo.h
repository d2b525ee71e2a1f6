#pragma once

// Whole-file reads with a size limit and whole-file replacement that never
// leaves a half-written file behind.

#include <string>

namespace grs {

enum class ReadFileResult {
    Ok,
    CannotOpen,  // missing, locked, a folder or not a disk file
    TooLarge,
    Failed,  // a read error after opening
};

// Reads every byte of a regular disk file of at most `maxBytes` bytes. Other
// kinds of file (pipes, consoles, devices) are refused: reading them could block.
ReadFileResult ReadWholeFile(const std::wstring& path, unsigned long long maxBytes, std::string& bytes);

// Writes `bytes` to a new file next to `path`, flushes it to the disk and
// moves it over `path` in one step. On any failure `path` keeps its old
// content, the temporary file is removed, the failing step is logged under
// `logFunction` and the result is false. A read-only target is refused.
bool ReplaceFileContent(const std::wstring& path, const std::string& bytes, const char* logFunction);

}  // namespace grs
