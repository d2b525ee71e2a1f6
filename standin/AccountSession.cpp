// Account session: the signed-in user and the route service's request.
#include "globalrootservice/collaborators/AccountSession.h"

#include "standin/StandInState.h"
#include "standin/WinHttpClient.h"

using namespace ClientStandIn;
using namespace ClientStandIn::detail;

AccountSession* AccountSession::GetInstance() {
    static AccountSession instance;
    return &instance;
}

std::wstring AccountSession::GetCurrentUserID() const {
    return TextOf(Text::CurrentUserID);
}

std::wstring AccountSession::GetCurrentCountryCode() const {
    return TextOf(Text::CurrentCountryCode);
}

std::string AccountSession::GetZrvRemoteInfo(std::wstring url, std::map<std::string, std::string>& headers) {
    try {
        {
            State& s = GetState();
            std::lock_guard<std::mutex> lock(s.mutex);
            s.routeRequests.push_back(url);
        }
        HttpResponse response = SendHttpRequest(url, L"GET", std::string(), {});
        headers = response.headers;
        // Only a successful answer carries a body for the caller.
        if (response.status < 200 || response.status > 299) return std::string();
        return response.body;
    } catch (...) {
        return std::string();
    }
}
