#pragma once

// A small HTTP/1.1 server on 127.0.0.1 for tests and tools: scripted answers
// per path (status, headers, body, delay, a dropped or never-answered
// connection) and a record of the requests it received. One connection per
// request (Connection: close).

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/UniqueSocket.h"

namespace grs::support {

struct HttpAnswer {
    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    int delayMs = 0;              // wait before answering
    bool dropConnection = false;  // close without answering
    bool neverAnswer = false;     // keep the connection open until Stop
};

struct HttpRequest {
    std::string method;
    std::string target;  // path and query as sent
    std::string path;    // without the query
    std::string query;   // without the '?'
    std::map<std::string, std::string> headers;
    std::string body;
};

class LoopbackHttpServer {
public:
    using Handler = std::function<HttpAnswer(const HttpRequest&)>;

    LoopbackHttpServer();
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    // Listens on 127.0.0.1:`port` (0: a free port). False when it cannot.
    bool Start(uint16_t port = 0);
    // Closes the listener and every open connection, waits for the workers.
    void Stop();

    uint16_t Port() const { return m_port; }
    std::wstring BaseUrl() const;  // L"http://127.0.0.1:<port>"

    // Answers for a path (query ignored); others get the default (404).
    void SetAnswer(const std::string& path, HttpAnswer answer);
    void SetDefaultAnswer(HttpAnswer answer);
    // Decides every answer itself (takes precedence over the scripted ones).
    void SetHandler(Handler handler);

    std::vector<HttpRequest> Requests() const;
    void ClearRequests();

private:
    void AcceptLoop(SOCKET listener);
    void Serve(SOCKET socket);
    HttpAnswer AnswerFor(const HttpRequest& request);

    UniqueSocket m_listener;
    uint16_t m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::thread m_acceptThread;
    mutable std::mutex m_mutex;
    std::vector<std::thread> m_workers;
    std::vector<SOCKET> m_openSockets;  // owned by their workers
    std::map<std::string, HttpAnswer> m_answers;
    HttpAnswer m_defaultAnswer;
    Handler m_handler;
    std::vector<HttpRequest> m_requests;
};

}  // namespace grs::support
