#pragma once

// The client's logger. Output never throws; callers never depend on logging.

#include <string>

#include "globalrootservice/collaborators/ClientLibsExport.h"

namespace Logger {

enum ModuleType {
    ModuleMain = 0,
};

enum LogSeverity {
    SeverityInfo = 2,   // progress and information
    SeverityError = 5,  // failures and some notable successes
};

class CLIENTLIBS_API CloudLogger {
public:
    static CloudLogger* GetInstance();

    // `function` names the reporting operation ("Class::Operation"); `line` is
    // a fixed number per call site; `flag` is the logger's own switch.
    void Output(ModuleType module, LogSeverity severity, int line, std::string function, std::wstring message,
                bool flag);
    void Output(ModuleType module, LogSeverity severity, int line, std::string function, std::string message,
                bool flag);
};

}  // namespace Logger
