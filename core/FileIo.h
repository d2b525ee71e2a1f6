#pragma once

// Whole-file reads with a size limit and whole-file saves that survive other
// handles and crashes. Log-free and independent of the client's libraries:
// results say what failed, and the caller logs it under its own name.
//
// What a save guarantees (ReplaceFileContent):
// - After an application crash (the process killed at any moment) the target
//   holds its old content or its new content, whole, and at most one
//   temporary file is left beside it, under a name derived from the target
//   that the next save reuses. The first save of a target in a process (and
//   the next after one that failed or left its file) removes such leftovers.
// - After a system crash the same holds on a journalling file system (NTFS):
//   the new content reaches the disk before it replaces the old, so a lost
//   power leaves the old or the new file; the last save may be lost.
// - While another handle holds the target the replace cannot happen (Windows
//   refuses to rename over an open file). It is tried again for a moment; then
//   the target is rewritten in place when it can be opened for writing. An
//   in-place rewrite cut short by a crash can leave the file partial: it is
//   the price of not losing the change. Only when neither works is the change
//   dropped, and the result names the step.

#include <string>

namespace grs {

enum class ReadFileResult {
    Ok,
    CannotOpen,  // locked, a folder, not a disk file, access denied
    TooLarge,
    Failed,   // a read error after opening
    Missing,  // no such file or folder
};

// Reads every byte of a regular disk file of at most `maxBytes` bytes. Other
// kinds of file (pipes, consoles, devices) are refused: reading them could
// block. On failure `bytes` is untouched and GetLastError tells the Win32
// error, where there was one.
ReadFileResult ReadWholeFile(const std::wstring& path, unsigned long long maxBytes, std::string& bytes);

// The steps of a save. The numbers go into log lines and are never
// renumbered: a new step gets a new number.
enum class SaveStep {
    None = 0,               // nothing failed
    CheckTarget = 1,        // the target is read-only or a folder
    CreateTemporary = 2,    // no temporary file could be created beside it
    WriteTemporary = 3,     // disk full, quota, I/O error
    FlushTemporary = 4,     // the content could not be forced to the disk
    ReplaceTarget = 5,      // the temporary file could not be moved over the target
    OpenTargetInPlace = 6,  // the target is held and cannot be opened for writing either
    WriteInPlace = 7,       // truncating or writing the held target
    FlushInPlace = 8,
};

// "CreateTemporary" and so on; "Unknown" for a number this build lacks.
const char* SaveStepName(SaveStep step);

struct SaveResult {
    SaveStep failedStep = SaveStep::None;
    unsigned long error = 0;  // the Win32 error of the failed step
    // Non-zero when another handle held the target: the Win32 error with
    // which the replace was refused, after which the in-place path was taken.
    unsigned long refusedReplace = 0;
    // After a failed in-place write or flush: whether the bytes it replaced
    // were written back, and the Win32 error when that failed too.
    bool restoreTried = false;
    unsigned long restoreError = 0;
    // A temporary file that neither its handle nor a delete could remove (a
    // failed save, or one rewritten in place): its path and the Win32 error
    // of the delete. The next save of the target removes it.
    std::wstring temporaryLeft;
    unsigned long temporaryError = 0;

    bool Succeeded() const { return failedStep == SaveStep::None; }
    bool RewrittenInPlace() const { return Succeeded() && refusedReplace != 0; }
};

// Saves `bytes` as the whole content of `path` (see the guarantees above).
// The written file has normal attributes. On failure the target keeps its old
// content and no temporary file is left, unless removing it failed too
// (temporaryLeft). An in-place write that fails puts
// the bytes it replaced back (restoreTried, restoreError); only when that
// fails as well can the target be left partial. A read-only target is
// refused.
[[nodiscard]] SaveResult ReplaceFileContent(const std::wstring& path, const std::string& bytes);

// Removes the temporary files that earlier saves of `path` left behind
// ("<path>~*.tmp"), for a save that finds nothing to write; as a save does,
// only the first time in this process or after a save that left one. A save running
// elsewhere holds its own without sharing, so it is never taken away.
void RemoveLeftTemporaries(const std::wstring& path);

}  // namespace grs
