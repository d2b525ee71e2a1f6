// Files, caches, databases and servers that misbehave: every operation
// returns (within a bounded time), nothing throws, nothing is half written.
#include <chrono>
#include <ctime>
#include <functional>
#include <future>
#include <memory>

#include "core/UniqueResource.h"
#include "globalrootservice/collaborators/ConfigEntityManager.h"
#include "globalrootservice/Zorvane.h"
#include "support/LoopbackHttpServer.h"
#include "tests/robustness/Generate.h"
#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

// clang-format off
const std::pair<const char*, std::function<void()>> kSettingOperations[] = {
    {"CreateSettingFile", [] { ClientInitialize::CreateSettingFile(L"9.9"); }},
    {"GetSettings", [] { ClientInitialize::GetSettings(); }},
    {"UpdateSettings", [] { ClientInitialize::UpdateSettings(); }},
    {"SetUpgradeInfo", [] { ClientInitialize::SetUpgradeInfo({{L"Upgrade", L"1"}}); }},
    {"GetUpgradeInfo", [] { ClientInitialize::GetUpgradeInfo({L"Version", L"Upgrade"}); }},
    {"InstallUpgradeLog", [] { ClientInitialize::InstallUpgradeLog(); }},
    {"IsFirstStartUp", [] { ClientInitialize::IsFirstStartUp(); }},
    {"IsNeedCreateShortcut", [] { ClientInitialize::IsNeedCreateShortcut(); }},
    {"SetCreateShortcutFlag", [] { ClientInitialize::SetCreateShortcutFlag(); }},
};
// clang-format on

using Faults = SettingsTest;

// Each fault, then every settings operation in turn on it.
TEST_F(Faults, SettingsOperationsSurviveBrokenFilesAndFolders) {
    enum class After { Unchanged, UnchangedOversize, KeepsItsKeys, NoFile, StillAFolder };
    constexpr long long kOversize = (64ll << 20) + 1;
    const std::string original = "[Setting]\nKeep=me\nIsFirstStartUp=true\nInstallTime=1\n";
    Random random(51);
    const struct {
        const char* fault;
        std::function<std::shared_ptr<void>(const std::wstring& path)> arrange;
        After after;
    } faults[] = {
        {"locked without sharing",
         [](const std::wstring& path) {
             return std::make_shared<UniqueFile>(
                 ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
         },
         After::Unchanged},
        // Existing files that cannot be read are never saved over: a save
        // would replace the user's keys by defaults. Under Wine, as under
        // Windows, the holder below blocks the replace, and the save's
        // in-place path would otherwise overwrite the file.
        {"held without read sharing",
         [](const std::wstring& path) {
             return std::make_shared<UniqueFile>(::CreateFileW(
                 path.c_str(), GENERIC_READ, FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
         },
         After::Unchanged},
        {"over the size limit",
         [](const std::wstring& path) {
             UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
             LARGE_INTEGER end = {};
             end.QuadPart = kOversize;
             ::SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN);
             ::SetEndOfFile(file.get());
             return nullptr;
         },
         After::UnchangedOversize},
        {"read-only and hidden",
         [](const std::wstring& path) {
             ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
             return nullptr;
         },
         After::KeepsItsKeys},
        {"garbage appended",
         [&random, &original](const std::wstring& path) {
             WriteFileBytes(path, original + Bytes(random, 4000));
             return nullptr;
         },
         After::KeepsItsKeys},
        {"a folder in its place",
         [](const std::wstring& path) {
             ::DeleteFileW(path.c_str());
             CreateFolderTree(path);
             return nullptr;
         },
         After::StillAFolder},
        {"app-data folder missing",
         [](const std::wstring& path) {
             ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath,
                                    path.substr(0, path.rfind(L'\\')) + L"\\gone");
             return nullptr;
         },
         After::NoFile},
        {"no app-data folder known",
         [](const std::wstring&) {
             ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, L"");
             return nullptr;
         },
         After::NoFile},
    };
    for (const auto& fault : faults) {
        for (const auto& operation : kSettingOperations) {
            SCOPED_TRACE(std::string(fault.fault) + ", " + operation.first);
            RemoveTree(SettingPath());
            ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, sandbox.AppData());
            ASSERT_TRUE(WriteFileBytes(SettingPath(), original));
            {
                const std::shared_ptr<void> hold = fault.arrange(SettingPath());
                ASSERT_NO_THROW(operation.second());
            }
            switch (fault.after) {
                case After::Unchanged:
                    EXPECT_EQ(ReadFileBytes(SettingPath()), original);
                    break;
                case After::UnchangedOversize:
                    EXPECT_TRUE(ReadFileBytes(SettingPath()) ==
                                original + std::string(static_cast<size_t>(kOversize) - original.size(), '\0'));
                    break;
                case After::KeepsItsKeys:
                    EXPECT_EQ(Setting(L"Keep"), L"me");
                    break;
                case After::NoFile:
                    EXPECT_FALSE(FileExists(sandbox.AppData() + L"\\gone"));
                    EXPECT_EQ(ReadFileBytes(SettingPath()), original);
                    break;
                case After::StillAFolder:
                    EXPECT_TRUE(::GetFileAttributesW(SettingPath().c_str()) & FILE_ATTRIBUTE_DIRECTORY);
                    break;
            }
        }
    }
}

// A tool holding "Setting.ini" open for reading and writing, without delete
// sharing, as backup tools and editors do: the change still arrives, through
// the in-place path, which the log names.
TEST_F(Faults, SaveWhileAnotherHandleHoldsTheFileArrives) {
    ClientInitialize::CreateSettingFile(L"1.0");
    ClientStandIn::ClearLogLines();
    {
        const UniqueFile held(::CreateFileW(SettingPath().c_str(), GENERIC_READ | GENERIC_WRITE,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held);
        ClientInitialize::SetUpgradeInfo({{L"Kept", L"yes"}});
    }
    EXPECT_EQ(Setting(L"Kept"), L"yes");
    EXPECT_EQ(Setting(L"Platform"), L"x64");
    EXPECT_EQ(Attributes(SettingPath()), kAtRest);
    const auto saves = LogLinesOf("CIniFileW::Save");
    ASSERT_EQ(saves.size(), 1u);
    EXPECT_EQ(saves[0].severity, 2);
    EXPECT_EQ(saves[0].message.rfind(L"Rewritten in place", 0), 0u) << grs::WideToUtf8(saves[0].message);
}

// A cache that is not a route record, or a damaged one: never a crash, and a
// record comes back only when it is one of the user's country.
TEST_F(Faults, GarbageRouteCacheIsNeverUsedBlindly) {
    ClientStandIn::SetText(ClientStandIn::Text::CurrentCountryCode, L"CN");
    const std::string fresh = "{\"countryCode\":\"CN\",\"currentTime\":\"" + std::to_string(::time(nullptr) * 1000ll) +
                              "\",\"effectivePeriod\":\"86400\",\"isSuccess\":1,\"services\":{\"g\":{\"cas\":\"c\"}}}";
    Random random(52);
    for (int i = 0; i < 300; ++i) {
        std::string cache = i % 3 == 0 ? Bytes(random, 200) : Mutate(random, fresh);
        if (i == 1) cache = std::string(300000, '[');
        if (i == 2) cache = "{\"countryCode\":\"CN\",\"services\":" + std::string(100000, '{');
        ASSERT_TRUE(WriteFileBytes(ClientStandIn::ContentFilePath(5), cache));
        st_ZRVInfo* record = nullptr;
        ASSERT_NO_THROW(record = Zorvane::GetInstance()->GetZRVInfo(true)) << cache;
        const std::unique_ptr<st_ZRVInfo> owner(record);
        if (record) EXPECT_EQ(record->countryCode, L"CN") << cache;
        bool applied = true;
        ASSERT_NO_THROW(Zorvane::GetInstance()->ZRVInfoInitialise(true, applied)) << cache;
        if (applied) EXPECT_TRUE(record && !record->services.empty()) << cache;
    }
}

// The property database locked by another process or overwritten with junk:
// start-up reads what it can and goes on.
TEST_F(Faults, LockedOrCorruptPropertyDatabase) {
    const std::wstring database = sandbox.Root() / L"properties.db";
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"user-1");
    ASSERT_TRUE(ClientInitialize::InitializeUserProperties());
    ClientStandIn::CloseDatabase();
    const std::string valid = ReadFileBytes(database);
    ASSERT_GT(valid.size(), 1024u);
    Random random(53);
    for (int i = 0; i < 7; ++i) {
        SCOPED_TRACE(i);
        std::string bytes = valid;
        if (i % 3 == 0) bytes = Bytes(random, 8192);
        if (i % 3 == 1) bytes.resize(Below(random, bytes.size()));
        if (i % 3 == 2)
            for (int b = 0; b < 64; ++b) bytes[100 + Below(random, bytes.size() - 100)] = static_cast<char>(random());
        ASSERT_TRUE(WriteFileBytes(database, bytes));
        UniqueFile lock(i == 6 ? ::CreateFileW(database.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)
                               : INVALID_HANDLE_VALUE);
        ASSERT_NO_THROW(ClientInitialize::InitializeUserProperties());
        ASSERT_NO_THROW(ClientInitialize::SaveUserPropertiesModel());
        ClientStandIn::CloseDatabase();
    }
    // Nothing lasting: with its file back, the database serves again.
    ASSERT_TRUE(WriteFileBytes(database, valid));
    EXPECT_TRUE(ClientInitialize::InitializeUserProperties());
}

// Runs `call` on its own thread and waits at most two minutes for its result.
// The task owns everything the thread touches, so a call that never returns
// fails the test without writing into a finished one.
template <typename Result, typename Call>
bool FinishesInTime(Call call, Result& result) {
    auto task = std::make_shared<std::packaged_task<Result()>>(call);
    std::future<Result> done = task->get_future();
    std::thread([task] { (*task)(); }).detach();
    if (done.wait_for(std::chrono::minutes(2)) != std::future_status::ready) return false;
    result = done.get();
    return true;
}

TEST_F(Faults, ServersThatNeverAnswerAreGivenUp) {
    ClientStandIn::SetHttpTimeouts(300, 300, 300, 300);
    ClientStandIn::SetText(ClientStandIn::Text::CurrentCountryCode, L"CN");
    support::LoopbackHttpServer server;
    support::HttpAnswer silent;
    silent.neverAnswer = true;
    server.SetDefaultAnswer(silent);
    ASSERT_TRUE(server.Start());
    for (auto set : {&GlobalParamWrapper::SetZRVUrl, &GlobalParamWrapper::SetZRVBakUrl,
                     &GlobalParamWrapper::SetZRVBakUrl1, &GlobalParamWrapper::SetZRVBakRuUrl,
                     &GlobalParamWrapper::SetZRVBakEuUrl, &GlobalParamWrapper::SetOperqrtServerIdUrl})
        (Store().*set)(server.BaseUrl());

    st_ZRVInfo* record = nullptr;
    ASSERT_TRUE(FinishesInTime([] { return Zorvane::GetInstance()->GetZRVInfo(false); }, record));
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(ClientStandIn::RouteRequests().size(), 20u);

    std::string serverUrl = "unset";
    ASSERT_TRUE(FinishesInTime([] { return ClientInitializeTestAccess::GetBaseUri(); }, serverUrl));
    EXPECT_EQ(serverUrl, "");
    server.Stop();
}

}  // namespace
}  // namespace grs::test
