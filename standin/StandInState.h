#pragma once

// Shared state of the stand-in libraries, guarded by one mutex.

#include <windows.h>

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "globalrootservice/collaborators/UserRecords.h"
#include "standin/StandInControl.h"
#include "support/Files.h"

namespace ClientStandIn::detail {

struct State {
    std::mutex mutex;
    std::map<Text, std::wstring> texts;
    std::string userGradeCode;
    std::unordered_set<std::wstring> asia;
    std::unordered_set<std::wstring> europe;
    std::set<int> openFunctions;
    std::map<std::wstring, std::wstring> addresses;
    std::vector<SetterCall> setterCalls;
    std::wstring configCountryCode;
    unsigned long long errorLimitingTime = 0;
    std::vector<bool> cacheCopyRes;
    std::vector<bool> modPathRes;
    std::vector<std::wstring> savedCacheDirs;
    std::vector<std::wstring> routeRequests;
    std::map<std::pair<std::wstring, std::wstring>, std::wstring> resourceTexts;
    int resolveTimeoutMs = 5000;
    int connectTimeoutMs = 5000;
    int sendTimeoutMs = 5000;
    int receiveTimeoutMs = 10000;
    size_t maxBodyBytes = 16u << 20;

    st_UserInfo userInfo{};
    st_UserPropertiesShow userPropertiesShow{};
    st_OtherUserProperties otherUserProperties{};
};

State& GetState();

// Runs `work` on the state under its mutex and returns what it returns.
template <typename Work>
auto Locked(Work work) {
    State& state = GetState();
    std::lock_guard<std::mutex> lock(state.mutex);
    return work(state);
}

// Resets everything but the records' storage addresses, which stay stable.
void ResetLocked(State& state);

std::wstring TextOf(Text which);
void RecordSetter(const wchar_t* name, const std::wstring& value);
std::wstring AddressOf(const wchar_t* name);

// "<app-data>\ClientStandIn", created on demand.
std::wstring DataFolder();

using grs::Utf8ToWide;
using grs::WideToUtf8;


// Drops the configuration content kept in memory (a restart of the client).
void ForgetConfigContent();

}  // namespace ClientStandIn::detail
