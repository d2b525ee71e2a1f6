// "Setting.ini": completed at start without overwriting, read into the user
// property record, written back from it.
#include <string>

#include "core/TextUtil.h"
#include "core/collaborators/GlobalParamWrapper.h"
#include "settings/ClientInitialize.h"
#include "settings/SettingsFiles.h"

using grs::settings::kSettingSection;

namespace {

// The client version this library was built for; the property record always
// carries it, whatever an older "Setting.ini" says.
constexpr char kClientVersion[] = "17.0.0.300";

std::wstring Read(CIniFileW& ini, const wchar_t* key) {
    return ini.GetValue(kSettingSection, key, std::wstring());
}

// Brings the record's auto-start state, the file and the Run registration in
// line with each other. The file decides, except when it says nothing: then
// the registration does.
void ReconcileAutoStart(CIniFileW& ini, st_UserPropertiesShow& show, const std::wstring& autoStart) {
    constexpr char kTag[] = "ClientInitialize::GetSettings";
    const grs::settings::AutoStartChoice choice = grs::settings::ReadAutoStartChoice(autoStart);
    if (choice == grs::settings::AutoStartChoice::FromRunValue) {
        grs::log::Info(__LINE__, kTag, L"isAutoStartUp == empty");
        const bool registered = ClientInitialize::GetRegisterStartingIsOpen();
        show.IsAutoStartUp = registered ? 1 : 0;
        ClientInitialize::WriteSettingFile(ini, L"IsAutoStartUp", grs::settings::FlagText(registered));
        show.IsAutoCheckUpdate = registered;
        ClientInitialize::WriteSettingFile(ini, L"IsAutoCheckUpdate", grs::settings::FlagText(registered));
    } else if (choice == grs::settings::AutoStartChoice::On) {
        grs::log::Info(__LINE__, kTag, L"isAutoStartUp == 1");
        show.IsAutoStartUp = 1;
        // Re-established at every start from the file's choice.
        ClientInitialize::RegisterStartingIsOpen(true);
    } else {
        grs::log::Info(__LINE__, kTag, L"isAutoStartUp != 1");
        show.IsAutoStartUp = 0;
        if (ClientInitialize::GetRegisterStartingIsOpen()) ClientInitialize::RegisterStartingIsOpen(false);
    }
}

}  // namespace

std::wstring ClientInitialize::GetProgramBits() {
    return L"x64";
}

void ClientInitialize::WriteSettingFile(CIniFileW& ini, std::wstring key, std::wstring value) {
    grs::settings::Guarded(__LINE__, "ClientInitialize::WriteSettingFile", [&] {
        if (Read(ini, key.c_str()).empty()) grs::settings::SetValue(ini, kSettingSection, key, value);
    });
}

void ClientInitialize::CreateSettingFile(std::wstring version) {
    grs::settings::Guarded(__LINE__, "ClientInitialize::CreateSettingFile", [&version] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        const std::wstring path = grs::settings::SettingFilePath();
        if (path.empty()) return;
        grs::settings::MarkChanging(path);
        CIniFileW ini;
        ini.Load(path);

        GlobalParamWrapper& store = grs::settings::Store();
        WriteSettingFile(ini, L"Language", store.GetLocalLanguage());
        WriteSettingFile(ini, L"InstallLanguage", store.GetLocalLanguage());
        WriteSettingFile(ini, L"CheckTime", L"");
        WriteSettingFile(ini, L"IsJoinUserExperiencePlan", L"true");
        WriteSettingFile(ini, L"Platform", L"x64");
        WriteSettingFile(ini, L"DiscreteTime", L"1440");
        WriteSettingFile(ini, L"SapceOMVersion", L"0");
        WriteSettingFile(ini, L"NoticeOMVersion", L"0");
        WriteSettingFile(ini, L"Version", version);
        WriteSettingFile(ini, L"ErrorLimitingTime", L"");
        WriteSettingFile(ini, L"IsGuidRun", L"0");
        WriteSettingFile(ini, L"IsOpenSyncGuide", L"0");
        WriteSettingFile(ini, L"DmpUploadUrl", store.GetDmpUploadUrl());
        WriteSettingFile(ini, L"LogPingUrl", store.GetLogPingUrl());
        grs::log::Info(__LINE__, "ClientInitialize::CreateSettingFile", L"CreateSettingFile::Set IsGuidRun Value");

        ini.Save(path);
        grs::settings::MarkAtRest(path);
    });
}

void ClientInitialize::GetSettings() {
    grs::settings::Guarded(__LINE__, "ClientInitialize::GetSettings", [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), [](CIniFileW& ini) {
            using grs::settings::Outcome;
            // "Version" and "FirstStart" decide nothing here: the record's
            // version is the built-in one.
            const std::wstring language = Read(ini, L"Language");
            const std::wstring versionType = Read(ini, L"VersionType");
            const std::wstring autoCheckUpdate = Read(ini, L"IsAutoCheckUpdate");
            const std::wstring autoStart = Read(ini, L"IsAutoStartUp");
            const std::wstring joinPlan = Read(ini, L"IsJoinUserExperiencePlan");
            const std::wstring errorLimitingTime = Read(ini, L"ErrorLimitingTime");

            GlobalParamWrapper& store = grs::settings::Store();
            st_UserPropertiesShow* show = store.GetUserPropertiesShow();
            if (show == nullptr) return Outcome::Abandon;
            // A value too long for its field stops the whole read, unsaved.
            if (!grs::CopyToField(show->Language, language) ||
                !grs::CopyToField(show->Version, grs::Utf8ToWide(std::string(kClientVersion))) ||
                !grs::CopyToField(show->VersionType, versionType))
                return Outcome::Abandon;

            show->IsAutoCheckUpdate = grs::settings::ReadsAutoCheckUpdateOn(autoCheckUpdate);
            // Read as a number on purpose: the default "true" reads as 0 (not
            // joined) until UpdateSettings writes "0" or "1".
            show->IsJoinUserExperiencePlan = grs::settings::ReadsJoinPlanOn(joinPlan);

            ReconcileAutoStart(ini, *show, autoStart);

            // The number comes from the plan key, not from "ErrorLimitingTime":
            // that is how the client has always read it.
            if (errorLimitingTime.empty()) {
                const unsigned long long time = grs::settings::ErrorLimitingTimeFromPlan(joinPlan);
                store.SetErrorLimitingTime(time);
            }
            return Outcome::Save;
        });
    });
}

void ClientInitialize::UpdateSettings() {
    grs::settings::Guarded(__LINE__, "ClientInitialize::UpdateSettings", [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), [](CIniFileW& ini) {
            using grs::settings::FieldText;
            using grs::settings::FlagText;
            using grs::settings::SetValue;
            GlobalParamWrapper& store = grs::settings::Store();
            if (const st_UserPropertiesShow* show = store.GetUserPropertiesShow()) {
                // Only the Chinese client lets the user change the language.
                if (store.GetLocalLanguage() == L"zh-CN")
                    SetValue(ini, kSettingSection, L"Language", FieldText(show->Language));
                SetValue(ini, kSettingSection, L"Version", FieldText(show->Version));
                SetValue(ini, kSettingSection, L"IsAutoCheckUpdate", FlagText(show->IsAutoCheckUpdate));
                SetValue(ini, kSettingSection, L"IsJoinUserExperiencePlan", FlagText(show->IsJoinUserExperiencePlan));
                SetValue(ini, kSettingSection, L"IsAutoStartUp", std::to_wstring(show->IsAutoStartUp));
            }
            return grs::settings::Outcome::Save;
        });
    });
}
