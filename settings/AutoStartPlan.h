#pragma once

// How GetSettings brings start-with-Windows in line: the "IsAutoStartUp" value
// of "Setting.ini" decides, except when it says nothing; then the Run
// registration decides and the file learns it. Pure: the caller asks the
// registry (only when NeedsRegistration says so) and carries the plan out.

#include <string>

namespace grs::settings {

enum class AutoStartCase {
    Empty,  // the file says nothing
    On,     // "1"
    Off,    // anything else
};

enum class RunRegistration {
    Keep,
    Register,    // written again at every start from the file's choice
    Unregister,  // only when it is registered
};

struct AutoStartPlan {
    AutoStartCase which = AutoStartCase::Off;
    bool autoStart = false;        // the property record's IsAutoStartUp
    bool writeFile = false;        // set "IsAutoStartUp" and "IsAutoCheckUpdate" to `autoStart`
    bool setAutoCheckUpdate = false;  // the record's IsAutoCheckUpdate follows `autoStart`
    RunRegistration registration = RunRegistration::Keep;
};

// Whether the plan for this file value depends on the Run registration.
inline bool NeedsRegistration(const std::wstring& fileValue) {
    return fileValue != L"1";
}

// `registered` is only read when NeedsRegistration(fileValue).
inline AutoStartPlan PlanAutoStart(const std::wstring& fileValue, bool registered) {
    AutoStartPlan plan;
    if (fileValue.empty()) {
        plan.which = AutoStartCase::Empty;
        plan.autoStart = registered;
        plan.writeFile = true;
        plan.setAutoCheckUpdate = true;
    } else if (fileValue == L"1") {
        plan.which = AutoStartCase::On;
        plan.autoStart = true;
        plan.registration = RunRegistration::Register;
    } else {
        plan.which = AutoStartCase::Off;
        plan.registration = registered ? RunRegistration::Unregister : RunRegistration::Keep;
    }
    return plan;
}

}  // namespace grs::settings
