#pragma once

// The support program's command line. Scripts and support notes rely on it:
//   grs-support collect --appdata DIR [--exe-dir DIR] [--route-cache FILE] OUT.zip
//   grs-support inspect (BUNDLE.zip | --appdata DIR [--exe-dir DIR] [--route-cache FILE] [--country XX]
//                        [--user ID]) [--json]
//   grs-support plan (BUNDLE.zip | --appdata DIR ...) OUT.json
//   grs-support apply PLAN.json [--mapping FILE]
//   grs-support undo BACKUP_DIR
// Options may come in any order after the command.

#include <string>

#include "inspect/Inspect.h"

namespace supporttool {

enum class Command { Help, Inspect, Collect, Plan, Apply, Undo };

struct Options {
    Command command = Command::Help;
    inspect::Request request;
    std::wstring bundle;   // inspect: the bundle to inspect instead of a profile
    std::wstring out;      // collect: the zip file; plan: the plan; apply: the plan; undo: the backup folder
    std::wstring mapping;  // apply: the mapping of a redacted bundle's tokens
    bool redact = true;    // collect: --no-redact turns it off
};

// False (with `error` set) when the command line is not understood.
bool ParseOptions(int argc, const wchar_t* const* argv, Options& options, std::string& error);
const char* UsageText();

}  // namespace supporttool
