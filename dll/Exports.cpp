// The library's free exported symbols, kept for the client.
#include "globalrootservice/GlobalRootService.h"

int g_nGlobalRootService = 0;

int FnGlobalRootService() {
    return 0;
}
