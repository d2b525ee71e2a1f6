// Every exported storage operation repeated many times in one process: the
// heap in use stays flat once warmed up. A client runs these at every start
// and keeps running for months.
#include <gtest/gtest.h>
#include <windows.h>
#include <psapi.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "globalrootservice/ClientInitialize.h"
#include "globalrootservice/IniFileHelper.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "tests/common/ImportRedirect.h"
#include "tests/common/TestSupport.h"

namespace grs::test {
namespace {

constexpr int kWarmUpRounds = 20;
constexpr int kRounds = 1000;
// A worker thread per call is slow to start and end under Wine: fewer rounds,
// the same tolerance per call.
constexpr int kWorkerRounds = 200;
// What the heap may grow by per call, over an operation's measured rounds:
// allocator slack and caches that fill once fit; a leak of 16 bytes, or of one
// block in 64 calls, per call does not.
constexpr long long kToleranceBytesPerCall = 16;
constexpr long long kCallsPerToleratedBlock = 64;

struct HeapUse {
    long long bytes = 0;
    long long blocks = 0;
};

// The library's own heap blocks, counted exactly: GlobalRootService.dll's
// imports of the C runtime's allocator are redirected here, on every thread
// (workers included). HeapWalk alone is blind on Wine, whose heap hands out
// small blocks from larger groups that it walks as one.
class LibraryAllocations {
public:
    using Use = HeapUse;

    // The stand-in and this executable free what the library hands over (log
    // lines, returned vectors); their frees of the library's blocks count too.
    LibraryAllocations(HMODULE dll, HMODULE standIn, HMODULE caller) {
        for (HMODULE owner : {standIn, caller}) {
            s_ownerRealloc = reinterpret_cast<Realloc>(
                m_redirect.Redirect(owner, "realloc", reinterpret_cast<void*>(&OwnerRealloc)));
            s_ownerFree =
                reinterpret_cast<Free>(m_redirect.Redirect(owner, "free", reinterpret_cast<void*>(&OwnerFree)));
        }
        s_malloc = reinterpret_cast<Malloc>(m_redirect.Redirect(dll, "malloc", reinterpret_cast<void*>(&CountedMalloc)));
        s_calloc = reinterpret_cast<Calloc>(m_redirect.Redirect(dll, "calloc", reinterpret_cast<void*>(&CountedCalloc)));
        s_realloc =
            reinterpret_cast<Realloc>(m_redirect.Redirect(dll, "realloc", reinterpret_cast<void*>(&CountedRealloc)));
        s_free = reinterpret_cast<Free>(m_redirect.Redirect(dll, "free", reinterpret_cast<void*>(&CountedFree)));
    }
    bool Complete() const { return s_malloc && s_calloc && s_realloc && s_free && s_ownerRealloc && s_ownerFree; }

    static Use InUse() {
        const std::lock_guard<std::mutex> lock(Lock());
        return s_use;
    }

private:
    using Malloc = void*(__cdecl*)(size_t);
    using Calloc = void*(__cdecl*)(size_t, size_t);
    using Realloc = void*(__cdecl*)(void*, size_t);
    using Free = void(__cdecl*)(void*);

    static std::mutex& Lock() {
        static std::mutex* lock = new std::mutex;
        return *lock;
    }
    // Blocks the library allocated and has not freed, by address. A block
    // freed here that the library did not allocate (one the stand-in handed
    // over) is not counted.
    static std::unordered_map<void*, size_t>& Live() {
        static auto* live = new std::unordered_map<void*, size_t>;
        return *live;
    }
    // The map's own frees come back through the redirected free of this
    // executable: those pass uncounted. The thread that holds the lock says
    // so here; not a thread_local, whose per-thread block (mingw emulates
    // thread-locals) outlives every thread that frees through this counter
    // and would read as a leak of whatever ran on it.
    static bool Busy() { return s_busyThread.load() == ::GetCurrentThreadId(); }
    template <typename Work>
    static void Unobserved(Work work) {
        s_busyThread = ::GetCurrentThreadId();
        work();
        s_busyThread = 0;
    }
    static void Add(void* block, size_t size) {
        if (block == nullptr || Busy()) return;
        const std::lock_guard<std::mutex> lock(Lock());
        Unobserved([&] { Live()[block] = size; });
        s_use.bytes += static_cast<long long>(size);
        ++s_use.blocks;
    }
    static void Remove(void* block) {
        if (block == nullptr || Busy()) return;
        const std::lock_guard<std::mutex> lock(Lock());
        const auto found = Live().find(block);
        if (found == Live().end()) return;
        s_use.bytes -= static_cast<long long>(found->second);
        --s_use.blocks;
        Unobserved([&] { Live().erase(found); });
    }
    static void* __cdecl CountedMalloc(size_t size) {
        void* block = s_malloc(size);
        Add(block, size);
        return block;
    }
    static void* __cdecl CountedCalloc(size_t count, size_t size) {
        void* block = s_calloc(count, size);
        Add(block, count * size);
        return block;
    }
    static void* __cdecl CountedRealloc(void* old, size_t size) {
        void* block = s_realloc(old, size);
        if (block != nullptr || size == 0) Remove(old);
        Add(block, size);
        return block;
    }
    static void __cdecl CountedFree(void* block) {
        Remove(block);
        s_free(block);
    }

    static void* __cdecl OwnerRealloc(void* old, size_t size) {
        void* block = s_ownerRealloc(old, size);
        if (block != nullptr || size == 0) Remove(old);
        return block;
    }
    static void __cdecl OwnerFree(void* block) {
        Remove(block);
        s_ownerFree(block);
    }

    static inline Malloc s_malloc = nullptr;
    static inline Realloc s_ownerRealloc = nullptr;
    static inline Free s_ownerFree = nullptr;
    static inline Calloc s_calloc = nullptr;
    static inline Realloc s_realloc = nullptr;
    static inline Free s_free = nullptr;
    static inline Use s_use;
    static inline std::atomic<DWORD> s_busyThread{0};
    ImportRedirect m_redirect;
};

// Committed private bytes of the process: page-grained, but it sees what no
// heap walk does (thread stacks, the system's per-thread state).
long long PrivateBytes() {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof counters;
    if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                                   sizeof counters))
        return 0;
    return static_cast<long long>(counters.PrivateUsage);
}

// Bytes and blocks in use in every heap of the process.
HeapUse HeapInUse() {
    std::vector<HANDLE> heaps(256);
    const DWORD count = ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    heaps.resize(count < heaps.size() ? count : heaps.size());
    HeapUse use;
    for (HANDLE heap : heaps) {
        if (!::HeapLock(heap)) continue;
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(heap, &entry)) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0) continue;
            use.bytes += entry.cbData;
            ++use.blocks;
        }
        ::HeapUnlock(heap);
    }
    return use;
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

struct Growth {
    HeapUse library;  // the library's own blocks, exactly
    HeapUse heaps;    // every heap, as far as HeapWalk shows it
    long long privateBytes = 0;
};

// What the heap grew by over `rounds` calls of `operation` after a warm-up.
Growth Measure(const char* name, int rounds, const std::function<void()>& operation) {
    static LibraryAllocations counted(::GetModuleHandleW(L"GlobalRootService.dll"),
                                      ::GetModuleHandleW(L"ClientStandIn.dll"), ::GetModuleHandleW(nullptr));
    EXPECT_TRUE(counted.Complete());
    const auto call = [&] {
        operation();
        // What the stand-in records would grow without bound otherwise.
        ClientStandIn::ClearLogLines();
        ClientStandIn::ClearSetterCalls();
    };
    for (int round = 0; round < kWarmUpRounds; ++round) call();
    const HeapUse warm = HeapInUse(), warmLibrary = LibraryAllocations::InUse();
    const long long warmPrivate = PrivateBytes();
    for (int round = 0; round < rounds; ++round) call();
    const HeapUse end = HeapInUse(), endLibrary = LibraryAllocations::InUse();
    Growth growth;
    growth.library = {endLibrary.bytes - warmLibrary.bytes, endLibrary.blocks - warmLibrary.blocks};
    growth.heaps = {end.bytes - warm.bytes, end.blocks - warm.blocks};
    growth.privateBytes = PrivateBytes() - warmPrivate;
    std::cout << name << ": " << rounds << " calls, the library's blocks " << growth.library.bytes << " bytes and "
              << growth.library.blocks << " blocks more (" << warmLibrary.bytes << " bytes in " << warmLibrary.blocks
              << " after warm-up); every heap " << growth.heaps.bytes << " bytes and " << growth.heaps.blocks
              << " blocks more; private bytes " << growth.privateBytes << " more" << std::endl;
    return growth;
}

// The library's blocks and every heap's bytes stay within the tolerance per call.
void ExpectFlat(const char* name, int rounds, const Growth& growth) {
    EXPECT_LE(growth.library.bytes, kToleranceBytesPerCall * rounds) << name;
    EXPECT_LE(growth.library.blocks, rounds / kCallsPerToleratedBlock) << name;
    // Every heap holds the stand-in's and the system's blocks as well, whose
    // count moves with their own caches: bytes only.
    EXPECT_LE(growth.heaps.bytes, kToleranceBytesPerCall * rounds) << name;
}

TEST_F(Soak, HeapStaysFlatOverAThousandCallsOfEachOperation) {
    const std::wstring sync = sandbox.AppData() + L"\\SyncSetting.ini";
    const struct {
        const char* name;
        std::function<void()> operation;
    } operations[] = {
        {"CreateSettingFile", [] { ClientInitialize::CreateSettingFile(L"9.9"); }},
        {"GetSettings", [] { ClientInitialize::GetSettings(); }},
        {"UpdateSettings", [] { ClientInitialize::UpdateSettings(); }},
        {"IsFirstStartUp", [] { ClientInitialize::IsFirstStartUp(); }},
        {"IsNeedCreateShortcut", [] { ClientInitialize::IsNeedCreateShortcut(); }},
        {"SetCreateShortcutFlag", [] { ClientInitialize::SetCreateShortcutFlag(); }},
        {"SetUpgradeInfo", [] { ClientInitialize::SetUpgradeInfo({{L"Upgrade", L"1"}}); }},
        {"GetUpgradeInfo", [] { ClientInitialize::GetUpgradeInfo({L"Keep", L"Upgrade"}); }},
        {"InstallUpgradeLog", [] { ClientInitialize::InstallUpgradeLog(); }},
        {"RegisterStartingIsOpen(true)", [] { ClientInitialize::RegisterStartingIsOpen(true); }},
        {"GetRegisterStartingIsOpen", [] { ClientInitialize::GetRegisterStartingIsOpen(); }},
        {"RegisterStartingIsOpen(false)", [] { ClientInitialize::RegisterStartingIsOpen(false); }},
        {"SavePCModel", [] { ClientInitialize::SavePCModel(L"model"); }},
        {"SaveSyncThumbnailRootFolder", [] { ClientInitialize::SaveSyncThumbnailRootFolder(L"C:\\cache"); }},
        {"SaveSyncLcdThumbnailRootFolder", [] { ClientInitialize::SaveSyncLcdThumbnailRootFolder(L"C:\\cache"); }},
        {"WriteIniKeyValue", [&sync] { IniFileHelper(sync.c_str(), L"Mine").WriteIniKeyValue(L"B", L"2"); }},
        {"ReadIniValueByKeyTypeWString",
         [&sync] { IniFileHelper(sync.c_str(), L"Mine").ReadIniValueByKeyTypeWString(L"B"); }},
        {"isFileExist", [] { ServerConfigHelper().isFileExist(false); }},
    };
    // Each operation on its own, so that a growth names its operation.
    for (const auto& row : operations) ExpectFlat(row.name, kRounds, Measure(row.name, kRounds, row.operation));
}

// The "BaseUri" worker: each call's thread has ended, and what it left is
// measured, before the next call: every heap as well as the library's own
// blocks.
TEST_F(Soak, CreateSyncSettingFileLeavesNothingOnceItsWorkerHasEnded) {
    const size_t threads = ThreadCount();
    const Growth worker = Measure("CreateSyncSettingFile", kWorkerRounds, [threads] {
        ClientInitialize::CreateSyncSettingFile();
        AwaitThreadCount(threads);
    });
    ExpectFlat("CreateSyncSettingFile", kWorkerRounds, worker);
}

}  // namespace
}  // namespace grs::test
