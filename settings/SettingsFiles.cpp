#include "settings/SettingsFiles.h"

#include <windows.h>

#include <stdexcept>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "core/collaborators/GlobalParamWrapper.h"
#include "settings/ClientInitialize.h"

// The class holds no data; assignment exists so that the DLL exports it.
ClientInitialize& ClientInitialize::operator=(const ClientInitialize&) {
    return *this;
}
ClientInitialize& ClientInitialize::operator=(ClientInitialize&&) noexcept {
    return *this;
}

namespace grs::settings {

namespace {
std::wstring AppDataFile(const wchar_t* name) {
    const std::wstring folder = Store().GetAppDataLocalPath();
    return folder.empty() ? std::wstring() : folder + name;
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
    return AppDataFile(L"\\Setting.ini");
}
std::wstring SyncSettingFilePath() {
    return AppDataFile(L"\\SyncSetting.ini");
}

void MarkChanging(const std::wstring& path) noexcept {
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

void MarkAtRest(const std::wstring& path) noexcept {
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
}

void SetValue(CIniFileW& ini, const wchar_t* section, const std::wstring& key, const std::wstring& value) {
    CIniFileW::Section* found = ini.AddSection(section);
    CIniFileW::Key* entry = found ? ini.AddKey(found, key) : nullptr;
    if (entry) entry->value = value;
}

}  // namespace grs::settings
