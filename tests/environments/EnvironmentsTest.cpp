// The start-up operations, end to end through GlobalRootService.dll, for users
// whose folders the tests' usual short ASCII sandbox does not cover: names
// inside and outside the ANSI code page, a character outside the basic plane,
// a profile deeper than 260 characters. The same table of operations runs in
// every environment; ctest runs the suite under code pages 1252, 1251 and 936
// (GRS_EXPECTED_ACP says which one the Wine prefix must report).
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "globalrootservice/GlobalRootService.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "core/TextUtil.h"
#include "tests/common/TestSupport.h"

namespace grs::test {
namespace {

const std::wstring kDeep = std::wstring(100, L'd') + L"\\" + std::wstring(100, L'e');

const struct Environment {
    const char* name;
    std::wstring user;  // the user's folder under the sandbox
    bool deep;          // the record's 255 characters cannot hold its folders
} kEnvironments[] = {
    {"ascii", L"anna", false},
    {"latin with umlauts", L"J\u00fcrgen M\u00fcller", false},
    {"cjk", L"\u674e\u56db", false},
    {"cyrillic", L"\u0418\u0432\u0430\u043d", false},
    {"outside the basic plane", L"Ann\U0001F600", false},
    {"deeper than 260 characters", kDeep, true},
};

std::wstring Extended(const std::wstring& path) {
    return L"\\\\?\\" + path;
}

std::vector<std::string> KeyNames(const std::string& bytes) {
    std::vector<std::string> names;
    for (const auto& key : IniKeys(bytes)) names.push_back(key.first);
    return names;
}

// What a start leaves behind, comparable across environments.
struct Outcome {
    std::vector<std::string> settingKeys;
    std::map<std::string, std::string> syncKeys;
    bool propertiesLoaded = false;
    std::wstring cacheFolder;
    std::wstring downloadFolder;
    std::vector<std::wstring> failures;  // severity-5 lines but the worker's waiting
};

struct Operation {
    const char* name;
    std::function<void(Outcome&)> run;
};

const Operation kOperations[] = {
    {"settings", [](Outcome&) {
         ClientInitialize::CreateSettingFile(L"9.9");
         ClientInitialize::GetSettings();
         ClientInitialize::UpdateSettings();
     }},
    {"start-up", [](Outcome&) {
         ClientInitialize::IsFirstStartUp();
         ClientInitialize::IsNeedCreateShortcut();
         ClientInitialize::SetCreateShortcutFlag();
         ClientInitialize::InstallUpgradeLog();
         ClientInitialize::SetUpgradeInfo({{L"UpgradeChannel", L"beta"}});
         EXPECT_EQ(ClientInitialize::GetUpgradeInfo({L"UpgradeChannel"}).at(0).value, L"beta");
     }},
    {"user properties", [](Outcome& outcome) {
         outcome.propertiesLoaded = ClientInitialize::InitializeUserProperties();
         const st_UserPropertiesShow* show = GlobalParamWrapper::GetInstance()->GetUserPropertiesShow();
         outcome.cacheFolder = show->CacheFolder;
         outcome.downloadFolder = show->NewDownLoadFolder;
     }},
    {"sync settings", [](Outcome&) { ClientInitialize::CreateSyncSettingFile(); }},
};

Outcome StartIn(const TempFolder& root, const Environment& environment) {
    const std::wstring user = root / environment.user;
    const std::wstring appData = user + L"\\AppData\\Local\\Qirent";
    EXPECT_TRUE(CreateFolderTree(Extended(appData)));
    EXPECT_TRUE(CreateFolderTree(Extended(user + L"\\Downloads")));
    ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, appData);
    ClientStandIn::SetText(ClientStandIn::Text::UserProfilePath, user);
    ClientStandIn::SetText(ClientStandIn::Text::UserDownloadsPath, user + L"\\Downloads");
    ClientStandIn::ClearLogLines();
    PropertyDb::MainDatabaseProvider::DeleteAllUserProperties();  // each user starts for the first time
    Outcome outcome;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        operation.run(outcome);
    }
    outcome.settingKeys = KeyNames(ReadFileBytes(Extended(appData + L"\\Setting.ini")));
    outcome.syncKeys = IniKeys(ReadFileBytes(Extended(appData + L"\\SyncSetting.ini")));
    for (const ClientStandIn::LogLine& line : ClientStandIn::LogLines())
        if (line.severity == 5 && line.function != "ClientInitialize::SyncBaseUri") outcome.failures.push_back(line.message);
    return outcome;
}

TEST(Environments, EveryStartLandsInEveryUsersFolders) {
    if (const char* expected = std::getenv("GRS_EXPECTED_ACP"))
        ASSERT_EQ(::GetACP(), static_cast<UINT>(std::atoi(expected))) << "the Unix locale of this code page is missing";
    StandInSandbox sandbox;
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"abc");
    const std::wstring digest = L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    const Outcome baseline = StartIn(sandbox.Root(), kEnvironments[0]);
    ASSERT_EQ(baseline.syncKeys.size(), 21u);
    for (const Environment& environment : kEnvironments) {
        SCOPED_TRACE(environment.name);
        const Outcome outcome = StartIn(sandbox.Root(), environment);
        const std::wstring user = sandbox.Root() / environment.user;
        std::vector<std::string> settingKeys = baseline.settingKeys;
        // The user properties stop where the record cannot hold a folder, before "ShowTabBar".
        if (environment.deep) settingKeys.erase(std::find(settingKeys.begin(), settingKeys.end(), "[Setting]/ShowTabBar"));
        EXPECT_EQ(outcome.settingKeys, settingKeys);
        EXPECT_EQ(outcome.syncKeys.size(), 21u);
        if (environment.deep) {
            // The record cannot hold the folders: said, never silent.
            EXPECT_FALSE(outcome.propertiesLoaded);
            ASSERT_FALSE(outcome.failures.empty());
            EXPECT_NE(outcome.failures.front().find(user), std::wstring::npos) << WideToUtf8(outcome.failures.front());
            continue;
        }
        EXPECT_TRUE(outcome.propertiesLoaded);
        EXPECT_EQ(outcome.cacheFolder, user + L"\\Cloud\\Cache");
        EXPECT_EQ(outcome.downloadFolder, user + L"\\Downloads");
        const std::wstring root = user + L"\\Cloud\\Cache\\" + digest;
        EXPECT_EQ(outcome.syncKeys.at("[SyncSetting]/CatchFolder"), WideToUtf8(root));
        EXPECT_EQ(outcome.syncKeys.at("[SyncSetting]/ThumbnailRootFolder"), WideToUtf8(root + L"\\SyncThumbnailFile\\"));
        for (const auto& key : baseline.syncKeys)
            if (key.first.find("Folder") == std::string::npos) EXPECT_EQ(outcome.syncKeys.at(key.first), key.second);
        for (const std::wstring& failure : outcome.failures) ADD_FAILURE() << WideToUtf8(failure);
    }
}

}  // namespace
}  // namespace grs::test
