#pragma once

// Fixtures shared by the host's tests: a good "Setting.ini", a folder's whole
// content and a Run key of the test's own.

#include <windows.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "tests/common/TestSupport.h"

namespace grs::test {

// "Setting.ini" after a good start with start with Windows on.
inline const std::string kSetting =
    "[Setting]\r\nCheckTime=\r\nDiscreteTime=1440\r\nDmpUploadUrl=https://dmp.example\r\nErrorLimitingTime=\r\n"
    "InstallLanguage=en-US\r\nIsAutoCheckUpdate=1\r\nIsAutoStartUp=1\r\nIsFirstStartUp=false\r\nIsGuidRun=0\r\n"
    "IsJoinUserExperiencePlan=1\r\nIsOpenSyncGuide=0\r\nLanguage=en-US\r\nLogPingUrl=https://ping.example\r\n"
    "NoticeCreateLink=1\r\nNoticeOMVersion=0\r\nPlatform=x64\r\nSapceOMVersion=0\r\nShowTabBar=0\r\n"
    "Version=17.0.0.300\r\n";

// `text` with the first `from` replaced by `to`.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

// Every file under `folder` (relative name -> bytes and attributes).
inline std::map<std::wstring, std::pair<std::string, DWORD>> FolderContents(const std::wstring& folder,
                                                                     const std::wstring& relative = L"") {
    std::map<std::wstring, std::pair<std::string, DWORD>> contents;
    WIN32_FIND_DATAW entry = {};
    grs::UniqueFind find(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (!find) return contents;
    do {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        const std::wstring path = folder + L"\\" + name;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            for (auto& inner : FolderContents(path, relative + name + L"\\")) contents.insert(inner);
        } else {
            contents[relative + name] = {grs::test::ReadFileBytes(path), ::GetFileAttributesW(path.c_str())};
        }
    } while (::FindNextFileW(find.get(), &entry));
    return contents;
}

// Every file of `before` is in `after` with the same bytes and attributes,
// and nothing else is.
inline void ExpectSameFiles(const std::map<std::wstring, std::pair<std::string, DWORD>>& before,
                            const std::map<std::wstring, std::pair<std::string, DWORD>>& after) {
    EXPECT_EQ(after.size(), before.size());
    for (const auto& file : before) {
        SCOPED_TRACE(grs::WideToUtf8(file.first));
        ASSERT_EQ(after.count(file.first), 1u);
        EXPECT_EQ(after.at(file.first).first, file.second.first);
        EXPECT_EQ(after.at(file.first).second, file.second.second);
    }
}

// A Run key of the test's own under HKEY_CURRENT_USER, removed afterwards.
class ScratchRunKey {
public:
    ScratchRunKey() {
        m_root = L"Software\\GlobalRootServiceTests\\inspect-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                 std::to_wstring(::GetTickCount());
        ::RegCreateKeyExW(HKEY_CURRENT_USER, (m_root + L"\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run").c_str(),
                          0, nullptr, 0, KEY_ALL_ACCESS, nullptr, m_run.put(), nullptr);
    }
    ~ScratchRunKey() {
        m_run.reset();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, m_root.c_str());
    }
    const std::wstring& Root() const { return m_root; }
    void Set(const std::wstring& command) {
        ::RegSetValueExW(m_run.get(), L"QIRENT Cloud", 0, REG_SZ, reinterpret_cast<const BYTE*>(command.c_str()),
                         static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t)));
    }
    std::wstring Get() const {
        wchar_t value[512] = {};
        DWORD size = sizeof value;
        ::RegGetValueW(m_run.get(), nullptr, L"QIRENT Cloud", RRF_RT_REG_SZ, nullptr, value, &size);
        return value;
    }

private:
    std::wstring m_root;
    grs::UniqueKey m_run;
};

}  // namespace grs::test
