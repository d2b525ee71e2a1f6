// Inspecting a profile: prepared profiles held in memory, judged by the pure
// checks and read back through the JSON report.
#include <windows.h>

#include <gtest/gtest.h>
#include <json/json.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <tuple>

#include "core/HashUtil.h"
#include "core/TextUtil.h"
#include "inspect/Inspect.h"
#include "inspect/InspectDetail.h"
#include "inspect/Repair.h"
#include "route/RouteDetail.h"
#include "route/RouteKeys.h"
#include "serverconfig/ServerRegion.h"
#include "settings/SettingRules.h"
#include "tests/host/HostFixtures.h"

namespace {

using namespace ::inspect;

constexpr long long kNow = 1700000000000;  // 2023-11-14 22:13:20 UTC
const std::wstring kInstall = L"C:\\Program Files\\Qirent";
const std::wstring kClient = kInstall + L"\\client.exe";


FileSnapshot File(const std::string& bytes, unsigned long attributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM) {
    FileSnapshot file;
    file.exists = file.readable = true;
    file.attributes = attributes;
    file.bytes = bytes;
    file.size = bytes.size();
    return file;
}

using grs::test::kSetting;
using grs::test::Replaced;

std::string SyncSetting() {
    const std::string root = "C:\\Users\\u\\Cloud\\Cache\\" + grs::Sha256Hex("user-1");
    std::string text = "[SyncSetting]\n";
    for (const char* key :
         {"ServerUrl", "FamilyShareUrl", "NspUrl", "HelpAndServiceUrl", "UserinformationUrl", "ConfigBasic",
          "BusinessUrl", "BaseUri", "UBAUri", "BasicUrl", "OpenSource", "Portal", "OmCdnUrl", "OmCdnByPassUrl"})
        text += std::string(key) + "=https://" + key + ".example\n";
    return text + "MacAddressEncrypt=SYNCuuid-1\ndeviceUUid=uuid-1\nPcVersion=17.0.0.300\nPCModel=PC\n" +
           "ThumbnailRootFolder=" + root + "\\SyncThumbnailFile\\\nLcdThumbnailRootFolder=" + root +
           "\\LcdSyncThumbnailFile\\\nCatchFolder=" + root + "\n";
}

std::string ServerFile(const std::set<std::wstring>& without = {}) {
    std::string json = "{\"cn\": {";
    for (const auto& service : grs::ServiceKeys()) {
        if (without.count(service.second)) continue;
        json += (json.back() == '{' ? "\"" : ", \"") + grs::WideToUtf8(service.second) + "\": \"https://" +
                grs::WideToUtf8(service.second) + ".example\"";
    }
    return json + "}}";
}

std::string RouteCache(const std::string& country, long long obtained) {
    std::string services = "\"com.qirent.cloud.pc\":{\"portal\":\"https://portal.pc.example\"},\"default\":{";
    for (const std::wstring& key : grs::route::RouteServiceKeys())
        services += (services.back() == '{' ? "\"" : ",\"") + grs::WideToUtf8(key) + "\":\"https://r.example\"";
    return "{\"countryCode\":\"" + country + "\",\"currentTime\":\"" + std::to_string(obtained) +
           "\",\"effectivePeriod\":\"86400\",\"isSuccess\":1,\"services\":{" + services + "}}}";
}

// A profile after a good start, signed in as "user-1" in CN, starting with
// Windows from the install folder.
struct Profile {
    Snapshot snapshot;
    Context context;
    std::set<std::wstring> existing = {kClient};

    Profile() {
        snapshot.appData = L"C:\\Users\\u\\AppData\\Local\\Qirent";
        snapshot.appDataIsFolder = true;
        snapshot.setting = File(kSetting);
        snapshot.syncSetting = File(SyncSetting());
        snapshot.appDataNames = {L"Setting.ini", L"SyncSetting.ini"};
        snapshot.run.present = true;
        snapshot.run.type = REG_SZ;
        snapshot.run.data = L"\"" + kClient + L"\" /background";
        snapshot.exeDir = kInstall;
        snapshot.exeDirGiven = snapshot.exeDirIsFolder = true;
        snapshot.serverFiles[L"ServerConfig"] = File(ServerFile(), FILE_ATTRIBUTE_NORMAL);
        snapshot.routeCachePath = L"C:\\route.json";
        snapshot.routeCacheGiven = true;
        snapshot.routeCache = File(RouteCache("CN", kNow - 60000), FILE_ATTRIBUTE_NORMAL);
        context.country = L"CN";
        context.user = L"user-1";
        context.nowMs = kNow;
        context.asia = {L"SG", L"JP"};
        context.europe = {L"DE", L"FR"};
        context.packageName = L"com.qirent.cloud.pc";
    }
};

// A finding by its code; `fact` is data the message must carry (a name, a
// number, a place), never its wording.
struct Expected {
    std::string area, key, severity, code, fact;
};

// The findings read back from the JSON report.
Json::Value JsonFindings(Profile& profile) {
    profile.context.fileExists = [&profile](const std::wstring& path) { return profile.existing.count(path) != 0; };
    Report report{profile.snapshot, profile.context, {}};
    report.findings = Inspect(profile.snapshot, profile.context);
    const std::string text = RenderJson(report);
    Json::Value root;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &root, &errors)) << errors;
    return root;
}

TEST(Inspect, PreparedProfilesGiveTheirFindings) {
    const struct Row {
        const char* name;
        std::function<void(Profile&)> prepare;
        // Exactly the warnings and problems; notes and ok findings listed here must be there too.
        std::vector<Expected> expected;
    } rows[] = {
        {"clean", [](Profile&) {}, {{"ServerConfig", "ServerConfigTest", "note", "server-file-missing"}}},
        {"misspelled and empty keys",
         [](Profile& p) {
             p.snapshot.setting = File(Replaced(Replaced(kSetting, "SapceOMVersion=0", "SpaceOMVersion=0"),
                                                "Language=en-US\r\nLog", "Language=\r\nLog"));
         },
         {{"Setting.ini", "SpaceOMVersion", "problem", "key-misspelt", "SapceOMVersion"},
          {"Setting.ini", "SapceOMVersion", "note", "key-missing"},
          {"Setting.ini", "Language", "note", "key-empty"}}},
        {"values read otherwise than they look",
         [](Profile& p) {
             std::string text = Replaced(kSetting, "IsAutoCheckUpdate=1", "IsAutoCheckUpdate=yes");
             text = Replaced(text, "IsJoinUserExperiencePlan=1", "IsJoinUserExperiencePlan=true");
             text = Replaced(text, "IsAutoStartUp=1", "IsAutoStartUp=true");
             text = Replaced(text, "NoticeCreateLink=1", "noticecreatelink=false");
             p.snapshot.setting = File(text);
         },
         {{"Setting.ini", "IsAutoCheckUpdate", "warning", "flag-reading"},
          {"Setting.ini", "IsJoinUserExperiencePlan", "note", "flag-reading"},
          {"Setting.ini", "IsAutoStartUp", "problem", "flag-reading"},
          {"Setting.ini", "NoticeCreateLink", "warning", "flag-reading"},
          {"Setting.ini", "noticecreatelink", "warning", "key-case", "NoticeCreateLink"},
          {"StartWithWindows", "IsAutoStartUp", "warning", "run-setting"}}},
        {"hidden attribute missing",
         [](Profile& p) { p.snapshot.setting.attributes = FILE_ATTRIBUTE_SYSTEM; },
         {{"Setting.ini", "[attributes]", "warning", "file-attributes"}}},
        {"repeats, lines not kept and a stray file",
         [](Profile& p) {
             p.snapshot.syncSetting = File(SyncSetting() + "garbage\nPortal=https://other.example\n[SyncSetting]\n");
             p.snapshot.appDataNames.push_back(L"SyncSetting.ini~12-3.tmp");
         },
         {{"SyncSetting.ini", "[line 23]", "warning", "stray-line", "garbage"},
          {"SyncSetting.ini", "Portal", "warning", "key-repeated", "https://other.example"},
          {"SyncSetting.ini", "[SyncSetting]", "warning", "section-repeated", "1, 25"},
          {"SyncSetting.ini", "SyncSetting.ini~12-3.tmp", "warning", "stray-temporary"}}},
        {"cache folder of another user",
         [](Profile& p) { p.context.user = L"user-2"; },
         {{"SyncSetting.ini", "CatchFolder", "warning", "cache-folder", "user-2"}}},
        {"Run value unquoted",
         [](Profile& p) { p.snapshot.run.data = kClient + L" /background"; },
         {{"StartWithWindows", "QIRENT Cloud", "warning", "run-unquoted", "C:\\Program\""}}},
        {"Run value naming a missing executable after a move",
         [](Profile& p) { p.snapshot.run.data = L"\"D:\\Old\\client.exe\" /background"; },
         {{"StartWithWindows", "QIRENT Cloud", "problem", "run-executable-missing", "D:\\Old\\client.exe"},
          {"StartWithWindows", "QIRENT Cloud", "warning", "run-other-folder"}}},
        {"Run value of 129 characters",
         [](Profile& p) {
             // The quotes, "C:\", "\c.exe" and " /background" take 23 characters.
             const std::wstring folder = L"C:\\" + std::wstring(129 - 23, L'x');
             p.snapshot.run.data = L"\"" + folder + L"\\c.exe\" /background";
             p.existing.insert(folder + L"\\c.exe");
             p.snapshot.exeDir = folder;
         },
         {{"StartWithWindows", "QIRENT Cloud", "ok", "run-value", "129"}}},
        {"Run value of 130 characters while the settings say off",
         [](Profile& p) {
             const std::wstring folder = L"C:\\" + std::wstring(130 - 23, L'x');
             p.snapshot.run.data = L"\"" + folder + L"\\c.exe\" /background";
             p.existing.insert(folder + L"\\c.exe");
             p.snapshot.exeDir = folder;
             p.snapshot.setting = File(Replaced(kSetting, "IsAutoStartUp=1", "IsAutoStartUp=0"));
         },
         {{"StartWithWindows", "QIRENT Cloud", "problem", "run-not-readable", "130"}}},
        {"broken server file",
         [](Profile& p) {
             p.snapshot.serverFiles[L"ServerConfig"] = File("{\"cn\": {\"zrv\": \"a\",\n  }}", FILE_ATTRIBUTE_NORMAL);
         },
         {{"ServerConfig", "ServerConfig", "problem", "server-file-not-json", "line 2, column 3"}}},
        {"server file lacking keys, for a European user",
         [](Profile& p) {
             p.context.country = L"DE";
             p.snapshot.serverFiles[L"ServerConfigDR3"] =
                 File(Replaced(ServerFile({L"zrv", L"netping"}), "\"cn\"", "\"dr3\"") + "\n", FILE_ATTRIBUTE_NORMAL);
             p.snapshot.routeCache = File(RouteCache("DE", kNow - 60000), FILE_ATTRIBUTE_NORMAL);
         },
         {{"ServerConfig", "ServerConfigDR3", "problem", "service-keys-lacking", "zrv, netping"},
          {"ServerConfig", "[region]", "ok", "region", "\"dr3\""}}},
        {"stale route cache of another country",
         [](Profile& p) { p.snapshot.routeCache = File(RouteCache("DE", kNow - 86400001), FILE_ATTRIBUTE_NORMAL); },
         {{"RouteCache", "[freshness]", "warning", "route-other-country", "\"DE\""}}},
        {"stale route cache of the user's country",
         [](Profile& p) { p.context.nowMs = kNow + 86400000; },
         {{"RouteCache", "[freshness]", "note", "route-fresh", "2023-11-15 22:12:20 UTC"}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Profile profile;
        row.prepare(profile);
        const Json::Value report = JsonFindings(profile);
        std::multiset<std::tuple<std::string, std::string, std::string>> severe;
        for (const Json::Value& finding : report["findings"]) {
            const std::string severity = finding["severity"].asString();
            if (severity == "warning" || severity == "problem")
                severe.insert({finding["area"].asString(), finding["key"].asString(), severity});
        }
        std::multiset<std::tuple<std::string, std::string, std::string>> expectedSevere;
        for (const Expected& expected : row.expected) {
            if (expected.severity == "warning" || expected.severity == "problem")
                expectedSevere.insert({expected.area, expected.key, expected.severity});
            bool found = false;
            for (const Json::Value& finding : report["findings"])
                found = found ||
                        (finding["area"].asString() == expected.area && finding["key"].asString() == expected.key &&
                         finding["severity"].asString() == expected.severity &&
                         finding["code"].asString() == expected.code &&
                         finding["message"].asString().find(expected.fact) != std::string::npos);
            EXPECT_TRUE(found) << expected.area << " " << expected.key << " " << expected.severity << ": "
                               << expected.code << " " << expected.fact;
        }
        EXPECT_EQ(severe, expectedSevere);
        EXPECT_EQ(report["summary"]["problems"].asUInt() + report["summary"]["warnings"].asUInt(),
                  expectedSevere.size());
    }
}

TEST(Inspect, NearlyRightNamesAndRunCommands) {
    const struct {
        std::wstring a, b;
        bool oneEdit;
    } names[] = {{L"SpaceOMVersion", L"SapceOMVersion", true},
                 {L"IsAutoStartup", L"IsAutoStartUp", true},
                 {L"IsAutoStartUpp", L"IsAutoStartUp", true},
                 {L"IsAutoStrtUp", L"IsAutoStartUp", true},
                 {L"IsAutoStratUp", L"IsAutoStartUp", true},
                 {L"Version", L"VersionType", false},
                 {L"ab", L"ba", true},
                 {L"abc", L"cab", false}};
    for (const auto& name : names) EXPECT_EQ(WithinOneEdit(name.a, name.b), name.oneEdit) << grs::WideToUtf8(name.a);

    const struct {
        std::wstring command, executable, arguments;
        bool quoted;
    } commands[] = {
        {L"\"C:\\A B\\c.exe\" /background", L"C:\\A B\\c.exe", L"/background", true},
        {L"C:\\A B\\c.exe /background", L"C:\\A B\\c.exe", L"/background", false},
        {L"C:\\A\\c.EXE", L"C:\\A\\c.EXE", L"", false},
        {L"C:\\A\\run /x", L"C:\\A\\run", L"/x", false},
        {L"\"C:\\A\\c.exe /background", L"", L"", true},
    };
    for (const auto& c : commands) {
        bool quoted = false;
        std::wstring arguments;
        EXPECT_EQ(RunCommandExecutable(c.command, quoted, arguments), c.executable) << grs::WideToUtf8(c.command);
        EXPECT_EQ(arguments, c.arguments) << grs::WideToUtf8(c.command);
        EXPECT_EQ(quoted, c.quoted) << grs::WideToUtf8(c.command);
    }
    EXPECT_EQ(FormatUtc(0), "1970-01-01 00:00:00 UTC");
    EXPECT_EQ(FormatUtc(951782400000), "2000-02-29 00:00:00 UTC");
    EXPECT_EQ(FormatUtc(-1), "1969-12-31 23:59:59 UTC");
}

// The inspection judges exactly the library's keys: each one is reported,
// present or missing, and none is taken for a stranger.
TEST(Inspect, CoversExactlyTheLibrarysKeys) {
    using grs::settings::Absent;
    const struct {
        const char* area;
        const wchar_t* section;
        const std::vector<grs::settings::SettingKey>& keys;
        FileSnapshot Snapshot::*file;
    } files[] = {
        {"Setting.ini", grs::settings::kSettingSection, grs::settings::SettingKeys(), &Snapshot::setting},
        {"SyncSetting.ini", grs::settings::kSyncSettingSection, grs::settings::SyncSettingKeys(),
         &Snapshot::syncSetting},
    };
    for (const auto& file : files) {
        for (const grs::settings::SettingKey& missing : file.keys) {
            const std::string name = grs::WideToUtf8(missing.name);
            SCOPED_TRACE(std::string(file.area) + " without " + name);
            std::string text = "[" + grs::WideToUtf8(file.section) + "]\n";
            for (const grs::settings::SettingKey& key : file.keys)
                if (&key != &missing) text += grs::WideToUtf8(key.name) + "=v\n";
            Profile profile;
            profile.snapshot.*file.file = File(text + "Stranger=v\n");
            std::set<std::string> named;
            bool strangerNamed = false;
            const Json::Value report = JsonFindings(profile);
            for (const Json::Value& finding : report["findings"]) {
                if (finding["area"].asString() != file.area) continue;
                named.insert(finding["key"].asString());
                strangerNamed = strangerNamed || (finding["key"].asString() == "Stranger" &&
                                                  finding["code"].asString() == "key-unknown");
                EXPECT_NE(finding["code"].asString(), "key-misspelt") << finding["key"].asString();
            }
            EXPECT_TRUE(strangerNamed);
            for (const grs::settings::SettingKey& key : file.keys) {
                const bool reported = &key != &missing || key.absent != Absent::Optional;
                EXPECT_EQ(named.count(grs::WideToUtf8(key.name)), reported ? 1u : 0u) << grs::WideToUtf8(key.name);
            }
        }
    }
}

// Every code that has a fix, from a profile that shows it: the finding of that
// code gets a fix its code lists, and no finding of a code without one gets
// any. A fix that went missing, or one tied to a finding by anything but its
// code, fails here.
TEST(Inspect, EveryCodeWithAFixGetsIt) {
    const std::wstring longFolder = L"C:\\" + std::wstring(130, L'x');
    const struct Row {
        Code code;
        std::function<void(Profile&)> prepare;
    } rows[] = {
        {Code::FileAttributes, [](Profile& p) { p.snapshot.setting.attributes = FILE_ATTRIBUTE_SYSTEM; }},
        {Code::LineOutsideSection, [](Profile& p) { p.snapshot.syncSetting = File("Portal=x\n" + SyncSetting()); }},
        {Code::StrayTemporary, [](Profile& p) { p.snapshot.appDataNames.push_back(L"Setting.ini~1-2.tmp"); }},
        {Code::SectionMissing, [](Profile& p) { p.snapshot.syncSetting = File("Portal=x\n"); }},
        {Code::SectionMisspelt,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "[Setting]", "[Settng]")); }},
        {Code::SectionUnknown,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "[Setting]", "[Other]")); }},
        {Code::KeyCase,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "NoticeCreateLink", "noticecreatelink")); }},
        {Code::KeyMisspelt,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "SapceOMVersion", "SpaceOMVersion")); }},
        {Code::FlagReading,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "IsAutoStartUp=1", "IsAutoStartUp=true")); }},
        {Code::RunNotReadable,
         [&longFolder](Profile& p) { p.snapshot.run.data = L"\"" + longFolder + L"\\client.exe\" /background"; }},
        {Code::RunSetting,
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "IsAutoStartUp=1", "IsAutoStartUp=0")); }},
        {Code::RunUnquoted, [](Profile& p) { p.snapshot.run.data = kClient + L" /background"; }},
        {Code::RunArguments, [](Profile& p) { p.snapshot.run.data = L"\"" + kClient + L"\""; }},
        {Code::RunExecutableMissing, [](Profile& p) { p.snapshot.run.data = L"\"D:\\Old\\client.exe\" /background"; }},
        {Code::RunOtherFolder, [](Profile& p) { p.snapshot.run.data = L"\"D:\\Old\\client.exe\" /background"; }},
        {Code::RouteCacheUnreadable, [](Profile& p) { p.snapshot.routeCache = File("{", FILE_ATTRIBUTE_NORMAL); }},
        {Code::RouteOtherCountry,
         [](Profile& p) { p.snapshot.routeCache = File(RouteCache("DE", kNow), FILE_ATTRIBUTE_NORMAL); }},
    };
    std::set<Code> covered;
    for (const Row& row : rows) {
        const CodeInfo& info = Describe(row.code);
        SCOPED_TRACE(info.id);
        covered.insert(row.code);
        Profile profile;
        row.prepare(profile);
        profile.context.fileExists = [&profile](const std::wstring& path) { return profile.existing.count(path) != 0; };
        const std::vector<Finding> findings = Inspect(profile.snapshot, profile.context);
        const std::vector<Fix> plan = PlanFixes(profile.snapshot, profile.context, findings);
        bool fixed = false;
        for (const Finding& finding : findings) {
            // A fix never shows on a finding whose code has none, whatever its place.
            if (Describe(finding.code).fix == nullptr)
                EXPECT_EQ(FixFor(finding, plan), nullptr) << Describe(finding.code).id << " " << finding.key;
            if (finding.code != row.code) continue;
            const Fix* fix = FixFor(finding, plan);
            fixed = fixed || (fix != nullptr && HasFix(info, fix->action));
        }
        EXPECT_TRUE(fixed);
    }
    for (const CodeInfo& info : Codes()) {
        EXPECT_EQ(&Describe(info.code), &info) << info.id;
        EXPECT_EQ(FindCode(info.id), &info) << info.id;
        EXPECT_EQ(info.fix != nullptr, covered.count(info.code) == 1) << info.id;
    }
}

// Scripts tell "clean" from "findings" from "could not check".
TEST(Inspect, ExitStatusSaysWhetherActionIsNeeded) {
    const struct {
        const char* name;
        std::function<void(Profile&)> prepare;
        int status;
    } rows[] = {
        {"clean", [](Profile&) {}, kExitClean},
        {"notes only", [](Profile& p) { p.snapshot.appDataNames.push_back(L"Setting.ini.bak"); }, kExitClean},
        {"a warning", [](Profile& p) { p.snapshot.setting.attributes = 0; }, kExitNeedsAction},
        {"a problem",
         [](Profile& p) { p.snapshot.setting = File(Replaced(kSetting, "SapceOMVersion", "SpaceOMVersion")); },
         kExitNeedsAction},
        {"no app-data folder", [](Profile& p) { p.snapshot.appDataIsFolder = false; }, kExitCouldNotCheck},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Profile profile;
        row.prepare(profile);
        profile.context.fileExists = [&profile](const std::wstring& path) { return profile.existing.count(path) != 0; };
        Report report{profile.snapshot, profile.context, {}, {}};
        report.findings = Inspect(profile.snapshot, profile.context);
        EXPECT_EQ(ExitStatus(report), row.status);
    }
}

// A path the profile functions cannot use is told, with what this client
// does there.
TEST(Inspect, ProfilePathsTheProfileFunctionsCannotUse) {
    const struct {
        const char* name;
        std::wstring appData;
        bool spellable;
        const char* code;  // null: nothing to tell
    } rows[] = {
        {"short and spellable", L"C:\\Users\\u\\AppData", true, nullptr},
        {"not spellable", L"C:\\Users\\u\\AppData", false, "profile-path-not-ansi"},
        {"one short of the limit", L"C:\\" + std::wstring(MAX_PATH - 4 - 16, L'x'), true, nullptr},
        {"at the limit", L"C:\\" + std::wstring(MAX_PATH - 3 - 16, L'x'), true, "profile-path-long"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Profile profile;
        profile.snapshot.appData = row.appData;
        profile.snapshot.appDataSpellable = row.spellable;
        const std::vector<Finding> findings = InspectProfilePath(profile.snapshot);
        ASSERT_EQ(findings.size(), row.code ? 1u : 0u);
        if (row.code) EXPECT_STREQ(Describe(findings[0].code).id, row.code);
    }
}

}  // namespace
