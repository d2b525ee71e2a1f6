// The upgrade component's own key/value pairs in section "Setting" of
// "Setting.ini". The keys are not interpreted here.
#include <exception>
#include <string>
#include <vector>

#include "core/IniFile.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "settings/ClientInitialize.h"
#include "settings/SettingsFiles.h"

using grs::settings::kSettingSection;

void ClientInitialize::SetUpgradeInfo(std::vector<SettingInfo> infos) {
    constexpr char kTag[] = "ClientInitialize::SetUpgradeInfo";
    if (infos.empty()) return;
    try {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        const std::wstring path = grs::settings::SettingFilePath();
        // No file: the pairs are dropped rather than creating a partial file.
        if (!grs::PathExists(path)) return;
        grs::settings::MarkChanging(path);
        CIniFileW ini;
        ini.Load(path);
        for (const SettingInfo& info : infos) grs::settings::SetValue(ini, kSettingSection, info.key, info.value);
        ini.Save(path);
        grs::settings::MarkAtRest(path);
    } catch (const std::exception& e) {
        grs::log::Exception(__LINE__, kTag, e.what());
    } catch (...) {
        grs::log::Exception(__LINE__, kTag, nullptr);
    }
}

std::vector<SettingInfo> ClientInitialize::GetUpgradeInfo(std::vector<std::wstring> keys) {
    constexpr char kTag[] = "ClientInitialize::GetUpgradeInfo";
    std::vector<SettingInfo> result;
    if (keys.empty()) return result;
    try {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        const std::wstring path = grs::settings::SettingFilePath();
        if (!grs::PathExists(path)) return result;
        // Only read: the attributes stay as they are.
        CIniFileW ini;
        ini.Load(path);
        result.reserve(keys.size());
        for (std::wstring& key : keys) {
            std::wstring value = ini.GetValue(kSettingSection, key, std::wstring());
            result.push_back(SettingInfo{std::move(key), std::move(value)});
        }
    } catch (const std::exception& e) {
        grs::log::Exception(__LINE__, kTag, e.what());
        result.clear();
    } catch (...) {
        grs::log::Exception(__LINE__, kTag, nullptr);
        result.clear();
    }
    return result;
}
