// Configuration content, persisted per kind as UTF-8 files in the app-data
// folder and read back from disk on every call, so it survives restarts.
#include "core/collaborators/ConfigEntityManager.h"

#include "standin/StandInState.h"

using namespace ClientStandIn::detail;

ConfigEntityManager* ConfigEntityManager::GetInstance() {
    static ConfigEntityManager instance;
    return &instance;
}

std::wstring ConfigEntityManager::GetConfigContentByType(ConfigEntityEnum kind) {
    try {
        const std::wstring path = ClientStandIn::ContentFilePath(static_cast<int>(kind));
        std::string bytes;
        if (path.empty() || !ReadWholeFile(path, bytes)) return std::wstring();
        return FromUtf8(bytes);
    } catch (...) {
        return std::wstring();
    }
}

void ConfigEntityManager::updateConfigContent(ConfigEntityEnum kind, std::wstring& content) {
    try {
        const std::wstring path = ClientStandIn::ContentFilePath(static_cast<int>(kind));
        if (!path.empty()) WriteFileReplacing(path, ToUtf8(content));
    } catch (...) {
    }
}

void ConfigEntityManager::saveCacheDir(const std::wstring& userHash, const std::wstring& userCacheFolder) {
    State& s = GetState();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.savedCacheDirs.push_back(userHash);
    s.savedCacheDirs.push_back(userCacheFolder);
}
