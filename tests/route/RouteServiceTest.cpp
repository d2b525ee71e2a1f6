// The route service end to end: loopback routing servers, the stand-in's
// persisted route cache and parameter store.
#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <vector>

#include "core/TextUtil.h"
#include "core/collaborators/ConfigEntityManager.h"
#include "core/collaborators/GlobalParamWrapper.h"
#include "route/RouteDetail.h"
#include "route/Zorvane.h"
#include "support/LoopbackHttpServer.h"
#include "tests/common/TestSupport.h"

namespace {

using ClientStandIn::Text;
using grs::support::HttpAnswer;
using grs::support::LoopbackHttpServer;

constexpr char kRouterPath[] = "/zrv/1.0/ombrine/router";
constexpr char kGetZRVInfo[] = "Zorvane::GetZRVInfo";
constexpr char kFromLocal[] = "Zorvane::GetZRVInfoFromLocal";

std::string Body(int isSuccess, const std::string& services) {
    return "{\"countryCode\":\"XX\",\"isSuccess\":" + std::to_string(isSuccess) + ",\"services\":" + services + "}";
}

// A cache entry as the service writes it, obtained `ageMs` ago, valid for a day.
std::wstring CacheText(const std::wstring& country, long long ageMs,
                       const std::wstring& services = L"{\"g\":{\"portal\":\"https://cached\"}}") {
    return L"{\"countryCode\":\"" + country + L"\",\"currentTime\":\"" +
           std::to_wstring(grs::route::NowMilliseconds() - ageMs) +
           L"\",\"effectivePeriod\":\"86400\",\"isSuccess\":1,\"services\":" + services + L"}";
}

const wchar_t* const kAnnouncements[] = {L"use standby ZRV address1", L"use standby ZRV address asia",
                                         L"use standby ZRV address ru", L"use standby ZRV address eu"};

class RouteService : public ::testing::Test {
protected:
    void SetUp() override {
        ClientStandIn::SetHttpTimeouts(1000, 1000, 1000, 1000);
        ClientStandIn::SetText(Text::CurrentCountryCode, L"CN");
        StartServers();
    }
    void StartServers() {
        using Set = void (GlobalParamWrapper::*)(const std::wstring&);
        const Set setters[] = {&GlobalParamWrapper::SetZRVUrl, &GlobalParamWrapper::SetZRVBakUrl,
                               &GlobalParamWrapper::SetZRVBakUrl1, &GlobalParamWrapper::SetZRVBakRuUrl,
                               &GlobalParamWrapper::SetZRVBakEuUrl};
        for (int i = 0; i < 5; ++i) {
            servers[i] = std::make_unique<LoopbackHttpServer>();
            ASSERT_TRUE(servers[i]->Start());
            (GlobalParamWrapper::GetInstance()->*setters[i])(servers[i]->BaseUrl());
        }
        ClientStandIn::ClearRouteRequests();
        ClientStandIn::ClearSetterCalls();
        ClientStandIn::ClearLogLines();
    }
    void Serve(int i, const std::string& body, const std::string& cacheControl = "max-age=86400") {
        HttpAnswer answer;
        answer.body = body;
        answer.headers = {{"Cache-Control", cacheControl}};
        servers[i]->SetAnswer(kRouterPath, answer);
    }
    void AllDown() {
        for (auto& server : servers) server->Stop();
    }
    static void WriteCache(std::wstring text) {
        ConfigEntityManager::GetInstance()->updateConfigContent(ConfigEntityRouteCache, text);
    }
    static std::unique_ptr<st_ZRVInfo> Resolve(bool fromCache) {
        return std::unique_ptr<st_ZRVInfo>(Zorvane::GetInstance()->GetZRVInfo(fromCache));
    }
    static bool Initialise(bool fromCache) {
        bool succeeded = !fromCache;  // must be overwritten either way
        Zorvane::GetInstance()->ZRVInfoInitialise(fromCache, succeeded);
        return succeeded;
    }
    std::wstring UrlOf(int i) const { return servers[i]->BaseUrl() + L"/zrv/1.0/ombrine/router?reg_country=CN"; }

    grs::test::StandInSandbox sandbox;
    std::unique_ptr<LoopbackHttpServer> servers[5];
};

TEST_F(RouteService, ServersAreAskedInTheirFixedOrderThenTheCache) {
    const std::string ok = Body(1, "{\"g\":{\"portal\":\"https://remote\"}}");
    const struct {
        int answering;      // -1: nobody
        bool primaryDrops;  // closes without answering; otherwise a silent primary is down
        const wchar_t* cacheCountry;
        size_t requests;
        const wchar_t* portal;  // of the record returned, null: none
        const wchar_t* cacheLine;
    } cases[] = {
        {0, false, nullptr, 1, L"https://remote", nullptr},
        {1, true, nullptr, 2, L"https://remote", nullptr},
        {4, false, nullptr, 5, L"https://remote", nullptr},
        {-1, false, L"CN", 20, L"https://cached", L"update ZRV from remote fail,use confilefile update"},
        {-1, false, L"DE", 20, nullptr, L"update ZRV from remote fail, countrycode is different, use serverconfile"},
        {-1, false, nullptr, 20, nullptr, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "answering " << c.answering << ", cache "
                                        << grs::test::Narrow(c.cacheCountry ? c.cacheCountry : L"-"));
        StartServers();
        // A week-old cache: the last resort takes it however old.
        WriteCache(c.cacheCountry ? CacheText(c.cacheCountry, 7 * 86400000LL) : L"");
        if (c.answering >= 0) Serve(c.answering, ok);
        if (c.primaryDrops) {
            HttpAnswer drop;
            drop.dropConnection = true;
            servers[0]->SetAnswer(kRouterPath, drop);
        } else if (c.answering != 0) {
            servers[0]->Stop();
        }

        const auto record = Resolve(false);
        ASSERT_EQ(record != nullptr, c.portal != nullptr);
        if (record) EXPECT_EQ(record->services.begin()->second.at(L"portal"), c.portal);
        const auto requests = ClientStandIn::RouteRequests();
        ASSERT_EQ(requests.size(), c.requests);
        std::vector<std::wstring> expected, announced;
        for (size_t i = 0; i < requests.size(); ++i) {
            EXPECT_EQ(requests[i], UrlOf(static_cast<int>(i % 5)));
            if (i % 5 != 0) expected.push_back(kAnnouncements[i % 5 - 1]);
        }
        for (const auto& line : grs::test::LogLinesOf(kGetZRVInfo)) {
            EXPECT_EQ(line.severity, 2);
            announced.push_back(line.message);
        }
        EXPECT_EQ(announced, expected);
        if (c.cacheLine) EXPECT_TRUE(grs::test::HasLogLine(kFromLocal, 2, c.cacheLine));
    }
}

TEST_F(RouteService, AnswerIsCachedWithItsPeriodTheClockAndTheAskedCountry) {
    ClientStandIn::SetText(Text::CurrentCountryCode, L"");
    ClientStandIn::SetText(Text::CountryCode, L"RU");
    Serve(0, Body(1, "{\"g\":{\"portal\":\"https://p\"}}"), "public, max-age=1234567");
    const long long before = grs::route::NowMilliseconds();
    ASSERT_NE(Resolve(false), nullptr);
    const long long after = grs::route::NowMilliseconds();
    EXPECT_EQ(ClientStandIn::RouteRequests().at(0), servers[0]->BaseUrl() + L"/zrv/1.0/ombrine/router?reg_country=RU");

    ClientStandIn::Reset();  // a restart: only the persisted cache remains
    ClientStandIn::SetText(Text::AppDataLocalPath, sandbox.AppData());
    EXPECT_EQ(Resolve(true), nullptr);  // the user's country is still empty
    ClientStandIn::SetText(Text::CurrentCountryCode, L"RU");
    const auto record = Resolve(true);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->countryCode, L"RU");
    EXPECT_EQ(grs::route::FieldText(record->effectivePeriod), L"12345");
    const long long time = std::stoll(grs::route::FieldText(record->currentTime));
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
    EXPECT_EQ(ClientStandIn::GetConfigCountryCode(), L"RU");
}

TEST_F(RouteService, FailedAnswerReplacesAGoodCache) {
    WriteCache(CacheText(L"CN", 0));
    Serve(0, Body(0, "{\"g\":{\"portal\":\"https://failed\"}}"));
    EXPECT_EQ(Resolve(false), nullptr);
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 1u);
    EXPECT_FALSE(Initialise(true));  // the fresh cache now holds the failed answer
    EXPECT_NE(grs::test::ReadFileBytes(ClientStandIn::ContentFilePath(5)).find("https://failed"), std::string::npos);
}

TEST_F(RouteService, FreshnessOfTheCacheDecidesWithoutARequest) {
    const struct {
        std::wstring cache;
        const wchar_t* userCountry;
        bool kept;
        int severity;
        const wchar_t* line;
    } cases[] = {
        {CacheText(L"CN", 1000), L"CN", true, 2, L"not update ZRV, use address from configfile"},
        {CacheText(L"CN", 86400000 + 1000), L"CN", false, 0, nullptr},
        {CacheText(L"CN", 1000), L"DE", false, 2, L"update ZRV, countryCode is different"},
        {CacheText(L"", 1000), L"", false, 5, L"get current time out of length or not get user countryCode."},
        {L"{\"currentTime\":{},\"isSuccess\":1}", L"CN", false, 0, nullptr},
        {L"not json", L"CN", false, 0, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(grs::test::Narrow(c.cache));
        ClientStandIn::ClearLogLines();
        ClientStandIn::SetText(Text::CurrentCountryCode, c.userCountry);
        WriteCache(c.cache);
        EXPECT_EQ(Initialise(true), c.kept);
        if (c.line) EXPECT_TRUE(grs::test::HasLogLine(kFromLocal, c.severity, c.line));
    }
    EXPECT_TRUE(ClientStandIn::RouteRequests().empty());
}

TEST_F(RouteService, EveryKnownKeyReachesItsSetterFromServerFreshCacheAndLastResort) {
    const std::pair<const char*, const wchar_t*> keys[] = {{"cas", L"CASBaseUrl"},
                                                           {"upas", L"ASBaseUrl"},
                                                           {"portal", L"PortalUrl"},
                                                           {"basic", L"BasicUrl"},
                                                           {"vfs", L"NspUrl"},
                                                           {"cloudphoto", L"CloudPhotoUrl"},
                                                           {"business", L"BusinessUrl"},
                                                           {"terms", L"AgreementUrl"},
                                                           {"gw", L"GWUrl"},
                                                           {"user", L"GOpenUserUrl"},
                                                           {"club", L"QirentClubUrl"},
                                                           {"consumer", L"ConsumerUrl"},
                                                           {"cbs", L"CBSUrl"},
                                                           {"cbsv3", L"CbsV3Url"},
                                                           {"pim", L"PIMDSUrl"},
                                                           {"familyshare", L"FamilyShareUrl"},
                                                           {"feedbackannex", L"FeedBackAnnexUrl"},
                                                           {"feedbackwithannex", L"FeedBackWithAnnexUrl"},
                                                           {"feedbacklog", L"FeedBackLogUrl"},
                                                           {"operqrtserverid", L"OperqrtServerIdUrl"},
                                                           {"testzavkooperqrturl", L"TestZavkooperqrtUrl"},
                                                           {"configbasic", L"ConfigBasicUrl"},
                                                           {"consumerbusiness", L"ConsumerBusinessUrl"},
                                                           {"syncserverurl", L"SyncServerUrl"},
                                                           {"userInformationservice", L"UserInformationserviceUrl"},
                                                           {"help", L"HelpAndServiceUrl"},
                                                           {"cloudphotov2", L"CloudPhotoV2Url"},
                                                           {"ubaurl", L"UBAUrl"},
                                                           {"opensource", L"OpenSource"},
                                                           {"content", L"ContentUrl"},
                                                           {"extensions", L"ExtensionUrl"},
                                                           {"trs", L"TrsUrl"},
                                                           {"push", L"PushUrl"},
                                                           {"pushToken", L"PushTokenUrl"},
                                                           {"cloudsyncdrive", L"CloudSyncDriveUrl"},
                                                           {"dataExtract", L"DataExtractUrl"},
                                                           {"cloudServiceAgreement", L"CloudServiceAgreementUrl"},
                                                           {"omcdn", L"OmCdnUrl"},
                                                           {"omcdnBypass", L"OmCdnByPassUrl"}};
    std::string group = "{\"zrv\":\"https://ignored\",\"Portal\":\"https://ignored\"";
    for (const auto& key : keys) group += std::string(",\"") + key.first + "\":\"https://" + key.first + "/\"";
    Serve(0, Body(1, "{\"com.qirent.cloud.pc\":" + group + "}}"));

    const auto expectAllSet = [&] {
        const auto calls = ClientStandIn::SetterCalls();
        EXPECT_EQ(calls.size(), std::size(keys));
        for (const auto& key : keys) {
            const std::wstring address = L"https://" + grs::Utf8ToWide(key.first) + L"/";
            EXPECT_EQ(ClientStandIn::GetAddress(key.second), address) << key.first;
        }
        ClientStandIn::ClearSetterCalls();
    };
    EXPECT_TRUE(Initialise(false));
    expectAllSet();
    EXPECT_TRUE(grs::test::HasLogLine("Zorvane::ZRVInfoInitialise", 2, L"operqrtserverid:https://operqrtserverid/"));
    ClientStandIn::ClearRouteRequests();
    EXPECT_TRUE(Initialise(true));
    expectAllSet();
    EXPECT_TRUE(ClientStandIn::RouteRequests().empty());

    AllDown();
    EXPECT_TRUE(Initialise(false));
    expectAllSet();
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 20u);
    ClientStandIn::SetText(Text::CurrentCountryCode, L"DE");
    EXPECT_FALSE(Initialise(false));
    EXPECT_TRUE(ClientStandIn::SetterCalls().empty());
}

TEST_F(RouteService, PreferredGroupWinsAndEmptyAddressesNeverOverwrite) {
    ClientStandIn::SetText(Text::PackageName, L"pkg");
    WriteCache(CacheText(L"CN", 0,
                         L"{\"a\":{\"cas\":\"two\",\"push\":\"three\",\"dravenstats\":\"D\",\"portal\":\"a-portal\"},"
                         L"\"b\":{\"push\":\"b-push\"},"
                         L"\"pkg\":{\"cas\":\"one\",\"operqrtserverid\":\"X\",\"portal\":\"\"}}"));
    EXPECT_TRUE(Initialise(true));
    const auto calls = ClientStandIn::SetterCalls();
    std::wstring seen;
    for (const auto& call : calls) seen += call.name + L"=" + call.value + L";";
    EXPECT_EQ(seen, L"CASBaseUrl=one;OperqrtServerIdUrl=D;OperqrtServerIdUrl=X;PushUrl=three;");
    std::vector<std::wstring> logged;
    for (const auto& line : grs::test::LogLinesOf("Zorvane::ZRVInfoInitialise")) logged.push_back(line.message);
    EXPECT_EQ(logged, (std::vector<std::wstring>{L"dravenstats:D", L"operqrtserverid:X"}));

    WriteCache(CacheText(L"CN", 0, L"{}"));
    EXPECT_FALSE(Initialise(true));  // a successful record without groups
}

TEST_F(RouteService, HostileAnswersAreContained) {
    std::string thousand = "{";
    for (int i = 0; i < 1000; ++i)
        thousand += "\"g" + std::to_string(i) + "\":{\"cas\":\"https://c" + std::to_string(i) + "\"},";
    thousand.back() = '}';
    const struct {
        std::string body;
        bool succeeded;
        std::wstring cas;  // expected CASBaseUrl when applied
        bool logged;       // "[Zorvane::GetDeserialize] ..."
    } cases[] = {
        {Body(1, "{\"g\":{\"cas\":{}}}"), false, L"", true},
        {"{\"isSuccess\":\"1\",\"services\":{\"g\":{\"cas\":\"x\"}}}", false, L"", true},
        {std::string(200000, '{'), false, L"", true},
        {Body(1, "{\"g\":{\"cas\":\"https://big\",\"pad\":\"" + std::string(8 << 20, 'a') + "\"}}"), true,
         L"https://big", false},
        {std::string("{\"isSuccess\":1,") + '\0' + "\"services\":{\"g\":{\"cas\":\"x\"}}}", false, L"", false},
        {Body(1, "{\"g\":{\"cas\":\"\xC3\x28\xFF\"}}"), true, L"\xFFFD(\xFFFD", false},
        {Body(1, thousand), true, L"https://c0", false},
        {Body(1, "{\"g\":{\"cas\":\"https://c\r\nInjected: 1\"}}"), true, L"https://c\r\nInjected: 1", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 50));
        StartServers();
        Serve(0, c.body);
        EXPECT_EQ(Initialise(false), c.succeeded);
        EXPECT_EQ(ClientStandIn::RouteRequests().size(), 1u);  // any body is an answer
        EXPECT_EQ(ClientStandIn::GetAddress(L"CASBaseUrl"), c.cas);
        EXPECT_EQ(grs::test::LogLinesOf("Zorvane::GetDeserialize").size(), c.logged ? 1u : 0u);
        GlobalParamWrapper::GetInstance()->SetCASBaseUrl(L"");
    }
}

}  // namespace
