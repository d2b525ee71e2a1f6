#include "supporttool/Collect.h"

#include <windows.h>
#include <knownfolders.h>
#include <shlobj.h>

#include <cstdio>

#include "core/FileIo.h"
#include "core/IniFile.h"
#include "inspect/Repair.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "supporttool/Bundle.h"
#include "supporttool/JsonText.h"
#include "supporttool/Redact.h"
#include "supporttool/Zip.h"

namespace supporttool {

namespace {

void FreeTaskMemory(PWSTR memory) {
    ::CoTaskMemFree(memory);
}
using UniqueTaskText = grs::UniqueResource<grs::HandleTraits<PWSTR, 0, &FreeTaskMemory>>;

long long FileTimeMs(const FILETIME& time) {
    const unsigned long long ticks = (static_cast<unsigned long long>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    return static_cast<long long>(ticks / 10000) - 11644473600000LL;
}

std::string RegistryText(HKEY root, const wchar_t* key, const wchar_t* name) {
    wchar_t value[256] = {};
    DWORD size = sizeof value;
    if (::RegGetValueW(root, key, name, RRF_RT_REG_SZ, nullptr, value, &size) != ERROR_SUCCESS) return std::string();
    return Text(value);
}

Json::Value RegistryNumber(HKEY root, const wchar_t* key, const wchar_t* name) {
    DWORD value = 0;
    DWORD size = sizeof value;
    if (::RegGetValueW(root, key, name, RRF_RT_REG_DWORD, nullptr, &value, &size) != ERROR_SUCCESS)
        return Json::Value("not set");
    return Json::Value(static_cast<Json::UInt>(value));
}

const char* DriveTypeName(UINT type) {
    switch (type) {
        case DRIVE_REMOVABLE:
            return "removable";
        case DRIVE_FIXED:
            return "fixed";
        case DRIVE_REMOTE:
            return "network";
        case DRIVE_CDROM:
            return "cd-rom";
        case DRIVE_RAMDISK:
            return "ram disk";
        case DRIVE_NO_ROOT_DIR:
            return "no such drive";
        default:
            return "unknown";
    }
}

UINT DriveTypeOf(const std::wstring& path) {
    if (path.rfind(L"\\\\", 0) == 0) return DRIVE_REMOTE;
    if (path.size() < 2 || path[1] != L':') return DRIVE_UNKNOWN;
    return ::GetDriveTypeW((path.substr(0, 2) + L"\\").c_str());
}

// Whether the ANSI code page spells `text` exactly.
bool Spellable(const std::wstring& text) {
    if (text.empty()) return true;
    BOOL lossy = FALSE;
    const int length = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()),
                                             nullptr, 0, nullptr, &lossy);
    return length > 0 && !lossy;
}

// What diagnosis needs of a path, kept through redaction.
Json::Value PathFacts(const std::wstring& path, const std::wstring& profile) {
    Json::Value facts(Json::objectValue);
    facts["path"] = Text(path);
    facts["length"] = static_cast<Json::UInt>(path.size());
    facts["ansiSpellable"] = Spellable(path);
    facts["spaces"] = path.find(L' ') != std::wstring::npos;
    facts["driveType"] = DriveTypeName(DriveTypeOf(path));
    facts["network"] = DriveTypeOf(path) == DRIVE_REMOTE;
    if (!profile.empty())
        facts["redirected"] = path.size() < profile.size() ||
                              ::CompareStringOrdinal(path.c_str(), static_cast<int>(profile.size()), profile.c_str(),
                                                     static_cast<int>(profile.size()), TRUE) != CSTR_EQUAL;
    facts["cloudPlaceholder"] = grs::IsCloudPlaceholder(path);
    return facts;
}

std::wstring KnownFolder(REFKNOWNFOLDERID id) {
    UniqueTaskText path;
    if (FAILED(::SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, path.put()))) return std::wstring();
    return path.get();
}

Json::Value Environment(const inspect::Snapshot& snapshot, const std::wstring& executable) {
    Json::Value environment(Json::objectValue);
    environment["ansiCodePage"] = static_cast<Json::UInt>(::GetACP());
    environment["oemCodePage"] = static_cast<Json::UInt>(::GetOEMCP());
    const wchar_t* version = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    environment["windows"] = RegistryText(HKEY_LOCAL_MACHINE, version, L"ProductName") + " " +
                             RegistryText(HKEY_LOCAL_MACHINE, version, L"DisplayVersion") + " build " +
                             RegistryText(HKEY_LOCAL_MACHINE, version, L"CurrentBuildNumber");
    // What the system reports to a program that declares Windows 10 (this one's
    // manifest does), as the library's own version query sees it: the
    // registry's product name says "Windows 10" on Windows 11 too.
    OSVERSIONINFOEXW reported = {};
    reported.dwOSVersionInfoSize = sizeof reported;
    if (::GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&reported)))
        environment["windowsVersion"] = std::to_string(reported.dwMajorVersion) + "." +
                                        std::to_string(reported.dwMinorVersion) + "." +
                                        std::to_string(reported.dwBuildNumber);
    environment["longPathsEnabled"] =
        RegistryNumber(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\FileSystem", L"LongPathsEnabled");
    const std::wstring profile = KnownFolder(FOLDERID_Profile);
    Json::Value& folders = environment["folders"];
    folders["given app-data"] = PathFacts(snapshot.appData, profile);
    folders["roaming app-data"] = PathFacts(KnownFolder(FOLDERID_RoamingAppData), profile);
    folders["local app-data"] = PathFacts(KnownFolder(FOLDERID_LocalAppData), profile);
    folders["documents"] = PathFacts(KnownFolder(FOLDERID_Documents), profile);
    folders["downloads"] = PathFacts(KnownFolder(FOLDERID_Downloads), profile);
    Json::Value& drives = environment["drives"] = Json::Value(Json::arrayValue);
    const DWORD letters = ::GetLogicalDrives();
    for (int i = 0; i < 26; ++i) {
        if ((letters & (1u << i)) == 0) continue;
        const std::wstring root = std::wstring(1, static_cast<wchar_t>(L'A' + i)) + L":\\";
        const UINT type = ::GetDriveTypeW(root.c_str());
        Json::Value drive(Json::objectValue);
        drive["letter"] = Text(root.substr(0, 2));
        drive["type"] = DriveTypeName(type);
        // A network or optical drive may take long to answer: only local ones are asked.
        ULARGE_INTEGER free = {};
        if ((type == DRIVE_FIXED || type == DRIVE_REMOVABLE) &&
            ::GetDiskFreeSpaceExW(root.c_str(), &free, nullptr, nullptr))
            drive["freeBytes"] = static_cast<Json::UInt64>(free.QuadPart);
        drives.append(drive);
    }
    environment["executable"] = executable.empty() ? Json::Value("none named") : PathFacts(executable, profile);
    return environment;
}

Json::Value Times(const std::wstring& path) {
    Json::Value times(Json::objectValue);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(grs::WithExtendedPrefix(path).c_str(), GetFileExInfoStandard, &data)) return times;
    times["created"] = inspect::FormatUtc(FileTimeMs(data.ftCreationTime));
    times["written"] = inspect::FormatUtc(FileTimeMs(data.ftLastWriteTime));
    times["accessed"] = inspect::FormatUtc(FileTimeMs(data.ftLastAccessTime));
    return times;
}

std::wstring WindowsName(BOOL(WINAPI* query)(LPWSTR, LPDWORD)) {
    wchar_t name[256] = {};
    DWORD size = 256;
    return query(name, &size) ? std::wstring(name) : std::wstring();
}

}  // namespace

std::wstring MappingPath(const std::wstring& out) {
    const bool zip =
        out.size() > 4 && ::CompareStringOrdinal(out.c_str() + out.size() - 4, 4, L".zip", 4, TRUE) == CSTR_EQUAL;
    return (zip ? out.substr(0, out.size() - 4) : out) + L"-mapping.txt";
}

int RunCollect(const CollectRequest& asked) {
    Collected collected;
    inspect::Snapshot& snapshot = collected.snapshot = inspect::TakeSnapshot(asked.request);
    if (!snapshot.appDataIsFolder) {
        std::fprintf(stderr, "grs-support: no folder at %s: give the user's app-data folder\n",
                     Text(snapshot.appData).c_str());
        return inspect::kExitCouldNotCheck;
    }
    const inspect::Context context = inspect::MakeContext(asked.request);
    bool quoted = false;
    std::wstring arguments;
    const std::wstring executable = inspect::RunCommandExecutable(snapshot.run.data, quoted, arguments);
    if (!executable.empty() && context.fileExists(executable)) collected.existing.insert(executable);
    if (!executable.empty() && !snapshot.exeDir.empty()) {
        const std::wstring installed =
            grs::PathJoin(snapshot.exeDir, executable.substr(executable.find_last_of(L"\\/") + 1));
        if (context.fileExists(installed)) collected.existing.insert(installed);
    }
    collected.collectedAt = inspect::FormatUtc(context.nowMs);
    collected.environment = Environment(snapshot, executable);
    collected.fileFacts["files/appdata/Setting.ini"] = Times(grs::PathJoin(snapshot.appData, L"Setting.ini"));
    collected.fileFacts["files/appdata/SyncSetting.ini"] = Times(grs::PathJoin(snapshot.appData, L"SyncSetting.ini"));
    for (const auto& server : snapshot.serverFiles)
        collected.fileFacts["files/exedir/" + Text(server.first)] = Times(grs::PathJoin(snapshot.exeDir, server.first));
    if (snapshot.routeCacheGiven) collected.fileFacts["files/route-cache.json"] = Times(snapshot.routeCachePath);

    const Redaction redaction =
        asked.redact ? MakeRedaction(WindowsName(::GetUserNameW), WindowsName(::GetComputerNameW), asked.userId)
                     : Redaction();
    std::string error;
    if (!WriteZip(asked.out, MakeBundle(collected, redaction), error)) {
        std::fprintf(stderr, "grs-support: %s: %s\n", Text(asked.out).c_str(), error.c_str());
        return inspect::kExitCouldNotCheck;
    }
    std::printf("bundle: %s\n", Text(asked.out).c_str());
    if (!redaction.Empty()) {
        // The mapping stays on this machine: beside the bundle, never in it.
        const std::wstring mapping = MappingPath(asked.out);
        const std::string text = MappingText(redaction);
        grs::UniqueFile file(
            ::CreateFileW(mapping.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        if (!file || !::WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written != text.size()) {
            std::fprintf(stderr, "grs-support: the mapping could not be written to %s (error %lu)\n",
                         Text(mapping).c_str(), ::GetLastError());
        } else {
            std::printf("mapping (keep it here, do not send it): %s\n", Text(mapping).c_str());
        }
        std::fputs(text.c_str(), stdout);
    }
    return inspect::kExitClean;
}

bool ReportOfBundle(const std::wstring& bundle, const inspect::Request& request, inspect::Report& report,
                    bool& redacted) {
    // Settings files are the largest entries the library reads.
    std::map<std::string, std::string> entries;
    Collected collected;
    std::string error;
    if (!ReadZip(bundle, 4 * grs::kIniMaxFileBytes, entries, error) || !ReadBundle(entries, collected, error)) {
        std::fprintf(stderr, "grs-support: %s: %s\n", Text(bundle).c_str(), error.c_str());
        return false;
    }
    redacted = collected.redacted;
    report.snapshot = collected.snapshot;
    report.context = inspect::MakeContext(request);
    // What exists is what existed on the user's machine.
    const std::set<std::wstring> existing = collected.existing;
    report.context.fileExists = [existing](const std::wstring& path) { return existing.count(path) != 0; };
    report.findings = inspect::Inspect(report.snapshot, report.context);
    report.plan = inspect::PlanFixes(report.snapshot, report.context, report.findings);
    report.environment = EnvironmentLines(collected.environment);
    report.environment.insert(report.environment.begin(), {"collected", collected.collectedAt});
    return true;
}

int RunInspectBundle(const std::wstring& bundle, const inspect::Request& request) {
    inspect::Report report;
    bool redacted = false;
    if (!ReportOfBundle(bundle, request, report, redacted)) return inspect::kExitCouldNotCheck;
    return inspect::PrintReport(report, request.json);
}

}  // namespace supporttool
