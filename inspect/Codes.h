#pragma once

// Every kind of finding, with the stable code scripts and support notes rely
// on (never renamed, never reused: a retired code stays reserved), the
// library rule it comes from, a short text for a grouped line, and its fix.
// A fix is chosen by the finding's code, never by its message.

#include <string>
#include <vector>

namespace inspect {

enum class Code {
    AppDataMissing,
    ProfilePathNotAnsi,
    ProfilePathLong,
    FindingsCapped,
    // A settings file.
    FileMissing,
    FileIsFolder,
    FileTooLarge,
    FileUnreadable,
    FileFound,
    FileAttributes,
    FileEncoding,
    FileEmpty,
    LineOutsideSection,
    KeyNotSaved,
    CommentDropped,
    StrayLine,
    SectionRepeated,
    KeyRepeated,
    KeyRepeatedSame,
    StrayTemporary,
    SiblingFile,
    SectionMissing,
    SectionCase,
    SectionMisspelt,
    SectionUnknown,
    KeyCommentLike,
    KeyCase,
    KeyMisspelt,
    KeyUnknown,
    KeyMissing,
    KeyEmpty,
    KeyValue,
    FlagReading,
    ValueTooLong,
    DeviceId,
    ThumbnailFolder,
    CacheFolder,
    // Start with Windows.
    RunNotRegistered,
    RunValue,
    RunNotReadable,
    RunSetting,
    RunNoExecutable,
    RunUnquoted,
    RunArguments,
    RunExecutableMissing,
    RunOtherFolder,
    // The server address files.
    ExeDirNotGiven,
    ExeDirMissing,
    ServerFiles,
    Region,
    RegionCountryCase,
    RegionSetsNotGiven,
    ServerFileMissing,
    ServerFileUnusable,
    ServerFileNotJson,
    ServerRegionMissing,
    ServerRegionNotString,
    ServerFileLoaded,
    ServiceKeysLacking,
    ServiceKeysEmpty,
    ServiceKeyMisspelt,
    ServiceKeysUnknown,
    // The route cache.
    RouteCacheNotGiven,
    RouteCacheMissing,
    RouteCacheUnreadable,
    RouteCacheEmpty,
    RouteCacheJson,
    RouteCountry,
    RouteTime,
    RoutePeriod,
    RouteFresh,
    RouteOtherCountry,
    RouteNeverFresh,
    RouteSuccess,
    RouteServices,
    RouteApplication,
    RoutePackageNotGiven,
};

struct CodeInfo {
    Code code;
    const char* id;     // the stable code, as reports print it
    const char* rule;   // the library rule the finding comes from
    const char* title;  // what a grouped line says
    const char* fix;    // the fix actions that answer this code (blank separated), or null
    const char* noFix;  // why a warning or problem of this code has no fix (null when it has one)
};

// Every code, in the order of the enumeration.
const std::vector<CodeInfo>& Codes();
const CodeInfo& Describe(Code code);
// Whether `action` is one of the fixes of `info`.
bool HasFix(const CodeInfo& info, const std::string& action);
// Null for an unknown id.
const CodeInfo* FindCode(const std::string& id);

}  // namespace inspect
