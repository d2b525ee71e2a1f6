// End to end: the start-up host over route-server, as a newcomer runs it.
#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "core/PathUtil.h"
#include "core/UniqueResource.h"
#include "tests/common/ChildProcess.h"
#include "tests/common/TestSupport.h"
#include "inspect/Inspect.h"
#include "tests/host/HostFixtures.h"

namespace {

using grs::test::FolderContents;
using grs::test::ScratchRunKey;

struct HostRun {
    DWORD exitCode = 0;
    Json::Value report;
};

// Runs `program` (beside the tests) with `arguments` and parses its JSON
// report, when `report` says it writes one.
HostRun RunProgram(const std::wstring& program, const std::wstring& arguments, bool report = true) {
    HostRun run;
    const std::wstring folder = grs::DirectoryWithSeparator(grs::HostExecutablePath());
    grs::test::TempFolder scratch;
    const std::wstring output = scratch / L"report.json";
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    grs::UniqueFile out(
        ::CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr));
    const grs::UniqueHandle host = grs::test::StartProcess(L"\"" + folder + program + L"\" " + arguments, out.get(),
                                                           ::GetStdHandle(STD_ERROR_HANDLE));
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
    if (!report) return run;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &run.report, &errors)) << errors << text;
    return run;
}

HostRun RunHost(const std::wstring& arguments) {
    return RunProgram(L"startup-host.exe", L"--json " + arguments);
}

HostRun RunSupport(const std::wstring& arguments) {
    return RunProgram(L"grs-support\\grs-support.exe", L"inspect --json " + arguments);
}

std::string AddressSource(const HostRun& run, const char* name) {
    return run.report["addresses"][name]["source"].asString();
}

class StartupHost : public ::testing::Test {
protected:
    grs::test::TempFolder profile;
    std::wstring Profile() const { return L"--profile \"" + profile.Path() + L"\""; }
};

// Without its last backslash, which would escape the closing quote on a command line.
std::wstring HostFolder() {
    const std::wstring folder = grs::DirectoryWithSeparator(grs::HostExecutablePath());
    return folder.substr(0, folder.size() - 1);
}

std::string SummaryLine(const HostRun& run) {
    return run.report["summary"]["line"].asString();
}

// A finding by its code; `fact` is data its message carries, not wording.
bool HasFinding(const HostRun& run, const std::string& area, const std::string& key, const std::string& severity,
                const std::string& code, const std::string& fact = "") {
    for (const auto& finding : run.report["findings"])
        if (finding["area"].asString() == area && finding["key"].asString() == key &&
            finding["severity"].asString() == severity && finding["code"].asString() == code &&
            finding["message"].asString().find(fact) != std::string::npos)
            return true;
    return false;
}

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

TEST_F(StartupHost, InspectingTheDemosProfileFindsNothingWrong) {
    RunHost(Profile());
    // The stand-in keeps the route cache in its own content file.
    const HostRun inspected = RunSupport(L"--appdata \"" + profile / L"AppData" + L"\" --exe-dir \"" + HostFolder() +
                                         L"\" --route-cache \"" + profile / L"AppData\\ClientStandIn\\content-5.txt" +
                                         L"\" --hkcu Software\\GlobalRootServiceDemo\\HKCU --user demo-user");
    EXPECT_EQ(inspected.exitCode, 0u);
    EXPECT_EQ(inspected.report["summary"]["problems"].asUInt(), 0u) << SummaryLine(inspected);
    EXPECT_EQ(inspected.report["summary"]["warnings"].asUInt(), 0u) << SummaryLine(inspected);
    EXPECT_TRUE(HasFinding(inspected, "Setting.ini", "Platform", "ok", "key-value", "\"x64\""));
    EXPECT_TRUE(HasFinding(inspected, "SyncSetting.ini", "CatchFolder", "ok", "cache-folder", "\"demo-user\""));
    EXPECT_TRUE(HasFinding(inspected, "ServerConfig", "ServerConfig", "ok", "server-file-loaded", "46"));
    EXPECT_TRUE(HasFinding(inspected, "RouteCache", "[freshness]", "ok", "route-fresh"));
}

// The program's exit status, for scripts: 2 when the check could not be made.
TEST(StartupHostInspect, ExitStatusWhenNothingCanBeChecked) {
    grs::test::TempFolder root;
    const struct {
        const char* name;
        std::wstring arguments;
    } rows[] = {
        {"no such app-data folder", L"inspect --appdata \"" + root / L"missing" + L"\""},
        {"no such bundle", L"inspect \"" + root / L"missing.zip" + L"\""},
        {"a command line not understood", L"inspect --appdata"},
        {"no command", L""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(RunProgram(L"grs-support\\grs-support.exe", row.arguments, false).exitCode,
                  static_cast<DWORD>(inspect::kExitCouldNotCheck));
    }
}

TEST(StartupHostInspect, ReportsWhatIsWrongAndChangesNothing) {
    grs::test::TempFolder root;
    const std::wstring appData = root / L"AppData";
    const std::wstring install = root / L"Program";
    grs::test::CreateFolderTree(appData);
    grs::test::CreateFolderTree(install);
    grs::test::WriteFileBytes(appData + L"\\Setting.ini", "[Setting]\r\nSpaceOMVersion=0\r\nIsAutoStartUp=1\r\n");
    grs::test::WriteFileBytes(appData + L"\\SyncSetting.ini", "[SyncSetting]\r\nPortal=https://p.example\r\n");
    grs::test::WriteFileBytes(appData + L"\\Setting.ini~7-1.tmp", "[Setting]\r\n");
    grs::test::WriteFileBytes(install + L"\\ServerConfig", "{\"cn\": {\"zrv\": }}");
    grs::test::WriteFileBytes(root / L"route.json",
                              "{\"countryCode\":\"DE\",\"currentTime\":\"1600000000000\",\"effectivePeriod\":\"86400\","
                              "\"isSuccess\":1,\"services\":{\"default\":{\"cas\":\"https://c.example\"}}}");
    ::SetFileAttributesW((appData + L"\\Setting.ini").c_str(), FILE_ATTRIBUTE_SYSTEM);
    ::SetFileAttributesW((appData + L"\\SyncSetting.ini").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    ::SetFileAttributesW((root / L"route.json").c_str(), FILE_ATTRIBUTE_READONLY);
    ScratchRunKey run;
    run.Set(L"C:\\Gone\\client.exe /background");
    const auto before = FolderContents(root.Path());

    const HostRun inspected =
        RunSupport(L"--appdata \"" + appData + L"\" --exe-dir \"" + install + L"\" --route-cache \"" +
                   root / L"route.json" + L"\" --hkcu \"" + run.Root() + L"\"");
    EXPECT_EQ(inspected.exitCode, static_cast<DWORD>(inspect::kExitNeedsAction));
    EXPECT_TRUE(
        HasFinding(inspected, "Setting.ini", "SpaceOMVersion", "problem", "key-misspelt", "\"SapceOMVersion\""));
    EXPECT_TRUE(HasFinding(inspected, "Setting.ini", "[attributes]", "warning", "file-attributes"));
    EXPECT_TRUE(HasFinding(inspected, "Setting.ini", "Setting.ini~7-1.tmp", "warning", "stray-temporary"));
    EXPECT_TRUE(HasFinding(inspected, "StartWithWindows", "QIRENT Cloud", "problem", "run-executable-missing"));
    EXPECT_TRUE(
        HasFinding(inspected, "ServerConfig", "ServerConfig", "problem", "server-file-not-json", "line 1, column 16"));
    EXPECT_TRUE(HasFinding(inspected, "RouteCache", "[freshness]", "warning", "route-other-country", "\"DE\""));
    EXPECT_EQ(SummaryLine(inspected).rfind("3 problems, ", 0), 0u) << SummaryLine(inspected);

    const auto after = FolderContents(root.Path());
    grs::test::ExpectSameFiles(before, after);
    EXPECT_EQ(run.Get(), L"C:\\Gone\\client.exe /background");
}

}  // namespace
