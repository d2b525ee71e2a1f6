// The library as the client sees it: through GlobalRootService.dll's imports.
#include <gtest/gtest.h>
#include <windows.h>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "globalrootservice/GlobalRootService.h"
#include "tests/common/TestSupport.h"

namespace {

#if defined(__GNUC__)
// Every exported name of the loaded DLL, demangled up to its argument list.
std::map<std::string, int> ExportedMembers() {
    std::map<std::string, int> names;
    const auto* base = reinterpret_cast<const BYTE*>(::GetModuleHandleW(L"GlobalRootService.dll"));
    if (base == nullptr) return names;
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + directory.VirtualAddress);
    const auto* nameOffsets = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        const char* mangled = reinterpret_cast<const char*>(base + nameOffsets[i]);
        int status = 0;
        char* demangled = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
        std::string name = status == 0 && demangled ? demangled : mangled;
        std::free(demangled);
        name = name.substr(0, name.find('('));
        const size_t abiTag = name.find("[abi:");
        if (abiTag != std::string::npos) name.erase(abiTag);
        ++names[name];
    }
    return names;
}

// The exported surface the client links against, member by member (overloads
// and the compiler's constructor and destructor variants counted once).
TEST(ClientSurface, DllExportsTheFrameAndEveryClassMember) {
    const std::map<std::string, int> names = ExportedMembers();
    // clang-format off
    const char* expected[] = {
        "FnGlobalRootService", "g_nGlobalRootService", "GlobalParameter::g_backMaskHWND",
        "GlobalParameter::GlobalParameter", "GlobalParameter::~GlobalParameter", "GlobalParameter::InitializePara",
        "Zorvane::GetInstance", "Zorvane::ZRVInfoInitialise", "Zorvane::GetZRVInfo", "Zorvane::GetDeserialize",
        "Zorvane::GetZRVInfoFromLocal", "Zorvane::GetZRVInfoFromRemote", "Zorvane::SerializeZRV",
        "Zorvane::IsExistKey", "Zorvane::InitZRVService", "Zorvane::Zorvane", "Zorvane::~Zorvane",
        "ServerConfigHelper::ServerConfigHelper", "ServerConfigHelper::~ServerConfigHelper",
        "ServerConfigHelper::isFileExist", "ServerConfigHelper::Load", "ServerConfigHelper::GetServerAddress",
        "ServerConfigHelper::InitLocalServiceUrl", "ServerConfigHelper::loadServersMap",
        "IniFileHelper::IniFileHelper", "IniFileHelper::~IniFileHelper", "IniFileHelper::operator=",
        "IniFileHelper::ReadIniValueByKeyTypeString", "IniFileHelper::ReadIniValueByKeyTypeWString",
        "IniFileHelper::WriteIniKeyValue", "IniFileHelperA::IniFileHelperA", "IniFileHelperA::~IniFileHelperA",
        "IniFileHelperA::operator=", "IniFileHelperA::ReadIniValueByKeyTypeString",
        "IniFileHelperA::WriteIniKeyValueA", "ClientInitialize::operator=", "ClientInitialize::CreateSettingFile",
        "ClientInitialize::WriteSettingFile", "ClientInitialize::GetSettings", "ClientInitialize::UpdateSettings",
        "ClientInitialize::CreateSyncSettingFile", "ClientInitialize::GetBaseUri", "ClientInitialize::SyncBaseUri",
        "ClientInitialize::SaveSyncThumbnailRootFolder", "ClientInitialize::SaveSyncLcdThumbnailRootFolder",
        "ClientInitialize::SavePCModel", "ClientInitialize::InitSyncFileTransPort", "ClientInitialize::IsFirstStartUp",
        "ClientInitialize::IsNeedCreateShortcut", "ClientInitialize::SetCreateShortcutFlag",
        "ClientInitialize::RegisterStartingIsOpen", "ClientInitialize::GetRegisterStartingIsOpen",
        "ClientInitialize::InstallUpgradeLog", "ClientInitialize::SetUpgradeInfo", "ClientInitialize::GetUpgradeInfo",
        "ClientInitialize::InitializeUserProperties", "ClientInitialize::SetUserPropertiesModel",
        "ClientInitialize::SaveUserPropertiesModel", "ClientInitialize::ModifyProValue",
        "ClientInitialize::SetDefaultDownloadsPath", "ClientInitialize::SortDrive",
        "ClientInitialize::UpdateNewDownloadPathValue", "ClientInitialize::GetSyncCloudFolder",
        "ClientInitialize::GetProgramBits", "ClientInitialize::BaseDataCloseSyncFolder",
        "ClientInitialize::CheckPathInSyncFolder", "ClientInitialize::CopySyncFolderToCache",
        "ClientInitialize::CheckCacheFile", "ClientInitialize::CopyCacheFile"
    };
    // clang-format on
    for (const char* name : expected) EXPECT_EQ(names.count(name), 1u) << name << " is not exported";
    // And nothing more of the exported classes: a new member, private or not,
    // would change what the client links against.
    const std::set<std::string> known(std::begin(expected), std::end(expected));
    for (const auto& name : names) {
        for (const char* prefix : {"Zorvane::", "GlobalParameter::", "ServerConfigHelper::", "IniFileHelper::",
                                   "IniFileHelperA::", "ClientInitialize::"}) {
            if (name.first.rfind(prefix, 0) == 0)
                EXPECT_EQ(known.count(name.first), 1u) << name.first << " is exported";
        }
    }

    // Copy and move assignment of ClientInitialize, both IsExistKey overloads,
    // and ServerConfigHelper's default and copy constructors (two variants each).
    EXPECT_EQ(names.at("ClientInitialize::operator="), 2);
    EXPECT_EQ(names.at("Zorvane::IsExistKey"), 2);
    EXPECT_EQ(names.at("ServerConfigHelper::ServerConfigHelper"), 4);

    // Nothing of the statically linked libraries leaks into the export table.
    for (const auto& name : names) {
        EXPECT_EQ(name.first.find("Json::"), std::string::npos) << name.first;
        EXPECT_EQ(name.first.find("SHA256"), std::string::npos) << name.first;
    }
}
#endif

TEST(ClientSurface, FrameAndSettingsWorkThroughTheImports) {
    grs::test::StandInSandbox sandbox;
    EXPECT_EQ(FnGlobalRootService(), 0);
    EXPECT_EQ(g_nGlobalRootService, 0);
    EXPECT_EQ(Zorvane::GetInstance(), Zorvane::GetInstance());
    EXPECT_EQ(Zorvane::GetInstance()->m_strGetServerInfo, L"/getServerInfo");

    ClientInitialize::CreateSettingFile(L"1.2.3");
    ClientInitialize::SetUpgradeInfo({{L"UpgradeChannel", L"beta"}});
    const auto pairs = ClientInitialize::GetUpgradeInfo({L"UpgradeChannel", L"Version"});
    ASSERT_EQ(pairs.size(), 2u);
    EXPECT_EQ(pairs[0].value, L"beta");
    EXPECT_EQ(pairs[1].value, L"1.2.3");

    const std::wstring path = sandbox.AppData() + L"\\Setting.ini";
    IniFileHelper ini(path.c_str(), L"Setting");
    EXPECT_EQ(ini.ReadIniValueByKeyTypeWString(L"Platform"), L"x64");
    EXPECT_EQ(::GetFileAttributesW(path.c_str()) & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM),
              static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
}

}  // namespace
