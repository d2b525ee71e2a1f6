#pragma once

// `collect`, run on the user's machine: reads the profile as `inspect` does
// (files opened for reading with every sharing mode, the Run key queried),
// adds what the machine is like, and writes one zip file. Nothing outside the
// zip and its mapping file is written, moved, created or re-attributed.

#include <string>

#include "inspect/Inspect.h"

namespace supporttool {

struct CollectRequest {
    inspect::Request request;  // appData, exeDir, routeCache, runKeyRoot
    std::wstring userId;       // the signed-in user's id, redacted too
    bool redact = true;
    std::wstring out;  // the zip file
};

// The zip file's mapping of tokens to real names: "<out without .zip>-mapping.txt".
std::wstring MappingPath(const std::wstring& out);

// Writes the bundle and prints where it is and the mapping; the exit status.
int RunCollect(const CollectRequest& request);

// Inspects a bundle against its own Run value and environment, with the
// country, user, country sets and package name of `request`; the exit status.
int RunInspectBundle(const std::wstring& bundle, const inspect::Request& request);
// The report RunInspectBundle prints; false (said on standard error) when the
// bundle cannot be read. `redacted`: its names are tokens.
bool ReportOfBundle(const std::wstring& bundle, const inspect::Request& request, inspect::Report& report,
                    bool& redacted);

}  // namespace supporttool
