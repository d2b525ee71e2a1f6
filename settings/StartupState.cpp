// Start-up decisions: first start, the shortcut flag, start with Windows and
// the install/upgrade marks.
#include <windows.h>

#include <exception>
#include <string>

#include "core/IniFile.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/UniqueResource.h"
#include "globalrootservice/ClientInitialize.h"
#include "settings/SettingsFiles.h"

using grs::settings::Key;

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kIsFirstStartUp[] = "ClientInitialize::IsFirstStartUp";
constexpr char kIsNeedCreateShortcut[] = "ClientInitialize::IsNeedCreateShortcut";
constexpr char kSetCreateShortcutFlag[] = "ClientInitialize::SetCreateShortcutFlag";
constexpr char kRegisterStartingIsOpen[] = "ClientInitialize::RegisterStartingIsOpen";
constexpr char kGetRegisterStartingIsOpen[] = "ClientInitialize::GetRegisterStartingIsOpen";
constexpr char kInstallUpgradeLog[] = "ClientInitialize::InstallUpgradeLog";

using grs::settings::kRunKey;
using grs::settings::kRunValue;
using grs::settings::kRunValueReadBytes;
// Registering opens the Run key for reading, setting a value and creating a
// subkey (0x2001F).
constexpr REGSAM kRunKeyWriteAccess = KEY_READ | KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
static_assert(kRunKeyWriteAccess == 0x2001F, "the access registering has always asked for");
// COMPAT: reading the registration asks for all access (0xF003F, KEY_ALL_ACCESS)
// as the client always has; a read-only key then reads as "not registered".
constexpr REGSAM kRunKeyFullAccess = KEY_ALL_ACCESS;
static_assert(kRunKeyFullAccess == 0xF003F, "the access reading has always asked for");

}  // namespace

bool ClientInitialize::IsFirstStartUp() {
    return grs::settings::Guarded(__LINE__, kIsFirstStartUp, false, [] {
        // The settings lock, although callers are told not to overlap these
        // with the locked operations: an overlap must not lose their keys.
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        std::wstring before;
        const bool found =
            grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), kIsFirstStartUp, [&](CIniFileW& ini) {
                before = grs::settings::Read(ini, Key::IsFirstStartUp);
                grs::settings::SetValue(ini, Key::IsFirstStartUp,
                                        grs::settings::FlagValue(Key::IsFirstStartUp, false));
                return grs::settings::Outcome::Save;
            });
        return found && grs::settings::ReadsOn(Key::IsFirstStartUp, before);
    });
}

bool ClientInitialize::IsNeedCreateShortcut() {
    return grs::settings::Guarded(__LINE__, kIsNeedCreateShortcut, false, [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        std::wstring flag;
        const bool found = grs::settings::ChangeExistingFile(
            grs::settings::SettingFilePath(), kIsNeedCreateShortcut, [&](CIniFileW& ini) {
                flag = grs::settings::Read(ini, Key::NoticeCreateLink);
                // Saved with no value changed: identical bytes are not written,
                // other forms are rewritten with the same keys and values.
                return grs::settings::Outcome::Save;
            });
        return found && !grs::settings::ReadsOn(Key::NoticeCreateLink, flag);
    });
}

void ClientInitialize::SetCreateShortcutFlag() {
    grs::settings::Guarded(__LINE__, kSetCreateShortcutFlag, [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SettingFilePath(), kSetCreateShortcutFlag, [](CIniFileW& ini) {
            grs::settings::SetValue(ini, Key::NoticeCreateLink, grs::settings::FlagValue(Key::NoticeCreateLink, true));
            return grs::settings::Outcome::Save;
        });
    });
}

void ClientInitialize::RegisterStartingIsOpen(bool open) {
    grs::settings::Guarded(__LINE__, kRegisterStartingIsOpen, [open] {
        grs::UniqueKey key;
        const LSTATUS opened = ::RegOpenKeyExW(HKEY_CURRENT_USER, kRunKey, 0, kRunKeyWriteAccess, key.put());
        if (opened != ERROR_SUCCESS) {
            grs::log::Info(__LINE__, kRegisterStartingIsOpen,
                           L"Open Reg Failed When Setting isAutoStartUp, code:" + std::to_wstring(opened));
            return grs::settings::RunValueNotChanged(kRegisterStartingIsOpen, open, L"opening the Run key", opened);
        }
        // A command that would not fit is not written, and not reported.
        std::wstring command;
        if (!grs::settings::BuildRunCommand(grs::HostExecutablePath(), command)) return;

        // COMPAT: the size leaves out the terminator, as the client's other
        // versions write it, so that their values compare equal.
        const LSTATUS result =
            open ? ::RegSetValueExW(key.get(), kRunValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(command.c_str()),
                                    static_cast<DWORD>(command.size() * sizeof(wchar_t)))
                 : ::RegDeleteValueW(key.get(), kRunValue);
        // The one line of the library logged with the logger's flag cleared.
        grs::log::Write(grs::log::kInfo, __LINE__, kRegisterStartingIsOpen, command, false);
        if (result != ERROR_SUCCESS) {
            grs::log::Info(__LINE__, kRegisterStartingIsOpen, L"set auto start up error, code:" + std::to_wstring(result));
            grs::settings::RunValueNotChanged(kRegisterStartingIsOpen, open, open ? L"setting the value" : L"deleting the value", result);
        } else
            grs::log::Info(__LINE__, kRegisterStartingIsOpen, L"set auto start up success");
    });
}

bool ClientInitialize::GetRegisterStartingIsOpen() {
    return grs::settings::Guarded(__LINE__, kGetRegisterStartingIsOpen, false, [] {
        // An open that fails leaves no key, and the read below then fails.
        grs::UniqueKey key;
        ::RegOpenKeyExW(HKEY_CURRENT_USER, kRunKey, 0, kRunKeyFullAccess, key.put());
        wchar_t buffer[grs::settings::kRunCommandBufferChars] = {};
        DWORD size = grs::settings::kRunValueReadBytes;
        const LSTATUS read = key ? ::RegGetValueW(key.get(), nullptr, kRunValue, RRF_RT_REG_SZ, nullptr, buffer, &size)
                                 : ERROR_INVALID_HANDLE;
        key.reset();
        const bool registered = read == ERROR_SUCCESS;
        grs::log::Info(__LINE__, kGetRegisterStartingIsOpen,
                       registered ? L"GetRegisterStartingIsOpen == 0" : L"GetRegisterStartingIsOpen != 0");
        return registered;
    });
}

void ClientInitialize::InstallUpgradeLog() {
    // COMPAT: the exception line names UpdateSettings, as the client has always
    // logged it; log readers match on it.
    grs::GuardedNaming(__LINE__, kInstallUpgradeLog, "ClientInitialize::UpdateSettings", [] {
        std::lock_guard<std::mutex> lock(grs::settings::SettingsLock());
        const std::wstring path = grs::settings::SettingFilePath();
        if (!grs::PathExists(path)) return;
        // Attributes stay as they are: nothing is written back.
        CIniFileW ini;
        ini.Load(path);
        for (const Key key : {Key::InstallTime, Key::UpgradeTime}) {
            if (!grs::settings::Read(ini, key).empty()) grs::settings::SetValue(ini, key, std::wstring());
        }
        // COMPAT: deliberately not saved, as the client always did: the file on
        // disk stays byte for byte as it was.
    });
}
