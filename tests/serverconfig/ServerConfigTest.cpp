// The server address file beside the host executable: which file and region
// a country gets, what reaches the parameter store, and hostile files.
#include <gtest/gtest.h>

#include "globalrootservice/ServerConfigHelper.h"
#include "serverconfig/RegionJson.h"
#include "serverconfig/ServerConfigPaths.h"
#include "tests/common/TestSupport.h"

namespace {

using grs::test::HasLogLine;

// Service keys by enumeration value.
// clang-format off
const wchar_t* const kKeys[] = {
    L"zrv", L"zrvbak", L"zrvbak1", L"zrvbakru", L"zrvbakeu", L"cas", L"upas", L"portal", L"basic", L"vfs",
    L"cloudphoto", L"business", L"feedbackannex", L"feedbackwithannex", L"feedbacklog", L"terms", L"gw", L"user",
    L"club", L"consumer", L"cbs", L"pimds", L"configbasic", L"operqrtserverid", L"trs", L"push",
    L"testzavkooperqrturl", L"netping", L"familyshare", L"consumerbusiness", L"syncserverurl", L"cloudphotov2",
    L"userInformationservice", L"help", L"ubaurl", L"opensource", L"content", L"cbsv3", L"extension",
    L"cloudsyncdrive", L"qirentccpcurl", L"scopeurl", L"dataExtract", L"cloudServiceAgreement", L"dmpUpload",
    L"logPingUrl"};
// clang-format on
constexpr int kServiceCount = 46;
static_assert(sizeof kKeys / sizeof kKeys[0] == kServiceCount, "one key per service");

const wchar_t* const kFileNames[] = {L"ServerConfig",        L"ServerConfigDR2",    L"ServerConfigDR3",
                                     L"ServerConfigDR4",     L"ServerConfigTest",   L"ServerConfigTestDR2",
                                     L"ServerConfigTestDR3", L"ServerConfigTestDR4"};

std::wstring Address(const std::wstring& tag, int service) {
    return L"https://" + tag + L"/" + kKeys[service];
}

// A region object holding every service, addresses tagged with `tag`.
std::string FullRegion(const std::wstring& tag) {
    std::string json = "{";
    for (int i = 0; i < kServiceCount; ++i)
        json += (i ? ",\"" : "\"") + grs::WideToUtf8(kKeys[i]) + "\":\"" + grs::WideToUtf8(Address(tag, i)) + "\"";
    return json + "}";
}

size_t ErrorLineCount() {
    size_t count = 0;
    for (const auto& line : ClientStandIn::LogLines())
        if (line.severity == 5) ++count;
    return count;
}

class ServerConfigFiles : public ::testing::Test {
protected:
    void SetUp() override {
        ServerConfigHelper helper;  // fills the module directory
        grs::ServerAddressPath().clear();
        RemoveAll();
        ClientStandIn::ClearLogLines();
    }
    void TearDown() override { RemoveAll(); }

    static std::wstring PathOf(const std::wstring& name) { return grs::ModuleDirectory() + name; }
    static void Write(const std::wstring& name, const std::string& bytes) {
        ASSERT_TRUE(grs::test::WriteFileBytes(PathOf(name), bytes)) << grs::WideToUtf8(name);
    }
    static void RemoveAll() {
        for (const wchar_t* name : kFileNames) grs::test::RemoveTree(PathOf(name));
    }
    static void SetCountry(const std::wstring& code, const std::unordered_set<std::wstring>& asia = {L"SG"},
                           const std::unordered_set<std::wstring>& europe = {L"DE"}) {
        ClientStandIn::SetText(ClientStandIn::Text::CountryCode, code);
        ClientStandIn::SetCountrySets(asia, europe);
    }

    grs::test::StandInSandbox sandbox;
};

TEST_F(ServerConfigFiles, CountryChoosesFileAndRegion) {
    // Every file holds every region, so the answer names both choices.
    for (const wchar_t* name : kFileNames) {
        std::string json = "{";
        for (const char* region : {"cn", "dr2", "dr3", "dr4"})
            json += (json.size() > 1 ? ",\"" : "\"") + std::string(region) + "\":{\"zrv\":\"" + grs::WideToUtf8(name) + "/" +
                    region + "\"}";
        Write(name, json + "}");
    }
    const struct {
        const wchar_t* country;
        std::unordered_set<std::wstring> asia, europe;
        bool isTest;
        const wchar_t* expected;
    } cases[] = {
        {L"CN", {L"SG"}, {L"DE"}, false, L"ServerConfig/cn"},
        {L"CN", {L"SG"}, {L"DE"}, true, L"ServerConfigTest/cn"},
        {L"", {L"SG"}, {L"DE"}, false, L"ServerConfig/cn"},
        {L"SG", {L"SG"}, {L"DE"}, false, L"ServerConfigDR2/dr2"},
        {L"SG", {L"SG"}, {L"DE"}, true, L"ServerConfigTestDR2/dr2"},
        {L"DE", {L"SG"}, {L"DE"}, false, L"ServerConfigDR3/dr3"},
        {L"DE", {L"SG"}, {L"DE"}, true, L"ServerConfigTestDR3/dr3"},
        {L"RU", {L"SG"}, {L"DE"}, false, L"ServerConfigDR4/dr4"},
        {L"RU", {L"SG"}, {L"DE"}, true, L"ServerConfigTestDR4/dr4"},
        {L"ru", {L"SG"}, {L"DE"}, false, L"ServerConfig/cn"},
        {L"XX", {L"XX"}, {L"XX"}, false, L"ServerConfigDR2/dr2"},
        {L"RU", {L"SG"}, {L"RU"}, true, L"ServerConfigTestDR3/dr3"},
    };
    for (const auto& c : cases) {
        SetCountry(c.country, c.asia, c.europe);
        ServerConfigHelper helper;
        const std::string label = grs::WideToUtf8(c.country) + (c.isTest ? " test" : "");
        EXPECT_TRUE(helper.isFileExist(c.isTest)) << label;
        EXPECT_EQ(helper.GetServerAddress(SERVICE_ZRV, c.isTest), c.expected) << label;
        EXPECT_EQ(ClientStandIn::GetAddress(L"ZRVUrl"), c.expected) << label;
    }
}

TEST_F(ServerConfigFiles, MissingFileIsReportedWithItsPath) {
    Write(L"ServerConfig", "{\"cn\":{\"zrv\":\"a\"}}");
    for (bool isTest : {true, false}) {
        SetCountry(isTest ? L"CN" : L"SG");
        const std::wstring path = PathOf(isTest ? L"ServerConfigTest" : L"ServerConfigDR2");
        ServerConfigHelper helper;
        EXPECT_FALSE(helper.isFileExist(isTest));
        EXPECT_EQ(grs::ServerAddressPath(), path);
        EXPECT_TRUE(HasLogLine("ServerConfigHelper::isFileExist", 5,
                               L"Load serverconfig to init url fail, serverAddresPath: " + path, 122))
            << grs::WideToUtf8(path);
    }
    EXPECT_TRUE(ClientStandIn::SetterCalls().empty());
}

TEST_F(ServerConfigFiles, FullFileAnswersEveryServiceAndFillsTheStore) {
    SetCountry(L"CN");
    Write(L"ServerConfig", "{\"dr2\":" + FullRegion(L"asia") + ",\"cn\":" + FullRegion(L"cn") + "}");
    ServerConfigHelper helper;
    ASSERT_TRUE(helper.isFileExist(false));
    EXPECT_TRUE(HasLogLine("ServerConfigHelper::isFileExist", 2, L"Load serverconfig to init url", 119));
    EXPECT_EQ(ErrorLineCount(), 0u);

    for (int i = 0; i < kServiceCount; ++i)
        EXPECT_EQ(helper.GetServerAddress(static_cast<ServiceAddressEnum>(i), false), Address(L"cn", i)) << i;
    EXPECT_EQ(helper.GetServerAddress(static_cast<ServiceAddressEnum>(46), false), L"");
    EXPECT_EQ(helper.GetServerAddress(static_cast<ServiceAddressEnum>(63), true), L"");

    const struct {
        const wchar_t* setter;
        int service;
    } steps[] = {
        // clang-format off
        {L"AgreementUrl", 15}, {L"ASBaseUrl", 6}, {L"BasicUrl", 8}, {L"BusinessUrl", 11}, {L"CASBaseUrl", 5},
        {L"CBSUrl", 20}, {L"CloudPhotoUrl", 10}, {L"CloudPhotoV2Url", 31}, {L"ConfigBasicUrl", 22},
        {L"ConsumerBusinessUrl", 29}, {L"ConsumerUrl", 19}, {L"FeedBackAnnexUrl", 12}, {L"FeedBackLogUrl", 14},
        {L"FeedBackWithAnnexUrl", 13}, {L"FamilyShareUrl", 28}, {L"GOpenUserUrl", 17}, {L"ZRVBakUrl", 1},
        {L"ZRVUrl", 0}, {L"ZRVBakUrl1", 2}, {L"ZRVBakRuUrl", 3}, {L"ZRVBakEuUrl", 4}, {L"GWUrl", 16},
        {L"HelpAndServiceUrl", 33}, {L"UBAUrl", 34}, {L"OpenSource", 35}, {L"QirentClubUrl", 18}, {L"NspUrl", 9},
        {L"OperqrtServerIdUrl", 23}, {L"PIMDSUrl", 21}, {L"PortalServerUrl", 7}, {L"PortalUrl", 7},
        {L"SyncServerUrl", 30}, {L"TestZavkooperqrtUrl", 26}, {L"UserInformationserviceUrl", 32}, {L"TrsUrl", 24},
        {L"PushUrl", 25}, {L"UBAUrl", 34}, {L"ContentUrl", 36}, {L"CbsV3Url", 37}, {L"ExtensionUrl", 38},
        {L"CloudSyncDriveUrl", 39}, {L"QirentCcpcUrl", 40}, {L"ScopeUrl", 41}, {L"NetPing", 27},
        {L"DataExtractUrl", 42}, {L"CloudServiceAgreementUrl", 43}, {L"DmpUploadUrl", 44}, {L"LogPingUrl", 45},
        // clang-format on
    };
    const auto calls = ClientStandIn::SetterCalls();
    ASSERT_EQ(calls.size(), sizeof steps / sizeof steps[0]);
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].name, steps[i].setter) << "step " << i + 1;
        EXPECT_EQ(calls[i].value, Address(L"cn", steps[i].service)) << "step " << i + 1;
    }
    EXPECT_EQ(ClientStandIn::GetAddress(L"PortalUrl"), Address(L"cn", SERVICE_PORTAL));
}

TEST_F(ServerConfigFiles, LookupsBeforeAnyChoiceAreEmptyAndLogged) {
    ServerConfigHelper helper;
    EXPECT_EQ(helper.GetServerAddress(SERVICE_PORTAL, false), L"");
    EXPECT_TRUE(HasLogLine("ServerConfigHelper::GetServerAddress", 5,
                           L"[ServerConfigHelper::GetServerAddress] servers is empty", 167));
    // The store filled without a file: empty addresses and a line per lookup.
    ClientStandIn::ClearLogLines();
    helper.InitLocalServiceUrl();
    const auto calls = ClientStandIn::SetterCalls();
    ASSERT_EQ(calls.size(), 48u);
    for (const auto& call : calls) EXPECT_EQ(call.value, L"") << grs::WideToUtf8(call.name);
    size_t empty = 0;
    for (const auto& line : ClientStandIn::LogLines())
        if (line.severity == 5 && line.message == L"[ServerConfigHelper::GetServerAddress] servers is empty") ++empty;
    EXPECT_EQ(empty, calls.size());  // each lookup tried to load the file again
}

TEST_F(ServerConfigFiles, SparseFileThenFailedReloads) {
    SetCountry(L"CN");
    Write(L"ServerConfig", "{\"cn\":{\"zrv\":\"first\"}}");
    ServerConfigHelper helper;
    ASSERT_TRUE(helper.isFileExist(false));
    // Services the file does not name are stored empty, not skipped.
    const auto calls = ClientStandIn::SetterCalls();
    ASSERT_EQ(calls.size(), 48u);
    for (const auto& call : calls) EXPECT_EQ(call.value, call.name == L"ZRVUrl" ? L"first" : L"") << grs::WideToUtf8(call.name);
    for (const std::string& bytes : {std::string("{\"cn\":"), std::string(), std::string("{\"dr2\":{}}")}) {
        Write(L"ServerConfig", bytes);
        helper.Load(L"CN", false);
        EXPECT_EQ(helper.GetServerAddress(SERVICE_ZRV, false), L"first") << bytes;
    }
    // Only the entry of the helper's own country is taken.
    Write(L"ServerConfig", "{\"cn\":{\"zrv\":\"second\"}}");
    helper.Load(L"SG", false);
    EXPECT_EQ(helper.GetServerAddress(SERVICE_ZRV, false), L"first");
    helper.Load(L"CN", false);
    EXPECT_EQ(helper.GetServerAddress(SERVICE_ZRV, false), L"second");
}

// Hostile files, and files the client has always accepted: bytes that are
// not UTF-8 (a file once saved in the ANSI code page) and NUL padding after
// the JSON.
TEST_F(ServerConfigFiles, HostileFilesFailSafely) {
    constexpr size_t kMiB = 1048576;
    const std::string small = "{\"cn\":{\"zrv\":\"a\"}}";
    wchar_t converted[8] = {};
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, "\xE0\x80\x80\xED\xA0\x80", 6, converted, 7);
    const std::wstring platformOverlong(converted, static_cast<size_t>(length > 0 ? length : 0));
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::wstring parseError = L"[ServerConfigHelper::loadServersMap] Parse ServerConfig Error";
    const std::wstring notString = L"[ServerConfigHelper::Load] Server address value is not a string";
    const struct {
        const char* label;
        std::string bytes;
        const wchar_t* zrv;  // null: nothing loads
        int logLine;         // 0: no error line expected
        std::wstring log;
    } cases[] = {
        {"exactly 1 MiB", small + std::string(kMiB - small.size(), ' '), L"a", 0, {}},
        {"1 MiB and a byte", small + std::string(kMiB + 1 - small.size(), ' '), nullptr, 0, {}},
        {"zero bytes", "", nullptr, 0, {}},
        {"syntax error", "{\"cn\":{\"zrv\":\"a\"}", nullptr, 258, parseError},
        {"unclosed deep nesting", std::string(100000, '['), nullptr, 258, parseError},
        {"deep value in the region", "{\"dr3\":" + deep + ",\"cn\":{\"zrv\":\"a\",\"x\":" + deep + "}}", nullptr, 156,
         notString},
        {"deep nesting beside", "{\"dr3\":" + deep + ",\"cn\":{\"zrv\":\"a\"}}", L"a", 0, {}},
        {"invalid UTF-8", "{\"cn\":{\"zrv\":\"\xC3\x28\"}}", L"\xFFFD(", 0, {}},
        {"NUL after the root", small + std::string(1, '\0') + "x", L"a", 0, {}},
        {"trailing text", small + "x", nullptr, 258, parseError},
        {"root is an array", "[" + small + "]", nullptr, 0, {}},
        {"region is a string", "{\"cn\":\"a\"}", nullptr, 0, {}},
        {"number value", "{\"cn\":{\"zrv\":\"a\",\"gw\":5}}", nullptr, 156, notString},
        {"null value", "{\"cn\":{\"zrv\":null}}", nullptr, 156, notString},
        {"number in another region", "{\"dr2\":{\"zrv\":1},\"cn\":{\"zrv\":\"a\"}}", L"a", 0, {}},
        {"duplicate key", "{\"cn\":{\"zrv\":\"a\",\"zrv\":\"b\"}}", L"b", 0, {}},
        {"duplicate region", "{\"cn\":{\"zrv\":\"a\"},\"cn\":{\"zrv\":\"b\"}}", L"b", 0, {}},
        {"later region not an object", "{\"cn\":{\"zrv\":\"a\"},\"cn\":[]}", nullptr, 0, {}},
        {"later region without the key", "{\"cn\":{\"zrv\":\"a\"},\"cn\":{\"gw\":\"g\"}}", L"", 0, {}},
        {"another region after it", "{\"cn\":{\"zrv\":\"a\"},\"dr2\":{\"zrv\":\"b\",\"gw\":1}}", L"a", 0, {}},
        {"escapes and non-ASCII", "{\"cn\":{\"zrv\":\"\\u00e9\xE4\xB8\xAD\\/\"}}", L"\x00e9\x4e2d/", 0, {}},
        {"ANSI letter", "{\"cn\":{\"zrv\":\"caf\xE9\"}}", L"caf\xFFFD", 0, {}},
        {"ANSI letter in another key", "{\"cn\":{\"z\xE9\":\"x\",\"zrv\":\"a\"}}", L"a", 0, {}},
        {"ANSI in another region", "{\"dr2\":{\"\xFF\":1},\"cn\":{\"zrv\":\"a\"}}", L"a", 0, {}},
        {"cut sequence", "{\"cn\":{\"zrv\":\"\xE4\xB8\"}}", L"\xFFFD", 0, {}},
        {"cut four-byte sequence", "{\"cn\":{\"zrv\":\"\xF0\x9F\x98x\"}}", L"\xFFFDx", 0, {}},
        {"lone continuation bytes", "{\"cn\":{\"zrv\":\"\x80\xBF\"}}", L"\xFFFD\xFFFD", 0, {}},
        {"overlong slash", "{\"cn\":{\"zrv\":\"\xC0\xAF\"}}", L"\xFFFD\xFFFD", 0, {}},
        {"bytes never in UTF-8", "{\"cn\":{\"zrv\":\"\xFE\xFF\xF8\"}}", L"\xFFFD\xFFFD\xFFFD", 0, {}},
        // Windows gives one replacement per byte here, Wine one per sequence:
        // whatever the platform's converter gives is what is stored.
        {"overlong and surrogate", "{\"cn\":{\"zrv\":\"\xE0\x80\x80\xED\xA0\x80\"}}", platformOverlong.c_str(), 0, {}},
        {"valid beside invalid", "{\"cn\":{\"zrv\":\"\xE4\xB8\xAD\xE4\"}}", L"\x4E2D\xFFFD", 0, {}},
        {"NUL padding", small + std::string(4096, '\0'), L"a", 0, {}},
        {"NUL then garbage", small + std::string(1, '\0') + "{[\"", L"a", 0, {}},
        {"NUL inside a string", std::string("{\"cn\":{\"zrv\":\"a\0b\"}}", 20), nullptr, 258, parseError},
        {"NUL first", std::string(1, '\0') + small, nullptr, 258, parseError},
    };
    SetCountry(L"CN");
    for (const auto& c : cases) {
        Write(L"ServerConfig", c.bytes);
        ClientStandIn::ClearLogLines();
        ServerConfigHelper helper;
        EXPECT_EQ(helper.isFileExist(false), c.zrv != nullptr) << c.label;
        if (c.logLine == 0) {
            EXPECT_EQ(ErrorLineCount(), 0u) << c.label;
        } else {
            // A syntax error is followed by the line that says where it is.
            EXPECT_EQ(ErrorLineCount(), c.logLine == 258 ? 2u : 1u) << c.label;
            EXPECT_TRUE(HasLogLine(c.logLine == 258 ? "ServerConfigHelper::loadServersMap" : "ServerConfigHelper::Load",
                                   5, c.log, c.logLine))
                << c.label;
        }
        if (!c.zrv) continue;
        EXPECT_EQ(helper.GetServerAddress(SERVICE_ZRV, false), c.zrv) << c.label;
        EXPECT_EQ(ClientStandIn::GetAddress(L"ZRVUrl"), c.zrv) << c.label;
    }
}

TEST_F(ServerConfigFiles, SyntaxErrorsAreLocated) {
    const struct {
        const char* label;
        std::string text;
        size_t offset, line, column;
        const char* message;
    } cases[] = {
        {"empty", "", 0, 1, 1, "The document is empty."},
        {"only NULs", std::string(3, '\0'), 0, 1, 1, "The document is empty."},
        {"trailing comma", "{\"cn\":{\"zrv\":\"a\",}}", 17, 1, 18, "Missing a name for object member."},
        {"comma missing at a line end", "{\n  \"cn\": {\n    \"zrv\": \"a\"\n    \"gw\": \"b\"\n}}", 31, 4, 5,
         "Missing a comma or '}' after an object member."},
        {"lines end in CR LF", "{\r\n\"cn\":\r\nx}", 10, 3, 1, "Invalid value."},
        {"characters, not bytes", "{\"\xE4\xB8\xAD\xC3\xA9\":x}", 9, 1, 7, "Invalid value."},
        {"cut short", "{\"cn\":{", 7, 1, 8, "Missing a name for object member."},
        {"second root", "{}{}", 2, 1, 3, "The document root must not be followed by other values."},
        {"escape", "{\"cn\":\"\\x\"}", 7, 1, 8, "Invalid escape character in string."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const grs::RegionScan scan = grs::ScanRegion(c.text, "cn");
        ASSERT_TRUE(scan.syntaxError);
        EXPECT_EQ(scan.errorOffset, c.offset);
        const grs::ParseErrorPlace place = grs::DescribeParseError(c.text, scan.errorOffset, scan.errorCode);
        EXPECT_EQ(place.line, c.line);
        EXPECT_EQ(place.column, c.column);
        EXPECT_EQ(place.message, c.message);
    }
    EXPECT_EQ(grs::DescribeParseError("ab", 99, 1000).column, 3u);  // past the end, unknown code
    EXPECT_EQ(grs::DescribeParseError("ab", 99, 1000).message, "Unknown error.");

    // The required line stays as it is; the next one says where.
    SetCountry(L"CN");
    Write(L"ServerConfig", cases[3].text);
    ServerConfigHelper helper;
    EXPECT_FALSE(helper.isFileExist(false));
    const auto lines = grs::test::LogLinesOf("ServerConfigHelper::loadServersMap");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message, L"[ServerConfigHelper::loadServersMap] Parse ServerConfig Error");
    EXPECT_EQ(lines[1].message,
              L"[ServerConfigHelper::loadServersMap] ServerConfig broken at offset 31 (line 4, column 5): "
              L"Missing a comma or '}' after an object member.");
    EXPECT_EQ(lines[1].severity, 5);
    EXPECT_EQ(lines[1].line, 258);
}

TEST_F(ServerConfigFiles, DirectoryInPlaceOfTheFileLoadsNothing) {
    SetCountry(L"CN");
    ASSERT_TRUE(grs::test::CreateFolderTree(PathOf(L"ServerConfig")));
    ServerConfigHelper helper;
    EXPECT_FALSE(helper.isFileExist(false));
    EXPECT_EQ(ErrorLineCount(), 0u);
}

}  // namespace
