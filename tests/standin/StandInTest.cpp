// Promises of the stand-in libraries that the library's subsystems rely on.
#include <gtest/gtest.h>

#include <map>

#include "core/collaborators/AccountSession.h"
#include "core/collaborators/AnyHttpLib.h"
#include "core/collaborators/CloudLogger.h"
#include "core/collaborators/ConfigEntityManager.h"
#include "core/collaborators/GlobalParamWrapper.h"
#include "core/collaborators/MainDatabaseProvider.h"
#include "support/LoopbackHttpServer.h"
#include "tests/common/TestSupport.h"

namespace {

using grs::support::HttpAnswer;
using grs::support::LoopbackHttpServer;
namespace db = PropertyDb::MainDatabaseProvider;

TEST(StandIn, ConfigContentSurvivesARestart) {
    grs::test::StandInSandbox sandbox;
    std::wstring content = L"{\"countryCode\":\"\x4E2D\"}";
    ConfigEntityManager::GetInstance()->updateConfigContent(ConfigEntityRouteCache, content);
    ClientStandIn::Reset();  // a new process: nothing kept in memory
    ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, sandbox.AppData());
    EXPECT_EQ(ConfigEntityManager::GetInstance()->GetConfigContentByType(ConfigEntityRouteCache), content);
    EXPECT_EQ(ConfigEntityManager::GetInstance()->GetConfigContentByType(static_cast<ConfigEntityEnum>(7)), L"");
}

TEST(StandIn, PropertyRowsSurviveAReopenPerUser) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"alice");
    std::vector<PropertyDb::UserProperties> rows = {{L"B", L"2"}, {L"A", L"1"}, {L"C", L"\x00E9"}};
    db::InsertUserProperties(rows);
    db::UpdateUserProperties(L"A", L"one");
    db::UpdateUserProperties(L"Missing", L"x");  // updates only existing rows
    db::InsertUserProperties(L"B", L"two");      // replaces in place
    ClientStandIn::CloseDatabase();

    const auto reopened = db::GetAllUserProperties();
    ASSERT_EQ(reopened.size(), 3u);
    EXPECT_EQ(reopened[0].key, L"B");
    EXPECT_EQ(reopened[0].value, L"two");
    EXPECT_EQ(reopened[1].value, L"one");
    EXPECT_EQ(reopened[2].value, L"\x00E9");
    EXPECT_EQ(db::GetUserPropertieByKey(L"Missing"), L"");

    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"bob");
    EXPECT_TRUE(db::GetAllUserProperties().empty());
    db::InsertUserProperties(L"K", L"v");
    db::DeleteAllUserProperties();
    EXPECT_TRUE(db::GetAllUserProperties().empty());
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"alice");
    EXPECT_EQ(db::GetAllUserProperties().size(), 3u);
}

TEST(StandIn, LoggerKeepsEveryLineAndWritesTheFile) {
    grs::test::StandInSandbox sandbox;
    auto* logger = Logger::CloudLogger::GetInstance();
    logger->Output(Logger::ModuleMain, Logger::SeverityError, 122, "A::B", std::wstring(L"wide \x00FC"), true);
    logger->Output(Logger::ModuleMain, Logger::SeverityInfo, 7, "C::D", std::string("narrow"), false);
    const auto lines = ClientStandIn::LogLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].severity, 5);
    EXPECT_EQ(lines[0].line, 122);
    EXPECT_EQ(lines[0].message, L"wide \x00FC");
    EXPECT_TRUE(lines[0].wide);
    EXPECT_FALSE(lines[1].wide);
    EXPECT_FALSE(lines[1].flag);
    const std::string file = grs::test::ReadFileBytes(sandbox.Root() / L"client.log");
    EXPECT_NE(file.find("A::B:122 wide \xC3\xBC"), std::string::npos);
    EXPECT_NE(file.find("C::D:7 narrow"), std::string::npos);
}

TEST(StandIn, AddressSettersAreRecordedInOrder) {
    grs::test::StandInSandbox sandbox;
    auto* store = GlobalParamWrapper::GetInstance();
    store->SetPortalUrl(L"https://portal");
    store->SetPortalUrl(L"");
    store->SetZRVBakUrl1(L"https://asia");
    EXPECT_EQ(store->GetPortalUrl(), L"");
    EXPECT_EQ(store->GetZRVBakUrl1(), L"https://asia");
    const auto calls = ClientStandIn::SetterCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].name, L"PortalUrl");
    EXPECT_EQ(calls[2].name, L"ZRVBakUrl1");
}

TEST(StandIn, RouteRequestReturnsBodyAndHeadersOnlyOnSuccess) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetHttpTimeouts(2000, 2000, 2000, 2000);
    LoopbackHttpServer server;
    ASSERT_TRUE(server.Start());
    HttpAnswer ok;
    ok.body = "{\"isSuccess\":1}";
    ok.headers = {{"Cache-Control", "max-age=86400"}};
    server.SetAnswer("/ok", ok);
    HttpAnswer failing;
    failing.status = 503;
    failing.body = "busy";
    server.SetAnswer("/busy", failing);
    HttpAnswer dropped;
    dropped.dropConnection = true;
    server.SetAnswer("/drop", dropped);

    struct Case {
        std::wstring path;
        std::string body;
    } cases[] = {{L"/ok?reg_country=CN", ok.body}, {L"/busy", ""}, {L"/drop", ""}, {L"/missing", ""}};
    for (const auto& c : cases) {
        std::map<std::string, std::string> headers;
        EXPECT_EQ(AccountSession::GetInstance()->GetZrvRemoteInfo(server.BaseUrl() + c.path, headers), c.body)
            << grs::test::Narrow(c.path);
        if (!c.body.empty()) EXPECT_EQ(headers["Cache-Control"], "max-age=86400");
    }
    EXPECT_EQ(server.Requests()[0].target, "/ok?reg_country=CN");
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 4u);

    const uint16_t deadPort = server.Port();
    server.Stop();
    std::map<std::string, std::string> headers;
    EXPECT_EQ(AccountSession::GetInstance()->GetZrvRemoteInfo(
                  L"http://127.0.0.1:" + std::to_wstring(deadPort) + L"/ok", headers),
              "");
}

TEST(StandIn, HttpClassesPostWithHeadersAndReportStatus) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetHttpTimeouts(2000, 2000, 2000, 2000);
    LoopbackHttpServer server;
    ASSERT_TRUE(server.Start());
    HttpAnswer answer;
    answer.body = "{\"serverUrl\":\"https://sync\"}";
    server.SetAnswer("/getServerInfo", answer);

    std::vector<std::string> diagnostics;
    std::string response;
    int status = 0;
    {
        AnyBasicHttpLibStrategy strategy;
        strategy.SetUrl(grs::test::Narrow(server.BaseUrl()) + "/getServerInfo");
        strategy.SetLogFunction([&](const std::string& m) { diagnostics.push_back(m); });
        strategy.SetHttpRequestMethod(AnyHttpRequestPost);
        strategy.SetPostData("{\"isoCode\":\"CN\"}");
        strategy.SetHeaders({{"Content-Type", "application/json"}});
        AnyCurlHttpLibContext context(&strategy);
        status = context.Request(response);
    }
    EXPECT_EQ(status, 200);
    EXPECT_EQ(response, answer.body);
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0].method, "POST");
    EXPECT_EQ(server.Requests()[0].body, "{\"isoCode\":\"CN\"}");
    EXPECT_EQ(server.Requests()[0].headers.at("content-type"), "application/json");
    EXPECT_FALSE(diagnostics.empty());

    server.Stop();
    AnyBasicHttpLibStrategy strategy;
    strategy.SetUrl(grs::test::Narrow(server.BaseUrl()) + "/getServerInfo");
    AnyCurlHttpLibContext context(&strategy);
    EXPECT_LT(context.Request(response), 0);
    EXPECT_TRUE(response.empty());
}

}  // namespace

namespace {

// A server that accepts and never answers must not hold the caller longer
// than the configured time-outs.
TEST(StandIn, SilentServerIsBoundedByTheTimeouts) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetHttpTimeouts(500, 500, 500, 500);
    LoopbackHttpServer server;
    ASSERT_TRUE(server.Start());
    HttpAnswer silent;
    silent.neverAnswer = true;
    server.SetDefaultAnswer(silent);
    std::map<std::string, std::string> headers;
    EXPECT_EQ(AccountSession::GetInstance()->GetZrvRemoteInfo(server.BaseUrl() + L"/zrv", headers), "");
}

}  // namespace
