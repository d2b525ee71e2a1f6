#pragma once

// Repair by a reviewed plan. `plan` writes every change it would make (file,
// key, value before and after; the Run value before and after) with what it
// was made from (each file's SHA-256, the Run value's bytes) and changes
// nothing. `apply` makes exactly those changes to the profile the plan names,
// refusing when the profile no longer matches; before changing anything it
// keeps the originals in a dated backup folder beside the profile, with an
// undo manifest ("undo.json"), and `undo` puts every file and the Run value
// back byte for byte. A plan made from a redacted bundle names the profile
// by tokens: `apply --mapping FILE` (the mapping collect left beside the
// bundle) gives the real names back.

#include <json/json.h>

#include <string>

#include "inspect/Inspect.h"
#include "supporttool/Redact.h"

namespace supporttool {

// The plan of `report` as JSON; `redacted`: the snapshot is a redacted bundle's.
Json::Value MakePlan(const inspect::Report& report, bool redacted);

// Reads a mapping file ("Uxxx = root" lines) into a redaction.
Redaction ReadMapping(const std::string& text);

int RunPlan(const inspect::Report& report, bool redacted, const std::wstring& out);
int RunApply(const std::wstring& planPath, const std::wstring& mappingPath);
int RunUndo(const std::wstring& backup);

constexpr char kUndoManifest[] = "undo.json";

}  // namespace supporttool
