#include "tests/common/TestSupport.h"

#include <atomic>
#include <cstdio>

namespace grs::test {

namespace {
std::wstring UniqueName(const wchar_t* prefix) {
    static std::atomic<unsigned> counter{0};
    return std::wstring(prefix) + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(::GetTickCount()) +
           L"-" + std::to_wstring(counter++);
}
}  // namespace

bool CreateFolderTree(const std::wstring& folder) {
    if (folder.empty()) return false;
    if (::CreateDirectoryW(folder.c_str(), nullptr) || ::GetLastError() == ERROR_ALREADY_EXISTS) return true;
    const size_t slash = folder.find_last_of(L"\\/");
    if (slash == std::wstring::npos || slash == 0) return false;
    return CreateFolderTree(folder.substr(0, slash)) &&
           (::CreateDirectoryW(folder.c_str(), nullptr) || ::GetLastError() == ERROR_ALREADY_EXISTS);
}

void RemoveTree(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return;
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        ::DeleteFileW(path.c_str());
        return;
    }
    WIN32_FIND_DATAW data;
    HANDLE find = ::FindFirstFileW((path + L"\\*").c_str(), &data);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = data.cFileName;
            if (name != L"." && name != L"..") RemoveTree(path + L"\\" + name);
        } while (::FindNextFileW(find, &data));
        ::FindClose(find);
    }
    ::RemoveDirectoryW(path.c_str());
}

TempFolder::TempFolder() {
    wchar_t temp[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, temp);
    m_path = std::wstring(temp) + UniqueName(L"grs-");
    CreateFolderTree(m_path);
}

TempFolder::~TempFolder() { RemoveTree(m_path); }

HkcuOverride::HkcuOverride() {
    m_scratchName = L"Software\\GlobalRootServiceTests\\" + UniqueName(L"hkcu-");
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, m_scratchName.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_scratch,
                          nullptr) == ERROR_SUCCESS) {
        ::RegOverridePredefKey(HKEY_CURRENT_USER, m_scratch);
    }
}

HkcuOverride::~HkcuOverride() {
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (m_scratch) {
        ::RegCloseKey(m_scratch);
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

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const BOOL ok = bytes.empty() || ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    return ok && written == bytes.size();
}

std::string ReadFileBytes(const std::wstring& path) {
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return std::string();
    std::string bytes;
    char buffer[65536];
    DWORD read = 0;
    while (::ReadFile(file, buffer, sizeof buffer, &read, nullptr) && read > 0) bytes.append(buffer, read);
    ::CloseHandle(file);
    return bytes;
}

bool FileExists(const std::wstring& path) { return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::vector<ClientStandIn::LogLine> LogLinesOf(const std::string& function) {
    std::vector<ClientStandIn::LogLine> lines;
    for (auto& line : ClientStandIn::LogLines())
        if (function.empty() || line.function == function) lines.push_back(line);
    return lines;
}

bool HasLogLine(const std::string& function, int severity, const std::wstring& message) {
    for (const auto& line : ClientStandIn::LogLines())
        if (line.function == function && line.severity == severity && line.message == message) return true;
    return false;
}

std::string Narrow(const std::wstring& text) {
    if (text.empty()) return std::string();
    const int n = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<size_t>(n > 0 ? n : 0), '\0');
    if (n > 0) ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], n, nullptr, nullptr);
    return out;
}

}  // namespace grs::test
