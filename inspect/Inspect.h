#pragma once

// Inspecting a user's start-up files, read-only: "Setting.ini" and
// "SyncSetting.ini" in the app-data folder, the Run value of start with
// Windows, the server address files beside the client executable and the
// route cache. Support engineers get a user's folders, not a debugger; this
// says what the library will make of them.
//
// The checks are pure functions over a Snapshot. TakeSnapshot is the only part
// that touches the disk and the registry, and it only reads: no file is opened
// for writing, no attribute changes, no registry value is written, and none of
// the library's settings operations runs on the user's folder.
//
// The JSON report (a stable shape: fields may be added, none is renamed):
//   {
//     "inspected": {"appData": "...", "exeDir": "...", "routeCache": "...", "runKey": "...",
//                   "country": "CN", "user": "", "at": "2024-05-01 10:00:00 UTC"},
//     "findings": [{"area": "Setting.ini", "key": "SpaceOMVersion", "severity": "problem",
//                   "message": "...", "fix": {"action": "rename-key", "from": "SpaceOMVersion",
//                   "to": "SapceOMVersion"}},
//                  {"area": "ServerConfig", ..., "severity": "warning", "noFix": "why not"}, ...],
//     "summary": {"problems": 1, "warnings": 2, "notes": 3, "ok": 40,
//                 "line": "1 problem, 2 warnings: Setting.ini SapceOMVersion; ..."}
//   }
// Areas, in report order: "Setting.ini", "SyncSetting.ini", "StartWithWindows",
// "ServerConfig", "RouteCache". A key is an INI key, the registry value or a
// server address file by its name; facts about a whole file or section are
// bracketed ("[file]", "[encoding]", "[attributes]", "[line 7]", "[Setting]"),
// which no INI key can be. Severities from the worst: "problem" (the user gets
// a wrong or lost setting), "warning" (likely to go wrong, or read otherwise
// than it looks), "note" (worth knowing), "ok". Messages are one line.

#include <functional>
#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "inspect/Codes.h"

namespace inspect {

// What to inspect, from the command line.
struct Request {
    std::wstring appData;     // the user's app-data folder
    std::wstring exeDir;      // the client's install folder; empty: from the Run value
    std::wstring routeCache;  // the cached route record's JSON text; empty: not inspected
    std::wstring runKeyRoot;  // read the Run value under HKCU\<this> (empty: HKCU itself)
    std::wstring country = L"CN";
    std::wstring user;  // empty: not given
    // The client's country sets and package name (its libraries are not
    // linked): empty when not given, and the region is judged as for a
    // country in neither set.
    std::unordered_set<std::wstring> asia;
    std::unordered_set<std::wstring> europe;
    std::wstring packageName;
    bool json = false;
    std::wstring repairTo;       // --repair OUT_DIR
    bool repairInPlace = false;  // --repair-in-place
};

enum class Severity { Ok, Note, Warning, Problem };
const char* SeverityName(Severity severity);

struct Finding {
    std::string area;
    std::string key;  // UTF-8, as are all texts of a finding
    Severity severity = Severity::Ok;
    std::string message;
    Code code = Code::FindingsCapped;  // what kind of finding: fixes are chosen by it
};

constexpr char kAreaSetting[] = "Setting.ini";
constexpr char kAreaSyncSetting[] = "SyncSetting.ini";
constexpr char kAreaStartWithWindows[] = "StartWithWindows";
constexpr char kAreaServerConfig[] = "ServerConfig";
constexpr char kAreaRouteCache[] = "RouteCache";

// One file as read. Nothing is read past `tooLarge`.
struct FileSnapshot {
    bool exists = false;
    bool isFolder = false;
    bool readable = false;  // `bytes` holds the whole file
    bool tooLarge = false;
    unsigned long attributes = 0;
    unsigned long long size = 0;
    std::string bytes;
};

struct RunValueSnapshot {
    bool present = false;
    unsigned long type = 0;  // REG_SZ is 1
    std::wstring data;       // up to its first NUL
    std::string raw;         // the value's bytes as stored
};

// A fact about the user's machine, for the report: "ANSI code page" -> "1252".
using EnvironmentFacts = std::vector<std::pair<std::string, std::string>>;

struct Snapshot {
    std::wstring appData;
    bool appDataIsFolder = false;
    FileSnapshot setting;
    FileSnapshot syncSetting;
    std::vector<std::wstring> appDataNames;  // the folder's entries, for stray files
    unsigned ansiCodePage = 0;               // the user's ANSI code page
    bool appDataSpellable = true;            // the path converts to that code page and back unchanged
    std::wstring runKey;                     // where the Run value was looked for
    RunValueSnapshot run;
    std::wstring exeDir;  // empty: unknown
    bool exeDirGiven = false;
    bool exeDirIsFolder = false;
    std::map<std::wstring, FileSnapshot> serverFiles;  // by name, the eight names only
    std::wstring routeCachePath;
    bool routeCacheGiven = false;
    FileSnapshot routeCache;
};

struct Context {
    std::wstring country = L"CN";
    std::wstring user;  // empty: not given
    long long nowMs = 0;
    std::unordered_set<std::wstring> asia;  // the client libraries' country sets
    std::unordered_set<std::wstring> europe;
    std::wstring packageName;  // names the preferred route group
    std::function<bool(const std::wstring&)> fileExists;
};

// The checks of each area, over plain data.
std::vector<Finding> InspectSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames);
std::vector<Finding> InspectSyncSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames,
                                           const std::wstring& user);
// The app-data path as the profile functions see it: one the ANSI code page
// cannot spell, or one too long for them, makes this client write the keys
// another way.
std::vector<Finding> InspectProfilePath(const Snapshot& snapshot);
// `autoStart`: the "IsAutoStartUp" text, null when "Setting.ini" is unreadable.
std::vector<Finding> InspectStartWithWindows(const RunValueSnapshot& run, const std::wstring* autoStart,
                                             const std::wstring& exeDir,
                                             const std::function<bool(const std::wstring&)>& fileExists);
std::vector<Finding> InspectServerConfig(const Snapshot& snapshot, const Context& context);
std::vector<Finding> InspectRouteCache(const Snapshot& snapshot, const Context& context);

// Every area, in report order.
std::vector<Finding> Inspect(const Snapshot& snapshot, const Context& context);

// The executable a Run command names: the text between its quotes, or up to
// ".exe" (or the first blank) when it is not quoted; `quoted` tells which.
// Empty when a quote is never closed.
std::wstring RunCommandExecutable(const std::wstring& command, bool& quoted, std::wstring& arguments);

// "2024-05-01 10:00:00 UTC" for milliseconds since 1970-01-01 UTC.
std::string FormatUtc(long long milliseconds);

// A safe fix of what a finding reports (see Repair.h). `from` and `to` are
// key names, values or attributes, by action.
struct Fix {
    std::string area;
    std::string key;     // the key of the findings it answers
    std::string action;  // "rename-key", "set-value", "set-attributes", "rebuild-file", "remove-file",
                         // "set-run-value", "remove-run-value"
    std::wstring file;   // the file it changes, by its name in the profile (empty: the Run value)
    std::wstring from;
    std::wstring to;
};

struct Report {
    Snapshot snapshot;
    Context context;
    std::vector<Finding> findings;
    std::vector<Fix> plan;  // each warning or problem without a fix says why not
    EnvironmentFacts environment;  // from a bundle: the user's machine as collected
};

struct RepairResult;

// `repair`: the repair that was made before `report` was taken of its result.
std::string RenderJson(const Report& report, const RepairResult* repair = nullptr);
std::string RenderText(const Report& report, const RepairResult* repair = nullptr);

// Reads what `request` names (read-only) and judges it with the client
// libraries' country sets and the clock of now.
Snapshot TakeSnapshot(const Request& request);
Context MakeContext(const Request& request);

// TakeSnapshot, MakeContext, Inspect and the plan of fixes of what `request`
// names.
Report InspectProfile(const Request& request);

// The program's exit statuses, for scripts: nothing needs action, findings
// that need action (a warning or a problem), or the check itself could not be
// made (input missing or unreadable, a bad command line, a refused repair).
constexpr int kExitClean = 0;
constexpr int kExitNeedsAction = 1;
constexpr int kExitCouldNotCheck = 2;

// The exit status a report calls for.
int ExitStatus(const Report& report);

// Prints the report on standard output and returns its exit status. With a
// repair asked for, the repair is made and the report is that of the repaired
// profile, headed by the changes; kExitCouldNotCheck when the repair was
// refused (the reason on standard error) or the report could not be written.
int RunInspect(const Request& request);

// Prints `report` (with the repair that preceded it, if any) on standard
// output; its exit status.
int PrintReport(const Report& report, bool json, const RepairResult* repair = nullptr);

}  // namespace inspect
