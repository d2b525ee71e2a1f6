// The one part of the inspection that touches the system, and it only reads:
// files are opened for reading with every sharing mode (so the client may keep
// running), attributes and folder entries are queried, and the Run key is
// opened to query its value. Nothing of the user's is handed to the library's
// settings operations, which would rewrite the files and the Run value.
#include <windows.h>

#include <cstdio>
#include <vector>

#include "core/FileIo.h"
#include "core/IniFile.h"
#include "core/PathUtil.h"
#include "core/UniqueResource.h"
#include "inspect/Inspect.h"
#include "inspect/InspectDetail.h"
#include "inspect/Repair.h"
#include "route/RouteDetail.h"
#include "serverconfig/ServerRegion.h"
#include "settings/ProfileText.h"
#include "settings/SettingRules.h"

namespace inspect {

namespace {

// The largest settings file the library reads; every other file it reads is
// smaller. The rest is not needed to judge it.
constexpr unsigned long long kReadLimit = grs::kIniMaxFileBytes;

std::wstring FullPath(const std::wstring& path) {
    if (path.empty()) return path;
    const DWORD length = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (length == 0) return path;
    std::wstring full(length, L'\0');
    const DWORD written = ::GetFullPathNameW(path.c_str(), length, &full[0], nullptr);
    if (written == 0 || written >= length) return path;
    full.resize(written);
    return full;
}

FileSnapshot ReadSnapshotFile(const std::wstring& path) {
    FileSnapshot file;
    const std::wstring target = grs::WithExtendedPrefix(path);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(target.c_str(), GetFileExInfoStandard, &data)) return file;
    file.exists = true;
    file.attributes = data.dwFileAttributes;
    file.isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    file.size = (static_cast<unsigned long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    if (file.isFolder) return file;
    if (file.size > kReadLimit) {
        file.tooLarge = true;
        return file;
    }
    switch (grs::ReadWholeFile(target, kReadLimit, file.bytes)) {
        case grs::ReadFileResult::Ok:
            file.readable = true;
            file.size = file.bytes.size();
            break;
        case grs::ReadFileResult::TooLarge:
            file.tooLarge = true;
            break;
        case grs::ReadFileResult::Missing:  // gone since it was listed
        case grs::ReadFileResult::CannotOpen:
        case grs::ReadFileResult::Failed:
            break;
    }
    return file;
}

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(grs::WithExtendedPrefix(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::vector<std::wstring> FolderNames(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry = {};
    const std::wstring pattern = grs::WithExtendedPrefix(grs::PathJoin(folder, L"*"));
    grs::UniqueFind find(
        ::FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0));
    if (!find) return names;
    do {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L"..") names.push_back(name);
    } while (::FindNextFileW(find.get(), &entry));
    return names;
}

// The Run value under HKEY_CURRENT_USER\<root>, opened to query values only.
RunValueSnapshot ReadRunValue(const std::wstring& keyPath) {
    RunValueSnapshot run;
    grs::UniqueKey key;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, keyPath.c_str(), 0, KEY_QUERY_VALUE, key.put()) != ERROR_SUCCESS) return run;
    std::vector<BYTE> data;
    DWORD type = 0;
    DWORD size = 0;
    LSTATUS status = ::RegQueryValueExW(key.get(), grs::settings::kRunValue, nullptr, &type, nullptr, &size);
    // The value may change between the two queries; a few tries settle it.
    for (int attempt = 0; attempt < 3 && status == ERROR_SUCCESS; ++attempt) {
        data.assign(size + sizeof(wchar_t), 0);
        DWORD got = size;
        status = ::RegQueryValueExW(key.get(), grs::settings::kRunValue, nullptr, &type, data.data(), &got);
        if (status == ERROR_MORE_DATA) {
            size = got;
            status = ERROR_SUCCESS;
            continue;
        }
        if (status != ERROR_SUCCESS) break;
        run.present = true;
        run.type = type;
        run.raw.assign(reinterpret_cast<const char*>(data.data()), got);
        if (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) {
            const wchar_t* text = reinterpret_cast<const wchar_t*>(data.data());
            const size_t units = got / sizeof(wchar_t);
            size_t length = 0;
            while (length < units && text[length] != L'\0') ++length;
            run.data.assign(text, length);
        }
        return run;
    }
    return run;
}

bool IsFile(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(grs::WithExtendedPrefix(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

Snapshot TakeSnapshot(const Request& request) {
    Snapshot snapshot;
    snapshot.appData = FullPath(request.appData);
    snapshot.appDataIsFolder = IsFolder(snapshot.appData);
    snapshot.ansiCodePage = ::GetACP();
    snapshot.appDataSpellable = grs::settings::SpelledIn(snapshot.appData, snapshot.ansiCodePage);
    if (snapshot.appDataIsFolder) {
        snapshot.setting = ReadSnapshotFile(grs::PathJoin(snapshot.appData, grs::settings::kSettingFileName));
        snapshot.syncSetting = ReadSnapshotFile(grs::PathJoin(snapshot.appData, grs::settings::kSyncSettingFileName));
        snapshot.appDataNames = FolderNames(snapshot.appData);
    }

    snapshot.runKey = request.runKeyRoot.empty() ? std::wstring(grs::settings::kRunKey)
                                                 : request.runKeyRoot + L"\\" + grs::settings::kRunKey;
    snapshot.run = ReadRunValue(snapshot.runKey);

    snapshot.exeDirGiven = !request.exeDir.empty();
    if (snapshot.exeDirGiven) {
        snapshot.exeDir = FullPath(request.exeDir);
    } else if (snapshot.run.present) {
        // Without an install folder, the one start with Windows points at.
        bool quoted = false;
        std::wstring arguments;
        const std::wstring executable = RunCommandExecutable(snapshot.run.data, quoted, arguments);
        if (!executable.empty() && IsFile(executable)) snapshot.exeDir = grs::DirectoryWithSeparator(executable);
    }
    snapshot.exeDirIsFolder = !snapshot.exeDir.empty() && IsFolder(snapshot.exeDir);
    if (snapshot.exeDirIsFolder) {
        for (grs::ServerRegion region : grs::kServerRegions) {
            for (bool test : {false, true}) {
                const std::wstring name = grs::ServerConfigFileName(region, test);
                snapshot.serverFiles[name] = ReadSnapshotFile(grs::PathJoin(snapshot.exeDir, name));
            }
        }
    }

    // The client keeps the route cache in a store of its own: without a file
    // given there is nothing to read (never a guess at some other file).
    snapshot.routeCacheGiven = !request.routeCache.empty();
    if (snapshot.routeCacheGiven) {
        snapshot.routeCachePath = FullPath(request.routeCache);
        snapshot.routeCache = ReadSnapshotFile(snapshot.routeCachePath);
    }
    return snapshot;
}

Context MakeContext(const Request& request) {
    Context context;
    context.country = request.country;
    context.user = request.user;
    context.nowMs = grs::route::NowMilliseconds();
    // The country sets and the package name are the client's: the program
    // links none of the client's libraries, so they come with the request.
    context.asia = request.asia;
    context.europe = request.europe;
    context.packageName = request.packageName;
    context.fileExists = IsFile;
    return context;
}

std::string BackupStamp() {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    char text[32];
    std::snprintf(text, sizeof text, "%04u%02u%02u-%02u%02u%02u", now.wYear, now.wMonth, now.wDay, now.wHour,
                  now.wMinute, now.wSecond);
    return text;
}

Report InspectProfile(const Request& request) {
    Report report;
    report.snapshot = TakeSnapshot(request);
    report.context = MakeContext(request);
    report.findings = Inspect(report.snapshot, report.context);
    report.plan = PlanFixes(report.snapshot, report.context, report.findings);
    return report;
}

int ExitStatus(const Report& report) {
    if (!report.snapshot.appDataIsFolder) return kExitCouldNotCheck;
    for (const Finding& finding : report.findings)
        if (finding.severity >= Severity::Warning) return kExitNeedsAction;
    return kExitClean;
}

int RunInspect(const Request& request) {
    Report report = InspectProfile(request);
    RepairResult repair;
    const bool repairing = request.repairInPlace || !request.repairTo.empty();
    if (repairing) {
        if (!request.repairInPlace && SameIgnoringCase(FullPath(request.repairTo), report.snapshot.appData)) {
            std::fprintf(stderr, "grs-support: --repair needs a folder other than the profile itself\n");
            return kExitCouldNotCheck;
        }
        repair = Repair(request, report.snapshot, report.plan, BackupStamp());
        if (repair.refused) {
            std::fprintf(stderr, "grs-support: repair refused: %s\n", repair.refusal.c_str());
            return kExitCouldNotCheck;
        }
        // The report is that of the repaired profile.
        Request after = request;
        after.appData = repair.profile;
        if (!request.repairInPlace && report.snapshot.routeCache.exists) {
            const std::wstring prefix = grs::DirectoryWithSeparator(report.snapshot.appData);
            const std::wstring& cache = report.snapshot.routeCachePath;
            after.routeCache = cache.size() > prefix.size() && SameIgnoringCase(cache.substr(0, prefix.size()), prefix)
                                   ? grs::PathJoin(repair.profile, cache.substr(prefix.size()))
                                   : grs::PathJoin(repair.profile, cache.substr(cache.find_last_of(L"\\/") + 1));
        }
        if (after.exeDir.empty()) after.exeDir = report.snapshot.exeDir;
        report = InspectProfile(after);
    }
    return PrintReport(report, request.json, repairing ? &repair : nullptr);
}

int PrintReport(const Report& report, bool json, const RepairResult* repair) {
    const std::string text = json ? RenderJson(report, repair) : RenderText(report, repair);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "grs-support: the report could not be written\n");
        return kExitCouldNotCheck;
    }
    return ExitStatus(report);
}

}  // namespace inspect
