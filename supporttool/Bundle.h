#pragma once

// A bundle: one zip file with "manifest.json" (where everything was found,
// the Run value's type and bytes, each file's attributes, size and times,
// the user's environment) and the collected files under "files/". Made on the
// user's machine by `collect`, read anywhere by `inspect`, which then judges
// against the bundle's Run value and environment, never the local machine's.

#include <json/json.h>

#include <map>
#include <set>
#include <string>

#include "inspect/Inspect.h"
#include "supporttool/Redact.h"

namespace supporttool {

// What `collect` gathered on the user's machine.
struct Collected {
    inspect::Snapshot snapshot;
    Json::Value environment;          // code pages, Windows, long paths, folders, drives
    Json::Value fileFacts;            // path -> attributes, size and times, by entry name
    std::set<std::wstring> existing;  // executables the Run value could name that exist
    std::string collectedAt;          // UTC
    bool redacted = false;            // read back: the names are tokens
};

// The bundle's entries, every name and text redacted with `redaction`.
std::map<std::string, std::string> MakeBundle(const Collected& collected, const Redaction& redaction);

// Back from the entries; false (with `error`) when they are no bundle.
bool ReadBundle(const std::map<std::string, std::string>& entries, Collected& collected, std::string& error);

// The environment as report lines.
inspect::EnvironmentFacts EnvironmentLines(const Json::Value& environment);

constexpr char kManifestEntry[] = "manifest.json";

}  // namespace supporttool
