#include "tests/common/TestSupport.h"

#include <tlhelp32.h>

#include <atomic>
#include <cstdio>

#include "core/TextUtil.h"

namespace grs::test {

namespace {
std::wstring UniqueName(const wchar_t* prefix) {
    static std::atomic<unsigned> counter{0};
    return std::wstring(prefix) + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(::GetTickCount()) +
           L"-" + std::to_wstring(counter++);
}
}  // namespace

TempFolder::TempFolder() {
    wchar_t temp[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, temp);
    m_path = std::wstring(temp) + UniqueName(L"grs-");
    CreateFolderTree(m_path);
}

TempFolder::~TempFolder() {
    RemoveTree(m_path);
}

HkcuOverride::HkcuOverride() {
    m_scratchName = L"Software\\GlobalRootServiceTests\\" + UniqueName(L"hkcu-");
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, m_scratchName.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, m_scratch.put(),
                          nullptr) == ERROR_SUCCESS) {
        ::RegOverridePredefKey(HKEY_CURRENT_USER, m_scratch.get());
    }
}

HkcuOverride::~HkcuOverride() {
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (m_scratch) {
        m_scratch.reset();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, m_scratchName.c_str());
    }
}

StandInSandbox::StandInSandbox() {
    ClientStandIn::Reset();
    ClientStandIn::ClearLogLines();
    CreateFolderTree(AppData());
    CreateFolderTree(Downloads());
    ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, AppData());
    ClientStandIn::SetText(ClientStandIn::Text::UserProfilePath, Profile());
    ClientStandIn::SetText(ClientStandIn::Text::UserDownloadsPath, Downloads());
    ClientStandIn::SetLogFile(m_root / L"client.log");
    ClientStandIn::SetDatabasePath(m_root / L"properties.db");
}

StandInSandbox::~StandInSandbox() {
    ClientStandIn::CloseDatabase();
    ClientStandIn::SetLogFile(std::wstring());
}

bool FileExists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::set<std::wstring> FileNames(const std::wstring& folder) {
    std::set<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const UniqueFind find(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (find) {
        do {
            if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.insert(entry.cFileName);
        } while (::FindNextFileW(find.get(), &entry));
    }
    return names;
}

size_t ThreadCount() {
    const UniqueFile snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot.get(), &entry); more; more = ::Thread32Next(snapshot.get(), &entry))
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
    return count;
}

void AwaitThreadCount(size_t threads) {
    // Each count is a snapshot of every thread: asked sparingly.
    for (int i = 0; i < 500 && ThreadCount() > threads; ++i) ::Sleep(10);
}

std::vector<ClientStandIn::LogLine> LogLinesOf(const std::string& function) {
    std::vector<ClientStandIn::LogLine> lines;
    for (auto& line : ClientStandIn::LogLines())
        if (function.empty() || line.function == function) lines.push_back(line);
    return lines;
}

bool HasLogLine(const std::string& function, int severity, const std::wstring& message, int line) {
    for (const auto& l : ClientStandIn::LogLines())
        if (l.function == function && l.severity == severity && l.message == message && (line == 0 || l.line == line))
            return true;
    return false;
}

std::map<std::string, std::string> IniKeys(std::string bytes) {
    if (bytes.size() >= 2 && bytes.compare(0, 2, "\xFF\xFE") == 0) {
        std::wstring text((bytes.size() - 2) / 2, L'\0');
        for (size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[2 + 2 * i]) |
                                           static_cast<unsigned char>(bytes[3 + 2 * i]) << 8);
        bytes = grs::WideToUtf8(text);
    }
    std::map<std::string, std::string> keys;
    std::string section;
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find('\n', start);
        if (end == std::string::npos) end = bytes.size();
        std::string line = bytes.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        start = end + 1;
        if (!line.empty() && line[0] == '[') section = line;
        else if (line.find('=') != std::string::npos)
            keys[section + "/" + line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    }
    return keys;
}

}  // namespace grs::test
