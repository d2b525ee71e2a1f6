// Start-up over the stand-in's SQLite property database and real folders: the
// first start, later starts with old rows, the repairs, closing the sync
// folder and the thumbnail cache copy.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <thread>

#include "core/HashUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "tests/common/TestSupport.h"
#include "userprops/UserPropertyRules.h"

namespace {

using ClientStandIn::Text;
using Rows = std::vector<PropertyDb::UserProperties>;
namespace Db = PropertyDb::MainDatabaseProvider;

std::wstring Hash(const char* utf8Id) {
    const std::string hash = grs::Sha256Hex(utf8Id);
    return std::wstring(hash.begin(), hash.end());
}

std::map<std::wstring, std::wstring> Stored() {
    std::map<std::wstring, std::wstring> stored;
    for (const auto& row : Db::GetAllUserProperties()) stored[row.key] = row.value;
    return stored;
}

st_UserPropertiesShow& Show() {
    return *GlobalParamWrapper::GetInstance()->GetUserPropertiesShow();
}

// A restart: rows written by an earlier run, read from the file again.
void Seed(Rows rows) {
    Db::InsertUserProperties(rows);
    ClientStandIn::CloseDatabase();
}

std::wstring ShowTabBar(const grs::test::StandInSandbox& sandbox) {
    wchar_t value[8] = {};
    ::GetPrivateProfileStringW(L"Setting", L"ShowTabBar", L"?", value, 8,
                               (sandbox.AppData() + L"\\Setting.ini").c_str());
    return value;
}

bool WaitForCopyEnd() {
    for (int i = 0; i < 1200; ++i) {
        const std::vector<bool> calls = ClientStandIn::CacheCopyResCalls();
        if (calls.size() >= 2 && !calls.back()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

class UserPropsStart : public ::testing::Test {
protected:
    void SetUp() override {
        ClientStandIn::SetText(Text::CurrentUserID, L"user-1");
        ClientStandIn::SetResourceText(L"en", L"IDS_MAIN_PAGE_Qirent_Drive", L"Qirent Drive");
    }
    std::wstring Profile(const std::wstring& rest) const { return sandbox.Profile() + L"\\" + rest; }

    grs::test::HkcuOverride hkcu;
    grs::test::StandInSandbox sandbox;
};

TEST_F(UserPropsStart, FirstStartSavesEveryRowAndALaterStartKeepsThem) {
    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    const std::wstring sync = Show().SyncCloudFolder;
    EXPECT_EQ(sync.find(L":\\"), 1u) << grs::WideToUtf8(sync);
    EXPECT_EQ(sync.substr(sync.size() - 12), L"Qirent Drive");
    EXPECT_EQ(std::wstring(Show().CacheFolder), Profile(L"Cloud\\Cache"));
    EXPECT_EQ(std::wstring(Show().NewDownLoadFolder), sandbox.Downloads());
    const std::wstring hash = Hash("user-1");
    EXPECT_EQ(std::wstring(Show().UserCacheFolder), Profile(L"Cloud\\Cache\\") + hash);
    EXPECT_EQ(ClientStandIn::SavedCacheDirs(), (std::vector<std::wstring>{hash, Show().UserCacheFolder}));
    EXPECT_EQ(ShowTabBar(sandbox), L"0");

    auto stored = Stored();
    EXPECT_EQ(stored.size(), 43u);
    EXPECT_EQ(stored[L"SyncCloudFolder"], sync);
    EXPECT_EQ(stored[L"DownloadThreadCount"], L"5");

    ClientStandIn::CloseDatabase();
    GlobalParamWrapper::GetInstance()->GetUserInfo()->IsAutoLogin = true;
    stored[L"IsAutoLogin"] = L"1";
    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    EXPECT_EQ(Stored(), stored);
    EXPECT_TRUE(Show().IsAutoLogin);
    EXPECT_EQ(std::wstring(Show().SyncCloudFolder), sync);
}

TEST_F(UserPropsStart, DownloadRowsMigrate) {
    const std::wstring mine = sandbox.Root() / L"Mine";
    grs::test::CreateFolderTree(mine);
    const struct {
        const char* name;
        Rows rows;
        bool makeCloudDownloads;
        std::wstring newFolder, useDownloads;
    } cases[] = {
        {"own folder", {{L"DownLoadFolder", mine}}, false, mine, L"0"},
        {"default folder", {{L"DownLoadFolder", Profile(L"Cloud\\Downloads")}}, true, sandbox.Downloads(), L"1"},
        {"neither exists", {{L"DownLoadFolder", L"Q:\\gone"}}, false, sandbox.Downloads(), L"1"},
        {"default",
         {{L"NewDownLoadFolder", L"Q:\\o"}, {L"IsUseDownloadsPath", L"1"}},
         false,
         sandbox.Downloads(),
         L"1"},
        {"own", {{L"NewDownLoadFolder", mine}, {L"IsUseDownloadsPath", L"0"}}, false, mine, L"0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Db::DeleteAllUserProperties();
        grs::test::RemoveTree(Profile(L"Cloud"));
        if (c.makeCloudDownloads) grs::test::CreateFolderTree(Profile(L"Cloud\\Downloads"));
        Rows rows = c.rows;
        rows.push_back({L"IsOpenDownloadWnd", L"0"});
        Seed(rows);
        ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
        auto stored = Stored();
        EXPECT_EQ(stored[L"NewDownLoadFolder"], c.newFolder);
        EXPECT_EQ(stored[L"IsUseDownloadsPath"], c.useDownloads);
        EXPECT_EQ(stored[L"DownLoadFolder"], L"");
        EXPECT_EQ(std::wstring(Show().NewDownLoadFolder), c.newFolder);
        // Only an old-style folder forces the download window back on.
        EXPECT_EQ(stored[L"IsOpenDownloadWnd"], c.rows[0].key == L"DownLoadFolder" ? L"1" : L"0");
    }
}

TEST_F(UserPropsStart, RepairsAndBadRows) {
    const struct {
        Rows rows;
        bool result;
        int downloads, uploads;
    } cases[] = {
        {{{L"DownloadThreadCount", L"0"}, {L"UploadThreadCount", L"11"}}, true, 5, 5},
        {{{L"DownloadThreadCount", L"abc"}, {L"UploadThreadCount", L"99999999999"}}, true, 5, 5},
        {{{L"DownloadThreadCount", L"10"}, {L"SyncCloudFolder", std::wstring(256, L's')}, {L"?", L"1"}}, true, 10, 5},
        {{{L"UploadThreadCount", L"1"}, {L"CacheFolder", std::wstring(255, L'c')}}, false, 5, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(grs::WideToUtf8(c.rows[0].value));
        Db::DeleteAllUserProperties();
        Seed(c.rows);
        EXPECT_EQ(ClientInitialize::InitializeUserProperties(), c.result);
        EXPECT_EQ(Show().DownloadThreadCount, c.downloads);
        EXPECT_EQ(Show().UploadThreadCount, c.uploads);
        EXPECT_EQ(Stored()[c.rows[0].key], std::to_wstring(c.rows[0].key[0] == L'D' ? c.downloads : c.uploads));
    }
    // A new user with a non-ASCII id: first start, folder named after the UTF-8 form.
    ClientStandIn::SetText(Text::CurrentUserID, L"\u7528\u6237\u00fc");
    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    EXPECT_EQ(ClientStandIn::SavedCacheDirs().back(),
              Profile(L"Cloud\\Cache\\") + Hash("\xe7\x94\xa8\xe6\x88\xb7\xc3\xbc"));
}

TEST_F(UserPropsStart, OldWindowsSwitchesSyncOffInTheDatabase) {
    ClientStandIn::SetFunctionOpen(19, true);
    Seed({{L"IsSyncSwitchOpen", L"1"},
          {L"IsSyncSwitchFirstOpen", L"1"},
          {L"SyncCloudFolder", L"Q:\\Sync"},
          {L"ShowQirentDriveTray", L"1"},
          {L"IsSyncCloudClose", L"1"},
          {L"ShowQirentShortcut", L"1"}});
    ASSERT_TRUE(grs::InitializeUserPropertiesFor(false));
    auto stored = Stored();
    for (const wchar_t* key : {L"IsSyncSwitchOpen", L"ShowQirentDriveTray", L"IsSyncCloudClose", L"ShowQirentShortcut"})
        EXPECT_EQ(stored[key], L"0") << grs::WideToUtf8(key);
    EXPECT_EQ(stored[L"SyncCloudFolder"], L"");
    EXPECT_FALSE(Show().ShowQirentDriveTray);
    EXPECT_FALSE(Show().ShowQirentShortcut);
    // The rows read before the rewrite still open the tab bar for this start.
    EXPECT_EQ(ShowTabBar(sandbox), L"1");
}

TEST_F(UserPropsStart, SyncFunctionClosedResetsOnlyExactOnes) {
    const struct {
        const wchar_t* key;
        const wchar_t* value;
        bool reset;  // when the sync function is closed
    } cases[] = {
        {L"IsSyncSwitchOpen", L"1", true},
        {L"IsSyncSwitchOnceOpen", L"1", true},
        {L"IsSyncSwitchOnceOpen", L"true", false},  // only "1" exactly
        {L"IsSyncSwitchFirstOpen", L"1", false},    // nor any other switch
    };
    for (const bool open : {true, false}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(grs::WideToUtf8(std::wstring(c.key) + L"=" + c.value) + (open ? " open" : " closed"));
            ClientStandIn::SetFunctionOpen(19, open);
            Rows rows = {{c.key, c.value}};
            Db::InsertUserProperties(rows);
            EXPECT_EQ(ClientInitialize::BaseDataCloseSyncFolder(rows), !open);
            EXPECT_EQ(rows[0].value, c.reset && !open ? L"0" : c.value);
            EXPECT_EQ(Stored()[c.key], rows[0].value);
        }
    }
}

TEST_F(UserPropsStart, CacheInsideSyncFolderMovesAndItsThumbnailsFollow) {
    const std::wstring hash = Hash("user-1");
    const std::wstring sync = sandbox.Root() / L"Sync", oldCache = sync + L"\\Cache";
    const std::wstring oldThumbs = oldCache + L"\\" + hash;
    grs::test::CreateFolderTree(oldThumbs + L"\\SyncThumbnailFile\\a");
    grs::test::CreateFolderTree(oldThumbs + L"\\LcdSyncThumbnailFile");
    grs::test::CreateFolderTree(sync + L"\\Down");
    grs::test::WriteFileBytes(oldThumbs + L"\\SyncThumbnailFile\\a\\1.jpg", "one");
    grs::test::WriteFileBytes(oldThumbs + L"\\LcdSyncThumbnailFile\\2.jpg", "two");
    Seed({{L"SyncCloudFolder", sync},
          {L"CacheFolder", oldCache},
          {L"NewDownLoadFolder", sync + L"\\Down"},
          {L"IsUseDownloadsPath", L"0"},
          {L"IsOpenDownloadWnd", L"0"}});

    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    EXPECT_EQ(std::wstring(Show().CacheFolder), Profile(L"Cloud\\Cache"));
    EXPECT_EQ(std::wstring(Show().NewDownLoadFolder), sandbox.Downloads());
    EXPECT_EQ(Stored()[L"NewDownLoadFolder"], sandbox.Downloads());
    EXPECT_TRUE(grs::test::HasLogLine("ClientInitialize::CheckPathInSyncFolder", 2,
                                      L"CopySyncFolderToCache update downloadPath = " + sandbox.Downloads()));
    EXPECT_EQ(Stored()[L"IsOpenDownloadWnd"], L"1");
    EXPECT_EQ(ClientStandIn::ModPathResCalls(), std::vector<bool>{true});
    ASSERT_TRUE(WaitForCopyEnd());
    const std::wstring newThumbs = Profile(L"Cloud\\Cache\\") + hash;
    EXPECT_EQ(grs::test::ReadFileBytes(newThumbs + L"\\SyncThumbnailFile\\a\\1.jpg"), "one");
    EXPECT_EQ(grs::test::ReadFileBytes(newThumbs + L"\\LcdSyncThumbnailFile\\2.jpg"), "two");
}

// A sync folder deeper than the long-name query's 260 characters: compared as
// given, and said so; the cache inside it still moves out.
TEST_F(UserPropsStart, DeepSyncFolderIsComparedAsGivenAndSaidSo) {
    const std::wstring sync = sandbox.Root() / (std::wstring(130, L's') + L"\\" + std::wstring(130, L't'));
    grs::test::CreateFolderTree(L"\\\\?\\" + sync + L"\\Cache");
    Seed({{L"SyncCloudFolder", sync}, {L"CacheFolder", sync + L"\\Cache"}, {L"IsOpenDownloadWnd", L"0"}});

    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    EXPECT_EQ(std::wstring(Show().CacheFolder), Profile(L"Cloud\\Cache"));
    bool said = false;
    for (const auto& line : grs::test::LogLinesOf("ClientInitialize::CheckPathInSyncFolder"))
        said = said || (line.severity == 5 && line.message.find(L"Long name not looked up") != std::wstring::npos &&
                        line.message.find(sync) != std::wstring::npos);
    EXPECT_TRUE(said);
    WaitForCopyEnd();
}

TEST_F(UserPropsStart, CacheCopyTakesSmallFilesAndGoesOnAfterAFailure) {
    const std::wstring hash = Hash("user-1");
    const std::wstring source = sandbox.Root() / L"Old", destination = sandbox.Root() / L"New";
    const std::wstring from = source + L"\\" + hash + L"\\SyncThumbnailFile";
    const std::wstring to = destination + L"\\" + hash + L"\\SyncThumbnailFile";
    constexpr int kFolders = 40, kPerFolder = 50;
    for (int f = 0; f < kFolders; ++f) {
        const std::wstring folder = from + L"\\" + std::to_wstring(f % 4) + L"\\" + std::to_wstring(f);
        grs::test::CreateFolderTree(folder);
        for (int i = 0; i < kPerFolder; ++i) grs::test::WriteFileBytes(folder + L"\\" + std::to_wstring(i), "thumb");
    }
    const size_t kMiB = 1024 * 1024;
    grs::test::WriteFileBytes(from + L"\\empty", "");
    grs::test::WriteFileBytes(from + L"\\one", "1");
    grs::test::WriteFileBytes(from + L"\\largest", std::string(4 * kMiB - 1, 'l'));
    grs::test::WriteFileBytes(from + L"\\too-large", std::string(4 * kMiB, 'x'));
    grs::test::WriteFileBytes(from + L"\\covered", "new");
    grs::test::WriteFileBytes(from + L"\\locked", "new");
    grs::test::CreateFolderTree(to);
    grs::test::WriteFileBytes(to + L"\\covered", "old");
    grs::test::CreateFolderTree(to + L"\\locked");  // a folder in the file's place cannot be opened

    EXPECT_FALSE(ClientInitialize::CopySyncFolderToCache(source, destination));
    EXPECT_EQ(ClientStandIn::CacheCopyResCalls(), (std::vector<bool>{true, false}));
    for (int f = 0; f < kFolders; ++f)
        EXPECT_EQ(grs::test::ReadFileBytes(to + L"\\" + std::to_wstring(f % 4) + L"\\" + std::to_wstring(f) + L"\\49"),
                  "thumb");
    EXPECT_FALSE(grs::test::FileExists(to + L"\\empty"));
    EXPECT_FALSE(grs::test::FileExists(to + L"\\too-large"));
    EXPECT_EQ(grs::test::ReadFileBytes(to + L"\\largest").size(), 4 * kMiB - 1);
    EXPECT_EQ(grs::test::ReadFileBytes(to + L"\\covered"), "new");
    EXPECT_TRUE(grs::test::HasLogLine("ClientInitialize::CopyCacheFile", 5, to + L"\\locked Create File Fail"));
}

TEST_F(UserPropsStart, CacheCopyLogsADestinationThatWasThereBeforeCreatingIt) {
    const std::wstring source = sandbox.Root() / L"thumb.jpg", to = sandbox.Root() / L"copy.jpg";
    grs::test::WriteFileBytes(source, "new");
    const std::wstring copying = L"CopySyncFolderToCache CopyCacheFile srcPath = " + source + L" destPath = " + to;
    const std::wstring covered = L"CopySyncFolderToCache" + to + L" to be covered";
    const std::wstring copied = L"CopySyncFolderToCache COPYSUCCESS = " + source + L" destPath = " + to;
    const struct {
        const char* name;
        const char* before;  // nullptr: nothing there; "/": a folder
        std::vector<std::wstring> lines;
        bool result;
    } cases[] = {
        {"absent", nullptr, {copying, copied}, true},
        {"file", "old", {copying, covered, copied}, true},
        // Cannot be opened: still reported as there, then the failure and its
        // Win32 error (access denied); not passed up.
        {"folder", "/", {copying, covered, to + L" Create File Fail", L"Win32 error 5: " + to}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        grs::test::RemoveTree(to);
        if (c.before && std::string(c.before) == "/") {
            grs::test::CreateFolderTree(to);
        } else if (c.before) {
            grs::test::WriteFileBytes(to, c.before);
        }
        ClientStandIn::ClearLogLines();
        EXPECT_EQ(ClientInitialize::CopyCacheFile(source, to), c.result);
        std::vector<std::wstring> lines;
        for (const auto& line : grs::test::LogLinesOf("ClientInitialize::CopyCacheFile")) lines.push_back(line.message);
        EXPECT_EQ(lines, c.lines);
        if (c.lines.back() == copied) EXPECT_EQ(grs::test::ReadFileBytes(to), "new");
    }
}

}  // namespace
