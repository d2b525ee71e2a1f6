// grs-support: the support program. It reads a user's start-up files with the
// library's own rules and reports what the library will make of them. Only
// the report goes to standard output, so that it can be piped; errors go to
// standard error.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <exception>

#include "core/UniqueResource.h"
#include "inspect/Inspect.h"
#include "supporttool/SupportOptions.h"

int main() {
    try {
        int argc = 0;
        LPWSTR* argv = ::CommandLineToArgvW(::GetCommandLineW(), &argc);
        const grs::UniqueLocal argvMemory(argv);
        support::Options options;
        std::string error;
        if (argv == nullptr || !support::ParseOptions(argc, argv, options, error)) {
            std::fprintf(stderr, "grs-support: %s\n%s", error.c_str(), support::UsageText());
            return inspect::kExitCouldNotCheck;
        }
        if (options.command == support::Command::Help) {
            std::fputs(support::UsageText(), stdout);
            return inspect::kExitClean;
        }
        return inspect::RunInspect(options.request);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "grs-support: could not check: %s\n", e.what());
    } catch (...) {
        std::fprintf(stderr, "grs-support: could not check\n");
    }
    return inspect::kExitCouldNotCheck;
}
