#pragma once

// From diagnosis to repair. PlanFixes proposes, for each finding that has a
// safe fix, the fix; NoFixReason says why a warning or problem has none.
// Repair applies the plan to a copy of the profile (--repair OUT_DIR, the
// input never touched) or in place (--repair-in-place: every file it changes
// is first copied into a backup folder beside the profile, named with the date
// and time). Settings files are changed as INI documents and saved with the
// library's own save (the document's encoding kept), then set hidden and
// system. The Run value changes only in place. Nothing is deleted that the
// user wrote: a stray key whose exact name already holds a value is reported,
// never removed; a settings file that is rebuilt keeps every key line it had.

#include <string>
#include <vector>

#include "inspect/Inspect.h"

namespace inspect {

// The fixes for what `Inspect` found in this snapshot, in report order. Pure.
std::vector<Fix> PlanFixes(const Snapshot& snapshot, const Context& context, const std::vector<Finding>& findings);

// Empty when the finding is no warning or problem, or `plan` fixes it.
std::string NoFixReason(const Finding& finding, const std::vector<Fix>& plan);

// The finding's fix in `plan`, or null.
const Fix* FixFor(const Finding& finding, const std::vector<Fix>& plan);

struct Change {
    Fix fix;
    bool done = false;
    std::string detail;  // what was done, or why it was not
};

struct RepairResult {
    bool refused = false;
    std::string refusal;     // one line, for standard error
    bool inPlace = false;
    std::wstring profile;    // the folder whose files were repaired
    std::wstring backup;     // in place: where the originals are
    std::vector<Change> changes;
};

// "20240501-100000", local time now: names the backup folder.
std::string BackupStamp();

// Applies `plan` as `request` asks (repairTo or repairInPlace). `now` names
// the backup folder ("20240501-100000").
RepairResult Repair(const Request& request, const Snapshot& snapshot, const std::vector<Fix>& plan,
                    const std::string& now);

}  // namespace inspect
