// "Setting.ini": completed at start without overwriting, read into the user
// property record, written back from it.
#include <string>

#include "core/TextUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/ClientInitialize.h"
#include "settings/SettingRules.h"
#include "settings/SettingsFiles.h"

using grs::settings::Key;

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kGetSettings[] = "ClientInitialize::GetSettings";
constexpr char kWriteSettingFile[] = "ClientInitialize::WriteSettingFile";
constexpr char kCreateSettingFile[] = "ClientInitialize::CreateSettingFile";
constexpr char kUpdateSettings[] = "ClientInitialize::UpdateSettings";

// The client version this library was built for; the property record always
// carries it, whatever an older "Setting.ini" says.
constexpr char kClientVersion[] = "17.0.0.300";

// Brings the record's auto-start state, the file and the Run registration in line with each other. The file decides,
// except when it says nothing: then the registration does. COMPAT: a Run value that cannot be read (access denied, an
// I/O error) counts as not registered, so an empty "IsAutoStartUp" becomes "0", as the client has always decided it.
void ReconcileAutoStart(CIniFileW& ini, st_UserPropertiesShow& show, const std::wstring& autoStart) {
    using grs::settings::AutoStartCase;
    using grs::settings::RunRegistration;
    const AutoStartCase which = grs::settings::PlanAutoStart(autoStart, false).which;
    grs::log::Info(__LINE__, kGetSettings,
                   which == AutoStartCase::Empty ? L"isAutoStartUp == empty"
                   : which == AutoStartCase::On  ? L"isAutoStartUp == 1"
                                                 : L"isAutoStartUp != 1");
    const bool registered =
        grs::settings::NeedsRegistration(autoStart) && ClientInitialize::GetRegisterStartingIsOpen();
    const grs::settings::AutoStartPlan plan = grs::settings::PlanAutoStart(autoStart, registered);
    show.IsAutoStartUp = plan.autoStart ? 1 : 0;
    if (plan.setAutoCheckUpdate) show.IsAutoCheckUpdate = plan.autoStart;
    if (plan.writeFile) {
        ClientInitialize::WriteSettingFile(ini, grs::settings::Name(Key::IsAutoStartUp),
                                           grs::settings::FlagValue(Key::IsAutoStartUp, plan.autoStart));
        ClientInitialize::WriteSettingFile(ini, grs::settings::Name(Key::IsAutoCheckUpdate),
                                           grs::settings::FlagValue(Key::IsAutoCheckUpdate, plan.autoStart));
    }
    if (plan.registration != RunRegistration::Keep) {
        ClientInitialize::RegisterStartingIsOpen(plan.registration == RunRegistration::Register);
    }
}

}  // namespace

std::wstring ClientInitialize::GetProgramBits() {
    return L"x64";
}

void ClientInitialize::WriteSettingFile(CIniFileW& ini, std::wstring key, std::wstring value) {
    grs::settings::Guarded(__LINE__, kWriteSettingFile, [&] { grs::settings::FillIfEmpty(ini, key, value); });
}

void ClientInitialize::CreateSettingFile(std::wstring version) {
    grs::settings::Guarded(__LINE__, kCreateSettingFile, [&version] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        const std::wstring path = grs::settings::SettingFilePath();
        if (path.empty()) return;
        // A missing file is created; one that exists but cannot be read is left alone.
        CIniFileW ini;
        if (grs::settings::LoadSettingsFile(ini, path, kCreateSettingFile) == grs::settings::Loaded::Unreadable) return;
        grs::settings::MarkChanging(path);

        GlobalParamWrapper& store = grs::settings::Store();
        grs::settings::SettingDefaults defaults;
        defaults.language = store.GetLocalLanguage();
        defaults.installLanguage = store.GetLocalLanguage();
        defaults.version = version;
        defaults.dmpUploadUrl = store.GetDmpUploadUrl();
        defaults.logPingUrl = store.GetLogPingUrl();
        grs::settings::CompleteSettings(ini, defaults);
        grs::log::Info(__LINE__, kCreateSettingFile, L"CreateSettingFile::Set IsGuidRun Value");

        grs::settings::SaveChange(ini, path, kCreateSettingFile);
        grs::settings::MarkAtRest(path);
    });
}

void ClientInitialize::GetSettings() {
    grs::settings::Guarded(__LINE__, kGetSettings, [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), kGetSettings, [](CIniFileW& ini) {
            using grs::settings::Outcome;
            using grs::settings::Read;
            // The version and the first-start mark decide nothing here: the
            // record's version is the built-in one.
            const std::wstring language = Read(ini, Key::Language);
            const std::wstring versionType = Read(ini, Key::VersionType);
            const std::wstring autoCheckUpdate = Read(ini, Key::IsAutoCheckUpdate);
            const std::wstring autoStart = Read(ini, Key::IsAutoStartUp);
            const std::wstring joinPlan = Read(ini, Key::IsJoinUserExperiencePlan);
            const std::wstring errorLimitingTime = Read(ini, Key::ErrorLimitingTime);

            GlobalParamWrapper& store = grs::settings::Store();
            st_UserPropertiesShow* show = store.GetUserPropertiesShow();
            if (show == nullptr) return Outcome::Abandon;
            // A value too long for its field stops the whole read, unsaved.
            if (!grs::CopyToField(show->Language, language) ||
                !grs::CopyToField(show->Version, grs::Utf8ToWide(std::string(kClientVersion))) ||
                !grs::CopyToField(show->VersionType, versionType))
                return Outcome::Abandon;

            show->IsAutoCheckUpdate = grs::settings::ReadsOn(Key::IsAutoCheckUpdate, autoCheckUpdate);
            show->IsJoinUserExperiencePlan = grs::settings::ReadsOn(Key::IsJoinUserExperiencePlan, joinPlan);

            ReconcileAutoStart(ini, *show, autoStart);

            if (errorLimitingTime.empty()) {
                const unsigned long long time = grs::settings::ErrorLimitingTimeFrom(joinPlan);
                store.SetErrorLimitingTime(time);
            }
            return Outcome::Save;
        });
    });
}

void ClientInitialize::UpdateSettings() {
    grs::settings::Guarded(__LINE__, kUpdateSettings, [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), kUpdateSettings, [](CIniFileW& ini) {
            using grs::FieldText;
            using grs::settings::FlagValue;
            using grs::settings::SetValue;
            GlobalParamWrapper& store = grs::settings::Store();
            if (const st_UserPropertiesShow* show = store.GetUserPropertiesShow()) {
                // Only the Chinese client lets the user change the language.
                if (store.GetLocalLanguage() == L"zh-CN")
                    SetValue(ini, Key::Language, FieldText(show->Language));
                SetValue(ini, Key::Version, FieldText(show->Version));
                SetValue(ini, Key::IsAutoCheckUpdate, FlagValue(Key::IsAutoCheckUpdate, show->IsAutoCheckUpdate));
                SetValue(ini, Key::IsJoinUserExperiencePlan,
                         FlagValue(Key::IsJoinUserExperiencePlan, show->IsJoinUserExperiencePlan));
                // The record's number as it stands, not only 0 or 1.
                SetValue(ini, Key::IsAutoStartUp, std::to_wstring(show->IsAutoStartUp));
            }
            return grs::settings::Outcome::Save;
        });
    });
}
