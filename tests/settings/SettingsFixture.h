#pragma once

// A sandboxed app-data folder and a scratch HKEY_CURRENT_USER with an empty
// Run key, and readers for what the settings operations leave behind.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/ClientInitialize.h"
#include "tests/common/TestSupport.h"

class ClientInitializeTestAccess {
public:
    static std::string GetBaseUri() { return ClientInitialize::GetBaseUri(); }
    static std::wstring GetProgramBits() { return ClientInitialize::GetProgramBits(); }
};

namespace grs::test {

constexpr wchar_t kRunKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kRunValue[] = L"QIRENT Cloud";
constexpr DWORD kAtRest = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

class SettingsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, L"", REG_SZ, L"", 2), 0); }

    static GlobalParamWrapper& Store() { return *GlobalParamWrapper::GetInstance(); }
    static st_UserPropertiesShow& Show() { return *Store().GetUserPropertiesShow(); }
    std::wstring SettingPath() const { return sandbox.AppData() + L"\\Setting.ini"; }
    std::wstring SyncPath() const { return sandbox.AppData() + L"\\SyncSetting.ini"; }
    void WriteSettings(const std::string& lines) const {
        ASSERT_TRUE(WriteFileBytes(SettingPath(), "[Setting]\n" + lines));
    }

    // Section "Setting" as "key=value;" in the document's order.
    std::wstring SettingsText() const {
        CIniFileW ini;
        ini.Load(SettingPath());
        std::wstring text = ini.RenderText();
        text.erase(0, text.find(L'\n') + 1);
        std::replace(text.begin(), text.end(), L'\n', L';');
        return text;
    }
    std::wstring Setting(const wchar_t* key) const {
        CIniFileW ini;
        ini.Load(SettingPath());
        return ini.GetValue(L"Setting", key, L"");
    }
    // Only what the settings code manages: Wine adds "archive" to every file.
    static DWORD Attributes(const std::wstring& path) {
        return ::GetFileAttributesW(path.c_str()) & (kAtRest | FILE_ATTRIBUTE_READONLY);
    }
    static std::wstring RunValue() {
        wchar_t data[1024] = {};
        DWORD size = sizeof data;
        const LSTATUS read = ::RegGetValueW(HKEY_CURRENT_USER, kRunKey, kRunValue, RRF_RT_REG_SZ, nullptr, data, &size);
        return read == ERROR_SUCCESS ? data : L"<none>";
    }
    static void SetRunValue(const std::wstring& data) {
        ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kRunKey, kRunValue);
        if (data != L"<none>")
            ::RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, kRunValue, REG_SZ, data.c_str(),
                              static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
    }
    static std::wstring OurCommand() {
        wchar_t exe[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, exe, MAX_PATH);
        return L"\"" + std::wstring(exe) + L"\" /background";
    }

    HkcuOverride hkcu;
    StandInSandbox sandbox;
};

}  // namespace grs::test
