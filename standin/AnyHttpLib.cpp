// HTTP classes over WinHTTP.
#include "globalrootservice/collaborators/AnyHttpLib.h"

#include "standin/StandInState.h"
#include "standin/WinHttpClient.h"

using namespace ClientStandIn::detail;

struct AnyBasicHttpLibStrategy::Impl {
    std::string url;
    std::function<void(const std::string&)> log;
    AnyHttpRequestMethod method = AnyHttpRequestGet;
    std::string body;
    std::map<std::string, std::string> headers;

    void Log(const std::string& message) const {
        try {
            if (log) log(message);
        } catch (...) {
        }
    }
};

AnyIHttpLibStrategy::~AnyIHttpLibStrategy() = default;

AnyBasicHttpLibStrategy::AnyBasicHttpLibStrategy() : m_impl(new Impl()) {}
AnyBasicHttpLibStrategy::~AnyBasicHttpLibStrategy() {
    delete m_impl;
}

void AnyBasicHttpLibStrategy::SetUrl(const std::string& url) {
    m_impl->url = url;
}
void AnyBasicHttpLibStrategy::SetLogFunction(const std::function<void(const std::string&)>& log) {
    m_impl->log = log;
}
void AnyBasicHttpLibStrategy::SetHttpRequestMethod(AnyHttpRequestMethod method) {
    m_impl->method = method;
}
void AnyBasicHttpLibStrategy::SetPostData(const std::string& body) {
    m_impl->body = body;
}
void AnyBasicHttpLibStrategy::SetHeaders(const std::map<std::string, std::string>& headers) {
    m_impl->headers = headers;
}

int AnyBasicHttpLibStrategy::Perform(std::string& response) {
    try {
        // The address arrives in the ANSI code page.
        std::wstring url;
        if (!m_impl->url.empty()) {
            const int n =
                ::MultiByteToWideChar(CP_ACP, 0, m_impl->url.data(), static_cast<int>(m_impl->url.size()), nullptr, 0);
            url.resize(n > 0 ? static_cast<size_t>(n) : 0);
            if (n > 0)
                ::MultiByteToWideChar(CP_ACP, 0, m_impl->url.data(), static_cast<int>(m_impl->url.size()), &url[0], n);
        }
        const std::wstring method = m_impl->method == AnyHttpRequestPost ? L"POST" : L"GET";
        HttpResponse answer = SendHttpRequest(url, method, m_impl->body, m_impl->headers);
        if (answer.status == 0) {
            m_impl->Log("request to " + m_impl->url + " failed to " + answer.failedStep + ", error " +
                        std::to_string(answer.error));
            response.clear();
            return -static_cast<int>(answer.error == 0 ? 1 : answer.error);
        }
        m_impl->Log("request to " + m_impl->url + " answered " + std::to_string(answer.status) + " with " +
                    std::to_string(answer.body.size()) + " bytes");
        response = std::move(answer.body);
        return answer.status;
    } catch (...) {
        response.clear();
        return -1;
    }
}

AnyCurlHttpLibContext::AnyCurlHttpLibContext(AnyIHttpLibStrategy* strategy) : m_strategy(strategy) {}
AnyCurlHttpLibContext::~AnyCurlHttpLibContext() = default;

int AnyCurlHttpLibContext::Request(std::string& response) {
    if (m_strategy == nullptr) return -1;
    return m_strategy->Perform(response);
}
