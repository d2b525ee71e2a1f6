// "SyncSetting.ini" and the server-info request.
#include <algorithm>

#include "support/LoopbackHttpServer.h"
#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

using SyncSettingIni = SettingsTest;

std::wstring ReadWide(const std::wstring& path, const wchar_t* key) {
    wchar_t buffer[512] = {};
    ::GetPrivateProfileStringW(L"SyncSetting", key, L"<absent>", buffer, 512, path.c_str());
    return buffer;
}

std::string ReadNarrow(const std::wstring& path, const char* key) {
    char buffer[512] = {};
    const std::string ansiPath = WideToMultiByte(path, kCodePageAnsi);
    ::GetPrivateProfileStringA("SyncSetting", key, "<absent>", buffer, 512, ansiPath.c_str());
    return buffer;
}

TEST_F(SyncSettingIni, CreateMirrorsTheStoreAndNamesTheUserCache) {
    Store().SetUserInformationserviceUrl(L"u");
    Store().SetTestZavkooperqrtUrl(L"t");
    ClientStandIn::SetText(ClientStandIn::Text::SystemUUid, L"id");
    ClientStandIn::SetText(ClientStandIn::Text::PCModel, L"m\r\nEvil=1\r\n[Other]");  // a line break adds no key
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"abc");
    CopyToField(Show().Version, L"v");
    const std::wstring digest = L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    // One backslash between folder and digest; the folders are UTF-8 bytes.
    for (const std::wstring folder : {L"C:\\Cache", L"C:\\Cache\\", L"C:\\Cach\u00e9"}) {
        SCOPED_TRACE(grs::WideToUtf8(folder));
        CopyToField(Show().CacheFolder, folder);
        ClientInitialize::CreateSyncSettingFile();
        wchar_t section[2048] = {};
        const DWORD length = ::GetPrivateProfileSectionW(L"SyncSetting", section, 2048, SyncPath().c_str());
        std::wstring keys(section, length);
        keys = keys.substr(0, keys.find(L"ThumbnailRootFolder="));
        std::replace(keys.begin(), keys.end(), L'\0', L';');
        EXPECT_EQ(
            keys,
            L"ServerUrl=;FamilyShareUrl=;NspUrl=;HelpAndServiceUrl=;UserinformationUrl=u;MacAddressEncrypt=SYNCid;"
            L"deviceUUid=id;PcVersion=v;ConfigBasic=;BusinessUrl=;BaseUri=t;UBAUri=;PCModel=m;BasicUrl=;"
            L"OpenSource=;Portal=;OmCdnUrl=;OmCdnByPassUrl=;");
        const std::wstring root = folder + (folder.back() == L'\\' ? L"" : L"\\") + digest;
        EXPECT_EQ(ReadNarrow(SyncPath(), "ThumbnailRootFolder"), WideToUtf8(root + L"\\SyncThumbnailFile\\"));
        EXPECT_EQ(ReadNarrow(SyncPath(), "LcdThumbnailRootFolder"), WideToUtf8(root + L"\\LcdSyncThumbnailFile\\"));
        EXPECT_EQ(ReadNarrow(SyncPath(), "CatchFolder"), WideToUtf8(root));
        EXPECT_EQ(ReadWide(SyncPath(), L"Evil"), L"<absent>");
        EXPECT_EQ(Attributes(SyncPath()), kAtRest);
    }
}

TEST_F(SyncSettingIni, SaveOperationsChangeACopyOnly) {
    ClientInitialize::SavePCModel(L"x");
    ClientInitialize::SaveSyncThumbnailRootFolder(L"D:\\T");
    EXPECT_FALSE(FileExists(SyncPath()));

    ClientInitialize::CreateSyncSettingFile();
    ClientStandIn::SetText(ClientStandIn::Text::PCModel, L"Changed");
    const std::string before = ReadFileBytes(SyncPath());
    ClientInitialize::SavePCModel(L"x");
    ClientInitialize::SaveSyncThumbnailRootFolder(L"D:\\T");
    ClientInitialize::SaveSyncLcdThumbnailRootFolder(L"D:\\T");
    EXPECT_EQ(ReadFileBytes(SyncPath()), before);
    EXPECT_EQ(Attributes(SyncPath()), kAtRest);
}

// The one test of the background poll.
TEST_F(SyncSettingIni, BaseUriFollowsTheServerIdAddressOnceKnown) {
    const wchar_t kWaiting[] = L"SyncSetting.ini not exist, or reqUri is empty!";
    Store().SetTestZavkooperqrtUrl(L"https://test-ops");
    ClientInitialize::CreateSyncSettingFile();
    for (int i = 0; i < 100 && !HasLogLine("ClientInitialize::SyncBaseUri", 5, kWaiting); ++i) ::Sleep(50);
    ASSERT_TRUE(HasLogLine("ClientInitialize::SyncBaseUri", 5, kWaiting));
    EXPECT_EQ(ReadWide(SyncPath(), L"BaseUri"), L"https://test-ops");

    Store().SetOperqrtServerIdUrl(L"https://server-id");
    for (int i = 0; i < 300 && ReadWide(SyncPath(), L"BaseUri") != L"https://server-id"; ++i) ::Sleep(50);
    EXPECT_EQ(ReadWide(SyncPath(), L"BaseUri"), L"https://server-id");
}

TEST_F(SyncSettingIni, ServerInfoRequestAndItsAnswers) {
    support::LoopbackHttpServer server;
    ASSERT_TRUE(server.Start());
    Store().SetOperqrtServerIdUrl(server.BaseUrl());
    const std::pair<support::HttpAnswer, const char*> rows[] = {
        {{200, R"({"serverUrl":"https://sync.example"})"}, "https://sync.example"},
        {{200, "not json"}, ""},
        {{200, R"({"serverUrl":{"a":1}})"}, ""},
        {{200, "[1,2]"}, ""},
        {{500, ""}, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first.body);
        server.ClearRequests();
        server.SetAnswer("/getServerInfo", row.first);
        EXPECT_EQ(ClientInitializeTestAccess::GetBaseUri(), row.second);
        const auto requests = server.Requests();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].method + " " + requests[0].body + " " + requests[0].headers.at("content-type"),
                  R"(POST {"isoCode":"CN"} application/json)");
    }
    EXPECT_TRUE(HasLogLine("ClientInitialize::GetBaseUri", 5, L"500"));
    EXPECT_TRUE(HasLogLine("ClientInitialize::GetBaseUri", 5, L"https://sync.example"));
    server.Stop();
    EXPECT_EQ(ClientInitializeTestAccess::GetBaseUri(), "");
}

}  // namespace
}  // namespace grs::test
