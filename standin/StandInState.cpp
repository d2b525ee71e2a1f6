#include "standin/StandInState.h"

#include <cstring>

#include "core/UniqueResource.h"

namespace ClientStandIn::detail {

namespace {
std::wstring EnvironmentText(const wchar_t* name) {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = ::GetEnvironmentVariableW(name, buffer, MAX_PATH);
    return (length > 0 && length < MAX_PATH) ? std::wstring(buffer, length) : std::wstring();
}
}  // namespace

State& GetState() {
    static State* state = [] {
        auto* s = new State();  // never destroyed: detached threads may still call in at exit
        ResetLocked(*s);
        return s;
    }();
    return *state;
}

void ResetLocked(State& s) {
    const std::wstring localAppData = EnvironmentText(L"LOCALAPPDATA");
    const std::wstring profile = EnvironmentText(L"USERPROFILE");
    s.texts = {
        {Text::AppDataLocalPath, localAppData.empty() ? std::wstring() : localAppData + L"\\QirentCloud"},
        {Text::UserProfilePath, profile},
        {Text::UserDownloadsPath, profile.empty() ? std::wstring() : profile + L"\\Downloads"},
        {Text::CountryCode, L"CN"},
        {Text::PackageName, L"com.qirent.cloud.pc"},
        {Text::LocalLanguage, L"en-US"},
        {Text::PCModel, L"Stand-in PC"},
        {Text::SystemUUid, L"00000000-0000-4000-8000-000000000001"},
        {Text::CurrentUserID, L""},
        {Text::CurrentCountryCode, L""},
        {Text::UiLanguage, L"en"},
    };
    s.userGradeCode.clear();
    s.asia = {L"SG", L"MY", L"TH", L"ID", L"PH", L"VN", L"JP", L"KR", L"IN", L"HK"};
    s.europe = {L"DE", L"FR", L"GB", L"IT", L"ES", L"NL", L"PL", L"SE", L"AT", L"CH"};
    s.openFunctions.clear();
    s.addresses.clear();
    s.setterCalls.clear();
    s.configCountryCode.clear();
    s.errorLimitingTime = 0;
    s.cacheCopyRes.clear();
    s.modPathRes.clear();
    s.savedCacheDirs.clear();
    s.routeRequests.clear();
    s.resourceTexts = {
        {{L"en", L"IDS_MAIN_PAGE_Qirent_Drive"}, L"Qirent Drive"},
        {{L"zh-CN", L"IDS_MAIN_PAGE_Qirent_Drive"}, L"\x5947\x6DA6\x4E91\x76D8"},
    };
    s.resolveTimeoutMs = 5000;
    s.connectTimeoutMs = 5000;
    s.sendTimeoutMs = 5000;
    s.receiveTimeoutMs = 10000;
    s.maxBodyBytes = 16u << 20;
    std::memset(&s.userInfo, 0, sizeof s.userInfo);
    std::memset(static_cast<void*>(&s.userPropertiesShow), 0, sizeof s.userPropertiesShow);
    std::memset(&s.otherUserProperties, 0, sizeof s.otherUserProperties);
}

std::wstring TextOf(Text which) {
    return Locked([&](State& s) {
        auto it = s.texts.find(which);
        return it == s.texts.end() ? std::wstring() : it->second;
    });
}

void RecordSetter(const wchar_t* name, const std::wstring& value) {
    return Locked([&](State& s) {
        s.addresses[name] = value;
        s.setterCalls.push_back({name, value});
    });
}

std::wstring AddressOf(const wchar_t* name) {
    return Locked([&](State& s) {
        auto it = s.addresses.find(name);
        return it == s.addresses.end() ? std::wstring() : it->second;
    });
}

std::wstring DataFolder() {
    const std::wstring appData = TextOf(Text::AppDataLocalPath);
    if (appData.empty()) return std::wstring();
    const std::wstring folder = appData + L"\\ClientStandIn";
    // Made once per folder: every log line and content read asks for it.
    static std::mutex* madeMutex = new std::mutex;
    static std::wstring* made = new std::wstring;
    std::lock_guard<std::mutex> lock(*madeMutex);
    if (*made != folder || ::GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) {
        grs::CreateFolderTree(folder);
        *made = folder;
    }
    return folder;
}

}  // namespace ClientStandIn::detail

namespace ClientStandIn {

using detail::GetState;
using detail::Locked;
using detail::State;

void Reset() {
    {
        auto& s = GetState();
        std::lock_guard<std::mutex> lock(s.mutex);
        detail::ResetLocked(s);
    }
    SetDatabasePath(std::wstring());  // the default file follows the app-data folder
    detail::ForgetConfigContent();
}

void SetText(Text which, const std::wstring& value) {
    {
        auto& s = GetState();
        std::lock_guard<std::mutex> lock(s.mutex);
        s.texts[which] = value;
    }
    if (which == Text::AppDataLocalPath) CloseDatabase();
}

std::wstring GetText(Text which) {
    return detail::TextOf(which);
}

void SetUserGradeCode(const std::string& code) {
    return Locked([&](State& s) { s.userGradeCode = code; });
}

void SetCountrySets(const std::unordered_set<std::wstring>& asia, const std::unordered_set<std::wstring>& europe) {
    return Locked([&](State& s) {
        s.asia = asia;
        s.europe = europe;
    });
}

void SetFunctionOpen(int function, bool open) {
    return Locked([&](State& s) {
        if (open) {
            s.openFunctions.insert(function);
        } else {
            s.openFunctions.erase(function);
        }
    });
}

std::wstring GetAddress(const std::wstring& name) {
    return detail::AddressOf(name.c_str());
}

std::vector<SetterCall> SetterCalls() {
    return Locked([&](State& s) { return s.setterCalls; });
}

void ClearSetterCalls() {
    return Locked([&](State& s) { s.setterCalls.clear(); });
}

std::wstring GetConfigCountryCode() {
    return Locked([&](State& s) { return s.configCountryCode; });
}

unsigned long long GetErrorLimitingTime() {
    return Locked([&](State& s) { return s.errorLimitingTime; });
}

std::vector<bool> CacheCopyResCalls() {
    return Locked([&](State& s) { return s.cacheCopyRes; });
}

std::vector<bool> ModPathResCalls() {
    return Locked([&](State& s) { return s.modPathRes; });
}

std::vector<std::wstring> SavedCacheDirs() {
    return Locked([&](State& s) { return s.savedCacheDirs; });
}

std::wstring ContentFilePath(int kind) {
    const std::wstring folder = detail::DataFolder();
    return folder.empty() ? std::wstring() : folder + L"\\content-" + std::to_wstring(kind) + L".txt";
}

void SetHttpTimeouts(int resolveMs, int connectMs, int sendMs, int receiveMs) {
    return Locked([&](State& s) {
        s.resolveTimeoutMs = resolveMs;
        s.connectTimeoutMs = connectMs;
        s.sendTimeoutMs = sendMs;
        s.receiveTimeoutMs = receiveMs;
    });
}

void SetHttpMaxBodyBytes(size_t bytes) {
    return Locked([&](State& s) { s.maxBodyBytes = bytes; });
}

std::vector<std::wstring> RouteRequests() {
    return Locked([&](State& s) { return s.routeRequests; });
}

void ClearRouteRequests() {
    return Locked([&](State& s) { s.routeRequests.clear(); });
}

void SetResourceText(const std::wstring& language, const std::wstring& id, const std::wstring& text) {
    return Locked([&](State& s) { s.resourceTexts[{language, id}] = text; });
}

}  // namespace ClientStandIn
