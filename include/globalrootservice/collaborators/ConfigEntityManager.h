#pragma once

// Downloaded configuration content of the client, kept per kind and persisted
// across restarts.

#include <string>

#include "globalrootservice/collaborators/ClientLibsExport.h"

enum ConfigEntityEnum {
    ConfigEntityRouteCache = 5,  // the route service's cached route record
};

class CLIENTLIBS_API ConfigEntityManager {
public:
    static ConfigEntityManager* GetInstance();

    // The content last stored for `kind`; empty when there is none.
    std::wstring GetConfigContentByType(ConfigEntityEnum kind);
    // Replaces and persists the content of `kind`.
    void updateConfigContent(ConfigEntityEnum kind, std::wstring& content);
    // Records the user's cache folder: the user hash and the folder below it.
    void saveCacheDir(const std::wstring& userHash, const std::wstring& userCacheFolder);
};
