// The repair: a plan of safe fixes over the snapshot, and its application to
// a copy of the profile or, with a backup, in place.
#include "inspect/Repair.h"

#include <windows.h>

#include <string_view>

#include "core/FileIo.h"
#include "core/IniFile.h"
#include "core/IniText.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "inspect/IniDiagnosis.h"
#include "inspect/InspectDetail.h"
#include "settings/SettingRules.h"
#include "settings/SettingsFiles.h"

namespace inspect {

namespace {

namespace rules = grs::settings;

constexpr DWORD kAtRest = grs::settings::kAtRestAttributes;

struct IniFileRules {
    const char* area;
    const wchar_t* fileName;
    const wchar_t* section;
    const std::vector<rules::SettingKey>& keys;
    bool completed;  // CreateSettingFile completes it with the literal defaults
};

const IniFileRules& SettingFileRules() {
    static const IniFileRules file{kAreaSetting, rules::kSettingFileName, rules::kSettingSection, rules::SettingKeys(),
                                   true};
    return file;
}

const IniFileRules& SyncSettingFileRules() {
    static const IniFileRules file{kAreaSyncSetting, rules::kSyncSettingFileName, rules::kSyncSettingSection,
                                   rules::SyncSettingKeys(), false};
    return file;
}

std::vector<const wchar_t*> KnownNames(const IniFileRules& file) {
    std::vector<const wchar_t*> names;
    for (const rules::SettingKey& key : file.keys) names.push_back(key.name);
    return names;
}

// Key lines that the document does not read: before any section.
std::vector<size_t> LinesBeforeSections(const std::wstring& text) {
    std::vector<size_t> lines;
    bool inSection = false;
    grs::ini::ForEachLine(std::wstring_view(text), [&](size_t number, const grs::ini::Line<wchar_t>& line) {
        if (line.kind == grs::ini::LineKind::Section) inSection = true;
        if (line.kind == grs::ini::LineKind::Key && !inSection) lines.push_back(number);
    });
    return lines;
}

// The file as the library would complete it: the one section, every key line
// that can be read (from any section or none; the first non-empty value of a
// name wins), then the literal defaults where they are missing.
std::wstring RebuiltText(const std::wstring& text, const IniFileRules& file) {
    CIniFileW rebuilt;
    CIniFileW::Section* section = rebuilt.AddSection(file.section);
    grs::ini::ForEachLine(std::wstring_view(text), [&](size_t, const grs::ini::Line<wchar_t>& line) {
        if (line.kind != grs::ini::LineKind::Key || !grs::ini::IsWritableKey(line.name)) return;
        CIniFileW::Key* key = rebuilt.AddKey(section, std::wstring(grs::ini::TrimBlanks(line.name)));
        if (key && key->value.empty()) key->value.assign(line.value.data(), line.value.size());
    });
    if (file.completed) rules::CompleteSettings(rebuilt, rules::SettingDefaults{});
    return rebuilt.RenderText();
}

// What a settings file needs to be rebuilt: its section is missing, or key
// lines stand before any section.
bool NeedsRebuild(CIniFileW& document, const std::wstring& text, const IniFileRules& file) {
    return document.FindSection(file.section) == nullptr || !LinesBeforeSections(text).empty();
}

// The document edits of one settings file, in the order they apply. Shared by
// the plan and the repair, so both see the same document.
void PlanDocumentEdits(CIniFileW& document, const IniFileRules& file, std::vector<Fix>& plan) {
    CIniFileW::Section* section = document.FindSection(file.section);
    if (section == nullptr) return;
    const std::vector<const wchar_t*> known = KnownNames(file);
    for (const auto& entry : section->keys) {
        const std::wstring& name = entry.second.name;
        bool caseOnly = false;
        const wchar_t* exact = NearMiss(name, known, caseOnly);
        if (exact == nullptr) continue;
        const CIniFileW::Key* right = caseOnly ? nullptr : section->FindKey(exact);
        if (right != nullptr && !right->value.empty()) continue;  // reported, never deleted
        plan.push_back(Fix{file.area, grs::WideToUtf8(name), "rename-key", file.fileName, name, exact});
    }
    for (const rules::SettingKey& key : file.keys) {
        // After the renames: the value the exact name will hold.
        std::wstring value = document.GetValue(file.section, key.name, std::wstring());
        for (const Fix& fix : plan)
            if (fix.action == "rename-key" && fix.to == key.name && fix.file == file.fileName)
                value = section->FindKey(fix.from)->value;
        const std::optional<bool> library = rules::ReadsOn(key.reading, value);
        const std::optional<bool> person = PersonReads(value);
        if (value.empty() || !library || !person || *library == *person) continue;
        // COMPAT: the library's own default of the plan reads as not joined;
        // turning it into "1" would join a user who never chose.
        if (key.literal && value == key.literal) continue;
        plan.push_back(Fix{file.area, grs::WideToUtf8(key.name), "set-value", file.fileName, value,
                           rules::FlagSpelling(key.reading, *person)});
    }
}

// The document of a settings file after the plan's rebuild, if any.
void PlanIni(const IniFileRules& file, const FileSnapshot& snapshot, const std::vector<std::wstring>& siblingNames,
             std::vector<Fix>& plan, std::wstring* autoStart) {
    for (const std::wstring& name : siblingNames)
        if (IsStrayTemporary(file.fileName, name))
            plan.push_back(Fix{file.area, grs::WideToUtf8(name), "remove-file", name, name, L""});
    if (!snapshot.exists || snapshot.isFolder || !snapshot.readable || snapshot.tooLarge) return;
    if ((snapshot.attributes & kAtRest) != kAtRest)
        plan.push_back(Fix{file.area, "[attributes]", "set-attributes", file.fileName, L"", L"hidden, system"});
    grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
    const std::wstring text = grs::DecodeIniBytes(snapshot.bytes, encoding);
    CIniFileW document;
    document.ParseText(text);
    if (NeedsRebuild(document, text, file)) {
        // One fix per finding it answers: the missing section, a nearly
        // right one, each key line before any section.
        const std::string header = "[" + grs::WideToUtf8(file.section) + "]";
        const auto rebuild = [&](const std::string& key) {
            plan.push_back(Fix{file.area, key, "rebuild-file", file.fileName, L"", file.section});
        };
        if (document.FindSection(file.section) == nullptr) {
            rebuild(header);
            grs::ini::ForEachLine(std::wstring_view(text), [&](size_t, const grs::ini::Line<wchar_t>& line) {
                if (line.kind == grs::ini::LineKind::Section)
                    rebuild("[" + grs::WideToUtf8(std::wstring(grs::ini::TrimBlanks(line.name))) + "]");
            });
        }
        for (size_t line : LinesBeforeSections(text)) rebuild("[line " + std::to_string(line) + "]");
        document.ParseText(RebuiltText(text, file));
    }
    PlanDocumentEdits(document, file, plan);
    if (autoStart) {
        *autoStart = document.GetValue(file.section, rules::Name(rules::Key::IsAutoStartUp), std::wstring());
        for (const Fix& fix : plan)
            if (fix.action == "set-value" && fix.key == grs::WideToUtf8(rules::Name(rules::Key::IsAutoStartUp)))
                *autoStart = fix.to;
    }
}

std::wstring FileNameOf(const std::wstring& path) {
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

void PlanRunValue(const Snapshot& snapshot, const Context& context, const std::wstring* autoStart,
                  const std::vector<Finding>& findings, std::vector<Fix>& plan) {
    if (autoStart == nullptr || !snapshot.run.present || autoStart->empty()) return;
    const std::string valueName = grs::WideToUtf8(rules::kRunValue);
    if (rules::PlanAutoStart(*autoStart, false).which != rules::AutoStartCase::On) {
        // It answers "registered although the settings say off" where that was said.
        std::string key = valueName;
        for (const Finding& finding : findings)
            if (finding.area == kAreaStartWithWindows && finding.key == grs::WideToUtf8(rules::Name(rules::Key::IsAutoStartUp)) &&
                finding.severity >= Severity::Warning)
                key = finding.key;
        plan.push_back(Fix{kAreaStartWithWindows, key, "remove-run-value", L"", snapshot.run.data, L""});
        return;
    }
    bool wrong = false;
    for (const Finding& finding : findings)
        wrong = wrong || (finding.area == kAreaStartWithWindows && finding.key == valueName &&
                          finding.severity >= Severity::Warning);
    bool quoted = false;
    std::wstring arguments;
    const std::wstring executable = RunCommandExecutable(snapshot.run.data, quoted, arguments);
    wrong = wrong || !quoted || arguments != L"/background";
    if (!wrong || snapshot.exeDir.empty() || executable.empty()) return;
    const std::wstring target = grs::PathJoin(snapshot.exeDir, FileNameOf(executable));
    std::wstring command;
    if (!context.fileExists || !context.fileExists(target) || !rules::BuildRunCommand(target, command)) return;
    if (command.size() > rules::kRunValueReadableChars || command == snapshot.run.data) return;
    plan.push_back(Fix{kAreaStartWithWindows, valueName, "set-run-value", L"", snapshot.run.data, command});
}

void PlanRouteCache(const Snapshot& snapshot, const std::vector<Finding>& findings, std::vector<Fix>& plan) {
    if (!snapshot.routeCache.exists || snapshot.routeCache.isFolder) return;
    for (const Finding& finding : findings) {
        if (finding.area != kAreaRouteCache || finding.severity < Severity::Warning ||
            !HasFix(Describe(finding.code), "remove-file"))
            continue;
        plan.push_back(Fix{kAreaRouteCache, finding.key, "remove-file", snapshot.routeCachePath,
                           snapshot.routeCachePath, L""});
        return;
    }
}

// Whether `fix` answers `finding`: the same place, and an action the
// finding's code lists.
bool Answers(const Fix& fix, const Finding& finding) {
    return fix.area == finding.area && fix.key == finding.key && HasFix(Describe(finding.code), fix.action);
}

bool FollowsChosen(const Fix& fix, const std::vector<Fix>& chosen) {
    for (const Fix& earlier : chosen) {
        if (earlier.area != fix.area || earlier.file != fix.file || fix.file.empty()) continue;
        if (earlier.action == "rebuild-file") return true;
        if (earlier.action == "rename-key" && grs::WideToUtf8(earlier.to) == fix.key) return true;
    }
    return false;
}

}  // namespace

std::vector<Fix> PlanFixes(const Snapshot& snapshot, const Context& context, const std::vector<Finding>& findings) {
    std::vector<Fix> plan;
    std::wstring autoStart;
    bool autoStartKnown = false;
    if (snapshot.appDataIsFolder) {
        PlanIni(SettingFileRules(), snapshot.setting, snapshot.appDataNames, plan, &autoStart);
        PlanIni(SyncSettingFileRules(), snapshot.syncSetting, snapshot.appDataNames, plan, nullptr);
        const FileSnapshot& setting = snapshot.setting;
        autoStartKnown = setting.exists && !setting.isFolder && setting.readable;
    }
    PlanRunValue(snapshot, context, autoStartKnown ? &autoStart : nullptr, findings, plan);
    PlanRouteCache(snapshot, findings, plan);
    // A fix stays in the plan where the code of a finding it answers lists
    // it, or where it edits what a chosen fix made (the rebuilt file, the
    // renamed key).
    std::vector<Fix> chosen;
    for (Fix& fix : plan) {
        bool answers = FollowsChosen(fix, chosen);
        for (const Finding& finding : findings) answers = answers || Answers(fix, finding);
        if (answers) chosen.push_back(std::move(fix));
    }
    return chosen;
}

const Fix* FixFor(const Finding& finding, const std::vector<Fix>& plan) {
    for (const Fix& fix : plan)
        if (Answers(fix, finding)) return &fix;
    return nullptr;
}

std::string NoFixReason(const Finding& finding, const std::vector<Fix>& plan) {
    if (finding.severity < Severity::Warning || FixFor(finding, plan) != nullptr) return std::string();
    const CodeInfo& info = Describe(finding.code);
    if (info.noFix != nullptr) return info.noFix;
    return "no change that is sure to keep what the user had: left for the next start or for support";
}

namespace {

bool CopyInto(const std::wstring& from, const std::wstring& to, std::string& error) {
    // CopyFileW keeps the attributes; a hidden or read-only target in the
    // way is cleared first.
    ::SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_NORMAL);
    // The route cache may sit in a subfolder of the profile (the stand-in's
    // default): its folder in the copy is made first.
    const size_t slash = to.find_last_of(L"\\/");
    if (slash != std::wstring::npos) grs::CreateFolderTree(to.substr(0, slash));
    if (::CopyFileW(from.c_str(), to.c_str(), FALSE)) return true;
    error = "cannot copy " + grs::WideToUtf8(from) + " to " + grs::WideToUtf8(to) + " (error " +
            std::to_string(::GetLastError()) + ")";
    return false;
}

bool HeldWithoutSharing(const std::wstring& path) {
    grs::UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

// Where `path` (of the input profile) lands in `profile`.
std::wstring InProfile(const std::wstring& appData, const std::wstring& profile, const std::wstring& path) {
    const std::wstring prefix = grs::DirectoryWithSeparator(appData);
    if (path.size() > prefix.size() && SameIgnoringCase(path.substr(0, prefix.size()), prefix))
        return grs::PathJoin(profile, path.substr(prefix.size()));
    return grs::PathJoin(profile, FileNameOf(path));
}

// The settings file edits of the plan, through the library's document and
// save: the encoding is kept, the file ends hidden and system.
std::string EditIni(const IniFileRules& file, const std::wstring& path, std::vector<Change>& changes) {
    std::vector<size_t> edits;
    bool attributes = false;
    for (size_t i = 0; i < changes.size(); ++i) {
        const Fix& fix = changes[i].fix;
        if (fix.file != file.fileName) continue;
        if (fix.action == "set-attributes") attributes = true;
        if (fix.action == "rename-key" || fix.action == "set-value" || fix.action == "rebuild-file")
            edits.push_back(i);
    }
    if (edits.empty() && !attributes) return std::string();
    std::string failure;
    if (!edits.empty()) {
        CIniFileW document;
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (!document.Load(path)) {
            failure = "cannot read " + grs::WideToUtf8(path);
        } else {
            std::string bytes;
            grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
            if (grs::ReadWholeFile(path, grs::kIniMaxFileBytes, bytes) == grs::ReadFileResult::Ok) {
                const std::wstring text = grs::DecodeIniBytes(bytes, encoding);
                if (NeedsRebuild(document, text, file)) document.ParseText(RebuiltText(text, file));
            }
            CIniFileW::Section* section = document.FindSection(file.section);
            for (size_t i : edits) {
                const Fix& fix = changes[i].fix;
                if (fix.action == "rename-key" && section) {
                    CIniFileW::Key* key = section->FindKey(fix.from);
                    if (key == nullptr) continue;
                    if (SameIgnoringCase(fix.from, fix.to)) {
                        key->name = fix.to;
                    } else {
                        const std::wstring value = key->value;
                        section->keys.erase(fix.from);
                        rules::SetValue(document, file.section, fix.to, value);
                    }
                } else if (fix.action == "set-value") {
                    rules::SetValue(document, file.section, grs::Utf8ToWide(fix.key), fix.to);
                }
            }
            if (!document.Save(path)) failure = "the save of " + grs::WideToUtf8(path) + " failed";
        }
        for (size_t i : edits) {
            changes[i].done = failure.empty();
            changes[i].detail = failure.empty() ? "saved" : failure;
        }
    }
    // Every save of the library leaves the file hidden and system.
    ::SetFileAttributesW(path.c_str(), kAtRest);
    // Wine caches private-profile files by modification time: forget this one.
    ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, path.c_str());
    for (Change& change : changes) {
        if (change.fix.file == file.fileName && change.fix.action == "set-attributes") {
            change.done = (::GetFileAttributesW(path.c_str()) & kAtRest) == kAtRest;
            change.detail = change.done ? "hidden and system" : "the attributes could not be set";
        }
    }
    return failure;
}

std::wstring RunKeyPath(const Request& request) {
    return request.runKeyRoot.empty() ? std::wstring(rules::kRunKey) : request.runKeyRoot + L"\\" + rules::kRunKey;
}

void ChangeRunValue(const Request& request, Change& change) {
    grs::UniqueKey key;
    LSTATUS status =
        ::RegOpenKeyExW(HKEY_CURRENT_USER, RunKeyPath(request).c_str(), 0, KEY_SET_VALUE, key.put());
    if (status == ERROR_SUCCESS) {
        // Written as the library writes it (without the terminator), so that
        // the next start compares it equal.
        const std::wstring& command = change.fix.to;
        status = change.fix.action == "set-run-value"
                     ? ::RegSetValueExW(key.get(), rules::kRunValue, 0, REG_SZ,
                                        reinterpret_cast<const BYTE*>(command.c_str()),
                                        static_cast<DWORD>(command.size() * sizeof(wchar_t)))
                     : ::RegDeleteValueW(key.get(), rules::kRunValue);
    }
    change.done = status == ERROR_SUCCESS;
    change.detail = change.done ? "written" : "the registry refused it (error " + std::to_string(status) + ")";
}

}  // namespace

RepairResult Repair(const Request& request, const Snapshot& snapshot, const std::vector<Fix>& plan,
                    const std::string& now) {
    RepairResult result;
    const bool inPlace = request.repairInPlace;
    result.inPlace = inPlace;
    const std::wstring settingPath = grs::PathJoin(snapshot.appData, rules::kSettingFileName);
    if (!snapshot.appDataIsFolder) {
        result.refused = true;
        result.refusal = "no app-data folder at " + grs::WideToUtf8(snapshot.appData);
        return result;
    }
    if (HeldWithoutSharing(settingPath)) {
        result.refused = true;
        result.refusal =
            "\"Setting.ini\" is held by another program without sharing (is the client running?): close the client "
            "and repair again; nothing was changed";
        return result;
    }
    for (const Fix& fix : plan) result.changes.push_back(Change{fix, false, std::string()});
    std::string error;

    if (inPlace) {
        result.profile = snapshot.appData;
        if (plan.empty()) return result;
        // The originals of every file the plan changes, and the Run value.
        std::wstring parent = snapshot.appData;
        while (!parent.empty() && (parent.back() == L'\\' || parent.back() == L'/')) parent.pop_back();
        result.backup = parent + L"-backup-" + grs::Utf8ToWide(now);
        if (!::CreateDirectoryW(result.backup.c_str(), nullptr)) {
            result.refused = true;
            result.refusal = "cannot create the backup folder " + grs::WideToUtf8(result.backup) + "; nothing was changed";
            return result;
        }
        for (const Fix& fix : plan) {
            if (fix.file.empty()) continue;
            const std::wstring from = fix.action == "remove-file" && fix.area == kAreaRouteCache
                                          ? fix.file
                                          : grs::PathJoin(snapshot.appData, fix.file);
            const std::wstring to = grs::PathJoin(result.backup, FileNameOf(from));
            if (::GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES) continue;
            if (!CopyInto(from, to, error)) {
                result.refused = true;
                result.refusal = error + "; nothing was changed";
                return result;
            }
        }
        for (const Fix& fix : plan) {
            if (!fix.file.empty()) continue;
            const std::string text = "HKEY_CURRENT_USER\\" + grs::WideToUtf8(RunKeyPath(request)) + "\n" +
                                     grs::WideToUtf8(rules::kRunValue) + "=" + grs::WideToUtf8(fix.from) + "\n";
            if (!grs::ReplaceFileContent(grs::PathJoin(result.backup, L"RunValue.txt"), text).Succeeded()) {
                result.refused = true;
                result.refusal = "cannot save the Run value in the backup; nothing was changed";
                return result;
            }
        }
    } else {
        result.profile = request.repairTo;
        ::CreateDirectoryW(result.profile.c_str(), nullptr);
        const DWORD attributes = ::GetFileAttributesW(result.profile.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
            result.refused = true;
            result.refusal = "cannot create the folder " + grs::WideToUtf8(result.profile);
            return result;
        }
        for (const wchar_t* name : {rules::kSettingFileName, rules::kSyncSettingFileName}) {
            const std::wstring from = grs::PathJoin(snapshot.appData, name);
            if (::GetFileAttributesW(from.c_str()) == INVALID_FILE_ATTRIBUTES) continue;
            if (!CopyInto(from, grs::PathJoin(result.profile, name), error)) {
                result.refused = true;
                result.refusal = error;
                return result;
            }
        }
        if (snapshot.routeCache.exists && !snapshot.routeCache.isFolder) {
            const std::wstring to = InProfile(snapshot.appData, result.profile, snapshot.routeCachePath);
            ::CreateDirectoryW(grs::DirectoryWithSeparator(to).c_str(), nullptr);
            if (!CopyInto(snapshot.routeCachePath, to, error)) {
                result.refused = true;
                result.refusal = error;
                return result;
            }
        }
    }

    for (const IniFileRules* file : {&SettingFileRules(), &SyncSettingFileRules()})
        EditIni(*file, grs::PathJoin(result.profile, file->fileName), result.changes);
    for (Change& change : result.changes) {
        const Fix& fix = change.fix;
        if (fix.action == "remove-file") {
            const bool cache = fix.area == kAreaRouteCache;
            if (!inPlace && !cache) {
                change.done = true;
                change.detail = "not copied";
                continue;
            }
            const std::wstring path = cache ? (inPlace ? fix.file
                                                       : InProfile(snapshot.appData, result.profile, fix.file))
                                            : grs::PathJoin(result.profile, fix.file);
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            // A stray save file may already be gone: the repair's own save of
            // its settings file removes the one it left.
            const bool removed = ::DeleteFileW(path.c_str()) != 0;
            const DWORD error = removed ? ERROR_SUCCESS : ::GetLastError();
            change.done = removed || error == ERROR_FILE_NOT_FOUND;
            change.detail = removed   ? "removed"
                            : change.done ? "already gone"
                                          : "cannot remove (error " + std::to_string(error) + ")";
        } else if (fix.action == "set-run-value" || fix.action == "remove-run-value") {
            if (inPlace) {
                ChangeRunValue(request, change);
            } else {
                change.detail = "the Run value changes only with --repair-in-place";
            }
        }
    }
    return result;
}

}  // namespace inspect
