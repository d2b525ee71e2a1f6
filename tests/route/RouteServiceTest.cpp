// The route service end to end: loopback routing servers, the stand-in's
// persisted route cache and parameter store.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <vector>

#include "core/TextUtil.h"
#include "globalrootservice/collaborators/ConfigEntityManager.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"
#include "support/LoopbackHttpServer.h"
#include "tests/common/TestSupport.h"

namespace {

using ClientStandIn::Text;
using grs::support::HttpAnswer;

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

class RouteService : public ::testing::Test {
protected:
    void SetUp() override {
        // Generous: every server here answers or drops at once, and a short
        // receive timeout turns a busy machine's slow 8 MiB answer into retries.
        ClientStandIn::SetHttpTimeouts(30000, 30000, 30000, 30000);
        ClientStandIn::SetText(Text::CurrentCountryCode, L"CN");
        StartServers();
    }
    // The primary and the four standby routing servers, all answering 404.
    void StartServers() {
        using Set = void (GlobalParamWrapper::*)(const std::wstring&);
        const Set setters[] = {&GlobalParamWrapper::SetZRVUrl, &GlobalParamWrapper::SetZRVBakUrl,
                               &GlobalParamWrapper::SetZRVBakUrl1, &GlobalParamWrapper::SetZRVBakRuUrl,
                               &GlobalParamWrapper::SetZRVBakEuUrl};
        for (int i = 0; i < 5; ++i) {
            servers[i] = std::make_unique<grs::support::LoopbackHttpServer>();
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
        servers[i]->SetAnswer("/zrv/1.0/ombrine/router", answer);
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
    static std::wstring Calls() {
        std::wstring text;
        for (const auto& call : ClientStandIn::SetterCalls()) text += call.name + L"=" + call.value + L";";
        ClientStandIn::ClearSetterCalls();
        return text;
    }

    grs::test::StandInSandbox sandbox;
    std::unique_ptr<grs::support::LoopbackHttpServer> servers[5];
};

TEST_F(RouteService, ServersAreAskedInTheirFixedOrderThenTheCache) {
    const wchar_t* const announcements[] = {L"use standby ZRV address1", L"use standby ZRV address asia",
                                            L"use standby ZRV address ru", L"use standby ZRV address eu"};
    const struct {
        int answering;  // -1: nobody; a silent primary is down (or drops the connection)
        const wchar_t* cacheCountry;
        size_t requests;
        const wchar_t* portal;  // of the record returned, null: none
        const wchar_t* cacheLine;
    } cases[] = {
        {0, nullptr, 1, L"https://remote", nullptr},
        {1, nullptr, 2, L"https://remote", nullptr},
        {4, nullptr, 5, L"https://remote", nullptr},
        {-1, L"CN", 20, L"https://cached", L"update ZRV from remote fail,use confilefile update"},
        {-1, L"DE", 20, nullptr, L"update ZRV from remote fail, countrycode is different, use serverconfile"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "answering " << c.answering << ", " << c.requests << " requests");
        StartServers();
        WriteCache(c.cacheCountry ? CacheText(c.cacheCountry, 7 * 86400000LL) : L"");  // old, but a last resort
        if (c.answering >= 0) Serve(c.answering, Body(1, "{\"g\":{\"portal\":\"https://remote\"}}"));
        if (c.answering == 1) {
            HttpAnswer drop;
            drop.dropConnection = true;
            servers[0]->SetAnswer("/zrv/1.0/ombrine/router", drop);
        } else if (c.answering != 0) {
            servers[0]->Stop();
        }

        const auto record = Resolve(false);
        ASSERT_EQ(record != nullptr, c.portal != nullptr);
        if (record) EXPECT_EQ(record->services.at(L"g").at(L"portal"), c.portal);
        const auto requests = ClientStandIn::RouteRequests();
        ASSERT_EQ(requests.size(), c.requests);
        std::vector<std::wstring> expected, announced;
        for (size_t i = 0; i < requests.size(); ++i) {
            EXPECT_EQ(requests[i], servers[i % 5]->BaseUrl() + L"/zrv/1.0/ombrine/router?reg_country=CN");
            if (i % 5 != 0) expected.push_back(announcements[i % 5 - 1]);
        }
        for (const auto& line : grs::test::LogLinesOf("Zorvane::GetZRVInfo"))
            if (line.severity == 2) announced.push_back(line.message);
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
    EXPECT_EQ(grs::FieldText(record->effectivePeriod), L"12345");
    const long long time = std::stoll(grs::FieldText(record->currentTime));
    EXPECT_TRUE(time >= before && time <= after) << time;
    EXPECT_EQ(ClientStandIn::GetConfigCountryCode(), L"RU");
}

TEST_F(RouteService, FailedAnswerReplacesAGoodCache) {
    WriteCache(CacheText(L"CN", 0));
    Serve(0, Body(0, "{\"g\":{\"portal\":\"https://failed\"}}"));
    EXPECT_EQ(Resolve(false), nullptr);
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 1u);
    EXPECT_FALSE(Initialise(true));  // the fresh cache now holds the failed answer
}

TEST_F(RouteService, EveryKnownKeyReachesItsSetterFromServerFreshCacheAndLastResort) {
    // Every service key the routing server may send, with the setter it must reach.
    std::wistringstream table(
        L"cas=CASBaseUrl upas=ASBaseUrl portal=PortalUrl basic=BasicUrl vfs=NspUrl cloudphoto=CloudPhotoUrl "
        L"business=BusinessUrl terms=AgreementUrl gw=GWUrl user=GOpenUserUrl club=QirentClubUrl "
        L"consumer=ConsumerUrl cbs=CBSUrl cbsv3=CbsV3Url pim=PIMDSUrl familyshare=FamilyShareUrl "
        L"feedbackannex=FeedBackAnnexUrl feedbackwithannex=FeedBackWithAnnexUrl feedbacklog=FeedBackLogUrl "
        L"operqrtserverid=OperqrtServerIdUrl testzavkooperqrturl=TestZavkooperqrtUrl configbasic=ConfigBasicUrl "
        L"consumerbusiness=ConsumerBusinessUrl syncserverurl=SyncServerUrl "
        L"userInformationservice=UserInformationserviceUrl help=HelpAndServiceUrl cloudphotov2=CloudPhotoV2Url "
        L"ubaurl=UBAUrl opensource=OpenSource content=ContentUrl extensions=ExtensionUrl trs=TrsUrl push=PushUrl "
        L"pushToken=PushTokenUrl cloudsyncdrive=CloudSyncDriveUrl dataExtract=DataExtractUrl "
        L"cloudServiceAgreement=CloudServiceAgreementUrl omcdn=OmCdnUrl omcdnBypass=OmCdnByPassUrl");
    std::string group = "{\"zrv\":\"https://ignored\",\"Portal\":\"https://ignored\"";
    std::map<std::wstring, std::wstring> keyToSetter;
    for (std::wstring pair; table >> pair;) {
        const std::wstring key = pair.substr(0, pair.find(L'='));
        keyToSetter[key] = pair.substr(key.size() + 1);
        group += ",\"" + grs::WideToUtf8(key) + "\":\"https://" + grs::WideToUtf8(key) + "/\"";
    }
    ASSERT_EQ(keyToSetter.size(), 39u);
    std::wstring expected;  // applied in key order
    for (const auto& entry : keyToSetter) expected += entry.second + L"=https://" + entry.first + L"/;";
    Serve(0, Body(1, "{\"com.qirent.cloud.pc\":" + group + "}}"));

    EXPECT_TRUE(Initialise(false));
    EXPECT_EQ(Calls(), expected);
    EXPECT_TRUE(grs::test::HasLogLine("Zorvane::ZRVInfoInitialise", 2, L"operqrtserverid:https://operqrtserverid/"));
    ClientStandIn::ClearRouteRequests();
    EXPECT_TRUE(Initialise(true));
    EXPECT_EQ(Calls(), expected);
    EXPECT_TRUE(ClientStandIn::RouteRequests().empty());

    for (auto& server : servers) server->Stop();
    EXPECT_TRUE(Initialise(false));
    EXPECT_EQ(Calls(), expected);
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 20u);
    ClientStandIn::SetText(Text::CurrentCountryCode, L"DE");
    EXPECT_FALSE(Initialise(true));
    EXPECT_TRUE(grs::test::HasLogLine(kFromLocal, 2, L"update ZRV, countryCode is different"));
    EXPECT_EQ(Calls(), L"");
}

TEST_F(RouteService, PreferredGroupWinsAndEmptyAddressesNeverOverwrite) {
    ClientStandIn::SetText(Text::PackageName, L"pkg");
    WriteCache(
        CacheText(L"CN", 0,
                  L"{\"a\":{\"cas\":\"two\",\"push\":\"three\",\"dravenstats\":\"D\",\"portal\":\"a-portal\"},"
                  L"\"b\":{\"push\":\"b-push\"},\"pkg\":{\"cas\":\"one\",\"operqrtserverid\":\"X\",\"portal\":\"\"}}"));
    EXPECT_TRUE(Initialise(true));
    EXPECT_EQ(Calls(), L"CASBaseUrl=one;OperqrtServerIdUrl=D;OperqrtServerIdUrl=X;PushUrl=three;");
    std::vector<std::wstring> logged;
    for (const auto& line : grs::test::LogLinesOf("Zorvane::ZRVInfoInitialise")) logged.push_back(line.message);
    EXPECT_EQ(logged, (std::vector<std::wstring>{L"dravenstats:D", L"operqrtserverid:X"}));
}

TEST_F(RouteService, RecordWhoseGroupsAreAllEmptyIsNotApplied) {
    const struct {
        const wchar_t* services;
        const wchar_t* calls;  // null: not applied
    } cases[] = {
        {L"{}", nullptr},
        {L"{\"com.pkg\":{}}", nullptr},
        {L"{\"com.pkg\":null,\"other\":{}}", nullptr},
        {L"{\"com.pkg\":{},\"other\":{\"cas\":\"c\"}}", L"CASBaseUrl=c;"},
    };
    ClientStandIn::SetText(Text::PackageName, L"com.pkg");
    for (const auto& c : cases) {
        SCOPED_TRACE(grs::WideToUtf8(c.services));
        WriteCache(CacheText(L"CN", 0, c.services));
        EXPECT_EQ(Initialise(true), c.calls != nullptr);
        EXPECT_EQ(Calls(), c.calls ? c.calls : L"");
    }
}

TEST_F(RouteService, HostileAnswersAreContained) {
    std::string thousand = "{";
    for (int i = 0; i < 1000; ++i)
        thousand += "\"g" + std::to_string(i) + "\":{\"cas\":\"c" + std::to_string(i) + "\"},";
    thousand.back() = '}';
    std::string deep;  // objects in objects, far deeper than any route answer
    for (int i = 0; i < 100000; ++i) deep += "{\"g\":";
    const struct {
        std::string body;
        const wchar_t* calls;  // null: nothing applied
        bool logged;           // "[Zorvane::GetDeserialize] ..."
    } cases[] = {
        {Body(1, "{\"g\":{\"cas\":{}}}"), nullptr, true},
        {"{\"isSuccess\":\"1\",\"services\":{\"g\":{\"cas\":\"x\"}}}", nullptr, true},
        {deep, nullptr, true},
        {std::string(200000, '['), nullptr, true},
        {std::string(200000, '{'), nullptr, false},  // not JSON from its second byte: no services
        {Body(1, "{\"g\":{\"cas\":\"big\",\"pad\":\"" + std::string(8 << 20, 'a') + "\"}}"), L"CASBaseUrl=big;", false},
        {std::string("{\"isSuccess\":1,") + '\0' + "\"services\":{\"g\":{\"cas\":\"x\"}}}", nullptr, false},
        {Body(1, "{\"g\":{\"cas\":\"\xC3\x28\xFF\"}}"), L"CASBaseUrl=\xFFFD(\xFFFD;", false},
        {Body(1, thousand), L"CASBaseUrl=c0;", false},
        {Body(1, "{\"g\":{\"cas\":\"c\r\nInjected: 1\"}}"), L"CASBaseUrl=c\r\nInjected: 1;", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 50));
        StartServers();
        Serve(0, c.body);
        EXPECT_EQ(Initialise(false), c.calls != nullptr);
        EXPECT_EQ(Calls(), c.calls ? c.calls : L"");
        EXPECT_EQ(ClientStandIn::RouteRequests().size(), 1u);  // any body is an answer
        EXPECT_EQ(grs::test::LogLinesOf("Zorvane::GetDeserialize").size(), c.logged ? 1u : 0u);
    }
}

}  // namespace
