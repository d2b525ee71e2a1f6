// "Setting.ini" stays whole when its writer is killed at any moment, and when
// threads change it while others read it without the settings lock (as the
// client's other components do).
#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

#include "tests/common/ChildProcess.h"
#include "tests/robustness/Generate.h"
#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

constexpr wchar_t kChildVariable[] = L"GRS_SETTINGS_CRASH_CHILD_APPDATA";
constexpr int kRoundKeys = 1500;

std::vector<SettingInfo> RoundPairs(int round) {
    std::vector<SettingInfo> pairs = {{L"Round", std::to_wstring(round)}};
    for (int key = 0; key < kRoundKeys; ++key)
        pairs.push_back({L"K" + std::to_wstring(key), std::to_wstring(round) + std::wstring(30, L'.')});
    return pairs;
}

constexpr int kBroken = -1;
constexpr int kUnreadable = -2;  // replaced at that very moment: read again

// The round whose pairs the file holds, all of them and the created keys.
int WholeRound(const std::wstring& path) {
    CIniFileW ini;
    if (ini.Load(path) != 1) return kUnreadable;
    const std::wstring round = ini.GetValue(L"Setting", L"Round", L"");
    if (round.empty() || ini.GetValue(L"Setting", L"SapceOMVersion", L"") != L"0") return kBroken;
    for (int key = 0; key < kRoundKeys; ++key)
        if (ini.GetValue(L"Setting", L"K" + std::to_wstring(key), L"") != round + std::wstring(30, L'.'))
            return kBroken;
    return std::stoi(round);
}

// Runs only as the child of the test below: saves settings until killed.
TEST(SettingsCrashChild, DISABLED_SaveLoop) {
    const std::wstring appData = ChildParameter(kChildVariable);
    if (appData.empty()) GTEST_SKIP();
    ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, appData);
    ClientStandIn::SetLogFile(L"NUL");  // the folder holds only what the saves leave
    for (int round = 1; round <= 100000; ++round) {
        ClientInitialize::SetUpgradeInfo(RoundPairs(round));
        ClientInitialize::UpdateSettings();
        ClientInitialize::CreateSettingFile(L"2.0");
    }
}

using SettingsUnderStress = SettingsTest;

// However often a save is killed, the file is the old or the new one whole,
// and at most one temporary file is left beside it.
TEST_F(SettingsUnderStress, KilledWriterLeavesTheOldOrTheNewFileAndNoLitter) {
    ClientInitialize::CreateSettingFile(L"1.0");
    ClientInitialize::SetUpgradeInfo(RoundPairs(0));
    ASSERT_EQ(WholeRound(SettingPath()), 0);
    Random random(61);
    int lastRound = 0;
    for (int kill = 0; kill < 30; ++kill) {
        UniqueHandle child = StartChildTest("SettingsCrashChild.DISABLED_SaveLoop", kChildVariable, sandbox.AppData());
        ASSERT_TRUE(child) << ::GetLastError();
        // Until the child has saved a round of its own (bounded), then a little later.
        for (int poll = 0; poll < 3000 && ::WaitForSingleObject(child.get(), 0) == WAIT_TIMEOUT; ++poll) {
            const int round = WholeRound(SettingPath());
            ASSERT_NE(round, kBroken) << "while saving, kill " << kill;
            if (round >= 1 && round != lastRound) break;
            ::Sleep(10);
        }
        ::Sleep(static_cast<DWORD>(Below(random, 40)));
        ASSERT_TRUE(KillChild(child));
        lastRound = WholeRound(SettingPath());
        ASSERT_GE(lastRound, 0) << "kill " << kill;
        EXPECT_EQ(Attributes(SettingPath()) & FILE_ATTRIBUTE_READONLY, 0u);
        ASSERT_LE(FileNames(sandbox.AppData()).size(), 2u) << "kill " << kill;
    }
}

TEST_F(SettingsUnderStress, ThreadsLoseNoKeyAndReadersNeverSeeAHalfFile) {
    ClientInitialize::CreateSettingFile(L"1.0");
    constexpr int kWriters = 4, kRounds = 25;
    std::atomic<int> writersLeft{kWriters};
    std::atomic<int> brokenReads{0}, wholeReads{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kWriters; ++t) {
        threads.emplace_back([t, &writersLeft] {
            Random random(70 + t);
            for (int i = 0; i < kRounds; ++i) {
                const std::wstring key = L"T" + std::to_wstring(t) + L"_" + std::to_wstring(i);
                ClientInitialize::SetUpgradeInfo({{key, L"v"}});
                switch (Below(random, 5)) {
                    case 0:
                        ClientInitialize::CreateSettingFile(L"2.0");
                        break;
                    case 1:
                        ClientInitialize::GetSettings();
                        break;
                    case 2:
                        ClientInitialize::UpdateSettings();
                        break;
                    case 3:
                        ClientInitialize::InstallUpgradeLog();
                        break;
                    default:
                        ClientInitialize::SetCreateShortcutFlag();
                        break;
                }
                const auto read = ClientInitialize::GetUpgradeInfo({key});
                EXPECT_TRUE(read.size() == 1 && read[0].value == L"v") << grs::WideToUtf8(key);
            }
            --writersLeft;
        });
    }
    // Readers outside the lock.
    for (int r = 0; r < 2; ++r) {
        threads.emplace_back([&] {
            for (; writersLeft > 0; ::Sleep(1)) {
                CIniFileW ini;
                if (ini.Load(SettingPath()) != 1) continue;
                const bool whole = ini.GetValue(L"Setting", L"SapceOMVersion", L"") == L"0" &&
                                   ini.GetValue(L"Setting", L"LogPingUrl", L"?") != L"?";
                ++(whole ? wholeReads : brokenReads);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(brokenReads, 0);
    EXPECT_GT(wholeReads, 0);
    for (int t = 0; t < kWriters; ++t)
        for (int i = 0; i < kRounds; ++i)
            EXPECT_EQ(Setting((L"T" + std::to_wstring(t) + L"_" + std::to_wstring(i)).c_str()), L"v");
    EXPECT_EQ(Setting(L"SapceOMVersion"), L"0");
    // Nor a key added twice or astray: the fourteen created, the two
    // auto-start keys GetSettings fills, the shortcut flag, every pair.
    const std::wstring text = SettingsText();
    EXPECT_EQ(std::count(text.begin(), text.end(), L';'), 17 + kWriters * kRounds);
}

}  // namespace
}  // namespace grs::test
