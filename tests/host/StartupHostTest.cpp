// End to end: the start-up host over route-server, as a newcomer runs it.
#include <gtest/gtest.h>
#include <json/json.h>

#include <memory>
#include <string>

#include "core/PathUtil.h"
#include "tests/common/ChildProcess.h"
#include "tests/common/TestSupport.h"

namespace {

struct HostRun {
    DWORD exitCode = 0;
    Json::Value report;
};

// Runs startup-host.exe --json with `arguments` and parses its report.
HostRun RunHost(const std::wstring& arguments) {
    HostRun run;
    const std::wstring folder = grs::DirectoryWithSeparator(grs::HostExecutablePath());
    grs::test::TempFolder scratch;
    const std::wstring output = scratch / L"report.json";
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    grs::UniqueFile out(
        ::CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr));
    const grs::UniqueHandle host = grs::test::StartProcess(L"\"" + folder + L"startup-host.exe\" --json " + arguments,
                                                           out.get(), ::GetStdHandle(STD_ERROR_HANDLE));
    out.reset();
    if (!host) {
        ADD_FAILURE() << "cannot start the host";
        return run;
    }
    if (::WaitForSingleObject(host.get(), 300000) != WAIT_OBJECT_0) {
        grs::test::KillChild(host);
        ADD_FAILURE() << "the host did not finish";
    }
    ::GetExitCodeProcess(host.get(), &run.exitCode);
    const std::string text = grs::test::ReadFileBytes(output);
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &run.report, &errors)) << errors << text;
    return run;
}

std::string AddressSource(const HostRun& run, const char* name) {
    return run.report["addresses"][name]["source"].asString();
}

class StartupHost : public ::testing::Test {
protected:
    grs::test::TempFolder profile;
    std::wstring Profile() const { return L"--profile \"" + profile.Path() + L"\""; }
};

TEST_F(StartupHost, FirstStartAsksTheRoutingServerAndSecondAnswersFromTheCache) {
    const HostRun first = RunHost(Profile());
    EXPECT_EQ(first.exitCode, 0u);
    for (const auto& step : first.report["steps"])
        if (step["name"].asString().find("ZRVInfoInitialise(fromCache=true)") == std::string::npos)
            EXPECT_TRUE(step["ok"].asBool()) << step["name"].asString();
    EXPECT_EQ(first.report["routeSource"].asString(), "routing server (primary)");
    EXPECT_EQ(first.report["addresses"]["PortalUrl"]["value"].asString(), "https://portal.cn.pc-route.example");
    EXPECT_EQ(AddressSource(first, "CASBaseUrl"), "routing server (primary)");
    EXPECT_EQ(AddressSource(first, "ZRVUrl"), "server address file");
    EXPECT_EQ(first.report["settingsFiles"]["Setting.ini"]["Platform"].asString(), "x64");
    EXPECT_TRUE(first.report["settingsFiles"]["SyncSetting.ini"].isMember("CatchFolder"));

    const HostRun second = RunHost(Profile());
    EXPECT_EQ(second.report["routeSource"].asString(), "fresh route cache");
    EXPECT_EQ(second.report["routeRequests"].size(), 0u);
    EXPECT_EQ(AddressSource(second, "PortalUrl"), "fresh route cache");
}

TEST_F(StartupHost, StaleCacheIsTheLastResortOnlyForTheSameCountry) {
    RunHost(Profile() + L" --max-age 0");  // leaves a cache that is stale at once
    const HostRun offline = RunHost(Profile() + L" --offline");
    EXPECT_EQ(offline.report["routeRequests"].size(), 20u);
    EXPECT_EQ(offline.report["routeSource"].asString(), "route cache, last resort: no routing server answered");

    const HostRun otherCountry = RunHost(Profile() + L" --offline --country DE");
    EXPECT_EQ(otherCountry.report["routeSource"].asString(), "none: the server address file's addresses stay");
    EXPECT_EQ(AddressSource(otherCountry, "CASBaseUrl"), "server address file");
    EXPECT_EQ(otherCountry.report["addresses"]["CASBaseUrl"]["value"].asString(),
              "https://cas.dr3.serverconfig.example");
}

TEST_F(StartupHost, StandbyAnswersWhenThePrimaryFails) {
    const HostRun run = RunHost(Profile() + L" --primary fail");
    EXPECT_EQ(run.report["routeSource"].asString(), "none: the server address file's addresses stay");
    const HostRun dead = RunHost(Profile() + L" --primary dead");
    EXPECT_EQ(dead.report["routeSource"].asString(), "routing server (standby 1)");
    EXPECT_EQ(dead.report["routeRequests"].size(), 2u);
}

}  // namespace
