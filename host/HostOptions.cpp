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
           "usage: startup-host --inspect APPDATA_DIR [options]\n"
           "  Reads a user's start-up files and reports what is wrong; changes nothing unless asked to repair.\n"
           "  --exe-dir DIR       the client's install folder (server address files; default: the\n"
           "                      folder of the executable the Run value names)\n"
           "  --country XX        the user's country: server address file and route freshness (default CN)\n"
           "  --user ID           the signed-in user: checks the thumbnail cache folder\n"
           "  --route-cache FILE  the cached route record's JSON text (default: the stand-in's\n"
           "                      APPDATA_DIR\\ClientStandIn\\content-5.txt)\n"
           "  --hkcu KEY          read the Run value under HKCU\\KEY instead of HKCU (the demo's registry:\n"
           "                      Software\\GlobalRootServiceDemo\\HKCU)\n"
           "  --json              the findings as JSON\n"
           "  --repair OUT_DIR    copy the profile's files to OUT_DIR and apply every safe fix there; the input\n"
           "                      is not touched\n"
           "  --repair-in-place   apply every safe fix to the profile itself, the Run value included, after\n"
           "                      copying each file it changes into a backup folder beside the profile\n";
}

bool ParseOptions(int argc, wchar_t** argv, Options& options, std::string& error) {
    bool demoOption = false;
    bool inspectOption = false;
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
            demoOption = true;
        } else if (arg == L"--primary" && hasValue) {
            options.primaryMode = grs::WideToUtf8(argv[++i]);
            demoOption = true;
        } else if (arg == L"--max-age" && hasValue) {
            options.maxAgeSeconds = _wtoi(argv[++i]);
            demoOption = true;
        } else if (arg == L"--offline") {
            options.offline = true;
            demoOption = true;
        } else if (arg == L"--from-cache") {
            options.fromCacheOnly = true;
            demoOption = true;
        } else if (arg == L"--json") {
            options.json = true;
        } else if (arg == L"--keep") {
            options.keep = true;
            demoOption = true;
        } else if (arg == L"--inspect" && hasValue) {
            options.inspect = true;
            options.inspectAppData = argv[++i];
        } else if (arg == L"--exe-dir" && hasValue) {
            options.exeDir = argv[++i];
            inspectOption = true;
        } else if (arg == L"--route-cache" && hasValue) {
            options.routeCache = argv[++i];
            inspectOption = true;
        } else if (arg == L"--repair" && hasValue) {
            options.repairTo = argv[++i];
            inspectOption = true;
        } else if (arg == L"--repair-in-place") {
            options.repairInPlace = true;
            inspectOption = true;
        } else if (arg == L"--hkcu" && hasValue) {
            options.runKeyRoot = argv[++i];
            inspectOption = true;
        } else if (arg == L"--help" || arg == L"-h" || arg == L"/?") {
            options.help = true;
        } else {
            error = "unknown or incomplete option: " + grs::WideToUtf8(arg);
            return false;
        }
    }
    if (options.inspect && demoOption) {
        error =
            "--inspect only reads a profile: --profile, --keep, --offline, --from-cache, --primary and "
            "--max-age belong to the demo";
        return false;
    }
    if (!options.inspect && inspectOption) {
        error = "--exe-dir, --route-cache, --hkcu, --repair and --repair-in-place go with --inspect APPDATA_DIR";
        return false;
    }
    if (!options.repairTo.empty() && options.repairInPlace) {
        error = "--repair OUT_DIR and --repair-in-place exclude each other";
        return false;
    }
    return true;
}

}  // namespace host
