#pragma once

// Configuration and inspection of the stand-in implementation of the client's
// libraries. The host and the tests use it to set what the real client would
// provide (paths, user, country, feature switches) and to look at what the
// library did (setter calls, log lines, requests). Not part of the client's
// interfaces: a real client's libraries have no such API.

#include <string>
#include <unordered_set>
#include <vector>

#include "globalrootservice/collaborators/ClientLibsExport.h"

namespace ClientStandIn {

enum class Text {
    AppDataLocalPath,    // GlobalParamWrapper::GetAppDataLocalPath
    UserProfilePath,     // GetUserProfilePath
    UserDownloadsPath,   // GetUserDownloadsPath
    CountryCode,         // GetCountryCode (configured country)
    PackageName,         // GetPackageName
    LocalLanguage,       // GetLocalLanguage
    PCModel,             // GetPCModel
    SystemUUid,          // GetSystemUUid
    CurrentUserID,       // AccountSession::GetCurrentUserID
    CurrentCountryCode,  // AccountSession::GetCurrentCountryCode
    UiLanguage,          // CResourceManager::GetLanguage
};

struct LogLine {
    int module = 0;
    int severity = 0;
    int line = 0;
    std::string function;
    std::wstring message;  // narrow messages are stored widened from UTF-8
    bool wide = true;      // which Output overload was called
    bool flag = true;
};

struct SetterCall {
    std::wstring name;  // setter name without "Set", e.g. L"PortalUrl"
    std::wstring value;
};

// Everything back to the defaults: texts, country sets, addresses, records,
// switches, recorded calls and log lines. Files on disk are left alone.
CLIENTLIBS_API void Reset();

CLIENTLIBS_API void SetText(Text which, const std::wstring& value);
CLIENTLIBS_API std::wstring GetText(Text which);
CLIENTLIBS_API void SetUserGradeCode(const std::string& code);
CLIENTLIBS_API void SetCountrySets(const std::unordered_set<std::wstring>& asia,
                                   const std::unordered_set<std::wstring>& europe);
CLIENTLIBS_API void SetFunctionOpen(int function, bool open);

// Parameter store inspection. Names are the setters' without "Set".
CLIENTLIBS_API std::wstring GetAddress(const std::wstring& name);
CLIENTLIBS_API std::vector<SetterCall> SetterCalls();
CLIENTLIBS_API void ClearSetterCalls();
CLIENTLIBS_API std::wstring GetConfigCountryCode();
CLIENTLIBS_API unsigned long long GetErrorLimitingTime();
CLIENTLIBS_API std::vector<bool> CacheCopyResCalls();
CLIENTLIBS_API std::vector<bool> ModPathResCalls();
CLIENTLIBS_API std::vector<std::wstring> SavedCacheDirs();  // pairs flattened: hash, folder, ...

// Logger: every line also goes to the log file (default: app-data folder,
// "ClientStandIn\client.log").
CLIENTLIBS_API std::vector<LogLine> LogLines();
CLIENTLIBS_API void ClearLogLines();
CLIENTLIBS_API void SetLogFile(const std::wstring& path);
// Lines of at least this severity are also printed to standard error as they
// come (0: none). The host uses it to show progress.
CLIENTLIBS_API void SetLogEcho(int minimumSeverity);

// Configuration content lives in "<app-data>\ClientStandIn\content-<kind>.txt".
CLIENTLIBS_API std::wstring ContentFilePath(int kind);

// Property database: a SQLite file, by default "<app-data>\ClientStandIn\properties.db".
CLIENTLIBS_API void SetDatabasePath(const std::wstring& path);
// Closes the connection; the next call opens the file again (a restart).
CLIENTLIBS_API void CloseDatabase();
// Seconds spent inside the property database calls since the last reset: the
// benchmarks tell a step's own time from the database's with it.
CLIENTLIBS_API double DatabaseSeconds();
CLIENTLIBS_API void ResetDatabaseSeconds();

// HTTP time-outs in milliseconds for both the route request and the HTTP classes.
CLIENTLIBS_API void SetHttpTimeouts(int resolveMs, int connectMs, int sendMs, int receiveMs);
// Bodies larger than this are refused (empty result). Default 16 MiB.
CLIENTLIBS_API void SetHttpMaxBodyBytes(size_t bytes);
// URLs requested through AccountSession::GetZrvRemoteInfo, in order.
CLIENTLIBS_API std::vector<std::wstring> RouteRequests();
CLIENTLIBS_API void ClearRouteRequests();

// Localised texts of CResourceManager::GetText, by language and id.
CLIENTLIBS_API void SetResourceText(const std::wstring& language, const std::wstring& id, const std::wstring& text);

}  // namespace ClientStandIn
