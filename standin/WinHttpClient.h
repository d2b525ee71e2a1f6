#pragma once

// One HTTP request through WinHTTP with bounded time-outs and body size.

#include <map>
#include <string>

namespace ClientStandIn::detail {

struct HttpResponse {
    int status = 0;           // HTTP status; 0 when no answer arrived
    unsigned long error = 0;  // Win32/WinHTTP error of the failed step
    const char* failedStep = "";
    std::string body;
    std::map<std::string, std::string> headers;
};

HttpResponse SendHttpRequest(const std::wstring& url, const std::wstring& method, const std::string& body,
                             const std::map<std::string, std::string>& headers);

}  // namespace ClientStandIn::detail
