#include "host/HostOptions.h"

#include <cwctype>

#include "core/TextUtil.h"

namespace host {

const char* UsageText() {
    return "usage: startup-host [options]\n"
           "  Plays the client at start-up over GlobalRootService.dll and reports what happened.\n"
           "  --country XX      the user's country (default CN)\n"
           "  --user ID         the signed-in user (default demo-user)\n"
           "  --profile DIR     keep app-data, profile and database in DIR (default: <host folder>\\demo)\n"
           "  --keep            reuse the profile of the last run: cached route, preserved settings\n"
           "  --from-cache      resolve routes from the route cache only\n"
           "  --offline         every routing server down: the passes, then the last-resort cache\n"
           "  --primary MODE    the primary routing server plays ok|dead|slow|fail|empty|garbage\n"
           "  --max-age N       the routing servers' Cache-Control max-age in seconds (default 86400)\n"
           "  --json            a machine-readable report instead of the text one\n"
           "\n"
           "To inspect or repair a user's profile, use grs-support (scripts/grs-support.sh --help).\n";
}

bool ParseOptions(int argc, wchar_t** argv, Options& options, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--country" && hasValue) {
            options.country = argv[++i];
        } else if (arg == L"--user" && hasValue) {
            options.user = argv[++i];
            options.userGiven = true;
        } else if (arg == L"--profile" && hasValue) {
            options.profile = argv[++i];
            options.keep = true;
        } else if (arg == L"--primary" && hasValue) {
            options.primaryMode = grs::WideToUtf8(argv[++i]);
        } else if (arg == L"--max-age" && hasValue) {
            options.maxAgeSeconds = _wtoi(argv[++i]);
        } else if (arg == L"--offline") {
            options.offline = true;
        } else if (arg == L"--from-cache") {
            options.fromCacheOnly = true;
        } else if (arg == L"--json") {
            options.json = true;
        } else if (arg == L"--keep") {
            options.keep = true;
        } else if (arg == L"--help" || arg == L"-h" || arg == L"/?") {
            options.help = true;
        } else {
            error = "unknown or incomplete option: " + grs::WideToUtf8(arg);
            return false;
        }
    }
    return true;
}

}  // namespace host
