#pragma once

// Seams shared by the tests: scratch folders, a redirected HKEY_CURRENT_USER,
// a configured stand-in, and small file and log helpers.

#include <windows.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/UniqueResource.h"
#include "standin/StandInControl.h"
#include "support/Files.h"

namespace grs::test {

// A fresh folder under %TEMP%, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::wstring& Path() const { return m_path; }
    std::wstring operator/(const std::wstring& name) const { return m_path + L"\\" + name; }

private:
    std::wstring m_path;
};

// Redirects HKEY_CURRENT_USER of this process to a scratch key for the
// object's lifetime, so that tests never touch the user's own settings.
class HkcuOverride {
public:
    HkcuOverride();
    ~HkcuOverride();
    HkcuOverride(const HkcuOverride&) = delete;
    HkcuOverride& operator=(const HkcuOverride&) = delete;

private:
    UniqueKey m_scratch;
    std::wstring m_scratchName;
};

// Resets the stand-in and points app-data, profile, downloads, the log file
// and the property database into a fresh temporary folder.
class StandInSandbox {
public:
    StandInSandbox();
    ~StandInSandbox();
    const TempFolder& Root() const { return m_root; }
    std::wstring AppData() const { return m_root / L"AppData"; }
    std::wstring Profile() const { return m_root / L"Profile"; }
    std::wstring Downloads() const { return m_root / L"Profile\\Downloads"; }

private:
    TempFolder m_root;
};

using support::CreateFolderTree;
using support::ReadFileBytes;
using support::RemoveTree;
using support::WriteFileBytes;
bool FileExists(const std::wstring& path);
// "[section]/key" -> value of an INI file's bytes, as written by the profile
// functions or the library's document: UTF-16LE with a byte-order mark is
// turned into UTF-8, other bytes are taken as they are.
std::map<std::string, std::string> IniKeys(std::string bytes);

// The names of the files directly in `folder`, folders aside.
std::set<std::wstring> FileNames(const std::wstring& folder);

// Threads of this process, and a bounded wait (about five seconds) until no
// more than `threads` are left: the library's detached workers have ended.
size_t ThreadCount();
void AwaitThreadCount(size_t threads);

// Log lines of the stand-in logger, optionally only of one function.
std::vector<ClientStandIn::LogLine> LogLinesOf(const std::string& function = std::string());
// `line` 0: any source line.
bool HasLogLine(const std::string& function, int severity, const std::wstring& message, int line = 0);

}  // namespace grs::test
