// The support program's own parts: its command line, the bundle that collect
// writes (read-only on the user's side, redacted, judged on its own terms
// anywhere) and the redaction itself.
#include <windows.h>

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "inspect/Inspect.h"
#include "supporttool/Bundle.h"
#include "supporttool/Collect.h"
#include "supporttool/Plan.h"
#include "supporttool/Redact.h"
#include "supporttool/SupportOptions.h"
#include "supporttool/Zip.h"
#include "tests/common/TestSupport.h"
#include "tests/host/HostFixtures.h"

namespace {

using grs::test::FolderContents;
using grs::test::kSetting;

std::wstring UserName() {
    wchar_t name[256] = {};
    DWORD size = 256;
    ::GetUserNameW(name, &size);
    return name;
}

std::string Utf16Le(const std::wstring& text) {
    std::string bytes;
    for (wchar_t c : text) bytes += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    return bytes;
}

TEST(SupportTool, CommandLines) {
    const struct {
        const char* name;
        std::vector<const wchar_t*> args;
        bool ok;
        supporttool::Command command;
    } rows[] = {
        {"inspect a profile", {L"inspect", L"--appdata", L"A", L"--json"}, true, supporttool::Command::Inspect},
        {"inspect a bundle", {L"inspect", L"b.zip", L"--country", L"DE"}, true, supporttool::Command::Inspect},
        {"inspect neither", {L"inspect", L"--json"}, false, supporttool::Command::Help},
        {"inspect both", {L"inspect", L"b.zip", L"--appdata", L"A"}, false, supporttool::Command::Help},
        {"a bundle with a folder of this machine",
         {L"inspect", L"b.zip", L"--exe-dir", L"E"},
         false,
         supporttool::Command::Help},
        {"collect",
         {L"collect", L"--appdata", L"A", L"--exe-dir", L"E", L"o.zip"},
         true,
         supporttool::Command::Collect},
        {"collect without OUT", {L"collect", L"--appdata", L"A"}, false, supporttool::Command::Help},
        {"collect with two OUTs",
         {L"collect", L"--appdata", L"A", L"o.zip", L"p.zip"},
         false,
         supporttool::Command::Help},
        {"repair while collecting",
         {L"collect", L"--appdata", L"A", L"--repair-in-place", L"o.zip"},
         false,
         supporttool::Command::Help},
        {"a value missing", {L"inspect", L"--appdata"}, false, supporttool::Command::Help},
        {"unknown command", {L"frob"}, false, supporttool::Command::Help},
        {"no command", {}, false, supporttool::Command::Help},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<const wchar_t*> argv = {L"grs-support.exe"};
        argv.insert(argv.end(), row.args.begin(), row.args.end());
        supporttool::Options options;
        std::string error;
        EXPECT_EQ(supporttool::ParseOptions(static_cast<int>(argv.size()), argv.data(), options, error), row.ok)
            << error;
        if (row.ok) EXPECT_EQ(options.command, row.command);
    }
}

TEST(SupportTool, RedactionKeepsKeysLengthsAndBlanks) {
    const supporttool::Redaction redaction = supporttool::MakeRedaction(L"root", L"DESK 7", L"");
    const struct {
        const char* name;
        std::wstring text, redacted;
    } rows[] = {
        {"a path", L"C:\\Users\\root\\AppData", L"C:\\Users\\Uxxx\\AppData"},
        {"letter case", L"C:\\Users\\ROOT\\x", L"C:\\Users\\Uxxx\\x"},
        {"a key holding the name as part of a word", L"ThumbnailRootFolder=root", L"ThumbnailRootFolder=Uxxx"},
        {"a machine name with a blank", L"\\\\DESK 7\\share", L"\\\\Mxxx x\\share"},
        {"the name at both ends", L"root", L"Uxxx"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(supporttool::RedactText(redaction, row.text), row.redacted);
        EXPECT_EQ(supporttool::RedactBytes(redaction, grs::WideToUtf8(row.text), 1252), grs::WideToUtf8(row.redacted));
        EXPECT_EQ(supporttool::RedactBytes(redaction, Utf16Le(row.text), 1252), Utf16Le(row.redacted));
    }
}

// A user's profile on disk, under a folder named after the Windows user.
struct UsersProfile {
    grs::test::TempFolder root;
    grs::test::TempFolder outFolder;
    grs::test::ScratchRunKey run;
    std::wstring user = UserName();
    std::wstring appData = root / (user + L"\\AppData");
    std::wstring install = root / L"Program";

    UsersProfile() {
        grs::test::CreateFolderTree(appData);
        grs::test::CreateFolderTree(install);
        grs::test::WriteFileBytes(install + L"\\client.exe", "MZ");
        grs::test::WriteFileBytes(install + L"\\ServerConfig", "{\"cn\": {\"zrv\": \"https://z.example\"}}");
        grs::test::WriteFileBytes(appData + L"\\Setting.ini", grs::test::Replaced(kSetting, "Version=17.0.0.300",
                                                                                  "Version=" + grs::WideToUtf8(user)));
        const std::wstring sync =
            L"[SyncSetting]\r\nCatchFolder=" + appData + L"\\Cache\r\nPortal=https://p.example\r\n";
        grs::test::WriteFileBytes(appData + L"\\SyncSetting.ini", "\xFF\xFE" + Utf16Le(sync));
        grs::test::WriteFileBytes(root / L"route.json",
                                  "{\"countryCode\":\"CN\",\"note\":\"" + grs::WideToUtf8(user) + "\"}");
        ::SetFileAttributesW((appData + L"\\Setting.ini").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
        ::SetFileAttributesW((appData + L"\\SyncSetting.ini").c_str(), FILE_ATTRIBUTE_READONLY);
        run.Set(L"\"" + install + L"\\client.exe\" /background");
    }
    supporttool::CollectRequest Collect() const {
        supporttool::CollectRequest request;
        request.request.appData = appData;
        request.request.exeDir = install;
        request.request.routeCache = root / L"route.json";
        request.request.runKeyRoot = run.Root();
        request.userId = L"user-1";
        request.out = outFolder / L"bundle.zip";
        return request;
    }
};

TEST(SupportTool, CollectChangesNothingAndNoByteHoldsTheUserName) {
    UsersProfile profile;
    ASSERT_GE(profile.user.size(), 2u);
    const auto before = FolderContents(profile.root.Path());
    const std::wstring runBefore = profile.run.Get();
    {
        // The client keeps its settings file open, sharing it for reading only.
        grs::UniqueFile held(::CreateFileW((profile.appData + L"\\Setting.ini").c_str(), GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held);
        ASSERT_EQ(supporttool::RunCollect(profile.Collect()), inspect::kExitClean);
    }
    std::map<std::string, std::string> entries;
    std::string error;
    ASSERT_TRUE(supporttool::ReadZip(profile.outFolder / L"bundle.zip", 1 << 20, entries, error)) << error;
    EXPECT_EQ(entries.count("files/appdata/Setting.ini"), 1u);

    const auto after = FolderContents(profile.root.Path());
    grs::test::ExpectSameFiles(before, after);
    EXPECT_EQ(profile.run.Get(), runBefore);

    const std::string bundle = grs::test::ReadFileBytes(profile.outFolder / L"bundle.zip");
    ASSERT_FALSE(bundle.empty());
    for (const std::wstring& secret : {profile.user, std::wstring(L"user-1")}) {
        EXPECT_EQ(bundle.find(grs::WideToUtf8(secret)), std::string::npos) << grs::WideToUtf8(secret);
        EXPECT_EQ(bundle.find(Utf16Le(secret)), std::string::npos) << grs::WideToUtf8(secret);
    }
    // The mapping stays beside the bundle.
    const std::string mapping = grs::test::ReadFileBytes(supporttool::MappingPath(profile.outFolder / L"bundle.zip"));
    EXPECT_NE(mapping.find(grs::WideToUtf8(profile.user)), std::string::npos);
}

// Inspected after the user's machine changed (the Run value gone, the
// executable removed): the bundle's Run value and what existed then decide.
TEST(SupportTool, ABundleIsJudgedAgainstItsOwnRunValueAndEnvironment) {
    std::map<std::string, std::string> entries;
    {
        UsersProfile profile;
        supporttool::CollectRequest request = profile.Collect();
        request.out = L"";
        request.redact = false;
        request.out = profile.outFolder / L"plain.zip";
        ASSERT_EQ(supporttool::RunCollect(request), inspect::kExitClean);
        std::string error;
        ASSERT_TRUE(supporttool::ReadZip(request.out, 1 << 20, entries, error)) << error;
    }
    supporttool::Collected collected;
    std::string error;
    ASSERT_TRUE(supporttool::ReadBundle(entries, collected, error)) << error;
    const inspect::Snapshot& snapshot = collected.snapshot;
    EXPECT_TRUE(snapshot.run.present);
    EXPECT_EQ(snapshot.run.type, static_cast<unsigned long>(REG_SZ));
    EXPECT_NE(snapshot.run.data.find(L"client.exe\" /background"), std::wstring::npos);
    EXPECT_EQ(snapshot.syncSetting.attributes & FILE_ATTRIBUTE_READONLY, static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(snapshot.serverFiles.at(L"ServerConfig").bytes, "{\"cn\": {\"zrv\": \"https://z.example\"}}");
    EXPECT_EQ(collected.environment["ansiCodePage"].asUInt(), ::GetACP());

    inspect::Context context;
    context.nowMs = 1700000000000;
    context.fileExists = [&collected](const std::wstring& path) { return collected.existing.count(path) != 0; };
    std::vector<std::string> codes;
    for (const inspect::Finding& finding : inspect::Inspect(snapshot, context))
        if (finding.area == inspect::kAreaStartWithWindows) codes.push_back(inspect::Describe(finding.code).id);
    EXPECT_EQ(codes, (std::vector<std::string>{"run-value", "run-setting"}));
}

TEST(SupportTool, AnUnreadableBundleCannotBeChecked) {
    grs::test::TempFolder folder;
    grs::test::WriteFileBytes(folder / L"not.zip", "PK but not a zip");
    for (const std::wstring& path : {folder / L"not.zip", folder / L"missing.zip"})
        EXPECT_EQ(supporttool::RunInspectBundle(path, inspect::Request()), inspect::kExitCouldNotCheck);
}

// The profile's files, the backup folders apply leaves beside it left out.
std::map<std::wstring, std::pair<std::string, DWORD>> ProfileFiles(const UsersProfile& profile) {
    auto files = FolderContents(profile.root.Path());
    for (auto it = files.begin(); it != files.end();)
        it = it->first.find(L"-backup-") != std::wstring::npos ? files.erase(it) : std::next(it);
    return files;
}

std::wstring BackupFolder(const UsersProfile& profile) {
    WIN32_FIND_DATAW entry = {};
    grs::UniqueFind find(::FindFirstFileW((profile.root / (profile.user + L"\\AppData-backup-*")).c_str(), &entry));
    return find ? profile.root / (profile.user + L"\\" + entry.cFileName) : std::wstring();
}

// A profile with something for every kind of change: a misspelt key, the
// attributes, a key line before any section, an unquoted Run value.
void Spoil(UsersProfile& profile) {
    grs::test::WriteFileBytes(profile.appData + L"\\Setting.ini",
                              grs::test::Replaced(kSetting, "SapceOMVersion=0", "SpaceOMVersion=2"));
    ::SetFileAttributesW((profile.appData + L"\\SyncSetting.ini").c_str(), FILE_ATTRIBUTE_NORMAL);
    grs::test::WriteFileBytes(profile.appData + L"\\SyncSetting.ini", "PCModel=PC\r\n[SyncSetting]\r\nPortal=p\r\n");
    profile.run.Set(profile.install + L"\\client.exe /background");
}

TEST(SupportTool, PlanApplyAndUndoRoundTrip) {
    UsersProfile profile;
    Spoil(profile);
    const auto before = ProfileFiles(profile);
    const std::wstring runBefore = profile.run.Get();
    inspect::Request request = profile.Collect().request;
    const std::wstring planPath = profile.outFolder / L"plan.json";
    ASSERT_EQ(supporttool::RunPlan(inspect::InspectProfile(request), false, planPath), inspect::kExitClean);
    EXPECT_EQ(ProfileFiles(profile), before);  // a plan changes nothing

    supporttool::RunApply(planPath, L"");
    const auto applied = ProfileFiles(profile);
    EXPECT_NE(applied, before);
    const inspect::Report after = inspect::InspectProfile(request);
    for (const inspect::Finding& finding : after.findings) {
        if (finding.severity < inspect::Severity::Note) continue;
        const std::string code = inspect::Describe(finding.code).id;
        EXPECT_TRUE(code != "key-misspelt" && code != "file-attributes" && code != "line-outside-section" &&
                    code != "run-unquoted")
            << code;
    }
    const std::wstring backup = BackupFolder(profile);
    ASSERT_FALSE(backup.empty());

    // Applying the same plan again changes nothing.
    EXPECT_NE(supporttool::RunApply(planPath, L""), inspect::kExitCouldNotCheck);
    EXPECT_EQ(ProfileFiles(profile), applied);

    ASSERT_EQ(supporttool::RunUndo(backup), inspect::kExitClean);
    const auto undone = ProfileFiles(profile);
    grs::test::ExpectSameFiles(before, undone);
    EXPECT_EQ(profile.run.Get(), runBefore);
}

TEST(SupportTool, ApplyRefusesAProfileThatChangedSinceThePlan) {
    UsersProfile profile;
    Spoil(profile);
    inspect::Request request = profile.Collect().request;
    const std::wstring planPath = profile.outFolder / L"plan.json";
    ASSERT_EQ(supporttool::RunPlan(inspect::InspectProfile(request), false, planPath), inspect::kExitClean);
    grs::test::WriteFileBytes(profile.appData + L"\\Setting.ini",
                              grs::test::Replaced(kSetting, "SapceOMVersion=0", "SpaceOMVersion=3"));
    const auto changed = ProfileFiles(profile);
    EXPECT_EQ(supporttool::RunApply(planPath, L""), inspect::kExitCouldNotCheck);
    EXPECT_EQ(ProfileFiles(profile), changed);
    EXPECT_TRUE(BackupFolder(profile).empty());
}

// Planned on a support engineer's machine from a redacted bundle, applied on
// the user's with the mapping collect left there.
TEST(SupportTool, APlanFromARedactedBundleAppliesWithTheMapping) {
    UsersProfile profile;
    Spoil(profile);
    const supporttool::CollectRequest collect = profile.Collect();
    ASSERT_EQ(supporttool::RunCollect(collect), inspect::kExitClean);
    inspect::Report report;
    bool redacted = false;
    ASSERT_TRUE(supporttool::ReportOfBundle(collect.out, inspect::Request(), report, redacted));
    EXPECT_TRUE(redacted);
    const std::wstring planPath = profile.outFolder / L"plan.json";
    ASSERT_EQ(supporttool::RunPlan(report, redacted, planPath), inspect::kExitClean);
    EXPECT_EQ(grs::test::ReadFileBytes(planPath).find(grs::WideToUtf8(profile.user)), std::string::npos);

    EXPECT_EQ(supporttool::RunApply(planPath, L""), inspect::kExitCouldNotCheck);  // without the mapping
    supporttool::RunApply(planPath, supporttool::MappingPath(collect.out));
    const std::string setting = grs::test::ReadFileBytes(profile.appData + L"\\Setting.ini");
    EXPECT_NE(setting.find("SapceOMVersion=2"), std::string::npos);
    EXPECT_FALSE(BackupFolder(profile).empty());
}

}  // namespace
