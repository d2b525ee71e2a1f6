// App-data folders where nothing can be written for a while: a drive that has
// vanished, a folder that refuses new files, settings files that may not be
// written. Every operation returns promptly, nothing on disk is lost, each
// change that did not land is logged with the path and the Win32 error, and
// the next start after the place comes back reaches the full state. Also the
// forms of one folder a client may hand over reach the same files.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "core/TextUtil.h"
#include "globalrootservice/GlobalRootService.h"
#include "tests/common/TestSupport.h"

namespace grs::test {
namespace {

// Wine's own exports: run a Unix program, and a file's Unix path. Tests run
// as root, whom Unix permissions do not stop; "chattr +i" makes Wine answer
// ERROR_ACCESS_DENIED even to root on ext4.
using SpawnFunction = long(__cdecl*)(char* const argv[], int wait);
using UnixNameFunction = char*(__cdecl*)(const wchar_t* path);

bool RunUnix(std::vector<std::string> arguments) {
    const auto spawn =
        reinterpret_cast<SpawnFunction>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "__wine_unix_spawnvp"));
    if (spawn == nullptr) return false;
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    return spawn(argv.data(), 1) == 0;
}

std::string UnixPath(const std::wstring& path) {
    const auto unixName = reinterpret_cast<UnixNameFunction>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name"));
    if (unixName == nullptr) return std::string();
    char* name = unixName(path.c_str());
    const std::string text = name ? name : "";
    ::HeapFree(::GetProcessHeap(), 0, name);
    return text;
}

// Whether a new file can be made in `folder`.
bool CanCreateIn(const std::wstring& folder) {
    const std::wstring probe = folder + L"\\probe.tmp";
    const HANDLE file = ::CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    ::CloseHandle(file);
    return true;
}

// An unused drive letter mapped to a folder of the sandbox while the drive is
// "there"; the mapping is the prefix's dosdevices link.
class RemovableDrive {
public:
    explicit RemovableDrive(std::wstring target) : m_target(std::move(target)) {
        const DWORD used = ::GetLogicalDrives();
        for (wchar_t letter = L'P'; letter <= L'Y'; ++letter) {
            if (used & (1u << (letter - L'A'))) continue;
            m_letter = letter;
            break;
        }
        const char* prefix = std::getenv("WINEPREFIX");
        if (prefix != nullptr && m_letter != 0)
            m_link = std::string(prefix) + "/dosdevices/" + static_cast<char>(m_letter - L'A' + 'a') + ":";
    }
    ~RemovableDrive() { Remove(); }
    bool Usable() const { return !m_link.empty(); }
    std::wstring Root() const { return std::wstring(1, m_letter) + L":\\"; }
    bool Insert() { return RunUnix({"ln", "-sfn", UnixPath(m_target), m_link}); }
    bool Remove() { return m_link.empty() || RunUnix({"rm", "-f", m_link}); }

private:
    std::wstring m_target;
    wchar_t m_letter = 0;
    std::string m_link;
};

// "chattr +i" on some paths for the object's lifetime, undone however the test ends.
class Immutable {
public:
    ~Immutable() { Release(); }
    bool Apply(const std::vector<std::wstring>& paths) {
        for (const std::wstring& path : paths) {
            m_paths.push_back(UnixPath(path));
            if (!RunUnix({"chattr", "+i", m_paths.back()})) return false;
        }
        return true;
    }
    void Release() {
        for (const std::string& path : m_paths) RunUnix({"chattr", "-i", path});
        m_paths.clear();
    }

private:
    std::vector<std::string> m_paths;
};

void Start(const std::wstring& version, const std::wstring& deviceId) {
    ClientStandIn::SetText(ClientStandIn::Text::SystemUUid, deviceId);
    ClientInitialize::CreateSettingFile(version);
    ClientInitialize::GetSettings();
    ClientInitialize::SetUpgradeInfo({{L"UpgradeChannel", version}});
    ClientInitialize::CreateSyncSettingFile();
}

std::wstring Value(const std::wstring& file, const wchar_t* section, const wchar_t* key) {
    wchar_t buffer[256] = {};
    ::GetPrivateProfileStringW(section, key, L"<absent>", buffer, 256, file.c_str());
    return buffer;
}

struct Refusal {
    const char* name;
    // Takes the app-data folder away; false when this machine cannot.
    std::function<bool(const std::wstring& appData)> refuse;
    std::function<void()> giveBack;
    std::function<bool(const std::wstring& appData)> refused;  // the refusal holds
};

TEST(RefusedPlaces, NothingIsLostAndTheNextStartCompletes) {
    StandInSandbox sandbox;
    RemovableDrive drive(sandbox.Root() / L"drive");
    Immutable immutable;
    const Refusal rows[] = {
        {"vanished drive", [&](const std::wstring&) { return drive.Remove(); }, [&] { drive.Insert(); },
         [](const std::wstring& appData) { return ::GetFileAttributesW(appData.c_str()) == INVALID_FILE_ATTRIBUTES; }},
        {"folder refusing new files", [&](const std::wstring& appData) { return immutable.Apply({appData}); },
         [&] { immutable.Release(); }, [](const std::wstring& appData) { return !CanCreateIn(appData); }},
        {"settings files that may not be written",
         [&](const std::wstring& appData) {
             return immutable.Apply({appData + L"\\Setting.ini", appData + L"\\SyncSetting.ini"});
         },
         [&] { immutable.Release(); },
         [](const std::wstring& appData) {
             const HANDLE file = ::CreateFileW((appData + L"\\Setting.ini").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                               nullptr, OPEN_EXISTING, 0, nullptr);
             if (file == INVALID_HANDLE_VALUE) return ::GetLastError() == ERROR_ACCESS_DENIED;
             ::CloseHandle(file);
             return false;
         }},
    };
    ASSERT_TRUE(drive.Usable());
    ASSERT_TRUE(CreateFolderTree(sandbox.Root() / L"drive"));
    ASSERT_TRUE(drive.Insert());
    for (const Refusal& row : rows) {
        SCOPED_TRACE(row.name);
        const bool onDrive = std::string(row.name) == "vanished drive";
        const std::wstring appData = (onDrive ? drive.Root() : sandbox.Root().Path() + L"\\") + L"Users\\anna\\AppData\\" + Utf8ToWide(row.name);
        ASSERT_TRUE(CreateFolderTree(appData));
        ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, appData);
        Start(L"1.0", L"old-id");
        const std::string setting = ReadFileBytes(appData + L"\\Setting.ini");
        const std::string sync = ReadFileBytes(appData + L"\\SyncSetting.ini");
        ASSERT_EQ(Value(appData + L"\\SyncSetting.ini", L"SyncSetting", L"deviceUUid"), L"old-id");

        ASSERT_TRUE(row.refuse(appData));
        ASSERT_TRUE(row.refused(appData)) << "this machine cannot refuse the place";
        ClientStandIn::ClearLogLines();
        const auto began = std::chrono::steady_clock::now();
        Start(L"2.0", L"new-id");
        EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
        bool reported = false;
        for (const ClientStandIn::LogLine& line : ClientStandIn::LogLines()) {
            if (line.severity != 5 || line.function == "ClientInitialize::SyncBaseUri") continue;
            // The path, and an error number after "error".
            reported = reported || (line.message.find(appData) != std::wstring::npos &&
                                    line.message.find(L"error ") != std::wstring::npos);
        }
        EXPECT_TRUE(reported) << "no severity-5 line with the path and the error";
        row.giveBack();
        const std::string settingThen = ReadFileBytes(appData + L"\\Setting.ini");
        const std::string syncThen = ReadFileBytes(appData + L"\\SyncSetting.ini");

        Start(L"2.0", L"new-id");
        EXPECT_EQ(Value(appData + L"\\SyncSetting.ini", L"SyncSetting", L"deviceUUid"), L"new-id");
        EXPECT_EQ(Value(appData + L"\\Setting.ini", L"Setting", L"UpgradeChannel"), L"2.0");
        // While refused, each file held its old content or what the full start writes (a file rewritten in
        // place in a folder that refuses only new files): never less.
        EXPECT_TRUE(settingThen == setting || settingThen == ReadFileBytes(appData + L"\\Setting.ini"));
        EXPECT_TRUE(syncThen == sync || syncThen == ReadFileBytes(appData + L"\\SyncSetting.ini"));
    }
}

// The same folder handed over in the forms a client may use reaches the same
// two files and no other.
TEST(RefusedPlaces, EveryFormOfTheFolderReachesTheSameFiles) {
    StandInSandbox sandbox;
    const std::wstring folder = sandbox.Root() / L"Long Folder Name";
    ASSERT_TRUE(CreateFolderTree(folder));
    wchar_t shortForm[MAX_PATH] = {};
    ASSERT_NE(::GetShortPathNameW(folder.c_str(), shortForm, MAX_PATH), 0u);
    std::wstring forward = folder;
    for (wchar_t& c : forward)
        if (c == L'\\') c = L'/';
    std::wstring upper = folder;
    for (wchar_t& c : upper) c = static_cast<wchar_t>(::towupper(c));
    const struct {
        const char* name;
        std::wstring form;
    } rows[] = {
        {"as it is", folder},
        {"trailing backslash", folder + L"\\"},
        {"forward slashes", forward},
        {"extended form", L"\\\\?\\" + folder},
        {"other letter case", upper},
        {"8.3 short form", shortForm},
    };
    int run = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, row.form);
        const std::wstring version = std::to_wstring(++run);
        Start(version, L"id-" + version);
        EXPECT_EQ(Value(folder + L"\\Setting.ini", L"Setting", L"UpgradeChannel"), version);
        EXPECT_EQ(Value(folder + L"\\SyncSetting.ini", L"SyncSetting", L"deviceUUid"), L"id-" + version);
        WIN32_FIND_DATAW entry = {};
        const HANDLE find = ::FindFirstFileW((folder + L"\\*").c_str(), &entry);
        std::vector<std::wstring> names;
        if (find != INVALID_HANDLE_VALUE) {
            do {
                if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(entry.cFileName);
            } while (::FindNextFileW(find, &entry));
            ::FindClose(find);
        }
        EXPECT_EQ(names.size(), 2u);
    }
}

}  // namespace
}  // namespace grs::test
