#pragma once

// Everything a client includes to use the library.

#include "core/GlobalRootServiceExport.h"
#include "core/IniFileHelper.h"
#include "route/GlobalParameter.h"
#include "route/Zorvane.h"
#include "serverconfig/ServerConfigHelper.h"
#include "settings/ClientInitialize.h"

// Kept for the client; returns 0 and does nothing else.
GLOBALROOTSERVICE_API int FnGlobalRootService();

// Kept for the client; 0 at load, never used by the library.
extern GLOBALROOTSERVICE_API int g_nGlobalRootService;
