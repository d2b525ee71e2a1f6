// The client's start sequence, step by step, against the local routing
// server, each step beside its floor: the plain Win32 file work that the step
// must at least do (the same files tested, read, written and re-attributed,
// the same registry value read). Step and floor take turns call by call, so
// that both see the same load of the machine. Also the peak working set of one
// whole start.
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <windows.h>
#include <psapi.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/Ratios.h"
#include "core/UniqueResource.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/AccountSession.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "globalrootservice/Zorvane.h"
#include "serverconfig/ServerConfigPaths.h"
#include "settings/SettingRules.h"
#include "globalrootservice/ClientInitialize.h"
#include "tests/common/TestSupport.h"
#include "tools/route-server/RouteServer.h"

namespace {

using grs::bench::Contender;
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

// --- The pieces of the floors ------------------------------------------------

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void FindEntry(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    const grs::UniqueFind find(::FindFirstFileW(path.c_str(), &entry));
}

void SetAttributes(const std::wstring& path, DWORD attributes) {
    ::SetFileAttributesW(path.c_str(), attributes);
}

constexpr DWORD kAtRest = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// What every change of a settings file must do: attributes normal, the file
// read whole and written whole (in place, unflushed), hidden and system again.
void ChangeSettingsFile(const std::wstring& path) {
    SetAttributes(path, FILE_ATTRIBUTE_NORMAL);
    WriteFileBytes(path, ReadFileBytes(path));
    SetAttributes(path, kAtRest);
}

// The start-with-Windows check: the Run value read once.
void ReadRunValue() {
    grs::UniqueKey key;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", 0, KEY_READ,
                        key.put()) != ERROR_SUCCESS)
        return;
    wchar_t command[260] = {};
    DWORD bytes = sizeof command;
    ::RegGetValueW(key.get(), nullptr, L"QIRENT Cloud", RRF_RT_REG_SZ, nullptr, command, &bytes);
}

// Reads a file whole and writes its bytes to a file beside it (for files that
// another party holds open or caches by their time stamp).
void CopyBeside(const std::wstring& path) {
    WriteFileBytes(path + L".plain", ReadFileBytes(path));
}

// "SyncSetting.ini" written key by key through the private-profile functions,
// as the step must: the library's own keys, with the values the step writes:
// those the file holds, and "BaseUri" as the step writes it before its worker
// replaces it (so that, as in the step, that write changes the file).
struct ProfileKey {
    std::wstring name;
    std::wstring value;
    bool narrow;  // through the ANSI functions, UTF-8 value
};

std::vector<ProfileKey> SyncSettingWrites(const std::wstring& path) {
    using grs::settings::Source;
    std::vector<ProfileKey> keys;
    for (const grs::settings::SettingKey& key : grs::settings::SyncSettingKeys()) {
        wchar_t value[1024] = {};
        ::GetPrivateProfileStringW(L"SyncSetting", key.name, L"", value, 1024, path.c_str());
        keys.push_back({key.name,
                        key.source == Source::BaseUri ? GlobalParamWrapper::GetInstance()->GetTestZavkooperqrtUrl()
                                                      : std::wstring(value),
                        grs::settings::WrittenAsUtf8(key.source)});
    }
    return keys;
}

void WriteProfileKeys(const std::wstring& path, const std::string& ansiPath, const std::vector<ProfileKey>& keys) {
    for (const ProfileKey& key : keys) {
        if (key.narrow)
            ::WritePrivateProfileStringA("SyncSetting", grs::WideToUtf8(key.name).c_str(),
                                         grs::WideToUtf8(key.value).c_str(), ansiPath.c_str());
        else
            ::WritePrivateProfileStringW(L"SyncSetting", key.name.c_str(), key.value.c_str(), path.c_str());
    }
}

// --- The steps and their floors ------------------------------------------------

DWORD WINAPI DoNothing(LPVOID) {
    return 0;
}

struct Floor {
    std::string name;  // recorded as "Start/<step>/<name>"
    std::string what;  // for the notes
    std::function<void()> run;
};

struct StepCase {
    std::string name;
    std::function<void()> step;
    std::vector<Floor> floors;
    int turns;
    std::function<void()> tidy;  // after each call of the step, untimed
    bool databaseApart = false;  // also record the step's best call less its database time
};

std::vector<StepCase> StepCases() {
    const Environment& env = Env();
    const std::wstring serverConfig = env.Path(L"ServerConfig");
    const std::wstring setting = env.AppData(L"Setting.ini");
    const std::wstring syncSetting = env.AppData(L"SyncSetting.ini");
    const std::wstring routeCache = ClientStandIn::ContentFilePath(5);
    const std::wstring database = env.Path(L"properties.db");
    const std::vector<ProfileKey> syncKeys = SyncSettingWrites(syncSetting);
    const std::string syncSettingAnsi = grs::WideToMultiByte(syncSetting, grs::kCodePageAnsi);
    const std::wstring routeUrl =
        GlobalParamWrapper::GetInstance()->GetZRVUrl() + L"/zrv/1.0/ombrine/router?reg_country=CN";

    const auto getSettingsFloor = [setting] {
        if (!Exists(setting)) return;
        SetAttributes(setting, FILE_ATTRIBUTE_NORMAL);
        const std::string bytes = ReadFileBytes(setting);
        ReadRunValue();
        WriteFileBytes(setting, bytes);
        SetAttributes(setting, kAtRest);
    };
    // The folders whose long forms the property step must ask for: the sync
    // folder and the cache and download folders tested against it.
    std::vector<std::wstring> folders;
    for (const PropertyDb::UserProperties& row : PropertyDb::MainDatabaseProvider::GetAllUserProperties()) {
        if (row.key == L"SyncCloudFolder" || row.key == L"CacheFolder" || row.key == L"NewDownLoadFolder" ||
            row.key == L"DownLoadFolder")
            folders.push_back(row.value);
    }
    // What the property step does besides its database calls: those long
    // forms, and to "Setting.ini" the settings read (GetSettings), the upgrade
    // marks read and the "ShowTabBar" write.
    const auto ownFilesFloor = [setting, getSettingsFloor, folders] {
        for (const std::wstring& folder : folders) {
            wchar_t buffer[MAX_PATH];
            ::GetLongPathNameW(folder.c_str(), buffer, MAX_PATH);
        }
        getSettingsFloor();
        if (Exists(setting)) ReadFileBytes(setting);
        SetAttributes(setting, FILE_ATTRIBUTE_NORMAL);
        ::WritePrivateProfileStringW(grs::settings::kSettingSection, grs::settings::Name(grs::settings::Key::ShowTabBar),
                                     L"0", setting.c_str());
        SetAttributes(setting, kAtRest);
    };

    std::vector<StepCase> cases;
    cases.push_back({"isFileExist",
                     [] { Zorvane::GetInstance()->m_serverConfigHelper.isFileExist(false); },
                     {{"floor", "ServerConfig tested, found, read",
                       [serverConfig] {
                           if (!Exists(serverConfig)) return;
                           FindEntry(serverConfig);
                           ReadFileBytes(serverConfig);
                       }}},
                     200,
                     nullptr});
    cases.push_back({"CreateSettingFile",
                     [] { ClientInitialize::CreateSettingFile(L"17.0.0.300"); },
                     {{"floor", "Setting.ini re-attributed, read, written, re-attributed",
                       [setting] { ChangeSettingsFile(setting); }}},
                     100,
                     nullptr});
    cases.push_back(
        {"CreateSyncSettingFile",
         [] { ClientInitialize::CreateSyncSettingFile(); },
         {{"floor", "SyncSetting.ini tested, re-attributed, read, written, re-attributed",
           [syncSetting] {
               if (Exists(syncSetting)) ChangeSettingsFile(syncSetting);
           }},
          {"profile-writes",
           "SyncSetting.ini tested, re-attributed, its keys written by the profile functions, a thread started "
           "(the step starts its BaseUri worker)",
           [syncSetting, syncSettingAnsi, syncKeys] {
               if (!Exists(syncSetting)) return;
               SetAttributes(syncSetting, FILE_ATTRIBUTE_NORMAL);
               WriteProfileKeys(syncSetting, syncSettingAnsi, syncKeys);
               SetAttributes(syncSetting, kAtRest);
               const grs::UniqueHandle thread(::CreateThread(nullptr, 0, &DoNothing, nullptr, 0, nullptr));
           }}},
         20,
         // Each call starts the detached BaseUri thread, which writes the file
         // at once (a durable replace, flushed): it is let finish before the
         // next call, whoever's that is.
         [] { ::Sleep(300); }});
    cases.push_back({"GetSettings",
                     [] { ClientInitialize::GetSettings(); },
                     {{"floor", "Setting.ini tested, re-attributed, read, written, re-attributed; Run value read",
                       getSettingsFloor}},
                     100,
                     nullptr});
    cases.push_back({"ZRVInfoInitialise(fromCache=true)",
                     [] {
                         bool applied = false;
                         Zorvane::GetInstance()->ZRVInfoInitialise(true, applied);
                     },
                     {{"floor", "route cache read", [routeCache] { ReadFileBytes(routeCache); }},
                      {"parse", "route cache read, its record parsed by jsoncpp",
                       [routeCache] {
                           const std::string text = ReadFileBytes(routeCache);
                           Json::Reader reader;
                           Json::Value root;
                           benchmark::DoNotOptimize(reader.parse(text.data(), text.data() + text.size(), root));
                       }}},
                     200,
                     nullptr});
    cases.push_back({"ZRVInfoInitialise(fromCache=false)",
                     [] {
                         bool applied = false;
                         Zorvane::GetInstance()->ZRVInfoInitialise(false, applied);
                     },
                     {{"floor", "route cache read and written", [routeCache] { CopyBeside(routeCache); }},
                      {"http", "the same route request made bare through the stand-in, route cache read and written",
                       [routeUrl, routeCache] {
                           std::map<std::string, std::string> headers;
                           AccountSession::GetInstance()->GetZrvRemoteInfo(routeUrl, headers);
                           CopyBeside(routeCache);
                       }}},
                     100,
                     nullptr});
    cases.push_back({"InitializeUserProperties",
                     [] { ClientInitialize::InitializeUserProperties(); },
                     {{"floor", "property database read and written, and the own-files floor",
                       [database, ownFilesFloor] {
                           CopyBeside(database);
                           ownFilesFloor();
                       }},
                      {"own-files",
                       "long forms of the sync, cache and download folders; Setting.ini as GetSettings, read again, "
                       "ShowTabBar written by the profile function",
                       ownFilesFloor}},
                     100,
                     nullptr,
                     true});
    return cases;
}

// A step's best call, the database time within it, and its best call less
// the time spent in the stand-in's property database.
struct DatabaseApart {
    double whole = 0;
    double database = 0;
    double own = 0;
};

DatabaseApart& PropertyStepTimes() {
    static DatabaseApart times;
    return times;
}

// Calls `step` and keeps its time with and without the database calls in it.
void TimeApartFromDatabase(const std::function<void()>& step, DatabaseApart& times) {
    ClientStandIn::ResetDatabaseSeconds();
    const auto start = std::chrono::steady_clock::now();
    step();
    const double whole = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double database = ClientStandIn::DatabaseSeconds();
    if (times.whole == 0 || whole < times.whole) {
        times.whole = whole;
        times.database = database;
    }
    if (times.own == 0 || whole - database < times.own) times.own = whole - database;
}

void RunStep(benchmark::State& state, const StepCase* c) {
    for (auto _ : state) {
        std::vector<Contender> contenders;
        Contender step{c->step, [c] {
                           ClientStandIn::ClearSetterCalls();
                           ClientStandIn::ClearLogLines();
                           ClientStandIn::ClearRouteRequests();
                           if (c->tidy) c->tidy();
                       }};
        if (c->databaseApart) step.run = [c] { TimeApartFromDatabase(c->step, PropertyStepTimes()); };
        contenders.push_back(step);
        for (const Floor& floor : c->floors) contenders.push_back({floor.run, nullptr});
        const std::vector<double> best = grs::bench::BestByTurns(contenders, c->turns);
        const std::string ours = "Start/" + c->name;
        grs::bench::Record(ours, best[0]);
        for (size_t i = 0; i < c->floors.size(); ++i) grs::bench::Record(ours + "/" + c->floors[i].name, best[i + 1]);
        if (c->databaseApart) grs::bench::Record(ours + "/own", PropertyStepTimes().own);
        state.SetIterationTime(best[0]);
    }
}

std::string Megabytes(SIZE_T bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(bytes) / (1024.0 * 1024.0));
    return text;
}

std::string Milliseconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", seconds * 1000.0);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    PROCESS_MEMORY_COUNTERS before = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &before, sizeof before);
    Prepare();
    // As in bench_parsers: the stand-in's per-line log file open stays out.
    ClientStandIn::SetLogFile(L"NUL");
    static const std::vector<StepCase> cases = [] {
        // One whole first start, for the memory figure and so that every file exists.
        Zorvane::GetInstance()->m_serverConfigHelper.isFileExist(false);
        ClientInitialize::CreateSettingFile(L"17.0.0.300");
        ClientInitialize::CreateSyncSettingFile();
        ClientInitialize::GetSettings();
        bool applied = false;
        Zorvane::GetInstance()->ZRVInfoInitialise(true, applied);
        Zorvane::GetInstance()->ZRVInfoInitialise(false, applied);
        ClientInitialize::InitializeUserProperties();
        ::Sleep(200);  // the BaseUri thread's write
        return StepCases();
    }();
    PROCESS_MEMORY_COUNTERS after = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &after, sizeof after);
    grs::bench::Note("peak working set: " + Megabytes(after.PeakWorkingSetSize) + " after one whole start (" +
                     Megabytes(before.PeakWorkingSetSize) + " before it, the process alone)");

    std::vector<grs::bench::Ratio> ratios;
    for (const StepCase& c : cases) {
        const std::string ours = "Start/" + c.name;
        benchmark::RegisterBenchmark(ours.c_str(), RunStep, &c)->Iterations(1)->UseManualTime();
        // A verdict only against the floor that holds what the step must do:
        // its plain file and registry calls; for CreateSyncSettingFile its
        // profile writes as well; for the routing request the same request
        // made bare; for the route cache the read and jsoncpp's parse of the
        // record (the dependency that reads it); for InitializeUserProperties
        // its own time against its own files (a copy of the database file is
        // not its database calls). The other floors leave out required work:
        // shown, without a verdict.
        const bool plainFloorLeavesOut = c.name == "CreateSyncSettingFile" || c.name == "InitializeUserProperties" ||
                                         c.name == "ZRVInfoInitialise(fromCache=false)" ||
                                         c.name == "ZRVInfoInitialise(fromCache=true)";
        for (const Floor& floor : c.floors) {
            grs::bench::Note("floor of " + c.name + (floor.name == "floor" ? "" : " (" + floor.name + ")") + ": " +
                             floor.what);
            if (floor.name == "own-files") {
                ratios.push_back({c.name + " less its database calls / own-files floor", ours + "/own",
                                  ours + "/own-files", 2.0, true});
            } else {
                const bool goal = floor.name != "floor" || !plainFloorLeavesOut;
                ratios.push_back({c.name + " / " + (floor.name == "floor" ? "its plain-file" : floor.name) + " floor",
                                  ours, ours + "/" + floor.name, goal ? 2.0 : 0.0, true});
            }
        }
    }
    const int result = grs::bench::RunAndPrintRatios(argc, argv, ratios);
    const DatabaseApart& times = PropertyStepTimes();
    if (times.whole > 0) {
        std::printf(
            "InitializeUserProperties, best call: %s, of which %s in the property database (%.0f%%); best "
            "call without the database: %s\n",
            Milliseconds(times.whole).c_str(), Milliseconds(times.database).c_str(),
            100.0 * times.database / times.whole, Milliseconds(times.own).c_str());
    }
    return result;
}
