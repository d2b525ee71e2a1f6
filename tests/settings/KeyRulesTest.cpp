// Every key of both settings files against its row: what the next start does
// while it is missing, and how the operations read the value it holds. A row
// that says one thing while the operations do another fails here, whichever
// of the two changed.
#include <optional>
#include <string>

#include "settings/SettingRules.h"
#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

using settings::Absent;
using settings::Reading;
using settings::SettingKey;
using settings::Source;

class KeyRules : public SettingsTest {
protected:
    // Whether "Setting.ini" has the key, empty or not.
    bool Holds(const wchar_t* key) const {
        CIniFileW ini;
        ini.Load(SettingPath());
        CIniFileW::Section* found = ini.FindSection(L"Setting");
        return found != nullptr && found->FindKey(key) != nullptr;
    }

    // The value CreateSettingFile is given for a key filled from `source`
    // (the store is set up so in `RunAStart`).
    static std::wstring Given(const SettingKey& key) {
        switch (key.source) {
            case Source::LocalLanguage:
            case Source::InstallLanguage:
                return L"zh-CN";
            case Source::CallerVersion:
                return L"9.9";
            case Source::DmpUploadUrl:
                return L"https://dmp";
            case Source::LogPingUrl:
                return L"https://ping";
            default:
                return key.literal ? key.literal : L"<no value given>";
        }
    }

    struct Start {
        bool firstStart = false;
        bool shortcutPending = false;
    };
    // What the client does at a start, in its order.
    static Start RunAStart() {
        ClientStandIn::SetText(ClientStandIn::Text::LocalLanguage, L"zh-CN");
        Store().SetDmpUploadUrl(L"https://dmp");
        Store().SetLogPingUrl(L"https://ping");
        ClientInitialize::CreateSettingFile(L"9.9");
        ClientInitialize::GetSettings();
        Start start;
        start.firstStart = ClientInitialize::IsFirstStartUp();
        start.shortcutPending = ClientInitialize::IsNeedCreateShortcut();
        ClientInitialize::InstallUpgradeLog();
        return start;
    }
};

// One start on a file lacking every key, then each key held in turn.
TEST_F(KeyRules, EveryKeyIsTreatedAsItsRowSays) {
    SetRunValue(L"\"C:\\Other\\client.exe\" /background");  // registered
    WriteSettings("");
    const Start start = RunAStart();
    for (const SettingKey& key : settings::SettingKeys()) {
        SCOPED_TRACE(WideToUtf8(key.name));
        const bool holds = Holds(key.name);
        switch (key.absent) {
            case Absent::Filled:
                EXPECT_EQ(Setting(key.name), Given(key));
                break;
            case Absent::AddedEmpty:
                EXPECT_TRUE(holds);
                EXPECT_EQ(Setting(key.name), L"");
                break;
            case Absent::FromRunValue:
                EXPECT_EQ(Setting(key.name), L"1");
                break;
            case Absent::FirstStartCheck:
                EXPECT_FALSE(start.firstStart);
                EXPECT_EQ(Setting(key.name), settings::FlagSpelling(key.reading, false));
                break;
            case Absent::ShortcutOffered:
                EXPECT_TRUE(start.shortcutPending);
                EXPECT_FALSE(holds);
                break;
            case Absent::AfterSignIn:
            case Absent::Optional:
                EXPECT_FALSE(holds);
                break;
            case Absent::Rewritten:
                ADD_FAILURE() << "only CreateSyncSettingFile rewrites its keys";
                break;
        }
    }

    // "SyncSetting.ini": every key is written again, from the store, whether
    // it was missing or held a value of its own.
    std::string stale = "[SyncSetting]\n";
    for (const SettingKey& key : settings::SyncSettingKeys()) stale += WideToUtf8(key.name) + "=stale\n";
    for (const std::string& text : {std::string("[SyncSetting]\n"), stale}) {
        ASSERT_TRUE(WriteFileBytes(SyncPath(), text));
        ClientInitialize::CreateSyncSettingFile();
        for (const SettingKey& key : settings::SyncSettingKeys()) {
            SCOPED_TRACE(WideToUtf8(key.name) + (text == stale ? " held" : " missing"));
            EXPECT_EQ(key.absent, Absent::Rewritten);
            wchar_t value[512] = {};
            ::GetPrivateProfileStringW(L"SyncSetting", key.name, L"<absent>", value, 512, SyncPath().c_str());
            EXPECT_NE(std::wstring(value), L"<absent>");
            EXPECT_NE(std::wstring(value), L"stale");
        }
    }

    SetRunValue(L"<none>");  // from here on, the file alone decides
    // A value held: read as the row says. The spellings the client's files have been seen to hold, and near misses.
    const char* const values[] = {"1", "0", "00", "2", "-1", " 12abc", "true", "True", "TRUE", "false", "yes", ""};
    const std::wstring longest(settings::kRecordFieldChars, L'r');
    for (const SettingKey& key : settings::SettingKeys()) {
        const std::string name = WideToUtf8(key.name);
        SCOPED_TRACE(name);
        // What the other keys hold: no key decides another's reading here.
        const std::string others = key.reading == Reading::AutoStart ? "" : "IsAutoStartUp=0\n";
        switch (key.reading) {
            case Reading::AutoCheckUpdate:
            case Reading::JoinPlan:
            case Reading::AutoStart:
            case Reading::FirstStart:
            case Reading::ShortcutSettled:
                for (const char* value : values) {
                    SCOPED_TRACE(value);
                    WriteSettings(others + name + "=" + value + "\n");
                    const std::optional<bool> on = settings::ReadsOn(key.reading, Utf8ToWide(value));
                    ASSERT_TRUE(on.has_value());
                    bool read = false;
                    if (key.reading == Reading::FirstStart) {
                        read = ClientInitialize::IsFirstStartUp();
                    } else if (key.reading == Reading::ShortcutSettled) {
                        read = !ClientInitialize::IsNeedCreateShortcut();
                    } else {
                        ClientInitialize::GetSettings();
                        read = key.reading == Reading::AutoCheckUpdate ? Show().IsAutoCheckUpdate
                               : key.reading == Reading::JoinPlan      ? Show().IsJoinUserExperiencePlan
                                                                       : Show().IsAutoStartUp != 0;
                    }
                    EXPECT_EQ(read, *on);
                    // And this library writes the flag back as it reads it.
                    EXPECT_EQ(settings::ReadsOn(key.reading, settings::FlagSpelling(key.reading, *on)), on);
                }
                break;
            case Reading::ErrorLimit:
                // Only emptiness matters: then the plan key's number is taken.
                for (const char* value : {"", "5", "0"}) {
                    SCOPED_TRACE(value);
                    ClientStandIn::Reset();
                    ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, sandbox.AppData());
                    WriteSettings(others + "IsJoinUserExperiencePlan=7\n" + name + "=" + value + "\n");
                    ClientInitialize::GetSettings();
                    EXPECT_EQ(ClientStandIn::GetErrorLimitingTime(), *value ? 0u : 7u);
                }
                break;
            case Reading::RecordText: {
                // Copied into the record; one character more than the field
                // holds stops the whole read unsaved.
                WriteSettings(name + "=" + WideToUtf8(longest) + "\n");
                ClientInitialize::GetSettings();
                const std::wstring name16 = key.name;
                if (name16 == L"Language")
                    EXPECT_EQ(std::wstring(Show().Language), longest);
                else if (name16 == L"VersionType")
                    EXPECT_EQ(std::wstring(Show().VersionType), longest);
                else
                    ADD_FAILURE() << "which record field holds it?";
                EXPECT_EQ(Setting(L"IsAutoStartUp"), L"0");
                WriteSettings(name + "=" + WideToUtf8(longest) + "r\n");
                const std::string before = ReadFileBytes(SettingPath());
                ClientInitialize::GetSettings();
                EXPECT_EQ(ReadFileBytes(SettingPath()), before);
                break;
            }
            case Reading::ClientPlatform:
                EXPECT_EQ(ClientInitializeTestAccess::GetProgramBits(), key.literal);
                [[fallthrough]];
            case Reading::Kept:
            case Reading::Discarded:
                // Not read: a start leaves whatever the file holds.
                WriteSettings(others + name + "=kept value\n");
                RunAStart();
                EXPECT_EQ(Setting(key.name), L"kept value");
                break;
            case Reading::Address:
                ADD_FAILURE() << "an address of \"Setting.ini\"";
                break;
        }
    }
}

}  // namespace
}  // namespace grs::test
