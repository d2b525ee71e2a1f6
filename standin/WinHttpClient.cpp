#include "standin/WinHttpClient.h"

#include <windows.h>
#include <winhttp.h>

#include <vector>

#include "core/UniqueResource.h"
#include "standin/StandInState.h"

namespace ClientStandIn::detail {

namespace {

using UniqueInternet = grs::UniqueResource<grs::HandleTraits<HINTERNET, 0, &::WinHttpCloseHandle>>;

HttpResponse Failed(HttpResponse response, const char* step) {
    response.error = ::GetLastError();
    response.failedStep = step;
    response.body.clear();
    return response;
}

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return std::string();
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

void ParseRawHeaders(const std::wstring& raw, std::map<std::string, std::string>& headers) {
    const std::string text = WideToUtf8(raw);
    size_t start = text.find("\r\n");  // the status line comes first
    while (start != std::string::npos && start < text.size()) {
        start += 2;
        const size_t end = text.find("\r\n", start);
        const std::string line = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        const size_t colon = line.find(':');
        if (colon != std::string::npos && colon > 0)
            headers[Trim(line.substr(0, colon))] = Trim(line.substr(colon + 1));
        start = end;
    }
}

}  // namespace

HttpResponse SendHttpRequest(const std::wstring& url, const std::wstring& method, const std::string& body,
                             const std::map<std::string, std::string>& headers) {
    HttpResponse response;
    int resolveMs, connectMs, sendMs, receiveMs;
    size_t maxBody;
    {
        State& s = GetState();
        std::lock_guard<std::mutex> lock(s.mutex);
        resolveMs = s.resolveTimeoutMs;
        connectMs = s.connectTimeoutMs;
        sendMs = s.sendTimeoutMs;
        receiveMs = s.receiveTimeoutMs;
        maxBody = s.maxBodyBytes;
    }

    URL_COMPONENTS parts = {};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = static_cast<DWORD>(-1);
    parts.dwUrlPathLength = static_cast<DWORD>(-1);
    parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    parts.dwSchemeLength = static_cast<DWORD>(-1);
    if (url.empty() || !::WinHttpCrackUrl(url.c_str(), static_cast<DWORD>(url.size()), 0, &parts)) {
        return Failed(response, "parse the address");
    }
    const std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
    std::wstring path(parts.lpszUrlPath, parts.dwUrlPathLength);
    path.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    if (path.empty()) path = L"/";

    UniqueInternet session(::WinHttpOpen(L"ClientStandIn/1.0", WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_NO_PROXY_NAME,
                                         WINHTTP_NO_PROXY_BYPASS, 0));
    if (!session) return Failed(response, "open a session");
    ::WinHttpSetTimeouts(session.get(), resolveMs, connectMs, sendMs, receiveMs);
    UniqueInternet connection(::WinHttpConnect(session.get(), host.c_str(), parts.nPort, 0));
    if (!connection) return Failed(response, "connect");
    const DWORD flags = parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0;
    UniqueInternet request(::WinHttpOpenRequest(connection.get(), method.c_str(), path.c_str(), nullptr,
                                                WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
    if (!request) return Failed(response, "open the request");
    // A server that accepts and never answers is bounded by this one, not by
    // the session's receive time-out (WinHTTP's default is 90 s, Wine's none).
    DWORD responseTimeout = static_cast<DWORD>(receiveMs);
    ::WinHttpSetOption(request.get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &responseTimeout,
                       sizeof responseTimeout);
    ::WinHttpSetTimeouts(request.get(), resolveMs, connectMs, sendMs, receiveMs);

    std::wstring headerText;
    for (const auto& header : headers) headerText += Utf8ToWide(header.first + ": " + header.second + "\r\n");
    const BOOL sent =
        ::WinHttpSendRequest(request.get(), headerText.empty() ? WINHTTP_NO_ADDITIONAL_HEADERS : headerText.c_str(),
                             headerText.empty() ? 0 : static_cast<DWORD>(-1L),
                             body.empty() ? WINHTTP_NO_REQUEST_DATA : const_cast<char*>(body.data()),
                             static_cast<DWORD>(body.size()), static_cast<DWORD>(body.size()), 0);
    if (!sent) return Failed(response, "send");
    if (!::WinHttpReceiveResponse(request.get(), nullptr)) return Failed(response, "receive the answer");

    DWORD status = 0;
    DWORD statusSize = sizeof status;
    ::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                          WINHTTP_HEADER_NAME_BY_INDEX, &status, &statusSize, WINHTTP_NO_HEADER_INDEX);
    response.status = static_cast<int>(status);

    DWORD rawSize = 0;
    ::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX, nullptr,
                          &rawSize, WINHTTP_NO_HEADER_INDEX);
    if (rawSize > 0 && rawSize < (1u << 20)) {
        std::wstring raw(rawSize / sizeof(wchar_t) + 1, L'\0');
        if (::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX, &raw[0],
                                  &rawSize, WINHTTP_NO_HEADER_INDEX)) {
            raw.resize(rawSize / sizeof(wchar_t));
            ParseRawHeaders(raw, response.headers);
        }
    }

    std::vector<char> chunk(64 * 1024);
    for (;;) {
        DWORD read = 0;
        if (!::WinHttpReadData(request.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read)) {
            return Failed(response, "read the body");
        }
        if (read == 0) break;
        if (response.body.size() + read > maxBody) {
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return Failed(response, "read the body (too large)");
        }
        response.body.append(chunk.data(), read);
    }
    return response;
}

}  // namespace ClientStandIn::detail
