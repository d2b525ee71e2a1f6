// grs-support: the support program. It collects a user's start-up files into
// a bundle, and reads them (or a bundle) with the library's own rules to
// report what the library will make of them. Only
// the report goes to standard output, so that it can be piped; errors go to
// standard error.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <exception>

#include "core/UniqueResource.h"
#include "inspect/Inspect.h"
#include "supporttool/Collect.h"
#include "supporttool/Plan.h"
#include "supporttool/SupportOptions.h"

int main() {
    try {
        int argc = 0;
        LPWSTR* argv = ::CommandLineToArgvW(::GetCommandLineW(), &argc);
        const grs::UniqueLocal argvMemory(argv);
        supporttool::Options options;
        std::string error;
        if (argv == nullptr || !supporttool::ParseOptions(argc, argv, options, error)) {
            std::fprintf(stderr, "grs-support: %s\n%s", error.c_str(), supporttool::UsageText());
            return inspect::kExitCouldNotCheck;
        }
        if (options.command == supporttool::Command::Help) {
            std::fputs(supporttool::UsageText(), stdout);
            return inspect::kExitClean;
        }
        if (options.command == supporttool::Command::Collect) {
            supporttool::CollectRequest collect;
            collect.request = options.request;
            collect.userId = options.request.user;
            collect.redact = options.redact;
            collect.out = options.out;
            return supporttool::RunCollect(collect);
        }
        if (options.command == supporttool::Command::Apply) return supporttool::RunApply(options.out, options.mapping);
        if (options.command == supporttool::Command::Undo) return supporttool::RunUndo(options.out);
        if (options.command == supporttool::Command::Plan) {
            inspect::Report report;
            bool redacted = false;
            if (options.bundle.empty()) {
                report = inspect::InspectProfile(options.request);
                if (!report.snapshot.appDataIsFolder) {
                    std::fprintf(stderr, "grs-support: no app-data folder at the path given\n");
                    return inspect::kExitCouldNotCheck;
                }
            } else if (!supporttool::ReportOfBundle(options.bundle, options.request, report, redacted)) {
                return inspect::kExitCouldNotCheck;
            }
            return supporttool::RunPlan(report, redacted, options.out);
        }
        if (!options.bundle.empty()) return supporttool::RunInspectBundle(options.bundle, options.request);
        return inspect::RunInspect(options.request);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "grs-support: could not check: %s\n", e.what());
    } catch (...) {
        std::fprintf(stderr, "grs-support: could not check\n");
    }
    return inspect::kExitCouldNotCheck;
}
