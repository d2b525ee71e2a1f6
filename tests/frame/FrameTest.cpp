// The library frame: the singleton and the service path constants.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "route/GlobalParameterConstants.h"
#include "globalrootservice/GlobalRootService.h"

namespace {

// The free symbols' values are the client suite's, through the imports.
TEST(Frame, MaskWindow) {
    EXPECT_EQ(GlobalParameter::g_backMaskHWND, nullptr);
    EXPECT_TRUE(Zorvane::GetInstance()->InitializePara());
}

TEST(Frame, ConcurrentFirstCallsShareOneInstance) {
    constexpr int kThreads = 16;
    std::atomic<int> ready{0};
    std::vector<Zorvane*> seen(kThreads, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < kThreads) std::this_thread::yield();
            seen[i] = Zorvane::GetInstance();
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(std::set<Zorvane*>(seen.begin(), seen.end()).size(), 1u);
    EXPECT_NE(seen[0], nullptr);
}

// The row of constants in declaration order, with the values the client relies on.
TEST(Frame, PathConstantsFollowTheDeclaredRow) {
    ASSERT_EQ(grs::kGlobalParameterPathCount, 106u);
    Zorvane* instance = Zorvane::GetInstance();
    const char* previous = nullptr;
    for (size_t i = 0; i < grs::kGlobalParameterPathCount; ++i) {
        const std::wstring& member = instance->*grs::kGlobalParameterPaths[i].member;
        const char* address = reinterpret_cast<const char*>(&member);
        if (previous) EXPECT_LT(previous, address) << "member " << i << " is out of declaration order";
        previous = address;
    }
    const struct {
        size_t index;
        const wchar_t* value;
    } known[] = {
        {0, L""},
        {1, L"/others/login.action"},
        {42, L"{\"components\": [{\"componentID\": \"1\"}],\"rules\": {\"OS\": \"6.1\"}}"},
        {60, L"/getServerInfo"},
        {65, L"/drive/v1/files"},
        {66, L"/drive/v1/files"},
        {67, L""},
        {104, L"/index.html?appId=22011&enterurl=qxlpm_app"},
        {105, L""},
    };
    for (const auto& k : known) EXPECT_EQ(instance->*grs::kGlobalParameterPaths[k.index].member, k.value) << k.index;
}

}  // namespace
