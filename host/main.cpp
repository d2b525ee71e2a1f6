// startup-host: plays the client at start-up and reports what happened.
#include <windows.h>

#include <cstdio>

#include "route/GlobalRootService.h"

int main() {
    const int result = FnGlobalRootService();
    Zorvane* route = Zorvane::GetInstance();
    std::printf("GlobalRootService.dll loaded\n");
    std::printf("  FnGlobalRootService() = %d\n", result);
    std::printf("  g_nGlobalRootService  = %d\n", g_nGlobalRootService);
    std::printf("  Zorvane::GetInstance() = %p (again: %p)\n", static_cast<void*>(route),
                static_cast<void*>(Zorvane::GetInstance()));
    std::printf("  g_backMaskHWND = %p, InitializePara() = %s\n", static_cast<void*>(GlobalParameter::g_backMaskHWND),
                route->InitializePara() ? "true" : "false");
    std::printf("  getServerInfo path = %ls\n", route->m_strGetServerInfo.c_str());
    return 0;
}
