// The library's file readers against well-known peers on the same bytes: the
// INI document (SimpleIni, inih, the private-profile functions), the server
// address file (RapidJSON), the route cache (jsoncpp) and the thumbnail
// cache copy (a bare CopyFileW walk).
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <windows.h>

#include <memory>
#include <string>

// The Debian header carries its implementation behind this switch.
#define SI_IMPLEMENTATION
#include "SimpleIni.h"
#include "bench/Ratios.h"
#include "core/UniqueResource.h"
#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "globalrootservice/Zorvane.h"
#include "serverconfig/JsonConfig.h"
#include "serverconfig/RegionJson.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "serverconfig/ServerConfigPaths.h"
#include "globalrootservice/ClientInitialize.h"
#include "tests/common/TestSupport.h"

#include "rapidjson/document.h"
#if defined(GRS_HAVE_INIH)
#include "ini.h"
#endif

namespace {

using grs::test::ReadFileBytes;
using grs::test::WriteFileBytes;

grs::test::StandInSandbox& Sandbox() {
    static grs::test::StandInSandbox* sandbox = new grs::test::StandInSandbox;
    return *sandbox;
}

std::wstring File(const std::wstring& name) {
    return Sandbox().Root() / name;
}

// --- INI ---------------------------------------------------------------------

// "Setting.ini" as the client leaves it: the created keys, the start-up and
// auto-start keys, and a few dozen upgrade values.
std::string SettingIni() {
    std::string text =
        "[Setting]\nLanguage=zh-CN\nInstallLanguage=zh-CN\nCheckTime=\nIsJoinUserExperiencePlan=1\nPlatform=x64\n"
        "DiscreteTime=1440\nSapceOMVersion=0\nNoticeOMVersion=0\nVersion=17.0.0.300\nErrorLimitingTime=\n"
        "IsGuidRun=0\nIsOpenSyncGuide=0\nDmpUploadUrl=https://dmp.example.com/upload\n"
        "LogPingUrl=https://log.example.com/ping\nIsAutoCheckUpdate=1\nIsAutoStartUp=1\nFirstStart=0\n"
        "NoticeCreateLink=1\nIsFirstStartUp=false\nInstallTime=1700000000\nUpgradeTime=1700100000\n";
    for (int i = 0; i < 19; ++i) text += "UpgradeKey" + std::to_string(i) + "=value-" + std::to_string(i * 7919) + "\n";
    return text;
}

std::string SyntheticIni(int keys) {
    std::string text;
    for (int i = 0; i < keys; ++i) {
        if (i % 100 == 0) text += "[Section" + std::to_string(i / 100) + "]\n";
        text += "Key" + std::to_string(i) + "=some value number " + std::to_string(i) + "\n";
    }
    return text;
}

struct IniCase {
    const char* figure;
    std::wstring path;
    std::wstring saved;
};

void IniCIniFileW(benchmark::State& state, const IniCase* c) {
    for (auto _ : state) {
        CIniFileW ini;
        ini.Load(c->path);
        ini.Save(c->saved);
    }
}

void IniCIniFileWLoad(benchmark::State& state, const IniCase* c) {
    for (auto _ : state) {
        CIniFileW ini;
        benchmark::DoNotOptimize(ini.Load(c->path));
    }
}

void IniSimpleIni(benchmark::State& state, const IniCase* c) {
    for (auto _ : state) {
        CSimpleIniW ini;
        ini.LoadFile(c->path.c_str());
        ini.SaveFile(c->saved.c_str());
    }
}

// The save a careful writer does: a temporary file beside the target,
// flushed to the disk, renamed over the target.
bool DurableReplace(const std::wstring& path, const std::string& bytes) {
    const std::wstring temporary = path + L".peer.tmp";
    HANDLE file =
        ::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool flushed = ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                         ::FlushFileBuffers(file);
    ::CloseHandle(file);
    return flushed && ::MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING);
}

// SimpleIni with the same durable save as the library's.
void IniSimpleIniDurable(benchmark::State& state, const IniCase* c) {
    for (auto _ : state) {
        CSimpleIniW ini;
        ini.LoadFile(c->path.c_str());
        std::string bytes;
        ini.Save(bytes);
        if (!DurableReplace(c->saved, bytes)) state.SkipWithError("the durable replace failed");
    }
}

// The durability and writing cost alone: the durable save of fixed bytes.
void IniDurableReplace(benchmark::State& state, const IniCase* c) {
    const std::string bytes = ReadFileBytes(c->path);
    for (auto _ : state)
        if (!DurableReplace(c->saved, bytes)) state.SkipWithError("the durable replace failed");
}

// Parsing and formatting alone, on the bytes in memory.
void IniCIniFileWInMemory(benchmark::State& state, const IniCase* c) {
    const std::string bytes = ReadFileBytes(c->path);
    for (auto _ : state) {
        CIniFileW ini;
        ini.ParseText(grs::Utf8ToWide(bytes));
        benchmark::DoNotOptimize(grs::WideToUtf8(ini.RenderText()));
    }
}

void IniSimpleIniInMemory(benchmark::State& state, const IniCase* c) {
    const std::string bytes = ReadFileBytes(c->path);
    for (auto _ : state) {
        CSimpleIniW ini;
        ini.LoadData(bytes);
        std::string saved;
        ini.Save(saved);
        benchmark::DoNotOptimize(saved);
    }
}

// A start on an unchanged file: loaded and saved back to itself.
void IniCIniFileWUnchanged(benchmark::State& state, const IniCase* c) {
    const std::wstring path = c->saved + L".unchanged";
    WriteFileBytes(path, ReadFileBytes(c->path));
    for (auto _ : state) {
        CIniFileW ini;
        ini.Load(path);
        ini.Save(path);
    }
}

void IniSimpleIniLoad(benchmark::State& state, const IniCase* c) {
    for (auto _ : state) {
        CSimpleIniW ini;
        benchmark::DoNotOptimize(ini.LoadFile(c->path.c_str()));
    }
}

// Every key of the file through GetPrivateProfileStringW, one call each.
void IniPrivateProfile(benchmark::State& state, const IniCase* c) {
    CIniFileW ini;
    ini.Load(c->path);
    std::vector<std::pair<std::wstring, std::wstring>> keys;
    const std::wstring text = ini.RenderText();
    std::wstring section;
    for (size_t start = 0; start < text.size();) {
        const size_t end = text.find(L'\n', start);
        const std::wstring line = text.substr(start, end - start);
        if (line[0] == L'[') {
            section = line.substr(1, line.size() - 2);
        } else {
            keys.emplace_back(section, line.substr(0, line.find(L'=')));
        }
        start = end + 1;
    }
    wchar_t value[260];
    for (auto _ : state) {
        for (const auto& key : keys)
            ::GetPrivateProfileStringW(key.first.c_str(), key.second.c_str(), L"", value, 260, c->path.c_str());
    }
}

#if defined(GRS_HAVE_INIH)
void IniInih(benchmark::State& state, const IniCase* c) {
    const std::string path = grs::WideToMultiByte(c->path, 0);
    const std::string saved = grs::WideToMultiByte(c->saved, 0);
    for (auto _ : state) {
        // inih only reads: the peer keeps the pairs and writes them back.
        std::string out;
        ini_parse(
            path.c_str(),
            [](void* user, const char* section, const char* name, const char* value) -> int {
                std::string& text = *static_cast<std::string*>(user);
                text.append(section).append(".").append(name).append("=").append(value).append("\n");
                return 1;
            },
            &out);
        WriteFileBytes(c->saved, out);
    }
}
#endif

// --- Server address file ---------------------------------------------------------

std::string ServerFile(size_t targetBytes) {
    static const char* const keys[] = {
        "zrv",         "zrvbak",        "zrvbak1",    "zrvbakru",    "zrvbakeu",        "cas", "upas", "portal",
        "basic",       "vfs",           "cloudphoto", "business",    "terms",           "gw",  "user", "club",
        "consumer",    "cbs",           "pimds",      "configbasic", "operqrtserverid", "trs", "push", "netping",
        "familyshare", "syncserverurl", "help",       "ubaurl",      "content"};
    std::string json = "{";
    int region = 0;
    do {
        const std::string name = region < 4 ? std::vector<std::string>{"cn", "dr2", "dr3", "dr4"}[region]
                                            : "archive" + std::to_string(region);
        json += (region ? ",\"" : "\"") + name + "\":{";
        for (size_t k = 0; k < sizeof keys / sizeof keys[0]; ++k)
            json += (k ? ",\"" : "\"") + std::string(keys[k]) + "\":\"https://" + keys[k] + "-" + name +
                    ".cloud.example.com/\"";
        json += "}";
        ++region;
    } while (json.size() + 1200 < targetBytes);
    return json + "}";
}

struct ServerCase {
    std::wstring directory;
    std::string bytes;
};

void ServerHelper(benchmark::State& state, const ServerCase* c) {
    grs::ModuleDirectory() = c->directory;
    ClientStandIn::SetText(ClientStandIn::Text::CountryCode, L"CN");
    for (auto _ : state) {
        ServerConfigHelper helper;
        benchmark::DoNotOptimize(helper.isFileExist(false));
        state.PauseTiming();
        ClientStandIn::ClearSetterCalls();
        ClientStandIn::ClearLogLines();
        state.ResumeTiming();
    }
}

void ServerRapidJson(benchmark::State& state, const ServerCase* c) {
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(c->bytes.c_str());
        benchmark::DoNotOptimize(document.HasParseError());
    }
}

// The library's region reader alone, on the bytes in memory.
void ServerScanRegion(benchmark::State& state, const ServerCase* c) {
    for (auto _ : state) benchmark::DoNotOptimize(grs::ScanRegion(c->bytes, "cn").servers.size());
}

void ServerReadAndRapidJson(benchmark::State& state, const ServerCase* c) {
    for (auto _ : state) {
        const std::string bytes = ReadFileBytes(c->directory + L"ServerConfig");
        rapidjson::Document document;
        document.Parse(bytes.c_str());
        benchmark::DoNotOptimize(document.HasParseError());
    }
}

// --- Route cache -------------------------------------------------------------

std::string RouteCache() {
    Json::Value services;
    for (int g = 0; g < 5; ++g)
        for (int k = 0; k < 40; ++k)
            services["group" + std::to_string(g)]["service" + std::to_string(k)] =
                "https://service" + std::to_string(k) + ".group" + std::to_string(g) + ".cloud.example.com/";
    services["com.example.ombrine"]["portal"] = "https://portal.example.com";
    Json::Value root;
    root["countryCode"] = "CN";
    root["currentTime"] = std::to_string(static_cast<long long>(::time(nullptr)) * 1000);
    root["effectivePeriod"] = "86400000";
    root["isSuccess"] = 1;
    root["services"] = services;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, root);
}

void PrepareRouteCache(const std::string& text) {
    ClientStandIn::SetText(ClientStandIn::Text::CurrentCountryCode, L"CN");
    WriteFileBytes(ClientStandIn::ContentFilePath(5), text);
}

void RouteGetZRVInfo(benchmark::State& state, const std::string* text) {
    PrepareRouteCache(*text);
    for (auto _ : state) delete Zorvane::GetInstance()->GetZRVInfo(true);
}

void RouteInitialise(benchmark::State& state, const std::string* text) {
    PrepareRouteCache(*text);
    bool applied = false;
    for (auto _ : state) {
        Zorvane::GetInstance()->ZRVInfoInitialise(true, applied);
        state.PauseTiming();
        ClientStandIn::ClearSetterCalls();
        ClientStandIn::ClearLogLines();
        state.ResumeTiming();
    }
    if (!applied) state.SkipWithError("the cache was not applied");
}

// The record parser alone, on the text in memory.
void RouteGetDeserialize(benchmark::State& state, const std::string* text) {
    for (auto _ : state) {
        st_ZRVInfo* record = nullptr;
        Zorvane::GetInstance()->GetDeserialize(record, *text);
        delete record;
    }
}

void RouteJsoncpp(benchmark::State& state, const std::string* text) {
    for (auto _ : state) {
        Json::Reader reader;
        Json::Value root;
        benchmark::DoNotOptimize(reader.parse(text->data(), text->data() + text->size(), root));
    }
}

// --- Thumbnail cache copy ------------------------------------------------------

constexpr int kThumbnails = 2000;
constexpr int kThumbnailFolders = 200;

// The folder of thumbnail `f` below the tree's root: ten of them per folder.
std::wstring ThumbnailFolder(int f) {
    return L"\\d" + std::to_wstring(f % 10) + L"\\e" + std::to_wstring(f / 10 % 20);
}

// 2,000 files of 2 to 40 KiB in nested folders.
std::wstring ThumbnailTree() {
    const std::wstring root = File(L"thumbs-src");
    for (int f = 0; f < kThumbnails; ++f) {
        const std::wstring folder = root + ThumbnailFolder(f);
        grs::test::CreateFolderTree(folder);
        WriteFileBytes(folder + L"\\t" + std::to_wstring(f) + L".jpg",
                       std::string(2048 + static_cast<size_t>(f * 7919 % 38912), static_cast<char>(f)));
    }
    return root;
}

// The peer: a walk that copies every file. With `create`, each destination is
// first created or opened and closed as the library's copy must do before its
// CopyFileW: the floor that the copy's required steps set.
void BareCopyTree(const std::wstring& source, const std::wstring& destination, bool create) {
    ::CreateDirectoryW(destination.c_str(), nullptr);
    WIN32_FIND_DATAW entry;
    const grs::UniqueFind find(::FindFirstFileW((source + L"\\*").c_str(), &entry));
    if (!find) return;
    do {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        const std::wstring to = destination + L"\\" + name;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            BareCopyTree(source + L"\\" + name, to, create);
            continue;
        }
        if (create) {
            const grs::UniqueFile created(::CreateFileW(to.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                                        nullptr, OPEN_ALWAYS, FILE_FLAG_OVERLAPPED, nullptr));
        }
        ::CopyFileW((source + L"\\" + name).c_str(), to.c_str(), FALSE);
    } while (::FindNextFileW(find.get(), &entry));
}

// The library's walk, the bare walk and the bare walk with the destination
// create, each copying over the files of a first, untimed run of its own. A
// copy is bound by the disk and by the load of a shared machine, which change
// from second to second, far more than the walks differ: so the walks take
// turns folder by folder (ten files, a few milliseconds), and each one's time
// is the sum over the folders of its best turn.
void CopyThumbnails(benchmark::State& state) {
    constexpr int kTurns = 5;
    const std::wstring source = ThumbnailTree();
    const std::wstring library = File(L"thumbs-lib"), bare = File(L"thumbs-bare"), created = File(L"thumbs-create");
    ClientInitialize::CheckCacheFile(source, library);
    ClientStandIn::ClearLogLines();
    BareCopyTree(source, bare, false);
    BareCopyTree(source, created, true);
    for (auto _ : state) {
        double totals[3] = {};
        for (int folder = 0; folder < kThumbnailFolders; ++folder) {
            const std::wstring sub = ThumbnailFolder(folder);
            const std::wstring from = source + sub, toLibrary = library + sub, toBare = bare + sub,
                               toCreated = created + sub;
            const std::vector<double> best = grs::bench::BestByTurns(
                {{[&] { ClientInitialize::CheckCacheFile(from, toLibrary); }, [] { ClientStandIn::ClearLogLines(); }},
                 {[&] { BareCopyTree(from, toBare, false); }, nullptr},
                 {[&] { BareCopyTree(from, toCreated, true); }, nullptr}},
                kTurns);
            for (size_t i = 0; i < 3; ++i) totals[i] += best[i];
        }
        grs::bench::Record("ThumbnailCopy/CheckCacheFile", totals[0]);
        grs::bench::Record("ThumbnailCopy/CopyFileW", totals[1]);
        grs::bench::Record("ThumbnailCopy/CopyFileW+create", totals[2]);
        state.SetIterationTime(totals[0]);
    }
    state.SetItemsProcessed(state.iterations() * kThumbnails);
    // The sandbox is never destroyed: the trees, some 170 MB, go now.
    for (const std::wstring& tree : {source, library, bare, created}) grs::test::RemoveTree(tree);
}

}  // namespace

int main(int argc, char** argv) {
    Sandbox();
    // The stand-in logger opens and closes its file for every line; the
    // client's own logger does not. NUL keeps that cost out of the figures.
    ClientStandIn::SetLogFile(L"NUL");

    // Files are written once; every benchmark reads the same bytes.
    static IniCase setting{"Setting.ini, 40 keys", File(L"Setting40.ini"), File(L"Setting40-saved.ini")};
    static IniCase synthetic{"synthetic, 5,000 keys", File(L"Synthetic5000.ini"), File(L"Synthetic5000-saved.ini")};
    WriteFileBytes(setting.path, SettingIni());
    WriteFileBytes(synthetic.path, SyntheticIni(5000));
    static ServerCase realistic{File(L"server-5k") + L"\\", ServerFile(5 * 1024)};
    static ServerCase large{File(L"server-1m") + L"\\", ServerFile(1024 * 1024 - 2048)};
    for (ServerCase* c : {&realistic, &large}) {
        grs::test::CreateFolderTree(c->directory);
        WriteFileBytes(c->directory + L"ServerConfig", c->bytes);
    }
    ServerConfigHelper first;  // the module directory is filled once, then redirected per case
    static const std::string routeCache = RouteCache();

    using benchmark::RegisterBenchmark;
    for (const auto& ini : {std::make_pair("IniSetting40", &setting), std::make_pair("IniSynthetic5000", &synthetic)}) {
        const std::string figure = ini.first;
        RegisterBenchmark((figure + "/CIniFileW").c_str(), IniCIniFileW, ini.second);
        RegisterBenchmark((figure + "/SimpleIni").c_str(), IniSimpleIni, ini.second);
        RegisterBenchmark((figure + "/SimpleIniDurable").c_str(), IniSimpleIniDurable, ini.second);
        RegisterBenchmark((figure + "/DurableReplace").c_str(), IniDurableReplace, ini.second);
        RegisterBenchmark((figure + "/CIniFileWUnchanged").c_str(), IniCIniFileWUnchanged, ini.second);
        RegisterBenchmark((figure + "InMemory/CIniFileW").c_str(), IniCIniFileWInMemory, ini.second);
        RegisterBenchmark((figure + "InMemory/SimpleIni").c_str(), IniSimpleIniInMemory, ini.second);
        RegisterBenchmark((figure + "Load/CIniFileW").c_str(), IniCIniFileWLoad, ini.second);
        RegisterBenchmark((figure + "Load/SimpleIni").c_str(), IniSimpleIniLoad, ini.second);
        RegisterBenchmark((figure + "/GetPrivateProfileStringW").c_str(), IniPrivateProfile, ini.second);
#if defined(GRS_HAVE_INIH)
        RegisterBenchmark((figure + "/inih").c_str(), IniInih, ini.second);
#endif
    }
    for (const auto& server : {std::make_pair("Server5k", &realistic), std::make_pair("Server1M", &large)}) {
        const std::string figure = server.first;
        RegisterBenchmark((figure + "/isFileExist").c_str(), ServerHelper, server.second);
        RegisterBenchmark((figure + "/RapidJSON").c_str(), ServerRapidJson, server.second);
        RegisterBenchmark((figure + "/ReadFileAndRapidJSON").c_str(), ServerReadAndRapidJson, server.second);
        RegisterBenchmark((figure + "/ScanRegion").c_str(), ServerScanRegion, server.second);
    }
    RegisterBenchmark("RouteCache/GetZRVInfo", RouteGetZRVInfo, &routeCache);
    RegisterBenchmark("RouteCache/ZRVInfoInitialise", RouteInitialise, &routeCache);
    RegisterBenchmark("RouteCache/jsoncpp", RouteJsoncpp, &routeCache);
    RegisterBenchmark("RouteCache/GetDeserialize", RouteGetDeserialize, &routeCache);
    RegisterBenchmark("ThumbnailCopy/CheckCacheFile-by-turns", CopyThumbnails)->Iterations(1)->UseManualTime();

    using grs::bench::Ratio;
    std::vector<Ratio> ratios = {
        {"INI load+save, 40 keys: CIniFileW / SimpleIni + durable replace", "IniSetting40/CIniFileW",
         "IniSetting40/SimpleIniDurable", 1.0, true},
        {"INI load+save, 5,000 keys: CIniFileW / SimpleIni + durable repl.", "IniSynthetic5000/CIniFileW",
         "IniSynthetic5000/SimpleIniDurable", 1.0, true},
        {"INI load only, 40 keys: CIniFileW / SimpleIni", "IniSetting40Load/CIniFileW", "IniSetting40Load/SimpleIni",
         0, true},
        {"INI load only, 5,000 keys: CIniFileW / SimpleIni", "IniSynthetic5000Load/CIniFileW",
         "IniSynthetic5000Load/SimpleIni", 0, true},
        {"INI parse+format in memory, 40 keys: CIniFileW / SimpleIni", "IniSetting40InMemory/CIniFileW",
         "IniSetting40InMemory/SimpleIni", 0, true},
        {"INI parse+format in memory, 5,000 keys: CIniFileW / SimpleIni", "IniSynthetic5000InMemory/CIniFileW",
         "IniSynthetic5000InMemory/SimpleIni", 0, true},
        {"INI durability, 40 keys: durable replace / SimpleIni + durable", "IniSetting40/DurableReplace",
         "IniSetting40/SimpleIniDurable", 0, true},
        {"INI durability, 5,000 keys: durable replace / SimpleIni + durable", "IniSynthetic5000/DurableReplace",
         "IniSynthetic5000/SimpleIniDurable", 0, true},
        {"INI durable replace / plain SimpleIni save, 40 keys", "IniSetting40/SimpleIniDurable",
         "IniSetting40/SimpleIni", 0, true},
        {"INI unchanged file, 40 keys: CIniFileW / SimpleIni + durable", "IniSetting40/CIniFileWUnchanged",
         "IniSetting40/SimpleIniDurable", 0, true},
        {"INI load+save, 40 keys: CIniFileW / plain SimpleIni", "IniSetting40/CIniFileW", "IniSetting40/SimpleIni", 0,
         true},
        {"INI load+save, 5,000 keys: CIniFileW / plain SimpleIni", "IniSynthetic5000/CIniFileW",
         "IniSynthetic5000/SimpleIni", 0, true},
        {"INI, 40 keys: CIniFileW / inih", "IniSetting40/CIniFileW", "IniSetting40/inih", 0, true},
        {"INI, 5,000 keys: CIniFileW / inih", "IniSynthetic5000/CIniFileW", "IniSynthetic5000/inih", 0, true},
        {"INI, 40 keys: CIniFileW / GetPrivateProfileStringW per key", "IniSetting40/CIniFileW",
         "IniSetting40/GetPrivateProfileStringW", 0, true},
        {"INI, 5,000 keys: CIniFileW / GetPrivateProfileStringW per key", "IniSynthetic5000/CIniFileW",
         "IniSynthetic5000/GetPrivateProfileStringW", 0, true},
        {"Server file 5 KB: isFileExist / RapidJSON parse", "Server5k/isFileExist", "Server5k/RapidJSON", 0, true},
        {"Server file 5 KB: isFileExist / file read + RapidJSON", "Server5k/isFileExist",
         "Server5k/ReadFileAndRapidJSON", 0, true},
        {"Server file 1 MiB: isFileExist / RapidJSON parse", "Server1M/isFileExist", "Server1M/RapidJSON", 0, true},
        {"Server file 1 MiB: isFileExist / file read + RapidJSON", "Server1M/isFileExist",
         "Server1M/ReadFileAndRapidJSON", 0, true},
        {"Server file 5 KB: region reader alone / RapidJSON parse", "Server5k/ScanRegion", "Server5k/RapidJSON", 0,
         true},
        {"Server file 1 MiB: region reader alone / RapidJSON parse", "Server1M/ScanRegion", "Server1M/RapidJSON", 0,
         true},
        {"Route cache: GetZRVInfo(true) / jsoncpp parse", "RouteCache/GetZRVInfo", "RouteCache/jsoncpp", 0, true},
        {"Route cache: ZRVInfoInitialise(true) / jsoncpp parse", "RouteCache/ZRVInfoInitialise", "RouteCache/jsoncpp",
         0, true},
        {"Route cache: GetDeserialize alone / jsoncpp parse", "RouteCache/GetDeserialize", "RouteCache/jsoncpp", 0,
         true},
        {"Thumbnail copy, 2,000 files: CheckCacheFile / CopyFileW walk", "ThumbnailCopy/CheckCacheFile",
         "ThumbnailCopy/CopyFileW", 0, true},
        {"Thumbnail copy: CopyFileW walk + destination create / CopyFileW walk", "ThumbnailCopy/CopyFileW+create",
         "ThumbnailCopy/CopyFileW", 0, true},
        {"Thumbnail copy: CheckCacheFile / CopyFileW walk + destination create", "ThumbnailCopy/CheckCacheFile",
         "ThumbnailCopy/CopyFileW+create", 0.9, false},
    };
    grs::bench::Note("files: Setting.ini " + std::to_string(SettingIni().size()) + " bytes, synthetic " +
                     std::to_string(SyntheticIni(5000).size()) + " bytes, server files " +
                     std::to_string(realistic.bytes.size()) + " and " + std::to_string(large.bytes.size()) +
                     " bytes, route cache " + std::to_string(routeCache.size()) + " bytes");
#if !defined(GRS_HAVE_INIH)
    grs::bench::Note("inih: not built (its source package could not be fetched), no inih figures");
#endif
    return grs::bench::RunAndPrintRatios(argc, argv, ratios);
}
