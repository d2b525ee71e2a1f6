// Every exported storage operation repeated many times in one process: the
// heap in use stays flat once warmed up. A client runs these at every start
// and keeps running for months.
#include <gtest/gtest.h>
#include <windows.h>
#include <tlhelp32.h>

#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "globalrootservice/ClientInitialize.h"
#include "globalrootservice/IniFileHelper.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "tests/common/TestSupport.h"

namespace grs::test {
namespace {

constexpr int kWarmUpRounds = 20;
constexpr int kRounds = 1000;
// Bytes the heap may grow by over one operation's measured rounds: allocator
// slack and caches that fill once; a leak of 16 bytes per call exceeds it.
constexpr long long kToleranceBytes = 16 * 1024;

// Bytes in use in every heap of the process.
long long HeapBytesInUse() {
    std::vector<HANDLE> heaps(256);
    const DWORD count = ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    heaps.resize(count < heaps.size() ? count : heaps.size());
    long long total = 0;
    for (HANDLE heap : heaps) {
        if (!::HeapLock(heap)) continue;
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(heap, &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) total += entry.cbData;
        ::HeapUnlock(heap);
    }
    return total;
}

size_t ThreadCount() {
    const UniqueFile snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot.get(), &entry); more; more = ::Thread32Next(snapshot.get(), &entry))
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
    return count;
}

// Waits (bounded) until the workers the round started have ended.
void AwaitWorkers(size_t threads) {
    for (int i = 0; i < 5000 && ThreadCount() > threads; ++i) ::Sleep(1);
}

class Soak : public ::testing::Test {
protected:
    void SetUp() override {
        constexpr wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
        ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, L"", REG_SZ, L"", 2), 0);
        ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"user-1");
        // The BaseUri worker finds its address at once and ends.
        GlobalParamWrapper::GetInstance()->SetOperqrtServerIdUrl(L"https://server-id.example");
        WriteFileBytes(sandbox.AppData() + L"\\Setting.ini", "[Setting]\r\nKeep=me\r\nIsAutoStartUp=1\r\n");
    }

    HkcuOverride hkcu;
    StandInSandbox sandbox;
};

TEST_F(Soak, HeapStaysFlatOverAThousandCallsOfEachOperation) {
    const std::wstring sync = sandbox.AppData() + L"\\SyncSetting.ini";
    // clang-format off
    const std::vector<std::function<void()>> operations = {
        [] { ClientInitialize::CreateSettingFile(L"9.9"); },
        [] { ClientInitialize::GetSettings(); },
        [] { ClientInitialize::UpdateSettings(); },
        [] { ClientInitialize::IsFirstStartUp(); },
        [] { ClientInitialize::IsNeedCreateShortcut(); },
        [] { ClientInitialize::SetCreateShortcutFlag(); },
        [] { ClientInitialize::SetUpgradeInfo({{L"Upgrade", L"1"}}); },
        [] { ClientInitialize::GetUpgradeInfo({L"Keep", L"Upgrade"}); },
        [] { ClientInitialize::InstallUpgradeLog(); },
        [] { ClientInitialize::RegisterStartingIsOpen(true); },
        [] { ClientInitialize::GetRegisterStartingIsOpen(); },
        [] { ClientInitialize::RegisterStartingIsOpen(false); },
        [threads = ThreadCount()] { ClientInitialize::CreateSyncSettingFile(); AwaitWorkers(threads); },
        [] { ClientInitialize::SavePCModel(L"model"); },
        [] { ClientInitialize::SaveSyncThumbnailRootFolder(L"C:\\cache"); },
        [] { ClientInitialize::SaveSyncLcdThumbnailRootFolder(L"C:\\cache"); },
        [&sync] { IniFileHelper(sync.c_str(), L"Mine").WriteIniKeyValue(L"B", L"2"); },
        [&sync] { IniFileHelper(sync.c_str(), L"Mine").ReadIniValueByKeyTypeWString(L"B"); },
        [] { ServerConfigHelper().isFileExist(false); },
    };
    // clang-format on
    const size_t threads = ThreadCount();
    const auto call = [&](const std::function<void()>& operation) {
        operation();
        // What the stand-in records would grow without bound otherwise.
        ClientStandIn::ClearLogLines();
        ClientStandIn::ClearSetterCalls();
    };
    // Each operation on its own, so that a growth names its operation.
    for (size_t i = 0; i < operations.size(); ++i) {
        for (int round = 0; round < kWarmUpRounds; ++round) call(operations[i]);
        const long long warm = HeapBytesInUse();
        for (int round = 0; round < kRounds; ++round) call(operations[i]);
        const long long growth = HeapBytesInUse() - warm;
        std::cout << "operation " << i << ": heap " << warm << " bytes after warm-up, " << growth << " more after "
                  << kRounds << " rounds" << std::endl;
        EXPECT_LE(growth, kToleranceBytes) << "operation " << i;
    }
    EXPECT_EQ(ThreadCount(), threads);
}

}  // namespace
}  // namespace grs::test
