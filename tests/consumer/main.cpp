// Uses the installed package the way the client does: the frame, the route
// singleton and one settings operation. Exit code 0 when all three answer as
// documented; the app-data folder is the first argument.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "globalrootservice/GlobalRootService.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: consumer LOCALAPPDATA\n");
        return 2;
    }
    // The stand-in keeps its app-data folder below LOCALAPPDATA.
    ::SetEnvironmentVariableA("LOCALAPPDATA", argv[1]);

    int failures = 0;
    if (FnGlobalRootService() != 0) {
        std::fprintf(stderr, "FnGlobalRootService did not return 0\n");
        ++failures;
    }
    if (Zorvane::GetInstance() == nullptr || Zorvane::GetInstance() != Zorvane::GetInstance()) {
        std::fprintf(stderr, "Zorvane::GetInstance did not return one instance\n");
        ++failures;
    }

    ClientInitialize::CreateSettingFile(L"17.0.0");
    const std::vector<SettingInfo> infos = ClientInitialize::GetUpgradeInfo({L"Version"});
    if (infos.size() != 1 || infos[0].value != L"17.0.0") {
        std::fprintf(stderr, "Setting.ini does not hold the version written\n");
        ++failures;
    }
    std::printf("consumer: %s\n", failures == 0 ? "ok" : "failed");
    return failures == 0 ? 0 : 1;
}
