#pragma once

// Everything a client includes to use the library.

#include "globalrootservice/GlobalRootServiceExport.h"
#include "globalrootservice/IniFileHelper.h"
#include "globalrootservice/GlobalParameter.h"
#include "globalrootservice/Zorvane.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "globalrootservice/ClientInitialize.h"

// Kept for the client; returns 0 and does nothing else.
GLOBALROOTSERVICE_API int FnGlobalRootService();

// Kept for the client; 0 at load, never used by the library.
extern GLOBALROOTSERVICE_API int g_nGlobalRootService;
