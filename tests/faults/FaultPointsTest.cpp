// Every file and registry call of every storage operation fails in turn, once
// (single mode) and from that call on (persistent mode), and the library keeps
// its promise at each of those fault points: nothing escapes, every file holds
// its old or its new content, a change that did not land is logged at
// severity 5 with the Win32 error, and the next clean run reaches the new
// content without leaving a file behind.
#include <gtest/gtest.h>
#include <windows.h>

#include <cwchar>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "globalrootservice/ClientInitialize.h"
#include "globalrootservice/IniFileHelper.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "core/HashUtil.h"
#include "tests/common/TestSupport.h"
#include "tests/faults/FaultInjector.h"

class ClientInitializeTestAccess {
public:
    static void SyncBaseUri(const std::wstring& path) { ClientInitialize::SyncBaseUri(path); }
};

namespace grs::test {
namespace {

constexpr wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kRunValue[] = L"QIRENT Cloud";
constexpr wchar_t kRunEntry[] = L"<Run value>";
constexpr long kMaxFaultPoints = 400;  // far above any operation's call count

FaultInjector& Injector() {
    static FaultInjector injector(::GetModuleHandleW(L"GlobalRootService.dll"));
    return injector;
}

// Everything an operation may change: the files of the app-data folder and
// the Run value, by name.
using State = std::map<std::wstring, std::string>;

std::wstring RunValueText() {
    wchar_t data[1024] = {};
    DWORD size = sizeof data;
    if (::RegGetValueW(HKEY_CURRENT_USER, kRunKey, kRunValue, RRF_RT_REG_SZ, nullptr, data, &size) != ERROR_SUCCESS)
        return L"<none>";
    return data;
}

std::wstring OurRunCommand() {
    wchar_t exe[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, exe, MAX_PATH);
    return L"\"" + std::wstring(exe) + L"\" /background";
}

State Snapshot(const std::wstring& folder) {
    State state;
    WIN32_FIND_DATAW entry = {};
    const UniqueFind find(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (find) {
        do {
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
            state[entry.cFileName] = ReadFileBytes(folder + L"\\" + entry.cFileName);
        } while (::FindNextFileW(find.get(), &entry));
    }
    state[kRunEntry] = WideToUtf8(RunValueText());
    return state;
}

// The files under `folder` and its subfolders, named `prefix` + their relative path.
void AddTree(State& state, const std::wstring& folder, const std::wstring& prefix) {
    WIN32_FIND_DATAW entry = {};
    const UniqueFind find(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (!find) return;
    do {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            AddTree(state, folder + L"\\" + name, prefix + name + L"\\");
        else
            state[prefix + name] = ReadFileBytes(folder + L"\\" + name);
    } while (::FindNextFileW(find.get(), &entry));
}

enum class Landing {
    WholeFiles,  // each file holds its old or its new bytes
    EachKey,     // written key by key: each key holds its old or its new value
    // A copy: a file that did not land may be absent, empty or old; only the
    // log line and the next run count.
    Anything,
};

class FaultPoints;

struct Operation {
    const char* name;
    std::vector<std::string> tags;  // where a change that did not land is logged
    Landing landing;
    std::function<void(FaultPoints&)> arrange;
    std::function<void(FaultPoints&)> run;
    // Off for the held file: every run there waits out the replace retries,
    // and its calls before the in-place path are those of the row above.
    bool persistentMode = true;
    // What else the operation may change, added to the state (property rows,
    // a copied tree).
    std::function<void(FaultPoints&, State&)> observe = nullptr;
    // The first call made to fail: the calls before it are faults that the
    // operation waits out (5 s each), tested on their own.
    long firstFaultPoint = 1;
};

const std::string kSettings =
    "[Setting]\r\nKeep=me\r\nLanguage=de-DE\r\nIsFirstStartUp=true\r\nNoticeCreateLink=0\r\nIsAutoStartUp=1\r\n"
    "IsAutoCheckUpdate=1\r\nInstallTime=5\r\nUpgradeTime=6\r\n[Other]\r\nMine=too\r\n";
const std::string kSyncSettings = "[SyncSetting]\r\nServerUrl=old\r\nBaseUri=old\r\nUserKey=kept\r\n[Mine]\r\nA=1\r\n";

class FaultPoints : public ::testing::Test {
public:
    std::wstring AppData() const { return sandbox.AppData(); }
    std::wstring SettingPath() const { return AppData() + L"\\Setting.ini"; }
    std::wstring SyncPath() const { return AppData() + L"\\SyncSetting.ini"; }
    std::wstring ServerFile() const { return m_serverFile; }
    std::wstring Root(const std::wstring& name) const { return sandbox.Root() / name; }
    void Hold(const std::wstring& path) {
        m_holder = std::make_shared<UniqueFile>(::CreateFileW(path.c_str(), GENERIC_READ,
                                                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                              OPEN_EXISTING, 0, nullptr));
    }
    bool serverLoaded = false;

protected:
    void SetUp() override {
        ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, L"", REG_SZ, L"", 2), 0);
        wchar_t exe[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, exe, MAX_PATH);
        const std::wstring folder(exe, std::wcsrchr(exe, L'\\') + 1);
        m_serverFile = folder + L"ServerConfig";
        ClientStandIn::SetText(ClientStandIn::Text::CountryCode, L"ZZ");
        ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"user-1");
    }
    void TearDown() override { ::DeleteFileW(m_serverFile.c_str()); }

    static State Observe(const Operation& operation, FaultPoints& test) {
        State state = Snapshot(test.AppData());
        if (operation.observe) operation.observe(test, state);
        return state;
    }

    // Clears the app-data folder and lets the row lay out its old state.
    State Arrange(const Operation& operation) {
        m_holder.reset();
        for (const auto& entry : Snapshot(AppData())) {
            if (entry.first == kRunEntry) continue;
            const std::wstring path = AppData() + L"\\" + entry.first;
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::DeleteFileW(path.c_str());
        }
        ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kRunKey, kRunValue);
        serverLoaded = false;
        operation.arrange(*this);
        return Observe(operation, *this);
    }

    // What is wrong at one fault point; empty when the promise holds.
    std::vector<std::string> Check(const Operation& operation, const State& before, const State& expected,
                                   const State& after) {
        std::vector<std::string> problems;
        std::set<std::wstring> names;
        for (const State* state : {&before, &expected, &after})
            for (const auto& entry : *state) names.insert(entry.first);
        bool landed = true;
        for (const std::wstring& name : names) {
            const auto find = [&name](const State& state) {
                const auto found = state.find(name);
                return found == state.end() ? std::string("<absent>") : found->second;
            };
            const std::string old = find(before), fresh = find(expected), now = find(after);
            if (now == fresh) continue;
            // A save's temporary file that could not be removed: logged with
            // its name; the next save removes it, which the clean run checks.
            if (IsTemporary(name)) {
                if (now != "<absent>" && !LoggedAtSeverity5(name))
                    problems.push_back("temporary file " + WideToUtf8(name) + " left without a log line naming it");
                continue;
            }
            landed = false;
            if (operation.landing == Landing::Anything) continue;
            if (operation.landing == Landing::EachKey && now != "<absent>" && !IsWholeEntry(name)) {
                const auto oldKeys = IniKeys(old), newKeys = IniKeys(fresh), nowKeys = IniKeys(now);
                for (const auto& key : newKeys) {
                    const auto present = nowKeys.find(key.first);
                    const auto was = oldKeys.find(key.first);
                    const bool keptOld = present == nowKeys.end() ? was == oldKeys.end()
                                                                  : was != oldKeys.end() && present->second == was->second;
                    const bool isNew = present != nowKeys.end() && present->second == key.second;
                    if (!keptOld && !isNew) problems.push_back("key " + key.first + " lost or mixed in " + WideToUtf8(name));
                }
            } else if (now != old) {
                problems.push_back(WideToUtf8(name) + " holds neither its old nor its new content");
            }
        }
        if (!landed) {
            bool named = false, withError = false;
            const std::vector<InjectedFault> injected = Injector().Injected();
            for (const auto& line : LogLinesOf()) {
                if (line.severity != 5) continue;
                for (const std::string& tag : operation.tags) named = named || line.function == tag;
                for (const InjectedFault& fault : injected)
                    withError = withError || line.message.find(std::to_wstring(fault.error)) != std::wstring::npos;
            }
            if (!named || !withError) problems.push_back("a change that did not land is not logged at severity 5");
        }
        return problems;
    }

    // The Run value and property rows: one value each, not a file of keys.
    static bool IsWholeEntry(const std::wstring& name) { return !name.empty() && name[0] == L'<'; }

    static bool IsTemporary(const std::wstring& name) {
        return name.find(L"~") != std::wstring::npos && name.size() > 4 && name.substr(name.size() - 4) == L".tmp";
    }

    static bool LoggedAtSeverity5(const std::wstring& text) {
        for (const auto& line : LogLinesOf())
            if (line.severity == 5 && line.message.find(text) != std::wstring::npos) return true;
        return false;
    }

    // The clean run reached the new state: the same files, no temporary one
    // left, each with the new bytes, or, written key by key, the new keys and
    // values in any order.
    static bool SameAfterCleanRun(const Operation& operation, const State& expected, const State& now) {
        if (operation.landing != Landing::EachKey) return now == expected;
        if (now.size() != expected.size()) return false;
        for (const auto& entry : expected) {
            const auto found = now.find(entry.first);
            if (found == now.end()) return false;
            if (IsWholeEntry(entry.first) ? found->second != entry.second
                                          : IniKeys(found->second) != IniKeys(entry.second))
                return false;
        }
        return true;
    }

    void RunAtEveryFaultPoint(const Operation& operation) {
        // The new state, from a run without faults.
        Arrange(operation);
        operation.run(*this);
        m_holder.reset();
        const State expected = Observe(operation, *this);
        size_t points = 0;
        std::vector<std::string> problems;
        for (const bool persistent : {false, true}) {
            if (persistent && !operation.persistentMode) continue;
            for (long failAt = operation.firstFaultPoint; failAt <= kMaxFaultPoints; ++failAt) {
                const State before = Arrange(operation);
                ClientStandIn::ClearLogLines();
                Injector().Arm(failAt, persistent);
                try {
                    operation.run(*this);
                } catch (...) {
                    problems.push_back("an exception left the operation");
                }
                Injector().Disarm();
                m_holder.reset();
                if (Injector().Calls() < failAt) break;  // it completed without reaching the fault
                ++points;
                const std::string where = std::string(persistent ? "from call " : "at call ") + std::to_string(failAt) +
                                          " (" + Injector().Injected().front().function + "): ";
                for (const std::string& problem : Check(operation, before, expected, Observe(operation, *this)))
                    problems.push_back(where + problem);
                // The next run without faults.
                operation.run(*this);
                if (!SameAfterCleanRun(operation, expected, Observe(operation, *this)))
                    problems.push_back(where + "the next clean run differs");
            }
        }
        std::cout << operation.name << ": " << points << " fault points, " << problems.size() << " problems"
                  << std::endl;
        for (size_t i = 0; i < problems.size() && i < 12; ++i) ADD_FAILURE() << operation.name << " " << problems[i];
        EXPECT_GT(points, 0u) << operation.name;
    }

    // A read-only operation at every fault point, single and persistent:
    // where `run` says its outcome changed (false), a severity-5 line of
    // `function` names the injected error. `arrange` runs before each point.
    void ExpectEachChangeReported(const std::string& function, const std::function<void()>& arrange,
                                  const std::function<bool()>& run) {
        size_t points = 0;
        for (const bool persistent : {false, true}) {
            for (long failAt = 1; failAt <= kMaxFaultPoints; ++failAt) {
                arrange();
                ClientStandIn::ClearLogLines();
                Injector().Arm(failAt, persistent);
                const bool unchanged = run();
                Injector().Disarm();
                if (Injector().Calls() < failAt) break;
                ++points;
                if (unchanged) continue;
                bool reported = false;
                for (const auto& line : LogLinesOf(function))
                    for (const InjectedFault& fault : Injector().Injected())
                        reported = reported || (line.severity == 5 &&
                                                line.message.find(std::to_wstring(fault.error)) != std::wstring::npos);
                EXPECT_TRUE(reported) << function << (persistent ? " from call " : " at call ") << failAt;
            }
        }
        std::cout << function << ": " << points << " fault points" << std::endl;
        EXPECT_GT(points, 0u) << function;
    }

    HkcuOverride hkcu;
    StandInSandbox sandbox;

private:
    std::wstring m_serverFile;
    std::shared_ptr<UniqueFile> m_holder;
};

void WriteSettingsFile(FaultPoints& test) {
    WriteFileBytes(test.SettingPath(), kSettings);
}
void WriteSyncFile(FaultPoints& test) {
    WriteFileBytes(test.SyncPath(), kSyncSettings);
}

std::vector<SettingInfo> FortyPairs() {
    std::vector<SettingInfo> pairs;
    for (int i = 0; i < 40; ++i) pairs.push_back(SettingInfo{L"Upgrade" + std::to_wstring(i), L"value" + std::to_wstring(i)});
    return pairs;
}

const char kCreateSettingFile[] = "ClientInitialize::CreateSettingFile";
const char kSave[] = "CIniFileW::Save";

namespace Db = PropertyDb::MainDatabaseProvider;

// The thumbnail trees of the user's old cache folder, and a copy of one of
// them already in the new cache folder, to be covered.
void WriteCacheTrees(FaultPoints& test) {
    RemoveTree(test.Root(L"OldCache"));
    RemoveTree(test.Root(L"NewCache"));
    const std::wstring hash = UserIdHash(L"user-1");
    const std::wstring from = test.Root(L"OldCache\\") + hash, to = test.Root(L"NewCache\\") + hash;
    CreateFolderTree(from + L"\\SyncThumbnailFile\\a");
    CreateFolderTree(from + L"\\LcdSyncThumbnailFile");
    CreateFolderTree(to + L"\\SyncThumbnailFile");
    WriteFileBytes(from + L"\\SyncThumbnailFile\\a\\1.jpg", "one");
    WriteFileBytes(from + L"\\SyncThumbnailFile\\2.jpg", "two");
    WriteFileBytes(from + L"\\LcdSyncThumbnailFile\\3.jpg", "three");
    WriteFileBytes(to + L"\\SyncThumbnailFile\\2.jpg", "old two");
}

// A later start of a user whose cache folder lies in the sync folder and
// whose download folder is an old-style row naming a folder of their own.
void SeedFolderRows(FaultPoints& test) {
    WriteSettingsFile(test);
    RemoveTree(test.Root(L"Sync"));
    RemoveTree(test.Root(L"Profile\\Cloud"));
    CreateFolderTree(test.Root(L"Sync\\Cache"));
    CreateFolderTree(test.Root(L"Mine"));
    Db::DeleteAllUserProperties();
    std::vector<PropertyDb::UserProperties> rows = {{L"SyncCloudFolder", test.Root(L"Sync")},
                                                    {L"CacheFolder", test.Root(L"Sync\\Cache")},
                                                    {L"DownLoadFolder", test.Root(L"Mine")},
                                                    {L"IsOpenDownloadWnd", L"0"}};
    Db::InsertUserProperties(rows);
}

void ObserveRows(FaultPoints&, State& state) {
    for (const PropertyDb::UserProperties& row : Db::GetAllUserProperties())
        state[L"<row " + row.key + L">"] = WideToUtf8(row.value);
}

// clang-format off
const Operation kOperations[] = {
    {"CreateSettingFile", {kCreateSettingFile, kSave}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::CreateSettingFile(L"9.9"); }},
    {"CreateSettingFile (no file yet)", {kCreateSettingFile, kSave}, Landing::WholeFiles, [](FaultPoints&) {},
     [](FaultPoints&) { ClientInitialize::CreateSettingFile(L"9.9"); }},
    {"GetSettings", {"ClientInitialize::GetSettings", kSave, "ClientInitialize::RegisterStartingIsOpen"}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::GetSettings(); }},
    {"UpdateSettings", {"ClientInitialize::UpdateSettings", kSave}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::UpdateSettings(); }},
    {"IsFirstStartUp", {"ClientInitialize::IsFirstStartUp", kSave}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::IsFirstStartUp(); }},
    {"IsNeedCreateShortcut", {"ClientInitialize::IsNeedCreateShortcut", kSave}, Landing::WholeFiles,
     WriteSettingsFile, [](FaultPoints&) { ClientInitialize::IsNeedCreateShortcut(); }},
    {"SetCreateShortcutFlag", {"ClientInitialize::SetCreateShortcutFlag", kSave}, Landing::WholeFiles,
     WriteSettingsFile, [](FaultPoints&) { ClientInitialize::SetCreateShortcutFlag(); }},
    {"SetUpgradeInfo", {"ClientInitialize::SetUpgradeInfo", kSave}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::SetUpgradeInfo(FortyPairs()); }},
    // Another program holds the file, sharing reading and writing: the save
    // goes through the in-place path.
    {"SetUpgradeInfo (file held)", {"ClientInitialize::SetUpgradeInfo", kSave}, Landing::WholeFiles,
     WriteSettingsFile,
     [](FaultPoints& test) { test.Hold(test.SettingPath()); ClientInitialize::SetUpgradeInfo(FortyPairs()); },
     /*persistentMode=*/false},
    {"GetUpgradeInfo", {"ClientInitialize::GetUpgradeInfo"}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::GetUpgradeInfo({L"Keep", L"InstallTime"}); }},
    {"InstallUpgradeLog", {"ClientInitialize::InstallUpgradeLog"}, Landing::WholeFiles, WriteSettingsFile,
     [](FaultPoints&) { ClientInitialize::InstallUpgradeLog(); }},
    {"CreateSyncSettingFile", {"IniFileHelper::WriteIniKeyValue", "IniFileHelperA::WriteIniKeyValueA"},
     Landing::EachKey, WriteSyncFile, [](FaultPoints&) { ClientInitialize::CreateSyncSettingFile(); }},
    {"SavePCModel", {"ClientInitialize::SavePCModel"}, Landing::WholeFiles, WriteSyncFile,
     [](FaultPoints&) { ClientInitialize::SavePCModel(L"model"); }},
    {"SaveSyncThumbnailRootFolder", {"ClientInitialize::SaveSyncThumbnailRootFolder"}, Landing::WholeFiles,
     WriteSyncFile, [](FaultPoints&) { ClientInitialize::SaveSyncThumbnailRootFolder(L"C:\\cache"); }},
    {"SaveSyncLcdThumbnailRootFolder", {"ClientInitialize::SaveSyncLcdThumbnailRootFolder"}, Landing::WholeFiles,
     WriteSyncFile, [](FaultPoints&) { ClientInitialize::SaveSyncLcdThumbnailRootFolder(L"C:\\cache"); }},
    {"SyncBaseUri (the worker, in the foreground)", {"ClientInitialize::SyncBaseUri", kSave}, Landing::WholeFiles,
     [](FaultPoints& test) {
         WriteSyncFile(test);
         GlobalParamWrapper::GetInstance()->SetOperqrtServerIdUrl(L"https://server-id.example");
     },
     [](FaultPoints& test) { ClientInitializeTestAccess::SyncBaseUri(test.SyncPath()); },
     // A fault that never passes keeps the worker waiting for ever, as it must.
     // The existence test and the read (calls 1 to 6) are waited out, each
     // costing a poll: BaseUriWorkerWritesOnceAPassingFaultIsGone covers them.
     /*persistentMode=*/false, nullptr, /*firstFaultPoint=*/7},
    // The worker of the cache move, in the foreground.
    {"CopySyncFolderToCache (the worker, in the foreground)",
     {"ClientInitialize::CopySyncFolderToCache", "ClientInitialize::CheckCacheFile", "ClientInitialize::CopyCacheFile"},
     Landing::Anything, WriteCacheTrees,
     [](FaultPoints& test) { ClientInitialize::CopySyncFolderToCache(test.Root(L"OldCache"), test.Root(L"NewCache")); },
     /*persistentMode=*/true, [](FaultPoints& test, State& state) { AddTree(state, test.Root(L"NewCache"), L"NewCache\\"); }},
    // The folder steps of a start: the cache folder moved out of the sync
    // folder (its copy awaited), the old download folder row migrated, the
    // settings read and "ShowTabBar" written.
    {"InitializeUserProperties (folders moved and migrated)",
     {"ClientInitialize::InitializeUserProperties", "ClientInitialize::UpdateNewDownloadPathValue",
      "ClientInitialize::CheckPathInSyncFolder", "ClientInitialize::GetSettings", kSave,
      "ClientInitialize::RegisterStartingIsOpen"},
     Landing::EachKey, SeedFolderRows,
     [](FaultPoints&) {
         const size_t threads = ThreadCount();
         ClientInitialize::InitializeUserProperties();
         AwaitThreadCount(threads);
     },
     /*persistentMode=*/true, ObserveRows},
    {"RegisterStartingIsOpen(true)", {"ClientInitialize::RegisterStartingIsOpen"}, Landing::WholeFiles,
     [](FaultPoints&) {}, [](FaultPoints&) { ClientInitialize::RegisterStartingIsOpen(true); }},
    {"RegisterStartingIsOpen(false)", {"ClientInitialize::RegisterStartingIsOpen"}, Landing::WholeFiles,
     [](FaultPoints&) {
         const std::wstring command = OurRunCommand();
         ::RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, kRunValue, REG_SZ, command.c_str(),
                           static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t)));
     },
     [](FaultPoints&) { ClientInitialize::RegisterStartingIsOpen(false); }},
    {"WriteIniKeyValue", {"IniFileHelper::WriteIniKeyValue"}, Landing::WholeFiles, WriteSyncFile,
     [](FaultPoints& test) { IniFileHelper(test.SyncPath().c_str(), L"Mine").WriteIniKeyValue(L"B", L"2"); }},
    {"WriteIniKeyValueA", {"IniFileHelperA::WriteIniKeyValueA"}, Landing::WholeFiles, WriteSyncFile,
     [](FaultPoints& test) {
         IniFileHelperA(WideToUtf8(test.SyncPath()).c_str(), "Mine").WriteIniKeyValueA("B", "2");
     }},
    {"ReadIniValueByKeyTypeWString", {"IniFileHelper::ReadIniValueByKeyTypeWString"}, Landing::WholeFiles,
     WriteSyncFile,
     [](FaultPoints& test) { IniFileHelper(test.SyncPath().c_str(), L"Mine").ReadIniValueByKeyTypeWString(L"A"); }},
};
// clang-format on

class EachOperation : public FaultPoints, public ::testing::WithParamInterface<size_t> {};

TEST_P(EachOperation, KeepsItsPromiseAtEveryFaultPoint) {
    RunAtEveryFaultPoint(kOperations[GetParam()]);
}

// Each row is named after its operation ("CreateSettingFile_no_file_yet"),
// so that a filter or a failure names what it runs.
std::string RowName(const ::testing::TestParamInfo<size_t>& info) {
    std::string name;
    for (const char* c = kOperations[info.param].name; *c != '\0'; ++c) {
        const bool word = (*c >= 'A' && *c <= 'Z') || (*c >= 'a' && *c <= 'z') || (*c >= '0' && *c <= '9');
        if (word)
            name += *c;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    }
    while (!name.empty() && name.back() == '_') name.pop_back();
    return name;
}

INSTANTIATE_TEST_SUITE_P(Storage, EachOperation, ::testing::Range<size_t>(0, std::size(kOperations)), RowName);

// The worker waits, logging each attempt, while the file's existence cannot
// be told or the file cannot be read, and writes "BaseUri" once that passes.
// Each row costs one poll of the worker (5 s).
TEST_F(FaultPoints, BaseUriWorkerWritesOnceAPassingFaultIsGone) {
    const struct {
        const char* name;
        long failFrom;  // 1: the existence test; 2: the first call of the read
    } rows[] = {{"existence cannot be told", 1}, {"file cannot be read", 2}};
    const std::wstring address = L"https://server-id.example";
    for (const auto& row : rows) {
        WriteSyncFile(*this);
        GlobalParamWrapper::GetInstance()->SetOperqrtServerIdUrl(address);
        ClientStandIn::ClearLogLines();
        std::thread worker([this, &row] {
            Injector().Arm(row.failFrom, /*persistent=*/true);
            ClientInitializeTestAccess::SyncBaseUri(SyncPath());
        });
        // The first attempt has failed once the worker logs that it waits.
        for (int i = 0; i < 500 && LogLinesOf("ClientInitialize::SyncBaseUri").empty(); ++i) ::Sleep(10);
        Injector().Disarm();
        worker.join();
        EXPECT_FALSE(LogLinesOf("ClientInitialize::SyncBaseUri").empty()) << row.name;
        EXPECT_EQ(IniKeys(ReadFileBytes(SyncPath()))["[SyncSetting]/BaseUri"], WideToUtf8(address)) << row.name;
        EXPECT_EQ(IniKeys(ReadFileBytes(SyncPath()))["[SyncSetting]/UserKey"], "kept") << row.name;
    }
}

// The server address file: read only, so what must hold is that a file that
// is there but cannot be read is reported with its error.
TEST_F(FaultPoints, ServerAddressFileThatCannotBeReadIsReported) {
    const std::string region = "{\"cn\":{\"portal\":\"https://portal.example\"}}";
    ExpectEachChangeReported(
        "ServerConfigHelper::isFileExist", [&] { WriteFileBytes(ServerFile(), region); },
        [] { return ServerConfigHelper().isFileExist(false); });
}

// The sync folder's drive on a first start: a failed query may move the
// choice to another drive, never silently.
TEST_F(FaultPoints, DriveChoiceMovedByAFailedQueryIsReported) {
    const std::wstring chosen = ClientInitialize::GetSyncCloudFolder();
    ASSERT_NE(chosen, L"");
    ExpectEachChangeReported("ClientInitialize::GetSyncCloudFolder", [] {},
                             [&chosen] { return ClientInitialize::GetSyncCloudFolder() == chosen; });
}

// A new import of a file or registry function needs its stand-in here, or
// its failures would go untested.
TEST(FaultInjectorCoverage, EveryStorageImportOfTheDllHasAStandIn) {
    EXPECT_EQ(Injector().UncoveredImports(), std::vector<std::string>());
    EXPECT_FALSE(Injector().Redirected().empty());
}

}  // namespace
}  // namespace grs::test
