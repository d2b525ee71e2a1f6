// A process killed in the middle of a save leaves the old or the new file,
// never a broken one. The test executable starts itself as the saving child.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "core/IniFile.h"
#include "core/UniqueResource.h"
#include "tests/common/ChildProcess.h"
#include "tests/common/TestSupport.h"

namespace {

constexpr wchar_t kChildVariable[] = L"GRS_INI_CRASH_CHILD_PATH";
constexpr int kKeys = 3000;

std::wstring RoundValue(int round, int key) {
    return L"round " + std::to_wstring(round) + L" key " + std::to_wstring(key) + std::wstring(40, L'.');
}

constexpr int kBroken = -1;
constexpr int kUnreadable = -2;  // locked for a moment by the writer: not a fault

// The round a whole file was written in.
int WholeRound(const std::wstring& path) {
    CIniFileW ini;
    if (ini.Load(path) != 1) return kUnreadable;
    const int round = _wtoi(ini.GetValue(L"Crash", L"Round", L"-1").c_str());
    for (int key = 0; key < kKeys; ++key)
        if (ini.GetValue(L"Crash", L"Key" + std::to_wstring(key), L"") != RoundValue(round, key)) return kBroken;
    return round;
}

// One document, rewritten in place each round so that the child spends its
// time saving.
class RoundWriter {
public:
    RoundWriter() {
        CIniFileW::Section* section = m_ini.AddSection(L"Crash");
        m_values.push_back(&m_ini.AddKey(section, L"Round")->value);
        for (int key = 0; key < kKeys; ++key)
            m_values.push_back(&m_ini.AddKey(section, L"Key" + std::to_wstring(key))->value);
    }
    bool Save(const std::wstring& path, int round) {
        *m_values[0] = std::to_wstring(round);
        for (int key = 0; key < kKeys; ++key) *m_values[key + 1] = RoundValue(round, key);
        return m_ini.Save(path) == 1;
    }

private:
    CIniFileW m_ini;
    std::vector<std::wstring*> m_values;
};

// Runs only as the child of the test below; saves until it is killed.
TEST(IniCrashChild, DISABLED_SaveLoop) {
    const std::wstring path = grs::test::ChildParameter(kChildVariable);
    if (path.empty()) GTEST_SKIP();
    RoundWriter writer;
    for (int round = 1; round <= 100000; ++round) writer.Save(path, round);
}

TEST(CIniFileW, KilledSaveLeavesAWholeFile) {
    grs::test::TempFolder folder;
    const std::wstring path = folder / L"crash.ini";
    ASSERT_TRUE(RoundWriter().Save(path, 0));
    std::mt19937 random(20240611);
    int lastRound = 0;
    for (int kill = 0; kill < 20; ++kill) {
        grs::UniqueHandle child = grs::test::StartChildTest("IniCrashChild.DISABLED_SaveLoop", kChildVariable, path);
        ASSERT_TRUE(child) << ::GetLastError();
        // Wait (bounded) until the child is saving, then kill it a little later.
        for (int poll = 0; poll < 3000 && ::WaitForSingleObject(child.get(), 0) == WAIT_TIMEOUT; ++poll) {
            const int round = WholeRound(path);
            ASSERT_NE(round, kBroken) << "while saving, kill " << kill;
            if (round >= 1 && round != lastRound) break;
            ::Sleep(10);
        }
        ::Sleep(random() % 20);
        ASSERT_TRUE(grs::test::KillChild(child));

        const int round = WholeRound(path);
        ASSERT_GE(round, 0) << "kill " << kill;
        lastRound = round;
    }
}

}  // namespace
