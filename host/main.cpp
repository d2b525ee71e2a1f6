// startup-host: plays the client at start-up over GlobalRootService.dll, with
// the stand-in client libraries and loopback routing servers, and reports
// what the library did (grs-support inspects a user's profile). Only the
// report goes to standard output, so that it can be piped; progress and errors
// go to standard error.
#include <windows.h>
#include <shellapi.h>

#include <json/json.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "core/PathUtil.h"
#include "core/UniqueResource.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "core/TextUtil.h"
#include "globalrootservice/GlobalRootService.h"
#include "host/DemoReport.h"
#include "host/HostOptions.h"
#include "host/Sandbox.h"
#include "settings/SettingRules.h"
#include "standin/StandInControl.h"

namespace {

using Clock = std::chrono::steady_clock;

std::wstring HostFolder() {
    return grs::DirectoryWithSeparator(grs::HostExecutablePath());
}

// Runs one step of the start sequence, timing it.
template <typename Action>
void RunStep(host::DemoReport& report, bool quiet, const std::string& name, Action action) {
    if (!quiet) std::fprintf(stderr, "  ... %s\n", name.c_str());
    std::fflush(stderr);
    const auto start = Clock::now();
    host::Step step;
    step.name = name;
    action(step);
    step.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    report.steps.push_back(step);
}

// Addresses stored by the calls made since `from`, labelled with `source`.
size_t TakeAddresses(host::DemoReport& report, size_t from, const std::string& source) {
    const auto calls = ClientStandIn::SetterCalls();
    for (size_t i = from; i < calls.size(); ++i)
        report.addresses[grs::WideToUtf8(calls[i].name)] = {grs::WideToUtf8(calls[i].value), source};
    return calls.size();
}

bool HasLog(const char* function, const wchar_t* message) {
    for (const auto& line : ClientStandIn::LogLines())
        if (line.function == function && line.message == message) return true;
    return false;
}

// CreateSyncSettingFile leaves a detached worker that writes "BaseUri" once
// the server-id address is known. The client lives on; the demo ends at once,
// so it waits (bounded) for that save to finish instead of cutting it short,
// which would leave a temporary file and a file that is not hidden.
void WaitForBaseUri(const host::Sandbox& sandbox) {
    const std::wstring path = sandbox.AppData() + L"\\SyncSetting.ini";
    const std::wstring address = GlobalParamWrapper::GetInstance()->GetOperqrtServerIdUrl();
    if (address.empty()) return;  // the worker waits for an address that does not come
    constexpr DWORD kAtRest = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    for (int waited = 0; waited < 5000; waited += 20) {
        // The value first: once it is saved, attributes at rest mean the
        // worker has also hidden the file again.
        wchar_t value[1024] = {};
        ::GetPrivateProfileStringW(grs::settings::kSyncSettingSection, grs::settings::Name(grs::settings::SyncKey::BaseUri),
                                   L"", value, 1024, path.c_str());
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        if (address == value && attributes != INVALID_FILE_ATTRIBUTES && (attributes & kAtRest) == kAtRest) return;
        ::Sleep(20);
    }
}

void CollectFacts(host::DemoReport& report, const host::Sandbox& sandbox) {
    using namespace grs::settings;
    for (const auto& file : {std::make_pair(kSettingFileName, kSettingSection),
                             std::make_pair(kSyncSettingFileName, kSyncSettingSection)})
        report.settingsFiles[grs::WideToUtf8(file.first)] =
            host::ReadSection(grs::PathJoin(sandbox.AppData(), file.first), file.second);
    report.autoStartRegistered = ClientInitialize::GetRegisterStartingIsOpen();
    const st_UserPropertiesShow* show = GlobalParamWrapper::GetInstance()->GetUserPropertiesShow();
    report.autoStartSetting = show->IsAutoStartUp;
    report.folders["SyncCloudFolder"] = grs::WideToUtf8(show->SyncCloudFolder);
    report.folders["NewDownLoadFolder"] = grs::WideToUtf8(show->NewDownLoadFolder);
    report.folders["CacheFolder"] = grs::WideToUtf8(show->CacheFolder);
    report.folders["UserCacheFolder"] = grs::WideToUtf8(show->UserCacheFolder);
    report.folders["IsUseDownloadsPath"] = show->IsUseDownloadsPath ? "1" : "0";
    report.folders["sync folder drive (GetSyncCloudFolder)"] = grs::WideToUtf8(ClientInitialize::GetSyncCloudFolder());
    wchar_t roots[260] = {};
    const DWORD length = ::GetLogicalDriveStringsW(259, roots);
    for (const wchar_t* root = roots; root < roots + length && *root; root += wcslen(root) + 1)
        report.drives.push_back(host::DescribeDrive(root));
    for (const auto& line : ClientStandIn::LogLines())
        if (line.severity == 5) report.errorLogLines.push_back(line.function + ": " + grs::WideToUtf8(line.message));
}

// Prints each routing request as it is made, while the route step waits.
class RequestWatcher {
public:
    explicit RequestWatcher(const host::Sandbox& sandbox)
        : m_sandbox(sandbox), m_out(stderr), m_shown(ClientStandIn::RouteRequests().size()) {
        m_thread = std::thread([this] { Run(); });
    }
    ~RequestWatcher() {
        m_done = true;
        m_thread.join();
    }

private:
    void Run() {
        const auto start = Clock::now();
        size_t shown = m_shown;
        int lastTick = 0;
        for (;;) {
            const bool done = m_done;  // one last look after the step ended
            const auto requests = ClientStandIn::RouteRequests();
            const int elapsed =
                static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
            for (; shown < requests.size(); ++shown) {
                std::string role = m_sandbox.ServerRole(requests[shown]);
                std::fprintf(m_out, "      request %zu to %s (%s) at %d ms\n", shown + 1,
                             grs::WideToUtf8(requests[shown]).c_str(), role.empty() ? "unknown server" : role.c_str(),
                             elapsed);
            }
            if (elapsed / 1000 > lastTick) {
                lastTick = elapsed / 1000;
                std::fprintf(m_out, "      still waiting on the routing servers (%d s)\n", lastTick);
            }
            std::fflush(m_out);
            if (done) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    const host::Sandbox& m_sandbox;
    FILE* m_out;
    size_t m_shown;
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

// Keeps the demo's registry writes (start with Windows) out of the user's own
// HKEY_CURRENT_USER.
class DemoRegistry {
public:
    DemoRegistry() {
        if (::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\GlobalRootServiceDemo\\HKCU", 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, m_key.put(), nullptr) == ERROR_SUCCESS)
            ::RegOverridePredefKey(HKEY_CURRENT_USER, m_key.get());
    }
    ~DemoRegistry() { ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr); }

private:
    grs::UniqueKey m_key;
};

}  // namespace

int main() {
    int argc = 0;
    LPWSTR* argv = ::CommandLineToArgvW(::GetCommandLineW(), &argc);
    const grs::UniqueLocal argvMemory(argv);
    host::Options options;
    std::string error;
    if (!host::ParseOptions(argc, argv, options, error) || options.help) {
        std::fprintf(options.help ? stdout : stderr, "%s%s%s", error.c_str(), error.empty() ? "" : "\n",
                     host::UsageText());
        return options.help ? 0 : 2;
    }
    const std::wstring hostFolder = HostFolder();
    host::Sandbox sandbox(options.profile.empty() ? hostFolder + L"demo" : options.profile, hostFolder);
    std::vector<std::string> modes(5, "ok");
    if (options.offline)
        modes.assign(5, "dead");
    else
        modes[0] = options.primaryMode;
    if (!sandbox.Prepare(options.keep, error) || !sandbox.StartRoutingServers(modes, options.maxAgeSeconds, error) ||
        !sandbox.WriteServerAddressFiles(error)) {
        std::fprintf(stderr, "startup-host: %s\n", error.c_str());
        return 1;
    }
    DemoRegistry registry;

    using ClientStandIn::Text;
    ClientStandIn::SetText(Text::AppDataLocalPath, sandbox.AppData());
    ClientStandIn::SetText(Text::UserProfilePath, sandbox.Profile());
    ClientStandIn::SetText(Text::UserDownloadsPath, sandbox.Downloads());
    ClientStandIn::SetText(Text::CountryCode, options.country);
    ClientStandIn::SetText(Text::CurrentCountryCode, options.country);
    ClientStandIn::SetText(Text::CurrentUserID, options.user);
    ClientStandIn::SetLogFile(sandbox.LogFile());
    ClientStandIn::SetDatabasePath(sandbox.Database());
    ClientStandIn::SetHttpTimeouts(2000, 2000, 3000, 5000);

    const bool quiet = options.json;
    if (!quiet) {
        std::fprintf(stderr, "GlobalRootService start-up demo: country %s, user %s, routing servers %s\n",
                     grs::WideToUtf8(options.country).c_str(), grs::WideToUtf8(options.user).c_str(),
                     options.offline ? "all down" : ("primary " + options.primaryMode + ", standbys ok").c_str());
    }
    host::DemoReport report;
    Zorvane* route = Zorvane::GetInstance();
    size_t seen = 0;

    RunStep(report, quiet, "ServerConfigHelper::isFileExist", [&](host::Step& step) {
        step.ok = route->m_serverConfigHelper.isFileExist(false);
        step.outcome = step.ok ? "server address file loaded and applied" : "no usable server address file";
    });
    seen = TakeAddresses(report, seen, "server address file");

    RunStep(report, quiet, "ClientInitialize::CreateSettingFile", [&](host::Step& step) {
        ClientInitialize::CreateSettingFile(L"17.0.0.300");
        step.outcome = "Setting.ini completed";
    });
    RunStep(report, quiet, "ClientInitialize::CreateSyncSettingFile", [&](host::Step& step) {
        ClientInitialize::CreateSyncSettingFile();
        step.outcome = "SyncSetting.ini written";
    });
    RunStep(report, quiet, "ClientInitialize::GetSettings", [&](host::Step& step) {
        ClientInitialize::GetSettings();
        step.outcome = "settings read into the user record";
    });

    const size_t requestsBefore = ClientStandIn::RouteRequests().size();
    bool routed = false;
    RunStep(report, quiet, "Zorvane::ZRVInfoInitialise(fromCache=true)", [&](host::Step& step) {
        route->ZRVInfoInitialise(true, routed);
        step.outcome = routed ? "fresh route cache of the user's country applied" : "no fresh route cache";
    });
    if (routed) {
        report.routeSource = "fresh route cache";
    } else if (!options.fromCacheOnly) {
        RunStep(report, quiet, "Zorvane::ZRVInfoInitialise(fromCache=false)", [&](host::Step& step) {
            RequestWatcher watcher(sandbox);
            route->ZRVInfoInitialise(false, routed);
            const auto requests = ClientStandIn::RouteRequests();
            if (routed &&
                HasLog("Zorvane::GetZRVInfoFromLocal", L"update ZRV from remote fail,use confilefile update")) {
                report.routeSource = "route cache, last resort: no routing server answered";
            } else if (routed && !requests.empty()) {
                report.routeSource = "routing server (" + sandbox.ServerRole(requests.back()) + ")";
            } else {
                report.routeSource = "none: the server address file's addresses stay";
            }
            step.outcome = routed ? "routes applied from " + report.routeSource : report.routeSource;
        });
    } else {
        report.routeSource = "none: the server address file's addresses stay";
    }
    seen = TakeAddresses(report, seen, report.routeSource);
    const auto requests = ClientStandIn::RouteRequests();
    for (size_t i = requestsBefore; i < requests.size(); ++i)
        report.routeRequests.push_back(grs::WideToUtf8(requests[i]) + " (" + sandbox.ServerRole(requests[i]) + ")");

    RunStep(report, quiet, "ClientInitialize::InitializeUserProperties", [&](host::Step& step) {
        step.ok = ClientInitialize::InitializeUserProperties();
        step.outcome = step.ok ? "user properties loaded, repaired and saved" : "a property did not fit its field";
    });
    // Before sign-in the user's cache folder is unknown ("CatchFolder" is only
    // the user hash); the client writes the sync settings again once it is.
    RunStep(report, quiet, "ClientInitialize::CreateSyncSettingFile (signed in)", [&](host::Step& step) {
        ClientInitialize::CreateSyncSettingFile();
        step.outcome = "SyncSetting.ini rewritten with the user's cache folder";
    });

    WaitForBaseUri(sandbox);
    CollectFacts(report, sandbox);
    if (options.json) {
        host::PrintJson(report, sandbox);
    } else {
        host::PrintText(report, sandbox);
    }
    sandbox.StopRoutingServers();
    for (const host::Step& step : report.steps)
        if (!step.ok && step.name.find("ZRVInfoInitialise") == std::string::npos) return 3;
    return 0;
}
