#pragma once

#include <string>

namespace host {

struct Options {
    std::wstring country = L"CN";
    std::wstring user = L"demo-user";
    bool userGiven = false;
    std::wstring profile;  // empty: "<host folder>\demo"
    std::string primaryMode = "ok";
    int maxAgeSeconds = 86400;   // the routing servers' Cache-Control max-age
    bool offline = false;        // every routing server down
    bool fromCacheOnly = false;  // resolve from the route cache only
    bool json = false;
    bool keep = false;  // reuse the profile of the last run
    bool help = false;

    // --inspect: judge a user's files instead of playing a start.
    bool inspect = false;
    std::wstring inspectAppData;  // the user's app-data folder
    std::wstring exeDir;          // the folder of the client executable
    std::wstring routeCache;      // the cached route record's JSON text
    std::wstring runKeyRoot;      // read the Run value under HKCU\<this> (empty: HKCU itself)
    std::wstring repairTo;        // --repair OUT_DIR: repair a copy
    bool repairInPlace = false;   // --repair-in-place: repair the profile, with a backup
};

// False (with `error` set) when the command line is not understood.
bool ParseOptions(int argc, wchar_t** argv, Options& options, std::string& error);
const char* UsageText();

}  // namespace host
