#include "settings/SettingsFiles.h"

#include <windows.h>

#include <stdexcept>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "settings/ProfileKeys.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/ClientInitialize.h"

// The class holds no data; assignment exists so that the DLL exports it.
ClientInitialize& ClientInitialize::operator=(const ClientInitialize&) {
    return *this;
}
ClientInitialize& ClientInitialize::operator=(ClientInitialize&&) noexcept {
    return *this;
}

namespace grs::settings {

namespace {
// Results are ignored; a path of 260 characters or more takes the extended form.
void SetAttributes(const std::wstring& path, DWORD attributes) noexcept {
    try {
        ::SetFileAttributesW(WithExtendedPrefix(path).c_str(), attributes);
    } catch (...) {
        // Only copying the path can throw; the attribute then stays as it was.
    }
}

// The folder directly followed by a backslash and the name: no separator is
// left out or doubled by a join.
std::wstring AppDataFile(const wchar_t* name) {
    const std::wstring folder = Store().GetAppDataLocalPath();
    return folder.empty() ? std::wstring() : folder + L"\\" + name;
}
}  // namespace

std::mutex& SettingsLock() {
    static std::mutex* lock = new std::mutex;
    return *lock;
}

std::mutex& SyncSettingsLock() {
    static std::mutex* lock = new std::mutex;
    return *lock;
}

GlobalParamWrapper& Store() {
    GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
    if (store == nullptr) throw std::logic_error("parameter store unavailable");
    return *store;
}

std::wstring SettingFilePath() {
    return AppDataFile(kSettingFileName);
}
std::wstring SyncSettingFilePath() {
    return AppDataFile(kSyncSettingFileName);
}

void MarkChanging(const std::wstring& path) noexcept {
    SetAttributes(path, FILE_ATTRIBUTE_NORMAL);
}

void MarkAtRest(const std::wstring& path) noexcept {
    SetAttributes(path, kAtRestAttributes);
}

unsigned long WriteShowTabBar(bool showTabBar, const char* function) {
    std::lock_guard<std::mutex> lock(SettingsLock());
    const std::wstring settingFile = SettingFilePath();
    MarkChanging(settingFile);
    DWORD error = ERROR_SUCCESS;
    if (ProfileFunctionsTake(settingFile, false, kCodePageAnsi)) {
        const BOOL written =
            ::WritePrivateProfileStringW(kSettingSection, Name(Key::ShowTabBar), FlagValue(Key::ShowTabBar, showTabBar),
                                         settingFile.c_str());
        // A failure that sets no error must not read as success.
        error = written ? ERROR_SUCCESS : ::GetLastError() != ERROR_SUCCESS ? ::GetLastError() : ERROR_WRITE_FAULT;
    } else {
        // A path the profile function cannot take: the same bytes another way.
        ProfileKeyWriter keys(settingFile, kSettingSection, function);
        keys.Write(Name(Key::ShowTabBar), FlagValue(Key::ShowTabBar, showTabBar));
        if (!keys.Finish()) error = keys.Error() != ERROR_SUCCESS ? keys.Error() : ERROR_WRITE_FAULT;
    }
    MarkAtRest(settingFile);
    return error;
}
Loaded LoadSettingsFile(CIniFileW& ini, const std::wstring& path, const char* function) {
    if (ini.Load(path)) return Loaded::Read;
    const wchar_t* reason = nullptr;
    switch (ini.LoadResult()) {
        case ReadFileResult::Missing:
            return Loaded::Missing;
        case ReadFileResult::CannotOpen:
            reason = L"it cannot be opened for reading";
            break;
        case ReadFileResult::TooLarge:
            reason = L"it is too large";
            break;
        case ReadFileResult::Ok:  // not after a failed load
        case ReadFileResult::Failed:
            reason = L"reading it failed";
            break;
    }
    log::Error(
        __LINE__, function,
        L"Not changed, " + std::wstring(reason) + L" (error " + std::to_wstring(ini.LoadError()) + L"): " + path);
    return Loaded::Unreadable;
}

bool ExistsForChange(const std::wstring& path, const char* function) {
    switch (ProbePath(path)) {
        case PathPresence::Present:
            return true;
        case PathPresence::Missing:
            return false;
        case PathPresence::Unknown:
            break;
    }
    log::Error(__LINE__, function,
               L"Not changed, cannot tell whether it exists (error " + std::to_wstring(::GetLastError()) + L"): " + path);
    return false;
}

bool SaveChange(CIniFileW& ini, const std::wstring& path, const char* function) {
    if (ini.Save(path)) return true;
    const SaveResult& saved = ini.LastSave();
    std::wstring message = L"Change not saved";
    if (!saved.Succeeded()) {
        message += L", step " + Utf8ToWide(SaveStepName(saved.failedStep)) + L" failed with error " +
                   std::to_wstring(saved.error);
    }
    if (saved.restoreTried) {
        message += saved.restoreError == 0
                       ? std::wstring(L", the old content was put back")
                       : L", putting the old content back failed with error " + std::to_wstring(saved.restoreError);
    }
    log::Error(__LINE__, function, message + L": " + path);
    return false;
}

void RunValueNotChanged(const char* function, bool open, const wchar_t* step, long error) noexcept {
    Guarded(__LINE__, function, [&] {
        log::Error(__LINE__, function,
                   std::wstring(open ? L"Start with Windows not registered" : L"Start with Windows not unregistered") +
                       L", " + step + L" failed with error " + std::to_wstring(error));
    });
}

}  // namespace grs::settings
