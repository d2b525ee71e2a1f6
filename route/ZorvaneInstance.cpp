// The route service singleton.
#include "globalrootservice/Zorvane.h"

Zorvane* Zorvane::GetInstance() {
    // Built on the first call under the runtime's thread-safe static
    // initialisation; destroyed at process exit.
    static Zorvane instance;
    return &instance;
}

Zorvane::Zorvane() = default;
Zorvane::~Zorvane() = default;

void Zorvane::InitZRVService() {}
