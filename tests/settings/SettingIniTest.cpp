// "Setting.ini": creation, the property record, start-up flags, the Run
// registration and upgrade pairs.
#include "core/UniqueResource.h"
#include "settings/SettingsFiles.h"
#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

using SettingIni = SettingsTest;

TEST_F(SettingIni, CreateFillsMissingOrEmptyKeysOnly) {
    ClientStandIn::SetText(ClientStandIn::Text::LocalLanguage, L"zh-CN");
    Store().SetDmpUploadUrl(L"https://dmp");
    ClientInitialize::CreateSettingFile(L"x.y");
    EXPECT_EQ(SettingsText(),
              L"CheckTime=;DiscreteTime=1440;DmpUploadUrl=https://dmp;ErrorLimitingTime=;InstallLanguage=zh-CN;"
              L"IsGuidRun=0;IsJoinUserExperiencePlan=true;IsOpenSyncGuide=0;Language=zh-CN;LogPingUrl=;"
              L"NoticeOMVersion=0;Platform=x64;SapceOMVersion=0;Version=x.y;");
    EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    EXPECT_TRUE(HasLogLine("ClientInitialize::CreateSettingFile", 2, L"CreateSettingFile::Set IsGuidRun Value"));

    WriteSettings("Version=old\nLanguage=\n");
    ::SetFileAttributesW(SettingPath().c_str(), FILE_ATTRIBUTE_READONLY);
    ClientInitialize::CreateSettingFile(L"new");
    EXPECT_EQ(Setting(L"Version") + Setting(L"Language"), L"oldzh-CN");
    EXPECT_EQ(Attributes(SettingPath()), kAtRest);
}

TEST_F(SettingIni, GetSettingsKeepsTheClientsReadings) {
    const struct {
        const char *autoCheck, *plan, *errorLimit;
        bool autoCheckOn, joined;
        unsigned long long errorTime;
    } rows[] = {{"True", "true", "", true, false, 0}, {"yes", "1", "", false, true, 1},
                {"TRUE", "-1", "", true, true, 0},    {"false", " 12abc", "", false, true, 12},
                {"1", "", "", true, false, 0},        {"true", "7", "5", true, true, 0},
                {"1", "-5", "", true, true, 18446744073709551611ull}};  // only -1 is taken for 0
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.autoCheck) + "/" + row.plan + "/" + row.errorLimit);
        ClientStandIn::Reset();
        ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, sandbox.AppData());
        WriteSettings(std::string("Language=fr\nVersion=1\nVersionType=beta\nIsAutoStartUp=0\nIsAutoCheckUpdate=") +
                      row.autoCheck + "\nIsJoinUserExperiencePlan=" + row.plan +
                      "\nErrorLimitingTime=" + row.errorLimit);
        ClientInitialize::GetSettings();
        EXPECT_EQ(Show().IsAutoCheckUpdate, row.autoCheckOn);
        EXPECT_EQ(Show().IsJoinUserExperiencePlan, row.joined);
        EXPECT_EQ(ClientStandIn::GetErrorLimitingTime(), row.errorTime);
        EXPECT_EQ(std::wstring(Show().Version) + Show().VersionType + Show().Language, L"17.0.0.300betafr");
        EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    }
}

// Which file is at the path: a replaced file is another one.
unsigned long long FileIdentity(const std::wstring& path) {
    const UniqueFile file(::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!file || !::GetFileInformationByHandle(file.get(), &information)) return 0;
    return (static_cast<unsigned long long>(information.nFileIndexHigh) << 32) | information.nFileIndexLow;
}

// A start on an unchanged file writes nothing (the file is the same one, at
// rest); a change replaces it.
TEST_F(SettingIni, StartOnAnUnchangedFileWritesNothing) {
    ClientInitialize::CreateSettingFile(L"1.0");
    ClientInitialize::GetSettings();  // fills the auto-start keys
    const unsigned long long before = FileIdentity(SettingPath());
    ASSERT_NE(before, 0u);
    ClientInitialize::CreateSettingFile(L"1.0");
    ClientInitialize::GetSettings();
    EXPECT_TRUE(ClientInitialize::IsNeedCreateShortcut());
    EXPECT_EQ(FileIdentity(SettingPath()), before);
    EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    ClientInitialize::SetCreateShortcutFlag();
    EXPECT_NE(FileIdentity(SettingPath()), before);
    EXPECT_EQ(Setting(L"NoticeCreateLink"), L"1");
}

TEST_F(SettingIni, AutoStartIsReconciledWithTheRunValue) {
    const std::wstring other = L"\"C:\\Other\\client.exe\" /background", tooLong(130, L'x'), ours = OurCommand();
    const struct {
        const char* lines;
        std::wstring before, after;
        int state;
        bool autoCheckOn;
        const wchar_t* fileValues;  // "IsAutoStartUp" + "IsAutoCheckUpdate"
    } rows[] = {{"", other, other, 1, true, L"11"},
                {"", L"<none>", L"<none>", 0, false, L"00"},
                {"IsAutoStartUp=\nIsAutoCheckUpdate=0\n", other, other, 1, true, L"10"},
                {"IsAutoStartUp=1\n", L"<none>", ours, 1, false, L"1"},
                {"IsAutoStartUp=1\n", tooLong, ours, 1, false, L"1"},
                {"IsAutoStartUp=0\n", other, L"<none>", 0, false, L"0"},
                {"IsAutoStartUp=0\n", tooLong, tooLong, 0, false, L"0"},
                {"IsAutoStartUp=true\n", other, L"<none>", 0, false, L"true"}};  // only "1" means on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines);
        SetRunValue(row.before);
        WriteSettings(row.lines);
        ClientInitialize::GetSettings();
        EXPECT_EQ(Show().IsAutoStartUp, row.state);
        EXPECT_EQ(Show().IsAutoCheckUpdate, row.autoCheckOn);
        EXPECT_EQ(Setting(L"IsAutoStartUp") + Setting(L"IsAutoCheckUpdate"), row.fileValues);
        EXPECT_EQ(RunValue(), row.after);
    }
}

TEST_F(SettingIni, UpdateWritesTheRecordBack) {
    CopyToField(Show().Language, L"de");
    CopyToField(Show().Version, L"2.0");
    Show().IsJoinUserExperiencePlan = true;
    Show().IsAutoStartUp = 1;
    for (const wchar_t* local : {L"zh-CN", L"zh-cn"}) {  // only the Chinese client changes the language
        ClientStandIn::SetText(ClientStandIn::Text::LocalLanguage, local);
        WriteSettings("Language=en\nIsAutoCheckUpdate=true\n");
        ClientInitialize::UpdateSettings();
        EXPECT_EQ(SettingsText(), std::wstring(L"IsAutoCheckUpdate=0;IsAutoStartUp=1;IsJoinUserExperiencePlan=1;") +
                                      (local[3] == L'C' ? L"Language=de;" : L"Language=en;") + L"Version=2.0;");
        EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    }
}

TEST_F(SettingIni, MissingFileIsNotCreatedAndInstallLogWritesNothing) {
    ClientInitialize::GetSettings();
    ClientInitialize::UpdateSettings();
    ClientInitialize::SetCreateShortcutFlag();
    ClientInitialize::SetUpgradeInfo({{L"K", L"1"}});
    EXPECT_TRUE(ClientInitialize::GetUpgradeInfo({L"K"}).empty());
    EXPECT_FALSE(ClientInitialize::IsFirstStartUp() || ClientInitialize::IsNeedCreateShortcut());
    EXPECT_FALSE(FileExists(SettingPath()));

    WriteSettings("Version=old\nIsAutoStartUp=1\nInstallTime=x\n");
    const std::string before = ReadFileBytes(SettingPath());
    ClientInitialize::InstallUpgradeLog();  // blanks the marks in memory only
    EXPECT_EQ(ReadFileBytes(SettingPath()), before);
}

TEST_F(SettingIni, StartUpFlagsAreConsumedOnce) {
    const struct {
        const char* lines;
        bool first, shortcut;
    } rows[] = {{"IsFirstStartUp=true\nNoticeCreateLink=0\n", true, true},
                {"IsFirstStartUp=True\nNoticeCreateLink=\n", false, true},
                {"NoticeCreateLink=00\n", false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines);
        WriteSettings(row.lines);
        EXPECT_EQ(ClientInitialize::IsFirstStartUp(), row.first);
        EXPECT_EQ(ClientInitialize::IsNeedCreateShortcut(), row.shortcut);
        ClientInitialize::SetCreateShortcutFlag();
        EXPECT_FALSE(ClientInitialize::IsFirstStartUp() || ClientInitialize::IsNeedCreateShortcut());
        EXPECT_EQ(Setting(L"IsFirstStartUp") + Setting(L"NoticeCreateLink"), L"false1");
        EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    }
}

TEST_F(SettingIni, RunValueIsWrittenDeletedAndRecognised) {
    const char kTag[] = "ClientInitialize::RegisterStartingIsOpen";
    ClientInitialize::RegisterStartingIsOpen(true);
    EXPECT_EQ(RunValue(), OurCommand());
    const auto lines = LogLinesOf(kTag);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].message == OurCommand() && !lines[0].flag);
    EXPECT_EQ(lines[1].message, L"set auto start up success");
    ClientInitialize::RegisterStartingIsOpen(false);
    ClientInitialize::RegisterStartingIsOpen(false);
    EXPECT_EQ(RunValue(), L"<none>");
    EXPECT_TRUE(HasLogLine(kTag, 2, L"set auto start up error, code:2"));

    for (size_t length : {129u, 130u}) {  // read into 260 bytes, as the client's other versions do
        SetRunValue(std::wstring(length, L'c'));
        EXPECT_EQ(ClientInitialize::GetRegisterStartingIsOpen(), length == 129u);
    }
    EXPECT_TRUE(HasLogLine("ClientInitialize::GetRegisterStartingIsOpen", 2, L"GetRegisterStartingIsOpen == 0"));
    EXPECT_TRUE(HasLogLine("ClientInitialize::GetRegisterStartingIsOpen", 2, L"GetRegisterStartingIsOpen != 0"));

    std::wstring command;
    EXPECT_TRUE(settings::BuildRunCommand(std::wstring(245, L'p'), command) && command.size() == 259u);
    EXPECT_FALSE(settings::BuildRunCommand(std::wstring(246, L'p'), command));

    ASSERT_EQ(::RegDeleteTreeW(HKEY_CURRENT_USER, kRunKey), 0);
    ClientInitialize::RegisterStartingIsOpen(true);
    EXPECT_TRUE(HasLogLine(kTag, 2, L"Open Reg Failed When Setting isAutoStartUp, code:2"));
}

TEST_F(SettingIni, UpgradePairsRoundTrip) {
    WriteSettings("A=old\n");
    ClientInitialize::SetUpgradeInfo({});
    EXPECT_EQ(Attributes(SettingPath()), 0u);
    ClientInitialize::SetUpgradeInfo({{L"A", L"a"}, {L"K", L"1"}, {L"K", L"2"}});
    EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    std::wstring pairs;
    for (const SettingInfo& info : ClientInitialize::GetUpgradeInfo({L"K", L"B", L"A"}))
        pairs += info.key + L"=" + info.value + L";";
    EXPECT_EQ(pairs, L"K=2;B=;A=a;");
}

}  // namespace
}  // namespace grs::test
