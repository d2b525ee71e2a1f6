#include "supporttool/SupportOptions.h"

#include <vector>

#include "core/TextUtil.h"

namespace supporttool {

namespace {

// "SG,JP" -> {"SG", "JP"}; blanks around a code are not part of it.
std::unordered_set<std::wstring> CountryList(const std::wstring& text) {
    std::unordered_set<std::wstring> codes;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(L',', start);
        if (end == std::wstring::npos) end = text.size();
        std::wstring code = text.substr(start, end - start);
        code.erase(0, code.find_first_not_of(L' '));
        code.erase(code.find_last_not_of(L' ') + 1);
        if (!code.empty()) codes.insert(code);
        start = end + 1;
    }
    return codes;
}

}  // namespace

const char* UsageText() {
    return "usage: grs-support collect --appdata DIR [--exe-dir DIR] [--route-cache FILE] [--user ID] OUT.zip\n"
           "  On the user's machine: gathers the start-up files, the Run value and what the machine is like\n"
           "  into one zip file, changing nothing. The user name, the machine name and the user id (--user)\n"
           "  are replaced by tokens; the mapping is written beside the zip file, never into it.\n"
           "  --no-redact         keep the names (in-house use only)\n"
           "\n"
           "usage: grs-support inspect (BUNDLE.zip | --appdata DIR [options]) [--json]\n"
           "  Reads a user's start-up files, or a bundle of them, and reports what is wrong; changes nothing\n"
           "  unless asked to repair. A bundle is judged against its own Run value and environment.\n"
           "  Exit status: 0 nothing needs action, 1 findings that need action, 2 could not check.\n"
           "\n"
           "usage: grs-support plan (BUNDLE.zip | --appdata DIR [options]) OUT.json\n"
           "  Writes every change a repair would make, and what it was made from; changes nothing.\n"
           "usage: grs-support apply PLAN.json [--mapping FILE]\n"
           "  Makes exactly the plan's changes to the profile it names (--mapping: the mapping collect wrote\n"
           "  beside a redacted bundle), after keeping the originals in a dated backup folder beside it;\n"
           "  refused when the profile changed since the plan. The profile is then inspected again.\n"
           "usage: grs-support undo BACKUP_DIR\n"
           "  Puts every file and the Run value back as they were before the apply that made BACKUP_DIR.\n"
           "  --appdata DIR       the user's app-data folder (\"Setting.ini\", \"SyncSetting.ini\")\n"
           "  --exe-dir DIR       the client's install folder (server address files; default: the\n"
           "                      folder of the executable the Run value names)\n"
           "  --route-cache FILE  the cached route record's JSON text (default: not inspected)\n"
           "  --country XX        the user's country: server address file and route freshness (default CN)\n"
           "  --user ID           the signed-in user: checks the thumbnail cache folder\n"
           "  --asia LIST         the client's Asian country set, comma separated (XX,YY)\n"
           "  --europe LIST       the client's European country set, comma separated\n"
           "  --package NAME      the client's package name: its route group is preferred\n"
           "  --hkcu KEY          read the Run value under HKCU\\KEY instead of HKCU\n"
           "  --json              the findings as JSON\n"
           "  --repair OUT_DIR    copy the profile's files to OUT_DIR and apply every safe fix there; the input\n"
           "                      is not touched\n"
           "  --repair-in-place   apply every safe fix to the profile itself, the Run value included, after\n"
           "                      copying each file it changes into a backup folder beside the profile\n";
}

bool ParseOptions(int argc, const wchar_t* const* argv, Options& options, std::string& error) {
    if (argc < 2) {
        error = "no command given";
        return false;
    }
    const std::wstring command = argv[1];
    if (command == L"--help" || command == L"-h" || command == L"help") {
        options.command = Command::Help;
        return true;
    }
    const struct {
        const wchar_t* name;
        Command command;
    } commands[] = {{L"inspect", Command::Inspect},
                    {L"collect", Command::Collect},
                    {L"plan", Command::Plan},
                    {L"apply", Command::Apply},
                    {L"undo", Command::Undo}};
    bool known = false;
    for (const auto& entry : commands) {
        if (command != entry.name) continue;
        options.command = entry.command;
        known = true;
    }
    if (!known) {
        error = "unknown command " + grs::WideToUtf8(command);
        return false;
    }
    const bool collect = options.command == Command::Collect;
    const bool judges = options.command == Command::Inspect || options.command == Command::Plan;
    const bool plain = options.command == Command::Apply || options.command == Command::Undo;
    inspect::Request& request = options.request;
    std::vector<std::wstring> positional;
    const size_t files = options.command == Command::Plan ? 2 : 1;
    for (int i = 2; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg.rfind(L"--", 0) != 0) {
            if (positional.size() == files) {
                error = "one file too many: " + grs::WideToUtf8(arg);
                return false;
            }
            positional.push_back(arg);
        } else if (arg == L"--mapping" && options.command == Command::Apply && hasValue) {
            options.mapping = argv[++i];
        } else if (plain) {
            error = "unknown option " + grs::WideToUtf8(arg);
            return false;
        } else if (arg == L"--json" && options.command == Command::Inspect) {
            request.json = true;
        } else if (arg == L"--repair-in-place" && options.command == Command::Inspect) {
            request.repairInPlace = true;
        } else if (arg == L"--no-redact" && collect) {
            options.redact = false;
        } else if (!hasValue) {
            error = "unknown option or missing value: " + grs::WideToUtf8(arg);
            return false;
        } else if (arg == L"--appdata") {
            request.appData = argv[++i];
        } else if (arg == L"--exe-dir") {
            request.exeDir = argv[++i];
        } else if (arg == L"--route-cache") {
            request.routeCache = argv[++i];
        } else if (arg == L"--user") {
            request.user = argv[++i];
        } else if (arg == L"--hkcu") {
            request.runKeyRoot = argv[++i];
        } else if (arg == L"--country" && judges) {
            request.country = argv[++i];
        } else if (arg == L"--asia" && judges) {
            request.asia = CountryList(argv[++i]);
        } else if (arg == L"--europe" && judges) {
            request.europe = CountryList(argv[++i]);
        } else if (arg == L"--package" && judges) {
            request.packageName = argv[++i];
        } else if (arg == L"--repair" && options.command == Command::Inspect) {
            request.repairTo = argv[++i];
        } else {
            error = "unknown option " + grs::WideToUtf8(arg);
            return false;
        }
    }
    if (plain) {
        if (positional.size() != 1) {
            error = options.command == Command::Apply ? "apply needs PLAN.json" : "undo needs BACKUP_DIR";
            return false;
        }
        options.out = positional[0];
        return true;
    }
    if (collect || options.command == Command::Plan) {
        if (positional.empty()) {
            error = collect ? "collect needs OUT.zip" : "plan needs OUT.json";
            return false;
        }
        options.out = positional.back();
        positional.pop_back();
    }
    if (collect) {
        if (request.appData.empty()) {
            error = "collect needs --appdata DIR";
            return false;
        }
        return true;
    }
    if (!positional.empty()) options.bundle = positional[0];
    if (options.bundle.empty() == request.appData.empty()) {
        error = "give either BUNDLE.zip or --appdata DIR";
        return false;
    }
    const bool repairing = !request.repairTo.empty() || request.repairInPlace;
    if (!options.bundle.empty() &&
        (repairing || !request.exeDir.empty() || !request.routeCache.empty() || !request.runKeyRoot.empty())) {
        error =
            "a bundle carries its own folders and Run value: give only --country, --user, --asia, --europe, "
            "--package and --json with it";
        return false;
    }
    if (!request.repairTo.empty() && request.repairInPlace) {
        error = "--repair OUT_DIR and --repair-in-place exclude each other";
        return false;
    }
    return true;
}

}  // namespace supporttool
