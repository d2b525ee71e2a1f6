#pragma once

// The client's HTTP library: a strategy carries one request's settings, a
// context performs it. The strategy must outlive the context.

#include <functional>
#include <map>
#include <string>

#include "globalrootservice/collaborators/ClientLibsExport.h"

enum AnyHttpRequestMethod {
    AnyHttpRequestGet = 0,
    AnyHttpRequestPost = 1,  // a request that carries a body
};

class CLIENTLIBS_API AnyIHttpLibStrategy {
public:
    virtual ~AnyIHttpLibStrategy();

    virtual void SetUrl(const std::string& url) = 0;
    // Receives the library's own diagnostics, one message per call.
    virtual void SetLogFunction(const std::function<void(const std::string&)>& log) = 0;
    virtual void SetHttpRequestMethod(AnyHttpRequestMethod method) = 0;
    virtual void SetPostData(const std::string& body) = 0;
    virtual void SetHeaders(const std::map<std::string, std::string>& headers) = 0;

    // Performs the request as configured; see AnyCurlHttpLibContext::Request.
    virtual int Perform(std::string& response) = 0;
};

class CLIENTLIBS_API AnyBasicHttpLibStrategy : public AnyIHttpLibStrategy {
public:
    AnyBasicHttpLibStrategy();
    ~AnyBasicHttpLibStrategy() override;
    AnyBasicHttpLibStrategy(const AnyBasicHttpLibStrategy&) = delete;
    AnyBasicHttpLibStrategy& operator=(const AnyBasicHttpLibStrategy&) = delete;

    void SetUrl(const std::string& url) override;
    void SetLogFunction(const std::function<void(const std::string&)>& log) override;
    void SetHttpRequestMethod(AnyHttpRequestMethod method) override;
    void SetPostData(const std::string& body) override;
    void SetHeaders(const std::map<std::string, std::string>& headers) override;
    int Perform(std::string& response) override;

private:
    struct Impl;
    Impl* m_impl;
};

class CLIENTLIBS_API AnyCurlHttpLibContext {
public:
    // `strategy` must not be null and must outlive the context.
    explicit AnyCurlHttpLibContext(AnyIHttpLibStrategy* strategy);
    virtual ~AnyCurlHttpLibContext();
    AnyCurlHttpLibContext(const AnyCurlHttpLibContext&) = delete;
    AnyCurlHttpLibContext& operator=(const AnyCurlHttpLibContext&) = delete;

    // Fills `response` with the body. Returns the HTTP status code when an
    // answer arrived, or a negative transport error code.
    virtual int Request(std::string& response);

private:
    AnyIHttpLibStrategy* m_strategy;
};
