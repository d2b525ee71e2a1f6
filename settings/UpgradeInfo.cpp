// The upgrade component's own key/value pairs in section "Setting" of
// "Setting.ini". The keys are not interpreted here.
#include <string>
#include <vector>

#include "globalrootservice/ClientInitialize.h"
#include "settings/SettingsFiles.h"

using grs::settings::kSettingSection;

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kSetUpgradeInfo[] = "ClientInitialize::SetUpgradeInfo";
constexpr char kGetUpgradeInfo[] = "ClientInitialize::GetUpgradeInfo";

}  // namespace

void ClientInitialize::SetUpgradeInfo(std::vector<SettingInfo> infos) {
    if (infos.empty()) return;
    grs::settings::Guarded(__LINE__, kSetUpgradeInfo, [&infos] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        // No file: the pairs are dropped rather than creating a partial file.
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), kSetUpgradeInfo, [&infos](CIniFileW& ini) {
            for (const SettingInfo& info : infos) grs::settings::SetValue(ini, kSettingSection, info.key, info.value);
            return grs::settings::Outcome::Save;
        });
    });
}

std::vector<SettingInfo> ClientInitialize::GetUpgradeInfo(std::vector<std::wstring> keys) {
    if (keys.empty()) return {};
    return grs::settings::Guarded(__LINE__, kGetUpgradeInfo, std::vector<SettingInfo>(), [&keys] {
        std::vector<SettingInfo> result;
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
        return result;
    });
}
