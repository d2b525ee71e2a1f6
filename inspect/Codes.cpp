#include "inspect/Codes.h"

#include <stdexcept>

namespace inspect {

namespace {

// The library rules a finding can come from.
constexpr char kProfile[] = "profile folder";
constexpr char kProfileWrite[] = "settings written through the profile functions";
constexpr char kReport[] = "report";
constexpr char kIniFile[] = "settings file read and save";
constexpr char kAtRest[] = "settings file at rest (hidden and system)";
constexpr char kSave[] = "durable save";
constexpr char kKeyTable[] = "settings key table";
constexpr char kKeyReading[] = "settings key reading";
constexpr char kRunValue[] = "start with Windows";
constexpr char kServerFile[] = "server address file";
constexpr char kRegion[] = "server region choice";
constexpr char kRouteRecord[] = "route record";
constexpr char kRouteFreshness[] = "route cache freshness";
constexpr char kRouteApply[] = "route application";

constexpr char kReported[] = "reported for support: no change is sure to keep what the user had";
constexpr char kExactHolds[] = "the exact key holds a value of its own: this one is reported, never deleted";
constexpr char kUnclear[] = "what the user meant is not clear from the text, or the value is the library's own default";
constexpr char kInstallation[] = "server address files are reported, never rewritten: they belong to the installation";
constexpr char kRunRule[] =
    "the Run value is rewritten only to the install folder's executable while \"IsAutoStartUp\" is \"1\" (give "
    "--exe-dir), and removed only while it is off";
constexpr char kNextStart[] = "left for the next start, which writes it";
constexpr char kRouteRule[] = "only a cache of another country, or one that cannot be read, is removed";

const std::vector<CodeInfo> kCodes = {
    {Code::AppDataMissing, "appdata-missing", kProfile, "no app-data folder at the path given", nullptr,
     "give the user's app-data folder"},
    {Code::ProfilePathNotAnsi, "profile-path-not-ansi", kProfileWrite,
     "the app-data path cannot be spelt in the ANSI code page", nullptr, kReported},
    {Code::ProfilePathLong, "profile-path-long", kProfileWrite,
     "the app-data path is too long for the profile functions", nullptr, kReported},
    {Code::FindingsCapped, "findings-capped", kReport, "more findings of one kind, counted", nullptr, kReported},
    {Code::FileMissing, "file-missing", kIniFile, "not found", nullptr, kNextStart},
    {Code::FileIsFolder, "file-is-folder", kIniFile, "a folder in the file's place", nullptr, kReported},
    {Code::FileTooLarge, "file-too-large", kIniFile, "too large to be read", nullptr, kReported},
    {Code::FileUnreadable, "file-unreadable", kIniFile, "found but not readable", nullptr, kReported},
    {Code::FileFound, "file-found", kIniFile, "found", nullptr, nullptr},
    {Code::FileAttributes, "file-attributes", kAtRest, "attributes", "set-attributes", nullptr},
    {Code::FileEncoding, "file-encoding", kIniFile, "encoding", nullptr, kReported},
    {Code::FileEmpty, "file-empty", kIniFile, "an empty file", nullptr, kNextStart},
    {Code::LineOutsideSection, "line-outside-section", kIniFile, "key lines before any section", "rebuild-file",
     nullptr},
    {Code::KeyNotSaved, "key-not-saved", kIniFile, "keys no save writes back", nullptr, kReported},
    {Code::CommentDropped, "comment-dropped", kIniFile, "comments a save drops", nullptr, nullptr},
    {Code::StrayLine, "stray-line", kIniFile, "lines that are neither sections nor keys", nullptr, kReported},
    {Code::SectionRepeated, "section-repeated", kIniFile, "section headers repeated", nullptr, kReported},
    {Code::KeyRepeated, "key-repeated", kIniFile, "keys set more than once to different values", nullptr, kReported},
    {Code::KeyRepeatedSame, "key-repeated-same", kIniFile, "keys set more than once to the same value", nullptr,
     nullptr},
    {Code::StrayTemporary, "stray-temporary", kSave, "stray temporary files of an unfinished save", "remove-file",
     nullptr},
    {Code::SiblingFile, "sibling-file", kIniFile, "files beside the settings file", nullptr, nullptr},
    {Code::SectionMissing, "section-missing", kIniFile, "the section the library reads is missing", "rebuild-file",
     nullptr},
    {Code::SectionCase, "section-case", kIniFile, "sections spelt in other letter case", nullptr, kReported},
    {Code::SectionMisspelt, "section-misspelt", kIniFile, "sections one edit from the right one", "rebuild-file",
     kReported},
    {Code::SectionUnknown, "section-unknown", kIniFile, "sections the library does not read", "rebuild-file", nullptr},
    {Code::KeyCommentLike, "key-comment-like", kIniFile, "key lines that look like comments", nullptr, nullptr},
    {Code::KeyCase, "key-case", kKeyTable, "keys spelt in other letter case", "rename-key", kExactHolds},
    {Code::KeyMisspelt, "key-misspelt", kKeyTable, "keys one edit from a known name", "rename-key", kExactHolds},
    {Code::KeyUnknown, "key-unknown", kKeyTable, "keys that are not known names", nullptr, nullptr},
    {Code::KeyMissing, "key-missing", kKeyReading, "keys missing", nullptr, kNextStart},
    {Code::KeyEmpty, "key-empty", kKeyReading, "keys empty", nullptr, kNextStart},
    {Code::KeyValue, "key-value", kKeyReading, "values as read", nullptr, kReported},
    {Code::FlagReading, "flag-reading", kKeyReading, "flags and how the library reads them", "set-value", kUnclear},
    {Code::ValueTooLong, "value-too-long", kKeyReading, "values longer than their field", nullptr, kReported},
    {Code::DeviceId, "device-id", kKeyReading, "device identity", nullptr, kReported},
    {Code::ThumbnailFolder, "thumbnail-folder", kKeyReading, "thumbnail folders", nullptr, kNextStart},
    {Code::CacheFolder, "cache-folder", kKeyReading, "the user's cache folder", nullptr, kNextStart},
    {Code::RunNotRegistered, "run-not-registered", kRunValue, "not registered", nullptr, kNextStart},
    {Code::RunValue, "run-value", kRunValue, "the Run value", nullptr, nullptr},
    {Code::RunNotReadable, "run-not-readable", kRunValue, "a Run value the library does not read",
     "set-run-value remove-run-value", kRunRule},
    {Code::RunSetting, "run-setting", kRunValue, "the Run value against the settings", "remove-run-value", kRunRule},
    {Code::RunNoExecutable, "run-no-executable", kRunValue, "a Run value naming no executable", nullptr, kRunRule},
    {Code::RunUnquoted, "run-unquoted", kRunValue, "a Run value not quoted", "set-run-value", kRunRule},
    {Code::RunArguments, "run-arguments", kRunValue, "a Run value with other arguments", "set-run-value", kRunRule},
    {Code::RunExecutableMissing, "run-executable-missing", kRunValue, "a Run value naming a missing executable",
     "set-run-value", kRunRule},
    {Code::RunOtherFolder, "run-other-folder", kRunValue, "a Run value naming another folder", "set-run-value",
     kRunRule},
    {Code::ExeDirNotGiven, "exe-dir-not-given", kServerFile, "no install folder given", nullptr, nullptr},
    {Code::ExeDirMissing, "exe-dir-missing", kServerFile, "no install folder at the path", nullptr, kInstallation},
    {Code::ServerFiles, "server-files", kServerFile, "server address files present", nullptr, nullptr},
    {Code::Region, "region", kRegion, "the region the country uses", nullptr, nullptr},
    {Code::RegionCountryCase, "region-country-case", kRegion, "a country code in lower case", nullptr, nullptr},
    {Code::RegionSetsNotGiven, "region-sets-not-given", kRegion, "the client's country sets not given", nullptr,
     nullptr},
    {Code::ServerFileMissing, "server-file-missing", kServerFile, "server address file missing", nullptr,
     kInstallation},
    {Code::ServerFileUnusable, "server-file-unusable", kServerFile, "server address file not usable", nullptr,
     kInstallation},
    {Code::ServerFileNotJson, "server-file-not-json", kServerFile, "server address file not JSON", nullptr,
     kInstallation},
    {Code::ServerRegionMissing, "server-region-missing", kServerFile, "the region's object missing", nullptr,
     kInstallation},
    {Code::ServerRegionNotString, "server-region-not-string", kServerFile, "the region holds a value not a string",
     nullptr, kInstallation},
    {Code::ServerFileLoaded, "server-file-loaded", kServerFile, "server address file loaded", nullptr, nullptr},
    {Code::ServiceKeysLacking, "service-keys-lacking", kServerFile, "service keys lacking", nullptr, kInstallation},
    {Code::ServiceKeysEmpty, "service-keys-empty", kServerFile, "service keys empty", nullptr, kInstallation},
    {Code::ServiceKeyMisspelt, "service-key-misspelt", kServerFile, "service keys nearly right", nullptr,
     kInstallation},
    {Code::ServiceKeysUnknown, "service-keys-unknown", kServerFile, "keys that are not service keys", nullptr, nullptr},
    {Code::RouteCacheNotGiven, "route-cache-not-given", kRouteRecord, "no route cache given", nullptr, nullptr},
    {Code::RouteCacheMissing, "route-cache-missing", kRouteRecord, "no route cache at the path", nullptr, kRouteRule},
    {Code::RouteCacheUnreadable, "route-cache-unreadable", kRouteRecord, "a route cache that cannot be read",
     "remove-file", nullptr},
    {Code::RouteCacheEmpty, "route-cache-empty", kRouteRecord, "an empty route cache", nullptr, nullptr},
    {Code::RouteCacheJson, "route-cache-json", kRouteRecord, "the route cache's JSON", nullptr, nullptr},
    {Code::RouteCountry, "route-country", kRouteRecord, "the record's country", nullptr, kRouteRule},
    {Code::RouteTime, "route-time", kRouteRecord, "the record's time", nullptr, kRouteRule},
    {Code::RoutePeriod, "route-period", kRouteRecord, "the record's period", nullptr, kRouteRule},
    {Code::RouteFresh, "route-fresh", kRouteFreshness, "freshness", nullptr, nullptr},
    {Code::RouteOtherCountry, "route-other-country", kRouteFreshness, "a route cache of another country", "remove-file",
     nullptr},
    {Code::RouteNeverFresh, "route-never-fresh", kRouteFreshness, "a route cache that is never fresh", nullptr,
     kRouteRule},
    {Code::RouteSuccess, "route-success", kRouteRecord, "the record's answer", nullptr, kRouteRule},
    {Code::RouteServices, "route-services", kRouteRecord, "the record's groups", nullptr, kRouteRule},
    {Code::RouteApplication, "route-application", kRouteApply, "what the record sets", nullptr, nullptr},
    {Code::RoutePackageNotGiven, "route-package-not-given", kRouteApply, "the client's package name not given", nullptr,
     nullptr},
};

}  // namespace

const std::vector<CodeInfo>& Codes() {
    return kCodes;
}

const CodeInfo& Describe(Code code) {
    const size_t index = static_cast<size_t>(code);
    if (index >= kCodes.size() || kCodes[index].code != code) throw std::logic_error("finding code out of its table");
    return kCodes[index];
}

bool HasFix(const CodeInfo& info, const std::string& action) {
    if (info.fix == nullptr || action.empty()) return false;
    const std::string actions = std::string(" ") + info.fix + " ";
    return actions.find(" " + action + " ") != std::string::npos;
}

const CodeInfo* FindCode(const std::string& id) {
    for (const CodeInfo& info : kCodes)
        if (id == info.id) return &info;
    return nullptr;
}

}  // namespace inspect
