#include "supporttool/Plan.h"

#include <windows.h>

#include <cstdio>

#include "core/FileIo.h"
#include "core/HashUtil.h"
#include "core/IniFile.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "inspect/Repair.h"
#include "settings/SettingRules.h"
#include "supporttool/JsonText.h"

namespace supporttool {

namespace {

constexpr int kFormat = 1;

// The files a plan may touch, each by its full path, with its state now.
struct FileState {
    std::wstring path;
    bool exists = false;
    DWORD attributes = 0;
    std::string bytes;
};

FileState ReadState(const std::wstring& path) {
    FileState state;
    state.path = path;
    const DWORD attributes = ::GetFileAttributesW(grs::WithExtendedPrefix(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY)) return state;
    state.exists = true;
    state.attributes = attributes;
    if (grs::ReadWholeFile(grs::WithExtendedPrefix(path), grs::kIniMaxFileBytes, state.bytes) !=
        grs::ReadFileResult::Ok)
        state.bytes.clear();
    return state;
}

// The full path of the file a fix changes.
std::wstring FixPath(const inspect::Fix& fix, const std::wstring& appData) {
    if (fix.file.empty()) return std::wstring();
    if (fix.area == inspect::kAreaRouteCache) return fix.file;
    return grs::PathJoin(appData, fix.file);
}

std::wstring RunKeyRoot(const std::wstring& runKey) {
    const std::wstring suffix = grs::settings::kRunKey;
    if (runKey.size() > suffix.size() && runKey.compare(runKey.size() - suffix.size(), suffix.size(), suffix) == 0)
        return runKey.substr(0, runKey.size() - suffix.size() - 1);
    return std::wstring();
}

bool WriteText(const std::wstring& path, const std::string& text) {
    return grs::ReplaceFileContent(path, text).Succeeded();
}

// Reverse of the redaction: tokens back to the names.
Redaction Reversed(const Redaction& redaction) {
    Redaction reversed;
    for (const auto& name : redaction.names) reversed.names.emplace_back(name.second, name.first);
    return reversed;
}

}  // namespace

Json::Value MakePlan(const inspect::Report& report, bool redacted) {
    const inspect::Snapshot& snapshot = report.snapshot;
    Json::Value plan(Json::objectValue);
    plan["format"] = kFormat;
    plan["made"] = inspect::FormatUtc(report.context.nowMs);
    plan["redacted"] = redacted;
    Json::Value& profile = plan["profile"];
    profile["appData"] = Text(snapshot.appData);
    profile["exeDir"] = Text(snapshot.exeDir);
    profile["routeCache"] = Text(snapshot.routeCachePath);
    profile["runKey"] = Text(snapshot.runKey);
    // What the plan was made from: apply refuses a profile that changed since.
    Json::Value& from = plan["madeFrom"];
    const auto fileHash = [](const inspect::FileSnapshot& file) {
        return file.exists && file.readable ? Json::Value(grs::Sha256Hex(file.bytes)) : Json::Value(Json::nullValue);
    };
    from["Setting.ini"] = fileHash(snapshot.setting);
    from["SyncSetting.ini"] = fileHash(snapshot.syncSetting);
    if (snapshot.routeCacheGiven) from["routeCache"] = fileHash(snapshot.routeCache);
    from["run"]["present"] = snapshot.run.present;
    from["run"]["type"] = static_cast<Json::UInt>(snapshot.run.type);
    from["run"]["bytes"] = Hex(snapshot.run.raw);
    Json::Value& changes = plan["changes"] = Json::Value(Json::arrayValue);
    for (const inspect::Fix& fix : report.plan) {
        Json::Value change(Json::objectValue);
        change["area"] = fix.area;
        change["key"] = fix.key;
        change["action"] = fix.action;
        change["file"] = Text(fix.file);
        change["before"] = Text(fix.from);
        change["after"] = Text(fix.to);
        for (const inspect::Finding& finding : report.findings)
            if (inspect::FixFor(finding, report.plan) == &fix) change["answers"] = inspect::Describe(finding.code).id;
        changes.append(change);
    }
    return plan;
}

Redaction ReadMapping(const std::string& text) {
    Redaction redaction;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = text.substr(start, end - start);
        const size_t equals = line.find(" = ");
        if (equals != std::string::npos)
            redaction.names.emplace_back(grs::Utf8ToWide(line.substr(equals + 3)),
                                         grs::Utf8ToWide(line.substr(0, equals)));
        start = end + 1;
    }
    return redaction;
}

int RunPlan(const inspect::Report& report, bool redacted, const std::wstring& out) {
    const Json::Value plan = MakePlan(report, redacted);
    if (!WriteText(out, JsonText(plan))) {
        std::fprintf(stderr, "grs-support: the plan could not be written to %s (error %lu)\n", Text(out).c_str(),
                     ::GetLastError());
        return inspect::kExitCouldNotCheck;
    }
    std::printf("plan: %s, %u change(s); nothing was changed\n", Text(out).c_str(), plan["changes"].size());
    for (const Json::Value& change : plan["changes"])
        std::printf("  %s %s: %s \"%s\" -> \"%s\"\n", change["area"].asCString(), change["key"].asCString(),
                    change["action"].asCString(), change["before"].asCString(), change["after"].asCString());
    return inspect::kExitClean;
}

int RunApply(const std::wstring& planPath, const std::wstring& mappingPath) {
    std::string text;
    Json::Value plan;
    if (grs::ReadWholeFile(planPath, grs::kIniMaxFileBytes, text) != grs::ReadFileResult::Ok ||
        !ParseJsonObject(text, plan) || plan["format"].asInt() != kFormat) {
        std::fprintf(stderr, "grs-support: %s is no plan that can be read\n", Text(planPath).c_str());
        return inspect::kExitCouldNotCheck;
    }
    Redaction redaction;
    if (plan["redacted"].asBool()) {
        std::string mapping;
        if (mappingPath.empty() || grs::ReadWholeFile(mappingPath, 1 << 20, mapping) != grs::ReadFileResult::Ok) {
            std::fprintf(stderr,
                         "grs-support: the plan was made from a redacted bundle: give --mapping FILE, the "
                         "mapping collect wrote beside it\n");
            return inspect::kExitCouldNotCheck;
        }
        redaction = ReadMapping(mapping);
    }
    const Redaction real = Reversed(redaction);
    const auto unredacted = [&real](const Json::Value& value) { return RedactText(real, Wide(value)); };

    inspect::Request request;
    const Json::Value& profile = plan["profile"];
    request.appData = unredacted(profile["appData"]);
    request.exeDir = unredacted(profile["exeDir"]);
    request.routeCache = unredacted(profile["routeCache"]);
    request.runKeyRoot = RunKeyRoot(unredacted(profile["runKey"]));
    request.repairInPlace = true;
    std::vector<inspect::Fix> fixes;
    for (const Json::Value& change : plan["changes"])
        fixes.push_back(inspect::Fix{change["area"].asString(), change["key"].asString(), change["action"].asString(),
                                     unredacted(change["file"]), unredacted(change["before"]),
                                     unredacted(change["after"])});

    // The profile must be what the plan was made from (seen through the
    // same redaction).
    const inspect::Snapshot snapshot = inspect::TakeSnapshot(request);
    const Json::Value& from = plan["madeFrom"];
    const unsigned codePage = snapshot.ansiCodePage;
    std::string mismatch;
    const auto compare = [&](const char* name, const inspect::FileSnapshot& file) {
        const Json::Value& expected = from[name];
        const Json::Value now = file.exists && file.readable
                                    ? Json::Value(grs::Sha256Hex(RedactBytes(redaction, file.bytes, codePage)))
                                    : Json::Value(Json::nullValue);
        if (!(expected == now)) mismatch += std::string(mismatch.empty() ? "" : ", ") + name;
    };
    compare("Setting.ini", snapshot.setting);
    compare("SyncSetting.ini", snapshot.syncSetting);
    if (from.isMember("routeCache")) compare("routeCache", snapshot.routeCache);
    if (from["run"]["present"].asBool() != snapshot.run.present ||
        (snapshot.run.present &&
         from["run"]["bytes"].asString() != Hex(RedactBytes(redaction, snapshot.run.raw, codePage))))
        mismatch += std::string(mismatch.empty() ? "" : ", ") + "the Run value";
    if (!mismatch.empty()) {
        // Already applied: what the plan would change is no longer needed.
        inspect::Report now = inspect::InspectProfile(request);
        bool stillNeeded = false;
        for (const inspect::Fix& fix : fixes)
            for (const inspect::Fix& needed : now.plan)
                stillNeeded =
                    stillNeeded || (needed.area == fix.area && needed.key == fix.key && needed.action == fix.action);
        if (!stillNeeded) {
            std::printf("nothing to change: the plan's changes are already made\n");
            return inspect::PrintReport(now, false);
        }
        std::fprintf(stderr,
                     "grs-support: refused: the profile changed since the plan was made (%s); nothing was "
                     "changed: make a new plan\n",
                     mismatch.c_str());
        return inspect::kExitCouldNotCheck;
    }

    // The state every file and the Run value are in now, for undo.
    std::vector<FileState> before;
    for (const inspect::Fix& fix : fixes) {
        const std::wstring path = FixPath(fix, snapshot.appData);
        bool known = path.empty();
        for (const FileState& state : before) known = known || state.path == path;
        if (!known) before.push_back(ReadState(path));
    }
    const std::string stamp = inspect::BackupStamp();
    // A file rebuilt from its readable lines is also set aside as it was.
    std::vector<std::wstring> setAside;
    for (const inspect::Fix& fix : fixes) {
        if (fix.action != "rebuild-file") continue;
        const std::wstring path = FixPath(fix, snapshot.appData);
        const std::wstring aside = path + L"." + grs::Utf8ToWide(stamp) + L".unparsed";
        bool done = false;
        for (const std::wstring& existing : setAside) done = done || existing == aside;
        if (done) continue;
        if (!::CopyFileW(path.c_str(), aside.c_str(), TRUE)) {
            std::fprintf(stderr, "grs-support: refused: %s could not be set aside (error %lu); nothing was changed\n",
                         Text(path).c_str(), ::GetLastError());
            return inspect::kExitCouldNotCheck;
        }
        ::SetFileAttributesW(aside.c_str(), FILE_ATTRIBUTE_NORMAL);
        setAside.push_back(aside);
    }

    inspect::RepairResult result = inspect::Repair(request, snapshot, fixes, stamp);
    if (result.refused) {
        for (const std::wstring& aside : setAside) ::DeleteFileW(aside.c_str());
        std::fprintf(stderr, "grs-support: refused: %s\n", result.refusal.c_str());
        return inspect::kExitCouldNotCheck;
    }
    if (!result.backup.empty()) {
        Json::Value undo(Json::objectValue);
        undo["format"] = kFormat;
        Json::Value& files = undo["files"] = Json::Value(Json::arrayValue);
        for (const FileState& state : before) {
            Json::Value file(Json::objectValue);
            file["path"] = Text(state.path);
            file["existed"] = state.exists;
            file["attributes"] = static_cast<Json::UInt>(state.attributes);
            file["backup"] = Text(state.path.substr(state.path.find_last_of(L"\\/") + 1));
            files.append(file);
        }
        for (const std::wstring& aside : setAside) {
            Json::Value file(Json::objectValue);
            file["path"] = Text(aside);
            file["existed"] = false;
            files.append(file);
        }
        undo["run"]["key"] = Text(snapshot.runKey);
        undo["run"]["present"] = snapshot.run.present;
        undo["run"]["type"] = static_cast<Json::UInt>(snapshot.run.type);
        undo["run"]["bytes"] = Hex(snapshot.run.raw);
        if (!WriteText(grs::PathJoin(result.backup, grs::Utf8ToWide(kUndoManifest)), JsonText(undo)))
            std::fprintf(stderr,
                         "grs-support: the undo manifest could not be written (error %lu): the originals are "
                         "in %s\n",
                         ::GetLastError(), Text(result.backup).c_str());
    }
    for (const std::wstring& aside : setAside) std::printf("set aside as it was: %s\n", Text(aside).c_str());
    // Checked again: the report is that of the profile as it is now.
    const inspect::Report after = inspect::InspectProfile(request);
    return inspect::PrintReport(after, false, &result);
}

int RunUndo(const std::wstring& backup) {
    std::string text;
    Json::Value undo;
    if (grs::ReadWholeFile(grs::PathJoin(backup, grs::Utf8ToWide(kUndoManifest)), 1 << 20, text) !=
            grs::ReadFileResult::Ok ||
        !ParseJsonObject(text, undo) || undo["format"].asInt() != kFormat) {
        std::fprintf(stderr, "grs-support: %s holds no undo manifest that can be read\n", Text(backup).c_str());
        return inspect::kExitCouldNotCheck;
    }
    int failures = 0;
    for (const Json::Value& file : undo["files"]) {
        const std::wstring path = Wide(file["path"]);
        // Windows refuses to copy over a hidden or read-only file (Wine does not).
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        bool done = false;
        if (file["existed"].asBool()) {
            const std::wstring copy = grs::PathJoin(backup, Wide(file["backup"]));
            done = ::CopyFileW(copy.c_str(), path.c_str(), FALSE) &&
                   ::SetFileAttributesW(path.c_str(), file["attributes"].asUInt());
        } else {
            done = ::DeleteFileW(path.c_str()) || ::GetLastError() == ERROR_FILE_NOT_FOUND;
        }
        if (!done) {
            ++failures;
            std::fprintf(stderr, "grs-support: %s could not be put back (error %lu)\n", Text(path).c_str(),
                         ::GetLastError());
        } else {
            std::printf("put back: %s\n", Text(path).c_str());
        }
    }
    const Json::Value& run = undo["run"];
    grs::UniqueKey key;
    LSTATUS status = ::RegCreateKeyExW(HKEY_CURRENT_USER, Wide(run["key"]).c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                       nullptr, key.put(), nullptr);
    if (status == ERROR_SUCCESS) {
        const std::string raw = Unhex(run["bytes"].asString());
        status = run["present"].asBool()
                     ? ::RegSetValueExW(key.get(), grs::settings::kRunValue, 0, run["type"].asUInt(),
                                        reinterpret_cast<const BYTE*>(raw.data()), static_cast<DWORD>(raw.size()))
                     : ::RegDeleteValueW(key.get(), grs::settings::kRunValue);
        if (status == ERROR_FILE_NOT_FOUND && !run["present"].asBool()) status = ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS) {
        ++failures;
        std::fprintf(stderr, "grs-support: the Run value could not be put back (error %ld)\n", status);
    } else {
        std::printf("put back: the Run value\n");
    }
    return failures == 0 ? inspect::kExitClean : inspect::kExitCouldNotCheck;
}

}  // namespace supporttool
