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
};

// False (with `error` set) when the command line is not understood.
bool ParseOptions(int argc, wchar_t** argv, Options& options, std::string& error);
const char* UsageText();

}  // namespace host
