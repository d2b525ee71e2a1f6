#pragma once

// Internal helpers shared by the settings operations: where the two settings
// files live, the two process-wide locks, the attribute dance around every
// change, and small text helpers. The rules over the document itself are in
// SettingRules.h.

#include <windows.h>

#include <cwchar>
#include <exception>
#include <mutex>
#include <string>

#include "core/IniFile.h"
#include "core/Guarded.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "settings/SettingRules.h"

class GlobalParamWrapper;

namespace grs::settings {

// Serialises every read-modify-write of "Setting.ini" / "SyncSetting.ini".
// Never destroyed: a detached thread may still run at process exit.
std::mutex& SettingsLock();
std::mutex& SyncSettingsLock();

// The parameter store; throws std::logic_error when the client offers none,
// so that the operation's own catch turns it into a log line.
GlobalParamWrapper& Store();

// The app-data folder followed by "\Setting.ini" / "\SyncSetting.ini", composed
// afresh on every call. Empty when the store knows no app-data folder: a bare
// "\Setting.ini" would land in the root of the current drive.
std::wstring SettingFilePath();
std::wstring SyncSettingFilePath();

// The attributes of a settings file at rest, after every save.
constexpr unsigned long kAtRestAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// Normal attributes before a file is changed (a hidden or read-only file cannot
// be replaced), hidden and system once it is saved. Results are ignored.
void MarkChanging(const std::wstring& path) noexcept;
void MarkAtRest(const std::wstring& path) noexcept;

// Writes "ShowTabBar" into "Setting.ini" as the private-profile functions
// do (through them where they can take the path), under the settings lock and
// with the usual attribute changes. 0 on success, otherwise the error of the
// failed write; the caller logs it, `function` names the operation.
unsigned long WriteShowTabBar(bool showTabBar, const char* function);

// Logs at severity 5, under `function`, that registering (`open`) or
// unregistering the start with Windows did not happen: the step and the
// registry's error.
void RunValueNotChanged(const char* function, bool open, const wchar_t* step, long error) noexcept;

// What a change of a loaded settings file asks for once it has run.
enum class Outcome {
    Save,     // write the document back, then hide the file again
    Discard,  // leave the content as it was, hide the file again
    Abandon,  // stop at once: nothing is written, the attributes stay normal
};

enum class Loaded {
    Read,
    Missing,     // no file: an empty document
    Unreadable,  // held without read sharing, too large, a read error
};

// Loads a settings file that an operation may then save. An existing file
// that could not be read must not be saved over: the document is empty and a
// save would replace the user's keys by defaults. Unreadable is therefore
// logged (severity 5, under `function`, with the reason), and the caller
// leaves the file alone.
Loaded LoadSettingsFile(CIniFileW& ini, const std::wstring& path, const char* function);

// Whether a settings file is there to be changed. A file whose existence
// cannot be told (the query failed otherwise than "no such file") is treated
// like an unreadable one: false, and a severity-5 line under `function` says
// why, so that nothing is written over it.
bool ExistsForChange(const std::wstring& path, const char* function);

// Saves a changed settings file; a save that fails is logged under
// `function` with the step, the error and whether the old bytes were put back.
bool SaveChange(CIniFileW& ini, const std::wstring& path, const char* function);

// Changes an existing settings file: document loaded, attributes normal,
// `change(ini)` decides the ending. False, and nothing touched, when there is
// no file or it could not be read. The caller holds the file's lock where the
// file has one; `function` names the operation in log lines.
template <typename Change>
bool ChangeExistingFile(const std::wstring& path, const char* function, Change&& change) {
    if (!ExistsForChange(path, function)) return false;
    CIniFileW ini;
    // Unreadable (logged), or gone since the test above: left alone.
    if (LoadSettingsFile(ini, path, function) != Loaded::Read) return false;
    MarkChanging(path);
    const Outcome outcome = change(ini);
    if (outcome == Outcome::Abandon) return true;
    if (outcome == Outcome::Save) SaveChange(ini, path, function);
    MarkAtRest(path);
    return true;
}

using ::grs::Guarded;


}  // namespace grs::settings
