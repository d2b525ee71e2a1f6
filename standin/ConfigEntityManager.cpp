// Configuration content, persisted per kind as UTF-8 files in the app-data
// folder, so it survives restarts. The last content read or written is kept
// in memory while the file's time stamp and size say it is unchanged.
#include "globalrootservice/collaborators/ConfigEntityManager.h"

#include <map>
#include <mutex>

#include "core/FileIo.h"
#include "standin/StandInState.h"

using namespace ClientStandIn::detail;

namespace {

// Content is a route cache or a configuration: far below this.
constexpr unsigned long long kMaxContentBytes = 256ull << 20;

struct CachedContent {
    FILETIME written = {};
    unsigned long long size = 0;
    std::wstring content;
};

std::mutex& CacheMutex() {
    static std::mutex* mutex = new std::mutex;
    return *mutex;
}

std::map<std::wstring, CachedContent>& Cache() {
    static auto* cache = new std::map<std::wstring, CachedContent>;
    return *cache;
}

bool Stamp(const std::wstring& path, FILETIME& written, unsigned long long& size) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return false;
    written = data.ftLastWriteTime;
    size = (static_cast<unsigned long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    return true;
}

void Remember(const std::wstring& path, const std::wstring& content) {
    CachedContent entry;
    if (!Stamp(path, entry.written, entry.size)) return;
    entry.content = content;
    std::lock_guard<std::mutex> lock(CacheMutex());
    Cache()[path] = std::move(entry);
}

}  // namespace

namespace ClientStandIn::detail {
void ForgetConfigContent() {
    std::lock_guard<std::mutex> lock(CacheMutex());
    Cache().clear();
}
}  // namespace ClientStandIn::detail

ConfigEntityManager* ConfigEntityManager::GetInstance() {
    static ConfigEntityManager instance;
    return &instance;
}

std::wstring ConfigEntityManager::GetConfigContentByType(ConfigEntityEnum kind) {
    try {
        const std::wstring path = ClientStandIn::ContentFilePath(static_cast<int>(kind));
        if (path.empty()) return std::wstring();
        FILETIME written = {};
        unsigned long long size = 0;
        if (!Stamp(path, written, size)) return std::wstring();
        {
            std::lock_guard<std::mutex> lock(CacheMutex());
            auto it = Cache().find(path);
            if (it != Cache().end() && it->second.size == size && ::CompareFileTime(&it->second.written, &written) == 0)
                return it->second.content;
        }
        std::string bytes;
        if (grs::ReadWholeFile(path, kMaxContentBytes, bytes) != grs::ReadFileResult::Ok) return std::wstring();
        std::wstring content = Utf8ToWide(bytes);
        Remember(path, content);
        return content;
    } catch (...) {
        return std::wstring();
    }
}

void ConfigEntityManager::updateConfigContent(ConfigEntityEnum kind, std::wstring& content) {
    try {
        const std::wstring path = ClientStandIn::ContentFilePath(static_cast<int>(kind));
        if (!path.empty() && grs::ReplaceFileContent(path, WideToUtf8(content)).Succeeded()) Remember(path, content);
    } catch (...) {
    }
}

void ConfigEntityManager::saveCacheDir(const std::wstring& userHash, const std::wstring& userCacheFolder) {
    return Locked([&](State& s) {
        s.savedCacheDirs.push_back(userHash);
        s.savedCacheDirs.push_back(userCacheFolder);
    });
}
