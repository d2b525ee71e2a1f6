// The library's exported frame: the singleton and the free symbols.
#include "route/GlobalRootService.h"

int g_nGlobalRootService = 0;

int FnGlobalRootService() {
    return 0;
}

Zorvane* Zorvane::GetInstance() {
    // Built on the first call under the runtime's thread-safe static
    // initialisation; destroyed at process exit.
    static Zorvane instance;
    return &instance;
}

Zorvane::Zorvane() = default;
Zorvane::~Zorvane() = default;

void Zorvane::InitZRVService() {}
