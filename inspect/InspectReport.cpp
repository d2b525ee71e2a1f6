// The inspection's shared helpers, the order of its areas and its two report
// forms.
#include <json/json.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "inspect/InspectDetail.h"
#include "inspect/JsonText.h"
#include "inspect/Repair.h"
#include "settings/SettingRules.h"

namespace inspect {

namespace {

// Messages stay one line of reasonable length however long a value is.
constexpr size_t kShownChars = 160;
constexpr size_t kListedNames = 50;

wchar_t LowerAscii(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

// The "IsAutoStartUp" text as the settings read it, null when the file
// cannot be read at all.
bool ReadAutoStart(const FileSnapshot& file, std::wstring& value) {
    if (!file.exists || file.isFolder || !file.readable) return false;
    grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
    CIniFileW document;
    document.ParseText(grs::DecodeIniBytes(file.bytes, encoding));
    value = grs::settings::Read(document, grs::settings::Key::IsAutoStartUp);
    return true;
}

}  // namespace

const char* SeverityName(Severity severity) {
    switch (severity) {
        case Severity::Ok:
            return "ok";
        case Severity::Note:
            return "note";
        case Severity::Warning:
            return "warning";
        case Severity::Problem:
            break;
    }
    return "problem";
}

void Findings::Add(Code code, const std::wstring& key, Severity severity, const std::string& message) {
    Add(code, grs::WideToUtf8(key), severity, message);
}

std::string Shown(const std::wstring& text) {
    std::wstring shown = L"\"";
    size_t count = 0;
    for (wchar_t c : text) {
        if (++count > kShownChars) break;
        if (c == L'"') {
            shown += L'\\';
            shown += c;
        } else if (c < 0x20 || c == 0x7F) {
            wchar_t escape[8];
            std::swprintf(escape, 8, L"\\x%02X", static_cast<unsigned>(c));
            shown += escape;
        } else {
            shown += c;
        }
    }
    shown += L'"';
    if (text.size() > kShownChars) shown += L"... (" + std::to_wstring(text.size()) + L" characters)";
    return grs::WideToUtf8(shown);
}

std::string Shown(const std::string& utf8) {
    return Shown(grs::Utf8ToWide(utf8));
}

std::string NameList(const std::vector<std::wstring>& names) {
    std::string list;
    for (size_t i = 0; i < names.size() && i < kListedNames; ++i) list += (i ? ", " : "") + grs::WideToUtf8(names[i]);
    if (names.size() > kListedNames) list += " and " + std::to_string(names.size() - kListedNames) + " more";
    return list;
}

std::string Counted(size_t count, const char* singular, const char* plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

std::wstring Lower(const std::wstring& text) {
    std::wstring lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), LowerAscii);
    return lower;
}

bool SameIgnoringCase(const std::wstring& a, const std::wstring& b) {
    return Lower(a) == Lower(b);
}

bool WithinOneEdit(const std::wstring& first, const std::wstring& second) {
    const std::wstring a = Lower(first);
    const std::wstring b = Lower(second);
    if (a == b) return true;
    if (a.size() == b.size()) {
        size_t i = 0;
        while (a[i] == b[i]) ++i;  // they differ somewhere
        // One substitution, or two neighbours swapped.
        if (a.compare(i + 1, std::wstring::npos, b, i + 1, std::wstring::npos) == 0) return true;
        return i + 1 < a.size() && a[i] == b[i + 1] && a[i + 1] == b[i] &&
               a.compare(i + 2, std::wstring::npos, b, i + 2, std::wstring::npos) == 0;
    }
    const std::wstring& longer = a.size() > b.size() ? a : b;
    const std::wstring& shorter = a.size() > b.size() ? b : a;
    if (longer.size() != shorter.size() + 1) return false;
    size_t i = 0;
    while (i < shorter.size() && longer[i] == shorter[i]) ++i;
    return longer.compare(i + 1, std::wstring::npos, shorter, i, std::wstring::npos) == 0;
}

const wchar_t* NearMiss(const std::wstring& name, const std::vector<const wchar_t*>& known, bool& caseOnly) {
    for (const wchar_t* candidate : known) {
        if (name == candidate) return nullptr;
    }
    for (const wchar_t* candidate : known) {
        if (SameIgnoringCase(name, candidate)) {
            caseOnly = true;
            return candidate;
        }
    }
    // Very short names are one edit from too much.
    if (name.size() < 4) return nullptr;
    for (const wchar_t* candidate : known) {
        if (WithinOneEdit(name, candidate)) {
            caseOnly = false;
            return candidate;
        }
    }
    return nullptr;
}

std::optional<bool> PersonReads(const std::wstring& text) {
    std::wstring word = Lower(text);
    word.erase(0, word.find_first_not_of(L" \t"));
    word.erase(word.find_last_not_of(L" \t") + 1);
    for (const wchar_t* on : {L"1", L"true", L"yes", L"y", L"on", L"enabled", L"enable"})
        if (word == on) return true;
    for (const wchar_t* off : {L"0", L"false", L"no", L"n", L"off", L"disabled", L"disable"})
        if (word == off) return false;
    if (!word.empty() && word.find_first_not_of(L"+-0123456789") == std::wstring::npos)
        return grs::LeadingInteger(grs::WideToUtf8(word)) != 0;
    return std::nullopt;
}

std::string FormatUtc(long long milliseconds) {
    // Days since 1970-01-01 to a civil date (proleptic Gregorian calendar).
    long long seconds = milliseconds / 1000;
    if (milliseconds % 1000 < 0) --seconds;
    long long days = seconds / 86400;
    long long rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        --days;
    }
    days += 719468;
    const long long era = (days >= 0 ? days : days - 146096) / 146097;
    const long long dayOfEra = days - era * 146097;
    const long long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long shifted = (5 * dayOfYear + 2) / 153;
    const long long day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const long long month = shifted < 10 ? shifted + 3 : shifted - 9;
    const long long year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02lld-%02lld %02lld:%02lld:%02lld UTC", year, month, day, rest / 3600,
                  rest / 60 % 60, rest % 60);
    return text;
}

std::vector<Finding> Inspect(const Snapshot& snapshot, const Context& context) {
    std::vector<Finding> all;
    const auto append = [&all](std::vector<Finding> findings) {
        all.insert(all.end(), std::make_move_iterator(findings.begin()), std::make_move_iterator(findings.end()));
    };
    if (!snapshot.appDataIsFolder) {
        Findings folder(kAreaSetting);
        folder.Add(Code::AppDataMissing, "[folder]", Severity::Problem,
                   "no folder at " + Shown(snapshot.appData) + ": give the user's app-data folder");
        append(folder.Take());
    } else {
        append(InspectSettingIni(snapshot.setting, snapshot.appDataNames));
        append(InspectSyncSettingIni(snapshot.syncSetting, snapshot.appDataNames, context.user));
        append(InspectProfilePath(snapshot));
    }
    std::wstring autoStart;
    const bool known = ReadAutoStart(snapshot.setting, autoStart);
    append(InspectStartWithWindows(snapshot.run, known ? &autoStart : nullptr, snapshot.exeDir, context.fileExists));
    append(InspectServerConfig(snapshot, context));
    append(InspectRouteCache(snapshot, context));
    return all;
}

namespace {

struct Tally {
    size_t counts[4] = {};
    std::string line;  // counts, then the keys of the problems and of the warnings
};

// Findings of one kind in one area, in report order: a run of keys that
// share a code and a severity reads as one line naming the keys.
struct Group {
    const Finding* first = nullptr;
    std::vector<const Finding*> members;
};

std::vector<Group> Grouped(const std::vector<Finding>& findings, const std::vector<Fix>& plan, bool problemsOnly) {
    std::vector<Group> groups;
    for (const Finding& finding : findings) {
        if (problemsOnly && finding.severity < Severity::Warning) continue;
        // A finding with a fix of its own stays on its own line.
        const bool alone = FixFor(finding, plan) != nullptr;
        Group* into = nullptr;
        for (Group& group : groups) {
            const Finding& head = *group.first;
            if (!alone && head.area == finding.area && head.code == finding.code && head.severity == finding.severity &&
                FixFor(head, plan) == nullptr)
                into = &group;
        }
        if (into == nullptr) {
            groups.push_back(Group{&finding, {}});
            into = &groups.back();
        }
        into->members.push_back(&finding);
    }
    return groups;
}

std::string GroupKeys(const Group& group) {
    std::vector<std::wstring> keys;
    for (const Finding* member : group.members) keys.push_back(grs::Utf8ToWide(member->key));
    return NameList(keys);
}

Tally Summarise(const std::vector<Finding>& findings, const std::vector<Fix>& plan) {
    Tally tally;
    for (const Finding& finding : findings) ++tally.counts[static_cast<int>(finding.severity)];
    const size_t problems = tally.counts[static_cast<int>(Severity::Problem)];
    const size_t warnings = tally.counts[static_cast<int>(Severity::Warning)];
    tally.line = Counted(problems, "problem", "problems") + ", " + Counted(warnings, "warning", "warnings");
    std::string keys;
    for (Severity severity : {Severity::Problem, Severity::Warning}) {
        for (const Group& group : Grouped(findings, plan, true)) {
            if (group.first->severity != severity) continue;
            keys += (keys.empty() ? ": " : "; ") + group.first->area + " " + Describe(group.first->code).id + " (" +
                    GroupKeys(group) + ")";
        }
    }
    tally.line += keys.empty() ? ": nothing wrong found" : keys;
    return tally;
}

}  // namespace

namespace {

Json::Value FixJson(const Fix& fix) {
    Json::Value item(Json::objectValue);
    item["action"] = fix.action;
    if (!fix.file.empty()) item["file"] = grs::WideToUtf8(fix.file);
    if (!fix.from.empty()) item["from"] = grs::WideToUtf8(fix.from);
    if (!fix.to.empty()) item["to"] = grs::WideToUtf8(fix.to);
    return item;
}

// "rename-key "SpaceOMVersion" -> "SapceOMVersion"".
std::string FixText(const Fix& fix) {
    std::string text = fix.action;
    if (!fix.from.empty()) text += " " + Shown(fix.from);
    if (!fix.to.empty()) text += (fix.from.empty() ? " " : " -> ") + Shown(fix.to);
    return text;
}

}  // namespace

std::string RenderJson(const Report& report, const RepairResult* repair) {
    Json::Value root(Json::objectValue);
    Json::Value& inspected = root["inspected"];
    inspected["appData"] = grs::WideToUtf8(report.snapshot.appData);
    inspected["exeDir"] = grs::WideToUtf8(report.snapshot.exeDir);
    inspected["routeCache"] = grs::WideToUtf8(report.snapshot.routeCachePath);
    inspected["runKey"] = grs::WideToUtf8(report.snapshot.runKey);
    inspected["country"] = grs::WideToUtf8(report.context.country);
    inspected["user"] = grs::WideToUtf8(report.context.user);
    inspected["at"] = FormatUtc(report.context.nowMs);
    if (!report.environment.empty()) {
        Json::Value& environment = root["environment"] = Json::Value(Json::objectValue);
        for (const auto& fact : report.environment) environment[fact.first] = fact.second;
    }
    Json::Value& findings = root["findings"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : report.findings) {
        Json::Value item(Json::objectValue);
        const CodeInfo& info = Describe(finding.code);
        item["code"] = info.id;
        item["rule"] = info.rule;
        item["area"] = finding.area;
        item["key"] = finding.key;
        item["severity"] = SeverityName(finding.severity);
        item["message"] = finding.message;
        if (const Fix* fix = FixFor(finding, report.plan)) {
            item["fix"] = FixJson(*fix);
        } else {
            const std::string why = NoFixReason(finding, report.plan);
            if (!why.empty()) item["noFix"] = why;
        }
        findings.append(item);
    }
    const Tally tally = Summarise(report.findings, report.plan);
    Json::Value& summary = root["summary"];
    summary["problems"] = static_cast<Json::UInt64>(tally.counts[static_cast<int>(Severity::Problem)]);
    summary["warnings"] = static_cast<Json::UInt64>(tally.counts[static_cast<int>(Severity::Warning)]);
    summary["notes"] = static_cast<Json::UInt64>(tally.counts[static_cast<int>(Severity::Note)]);
    summary["ok"] = static_cast<Json::UInt64>(tally.counts[static_cast<int>(Severity::Ok)]);
    summary["line"] = tally.line;
    if (repair != nullptr) {
        Json::Value& repaired = root["repair"];
        repaired["mode"] = repair->inPlace ? "in-place" : "copy";
        repaired["profile"] = grs::WideToUtf8(repair->profile);
        repaired["backup"] = grs::WideToUtf8(repair->backup);
        Json::Value& changes = repaired["changes"] = Json::Value(Json::arrayValue);
        for (const Change& change : repair->changes) {
            Json::Value item(Json::objectValue);
            item["area"] = change.fix.area;
            item["key"] = change.fix.key;
            item["fix"] = FixJson(change.fix);
            item["done"] = change.done;
            item["detail"] = change.detail;
            changes.append(item);
        }
    }
    return JsonText(root);
}

std::string RenderText(const Report& report, const RepairResult* repair) {
    const auto shownOrNone = [](const std::wstring& text) { return text.empty() ? std::string("-") : grs::WideToUtf8(text); };
    std::string text;
    if (repair != nullptr) {
        text += "Repair of " + grs::WideToUtf8(repair->profile) +
                (repair->backup.empty() ? std::string() : ", the originals in " + grs::WideToUtf8(repair->backup)) +
                "\n";
        if (repair->changes.empty()) text += "  nothing to change\n";
        for (const Change& change : repair->changes) {
            char head[64];
            std::snprintf(head, sizeof head, "  %-8s ", change.done ? "done" : "not done");
            text += head + change.fix.area + " " + change.fix.key + ": " + FixText(change.fix) + " (" + change.detail +
                    ")\n";
        }
        text += "\n";
    }
    text +=
        "Inspection of " + grs::WideToUtf8(report.snapshot.appData) + " (read-only, " + FormatUtc(report.context.nowMs) + ")\n";
    text += "  install folder " + shownOrNone(report.snapshot.exeDir) + ", country " + grs::WideToUtf8(report.context.country) +
            ", user " + shownOrNone(report.context.user) + "\n";
    text += "  route cache " + shownOrNone(report.snapshot.routeCachePath) + "\n";
    text += "  Run value under HKEY_CURRENT_USER\\" + grs::WideToUtf8(report.snapshot.runKey) + "\n";
    if (!report.environment.empty()) {
        text += "\nEnvironment (as collected on the user's machine)\n";
        for (const auto& fact : report.environment) text += "  " + fact.first + ": " + fact.second + "\n";
    }
    std::string area;
    for (const Group& group : Grouped(report.findings, report.plan, false)) {
        const Finding& finding = *group.first;
        if (finding.area != area) {
            area = finding.area;
            text += "\n" + area + "\n";
        }
        const CodeInfo& info = Describe(finding.code);
        char head[96];
        std::snprintf(head, sizeof head, "  %-8s %-22s ", SeverityName(finding.severity), info.id);
        const bool one = group.members.size() == 1;
        std::string key = one ? finding.key : GroupKeys(group);
        if (key.size() < 26) key.resize(26, ' ');
        text += head + key + " " + (one ? finding.message : std::string(info.title)) + "\n";
        if (const Fix* fix = FixFor(finding, report.plan)) {
            text += std::string(34, ' ') + "fix: " + FixText(*fix) + "\n";
        } else {
            const std::string why = NoFixReason(finding, report.plan);
            if (!why.empty()) text += std::string(34, ' ') + "no fix: " + why + "\n";
        }
    }
    const Tally tally = Summarise(report.findings, report.plan);
    text += "\nSummary: " + Counted(tally.counts[static_cast<int>(Severity::Problem)], "problem", "problems") + ", " +
            Counted(tally.counts[static_cast<int>(Severity::Warning)], "warning", "warnings") + " (" +
            Counted(tally.counts[static_cast<int>(Severity::Note)], "note", "notes") + ", " +
            std::to_string(tally.counts[static_cast<int>(Severity::Ok)]) + " ok)\n";
    // One line per kind: the details are above.
    for (Severity severity : {Severity::Problem, Severity::Warning}) {
        for (const Group& group : Grouped(report.findings, report.plan, true)) {
            if (group.first->severity != severity) continue;
            char head[64];
            std::snprintf(head, sizeof head, "  %-8s ", SeverityName(severity));
            text += head + group.first->area + " " + Describe(group.first->code).id + ": " + GroupKeys(group) + "\n";
        }
    }
    return text;
}

}  // namespace inspect
