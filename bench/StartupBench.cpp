// The client's start sequence, step by step, against the local routing
// server, each step beside the cost of reading and writing the same files
// with plain Win32 calls; and the peak working set of one whole start.
#include <benchmark/benchmark.h>
#include <windows.h>
#include <psapi.h>

#include <functional>
#include <string>

#include "bench/Ratios.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/Zorvane.h"
#include "serverconfig/ServerConfigPaths.h"
#include "globalrootservice/ClientInitialize.h"
#include "tests/common/TestSupport.h"
#include "tools/route-server/RouteServer.h"

namespace {

using grs::test::ReadFileBytes;
using grs::test::WriteFileBytes;

struct Environment {
    grs::test::HkcuOverride hkcu;  // start with Windows writes the Run key
    grs::test::StandInSandbox sandbox;
    grs::support::LoopbackHttpServer server;
    grs::routeserver::Routes routes;
    grs::routeserver::Options options;

    std::wstring Path(const std::wstring& name) const { return sandbox.Root() / name; }
    std::wstring AppData(const std::wstring& name) const { return sandbox.AppData() + L"\\" + name; }
};

Environment& Env() {
    static Environment* environment = new Environment;
    return *environment;
}

std::string ServerConfigText(const std::wstring& zrv) {
    std::string region = "{\"zrv\":\"" + grs::WideToUtf8(zrv) + "\"";
    for (const char* key : {"zrvbak", "zrvbak1", "zrvbakru", "zrvbakeu"})
        region += ",\"" + std::string(key) + "\":\"" + grs::WideToUtf8(zrv) + "\"";
    for (const char* key : {"cas", "upas", "portal", "basic", "vfs", "cloudphoto", "business", "terms", "gw", "user",
                            "operqrtserverid", "syncserverurl", "configbasic", "help", "ubaurl", "content"})
        region += ",\"" + std::string(key) + "\":\"https://" + key + ".cloud.example.com/\"";
    return "{\"cn\":" + region + "},\"dr3\":" + region + "}}";
}

std::string RoutesText() {
    std::string groups = "{";
    for (int g = 0; g < 4; ++g) {
        groups +=
            (g ? ",\"" : "\"") + std::string(g == 0 ? "com.example.ombrine" : "group" + std::to_string(g)) + "\":{";
        for (const char* key : {"cas", "upas", "portal", "basic", "vfs", "cloudphoto", "business", "terms", "gw",
                                "user", "operqrtserverid", "syncserverurl", "configbasic", "help", "ubaurl"})
            groups += std::string(key == std::string("cas") ? "\"" : ",\"") + key + "\":\"https://" + key + "-" +
                      std::to_string(g) + ".route.example.com/\"";
        groups += "}";
    }
    return "{\"countries\":{\"CN\":" + groups + "}},\"default\":" + groups + "}}";
}

void Prepare() {
    Environment& env = Env();
    std::string error;
    env.routes.Load(RoutesText(), error);
    env.server.SetHandler([&env](const grs::support::HttpRequest& request) {
        return grs::routeserver::Answer(env.routes, env.options, request);
    });
    env.server.Start();
    ClientStandIn::SetText(ClientStandIn::Text::CountryCode, L"CN");
    ClientStandIn::SetText(ClientStandIn::Text::CurrentCountryCode, L"CN");
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"bench-user");
    ServerConfigHelper first;  // fills the module directory once, redirected to the sandbox
    grs::ModuleDirectory() = env.sandbox.Root().Path() + L"\\";
    WriteFileBytes(env.Path(L"ServerConfig"), ServerConfigText(env.server.BaseUrl()));
}

// The steps, as the start-up host plays them.
const std::pair<const char*, std::function<void()>> kSteps[] = {
    {"isFileExist", [] { Zorvane::GetInstance()->m_serverConfigHelper.isFileExist(false); }},
    {"CreateSettingFile", [] { ClientInitialize::CreateSettingFile(L"17.0.0.300"); }},
    {"CreateSyncSettingFile", [] { ClientInitialize::CreateSyncSettingFile(); }},
    {"GetSettings", [] { ClientInitialize::GetSettings(); }},
    {"ZRVInfoInitialise(fromCache=true)",
     [] {
         bool applied = false;
         Zorvane::GetInstance()->ZRVInfoInitialise(true, applied);
     }},
    {"ZRVInfoInitialise(fromCache=false)",
     [] {
         bool applied = false;
         Zorvane::GetInstance()->ZRVInfoInitialise(false, applied);
     }},
    {"InitializeUserProperties", [] { ClientInitialize::InitializeUserProperties(); }},
};

// The files each step reads and writes, touched with plain calls.
std::vector<std::pair<std::wstring, bool>> FilesOf(const std::string& step) {
    const Environment& env = Env();
    if (step == "isFileExist") return {{env.Path(L"ServerConfig"), false}};
    if (step == "CreateSyncSettingFile") return {{env.AppData(L"SyncSetting.ini"), true}};
    if (step.rfind("ZRVInfoInitialise", 0) == 0)
        return {{ClientStandIn::ContentFilePath(5), step.find("false") != std::string::npos}};
    if (step == "InitializeUserProperties") return {{env.Path(L"properties.db"), true}};
    return {{env.AppData(L"Setting.ini"), true}};
}

void Step(benchmark::State& state, const std::function<void()>* step) {
    for (auto _ : state) {
        (*step)();
        state.PauseTiming();
        ClientStandIn::ClearSetterCalls();
        ClientStandIn::ClearLogLines();
        state.ResumeTiming();
    }
}

// Reads each file whole and writes the bytes to a file beside it (the
// original may be hidden, which a plain create refuses).
void PlainFiles(benchmark::State& state, const std::vector<std::pair<std::wstring, bool>>* files) {
    for (auto _ : state) {
        for (const auto& file : *files) {
            const std::string bytes = ReadFileBytes(file.first);
            if (file.second) WriteFileBytes(file.first + L".plain", bytes);
        }
    }
}

std::string Megabytes(SIZE_T bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(bytes) / (1024.0 * 1024.0));
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    PROCESS_MEMORY_COUNTERS before = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &before, sizeof before);
    Prepare();
    // As in bench_parsers: the stand-in's per-line log file open stays out.
    ClientStandIn::SetLogFile(L"NUL");
    // One whole first start, for the memory figure and so that every file exists.
    for (const auto& step : kSteps) step.second();
    PROCESS_MEMORY_COUNTERS after = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &after, sizeof after);
    grs::bench::Note("peak working set: " + Megabytes(after.PeakWorkingSetSize) + " after one whole start (" +
                     Megabytes(before.PeakWorkingSetSize) + " before it, the process alone)");

    static std::vector<std::vector<std::pair<std::wstring, bool>>> files;
    files.reserve(sizeof kSteps / sizeof kSteps[0]);
    std::vector<grs::bench::Ratio> ratios;
    for (const auto& step : kSteps) {
        const std::string ours = std::string("Start/") + step.first;
        files.push_back(FilesOf(step.first));
        auto* registered = benchmark::RegisterBenchmark(ours.c_str(), Step, &step.second);
        auto* plain = benchmark::RegisterBenchmark((ours + "/plain-files").c_str(), PlainFiles, &files.back());
        // Each run starts a detached BaseUri thread: a few are enough.
        if (std::string(step.first) == "CreateSyncSettingFile") {
            registered->Iterations(20);
            plain->Iterations(20);
        }
        ratios.push_back(
            {std::string(step.first) + " / plain read+write of its files", ours, ours + "/plain-files", 0, true});
    }
    return grs::bench::RunAndPrintRatios(argc, argv, ratios);
}
