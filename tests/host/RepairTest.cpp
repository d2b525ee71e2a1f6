// Repairing a profile: prepared profiles on disk are repaired into a copy or
// in place, and the result is inspected again.
#include <windows.h>

#include <gtest/gtest.h>
#include <json/json.h>

#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "inspect/Inspect.h"
#include "inspect/Repair.h"
#include "tests/common/TestSupport.h"
#include "tests/host/HostFixtures.h"

namespace {

using namespace ::inspect;
using grs::test::FolderContents;

constexpr DWORD kAtRest = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

using grs::test::kSetting;
using grs::test::Replaced;

// A user's folders on disk: app-data, install folder, route cache, Run key.
struct Case {
    grs::test::TempFolder root;
    grs::test::ScratchRunKey run;
    std::wstring appData = root / L"AppData";
    std::wstring install = root / L"Program";

    Case() {
        grs::test::CreateFolderTree(appData);
        grs::test::CreateFolderTree(install);
        grs::test::WriteFileBytes(install + L"\\client.exe", "MZ");
        Write(L"Setting.ini", kSetting);
        Write(L"SyncSetting.ini", "[SyncSetting]\r\nPortal=https://p.example\r\n");
        run.Set(L"\"" + install + L"\\client.exe\" /background");
    }
    void Write(const std::wstring& name, const std::string& bytes, DWORD attributes = kAtRest) {
        const std::wstring path = appData + L"\\" + name;
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        grs::test::WriteFileBytes(path, bytes);
        ::SetFileAttributesW(path.c_str(), attributes);
    }
    Request Asked(const std::wstring& folder) const {
        Request request;
        request.appData = folder;
        request.exeDir = install;
        request.runKeyRoot = run.Root();
        if (::GetFileAttributesW((root / L"route.json").c_str()) != INVALID_FILE_ATTRIBUTES)
            request.routeCache = folder == appData ? root / L"route.json" : folder + L"\\route.json";
        return request;
    }
};

// Every key of every section, by its name as written.
std::map<std::wstring, std::wstring> Keys(const std::wstring& path) {
    std::map<std::wstring, std::wstring> keys;
    std::string bytes = grs::test::ReadFileBytes(path);
    grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
    CIniFileW document;
    document.ParseText(grs::DecodeIniBytes(bytes, encoding));
    for (const std::wstring& section : {std::wstring(L"Setting"), std::wstring(L"SyncSetting")})
        if (CIniFileW::Section* found = document.FindSection(section))
            for (const auto& key : found->keys) keys[key.second.name] = key.second.value;
    return keys;
}

struct Row {
    const char* name;
    std::function<void(Case&)> prepare;
    std::vector<std::string> actions;  // the plan, in order
};

const Row kRows[] = {
    {"clean", [](Case&) {}, {}},
    {"misspelt key, attributes and a stray save",
     [](Case& c) {
         c.Write(L"Setting.ini", Replaced(kSetting, "SapceOMVersion=0", "SpaceOMVersion=3"), FILE_ATTRIBUTE_SYSTEM);
         c.Write(L"Setting.ini~7-1.tmp", "[Setting]\r\n", FILE_ATTRIBUTE_NORMAL);
     },
     {"remove-file", "set-attributes", "rename-key"}},
    {"values read otherwise than they look, in UTF-16",
     [](Case& c) {
         std::string text = Replaced(kSetting, "IsAutoCheckUpdate=1", "IsAutoCheckUpdate=yes");
         text = Replaced(text, "NoticeCreateLink=1", "noticecreatelink=false");
         text = Replaced(text, "IsJoinUserExperiencePlan=1", "IsJoinUserExperiencePlan=true");
         std::wstring wide = grs::Utf8ToWide(text);
         std::string bytes = "\xFF\xFE";
         for (wchar_t unit : wide) bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
         c.Write(L"Setting.ini", bytes);
     },
     {"rename-key", "set-value", "set-value"}},
    {"no section, and a key line before it",
     [](Case& c) {
         c.Write(L"SyncSetting.ini", "Portal=https://p.example\r\n[Syncsettings]\r\nPCModel=PC\r\n");
     },
     {"rebuild-file", "rebuild-file", "rebuild-file"}},
    {"Run value unquoted while on; route cache of another country",
     [](Case& c) {
         c.run.Set(c.install + L"\\client.exe");
         grs::test::WriteFileBytes(c.root / L"route.json",
                                   "{\"countryCode\":\"DE\",\"currentTime\":\"1600000000000\",\"effectivePeriod\":"
                                   "\"86400\",\"isSuccess\":1,\"services\":{\"default\":{\"cas\":\"https://c\"}}}");
     },
     {"set-run-value", "remove-file"}},
    {"Run value while off",
     [](Case& c) { c.Write(L"Setting.ini", Replaced(kSetting, "IsAutoStartUp=1", "IsAutoStartUp=0")); },
     {"remove-run-value"}},
};

std::vector<std::string> Actions(const std::vector<Fix>& plan) {
    std::vector<std::string> actions;
    for (const Fix& fix : plan) actions.push_back(fix.action);
    return actions;
}

TEST(Repair, CopiesAreRepairedWithoutTouchingTheInputAndInspectClean) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Case c;
        row.prepare(c);
        const auto before = FolderContents(c.root.Path());
        const Report first = InspectProfile(c.Asked(c.appData));
        EXPECT_EQ(Actions(first.plan), row.actions);

        Request request = c.Asked(c.appData);
        request.repairTo = c.root / L"Repaired";
        const RepairResult made = Repair(request, first.snapshot, first.plan, "20240501-100000");
        ASSERT_FALSE(made.refused) << made.refusal;
        for (const Change& change : made.changes) {
            const bool registry = change.fix.file.empty();
            EXPECT_EQ(change.done, !registry) << change.fix.action << ": " << change.detail;
        }

        // The input, byte for byte and attribute for attribute, and the Run value.
        auto after = FolderContents(c.root.Path());
        for (auto it = after.begin(); it != after.end();)
            it = it->first.rfind(L"Repaired\\", 0) == 0 ? after.erase(it) : std::next(it);
        EXPECT_EQ(after, before);

        // Inspected again: only the Run value's fixes, kept for a repair in place.
        const Report again = InspectProfile(c.Asked(request.repairTo));
        for (const Fix& fix : again.plan) EXPECT_TRUE(fix.file.empty()) << fix.action << " " << fix.key;
        for (const wchar_t* name : {L"Setting.ini", L"SyncSetting.ini"}) {
            const std::wstring path = request.repairTo + L"\\" + name;
            EXPECT_EQ(::GetFileAttributesW(path.c_str()) & kAtRest, kAtRest);
            // Every key the user had, by its name or its corrected one.
            const auto repaired = Keys(path);
            for (const auto& key : Keys(c.appData + L"\\" + name)) {
                std::wstring now = key.first;
                std::wstring value = key.second;
                for (const Fix& fix : first.plan) {
                    if (fix.action == "rename-key" && fix.from == key.first) now = fix.to;
                    if (fix.action == "set-value" && grs::Utf8ToWide(fix.key) == now) value = fix.to;
                }
                ASSERT_EQ(repaired.count(now), 1u) << grs::WideToUtf8(now);
                EXPECT_EQ(repaired.at(now), value) << grs::WideToUtf8(now);
            }
        }
        // A second repair changes nothing.
        Request second = c.Asked(request.repairTo);
        second.repairTo = c.root / L"Twice";
        const RepairResult twice = Repair(second, again.snapshot, again.plan, "20240501-100001");
        for (const Change& change : twice.changes) EXPECT_TRUE(change.fix.file.empty()) << change.fix.action;
    }
}

TEST(Repair, InPlaceKeepsTheOriginalsInABackupAndSettlesTheRunValue) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Case c;
        row.prepare(c);
        const auto before = FolderContents(c.appData);
        Request request = c.Asked(c.appData);
        request.repairInPlace = true;
        const Report first = InspectProfile(request);
        const RepairResult made = Repair(request, first.snapshot, first.plan, "20240501-100000");
        ASSERT_FALSE(made.refused) << made.refusal;
        for (const Change& change : made.changes) EXPECT_TRUE(change.done) << change.fix.action << ": " << change.detail;
        if (first.plan.empty()) {
            EXPECT_TRUE(made.backup.empty());
            continue;
        }
        EXPECT_EQ(made.backup, c.appData + L"-backup-20240501-100000");
        for (const auto& file : FolderContents(made.backup)) {
            if (file.first == L"RunValue.txt" || file.first == L"route.json") continue;
            ASSERT_EQ(before.count(file.first), 1u) << grs::WideToUtf8(file.first);
            EXPECT_EQ(file.second.first, before.at(file.first).first) << grs::WideToUtf8(file.first);
        }
        const Report again = InspectProfile(request);
        EXPECT_TRUE(again.plan.empty()) << again.plan.front().action;
        for (const Finding& finding : again.findings)
            EXPECT_TRUE(finding.area != "StartWithWindows" || finding.severity < Severity::Warning) << finding.message;
        const RepairResult twice = Repair(request, again.snapshot, again.plan, "20240501-100001");
        EXPECT_TRUE(twice.changes.empty());
        EXPECT_TRUE(twice.backup.empty());
    }
}

TEST(Repair, RefusedWhileTheClientHoldsTheSettings) {
    Case c;
    c.Write(L"Setting.ini", Replaced(kSetting, "SapceOMVersion", "SpaceOMVersion"), FILE_ATTRIBUTE_NORMAL);
    const grs::UniqueFile held(::CreateFileW((c.appData + L"\\Setting.ini").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                             nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    for (bool inPlace : {false, true}) {
        Request request = c.Asked(c.appData);
        request.repairInPlace = inPlace;
        if (!inPlace) request.repairTo = c.root / L"Repaired";
        const Report first = InspectProfile(request);
        const RepairResult made = Repair(request, first.snapshot, first.plan, "20240501-100000");
        EXPECT_TRUE(made.refused);
        EXPECT_NE(made.refusal.find("\"Setting.ini\" is held"), std::string::npos) << made.refusal;
        EXPECT_EQ(::GetFileAttributesW((c.root / L"Repaired").c_str()), INVALID_FILE_ATTRIBUTES);
    }
}

TEST(Repair, JsonCarriesThePlanAndTheChanges) {
    Case c;
    c.Write(L"Setting.ini", Replaced(kSetting, "SapceOMVersion=0", "SpaceOMVersion=0"));
    Request request = c.Asked(c.appData);
    request.repairTo = c.root / L"Repaired";
    const Report first = InspectProfile(request);
    const RepairResult made = Repair(request, first.snapshot, first.plan, "20240501-100000");
    Report shown = first;
    shown.findings.push_back(Finding{"ServerConfig", "ServerConfig", Severity::Problem, "broken"});
    const std::string text = RenderJson(shown, &made);
    Json::Value root;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    ASSERT_TRUE(reader->parse(text.data(), text.data() + text.size(), &root, &errors)) << errors;
    bool renamed = false;
    for (const Json::Value& finding : root["findings"]) {
        if (finding["key"] == "SpaceOMVersion") {
            renamed = finding["fix"]["action"] == "rename-key" && finding["fix"]["from"] == "SpaceOMVersion" &&
                      finding["fix"]["to"] == "SapceOMVersion" && finding["fix"]["file"] == "Setting.ini";
        }
        const std::string severity = finding["severity"].asString();
        if (severity == "warning" || severity == "problem")
            EXPECT_TRUE(finding.isMember("fix") != finding.isMember("noFix")) << finding["key"];
    }
    EXPECT_TRUE(renamed);
    EXPECT_TRUE(root["findings"][static_cast<Json::ArrayIndex>(root["findings"].size() - 1)]["noFix"].isString());
    const Json::Value& repair = root["repair"];
    EXPECT_EQ(repair["mode"], "copy");
    EXPECT_EQ(repair["profile"].asString(), grs::WideToUtf8(request.repairTo));
    ASSERT_EQ(repair["changes"].size(), 1u);
    EXPECT_EQ(repair["changes"][0]["fix"]["action"], "rename-key");
    EXPECT_EQ(repair["changes"][0]["done"], true);
    EXPECT_EQ(repair["changes"][0]["area"], "Setting.ini");
}

}  // namespace
