#include "support/LoopbackHttpServer.h"

#include <ws2tcpip.h>

#include <algorithm>
#include <chrono>

namespace grs::support {

namespace {

constexpr size_t kMaxRequestBytes = 64u << 20;

struct WinsockInit {
    WinsockInit() {
        WSADATA data;
        ::WSAStartup(MAKEWORD(2, 2), &data);
    }
};

void EnsureWinsock() {
    static WinsockInit init;
}

const char* ReasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 404:
            return "Not Found";
        case 500:
            return "Internal Server Error";
        case 503:
            return "Service Unavailable";
        default:
            return "Status";
    }
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(::tolower(c)); });
    return text;
}

bool SendAll(SOCKET socket, const std::string& data) {
    size_t sent = 0;
    while (sent < data.size()) {
        const int chunk = static_cast<int>(std::min<size_t>(data.size() - sent, 1 << 20));
        const int n = ::send(socket, data.data() + sent, chunk, 0);
        if (n <= 0) return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

// Reads one request; false when the peer closed or sent garbage.
bool ReadRequest(SOCKET socket, HttpRequest& request) {
    std::string data;
    char buffer[16384];
    size_t headerEnd = std::string::npos;
    while ((headerEnd = data.find("\r\n\r\n")) == std::string::npos) {
        const int n = ::recv(socket, buffer, sizeof buffer, 0);
        if (n <= 0 || data.size() > kMaxRequestBytes) return false;
        data.append(buffer, static_cast<size_t>(n));
    }
    const std::string head = data.substr(0, headerEnd);
    size_t lineEnd = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineEnd);
    const size_t space1 = requestLine.find(' ');
    const size_t space2 = requestLine.find(' ', space1 + 1);
    if (space1 == std::string::npos || space2 == std::string::npos) return false;
    request.method = requestLine.substr(0, space1);
    request.target = requestLine.substr(space1 + 1, space2 - space1 - 1);
    const size_t question = request.target.find('?');
    request.path = request.target.substr(0, question);
    request.query = question == std::string::npos ? std::string() : request.target.substr(question + 1);
    while (lineEnd != std::string::npos) {
        const size_t start = lineEnd + 2;
        lineEnd = head.find("\r\n", start);
        const std::string line = head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
        const size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        std::string value = line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        request.headers[Lower(line.substr(0, colon))] = value;
    }
    size_t contentLength = 0;
    auto length = request.headers.find("content-length");
    if (length != request.headers.end())
        contentLength = static_cast<size_t>(std::strtoull(length->second.c_str(), nullptr, 10));
    if (contentLength > kMaxRequestBytes) return false;
    request.body = data.substr(headerEnd + 4);
    while (request.body.size() < contentLength) {
        const int n = ::recv(socket, buffer, sizeof buffer, 0);
        if (n <= 0) return false;
        request.body.append(buffer, static_cast<size_t>(n));
    }
    return true;
}

}  // namespace

LoopbackHttpServer::LoopbackHttpServer() {
    m_defaultAnswer.status = 404;
}

LoopbackHttpServer::~LoopbackHttpServer() {
    Stop();
}

std::wstring LoopbackHttpServer::BaseUrl() const {
    return L"http://127.0.0.1:" + std::to_wstring(m_port);
}

bool LoopbackHttpServer::Start(uint16_t port) {
    EnsureWinsock();
    UniqueSocket listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!listener) return false;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    int length = sizeof address;
    if (::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), SOMAXCONN) != 0 ||
        ::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_listener = std::move(listener);
    m_stopping = false;
    m_acceptThread = std::thread([this, socket = m_listener.get()] { AcceptLoop(socket); });
    return true;
}

void LoopbackHttpServer::Stop() {
    if (!m_acceptThread.joinable()) return;
    m_stopping = true;
    m_listener.reset();  // ends the blocking accept
    m_acceptThread.join();
    std::vector<std::thread> workers;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (SOCKET socket : m_openSockets) ::shutdown(socket, SD_BOTH);
        workers.swap(m_workers);
    }
    for (std::thread& worker : workers) worker.join();
}

void LoopbackHttpServer::SetAnswer(const std::string& path, HttpAnswer answer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[path] = std::move(answer);
}

void LoopbackHttpServer::SetDefaultAnswer(HttpAnswer answer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_defaultAnswer = std::move(answer);
}

void LoopbackHttpServer::SetHandler(Handler handler) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handler = std::move(handler);
}

std::vector<HttpRequest> LoopbackHttpServer::Requests() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

void LoopbackHttpServer::ClearRequests() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
}

void LoopbackHttpServer::AcceptLoop(SOCKET listener) {
    for (;;) {
        UniqueSocket client(::accept(listener, nullptr, nullptr));
        if (!client) {
            if (m_stopping) return;
            continue;
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping) return;
        m_openSockets.push_back(client.get());
        m_workers.emplace_back([this, socket = client.release()] { Serve(socket); });
    }
}

HttpAnswer LoopbackHttpServer::AnswerFor(const HttpRequest& request) {
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
        if (!m_handler) {
            auto it = m_answers.find(request.path);
            return it == m_answers.end() ? m_defaultAnswer : it->second;
        }
        handler = m_handler;
    }
    try {
        return handler(request);
    } catch (...) {
        HttpAnswer failed;
        failed.status = 500;
        return failed;
    }
}

void LoopbackHttpServer::Serve(SOCKET socket) {
    const UniqueSocket owner(socket);
    HttpRequest request;
    if (ReadRequest(socket, request)) {
        const HttpAnswer answer = AnswerFor(request);
        const auto waitUntil = [this](std::chrono::steady_clock::time_point deadline) {
            while (!m_stopping && std::chrono::steady_clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        };
        if (answer.neverAnswer) {
            waitUntil(std::chrono::steady_clock::time_point::max());
        } else {
            waitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(answer.delayMs));
            if (!answer.dropConnection && !m_stopping) {
                std::string response = "HTTP/1.1 " + std::to_string(answer.status) + " " + ReasonPhrase(answer.status) +
                                       "\r\nContent-Length: " + std::to_string(answer.body.size()) +
                                       "\r\nConnection: close\r\n";
                for (const auto& header : answer.headers) response += header.first + ": " + header.second + "\r\n";
                response += "\r\n";
                response += answer.body;
                SendAll(socket, response);
                ::shutdown(socket, SD_SEND);
            }
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_openSockets.erase(std::remove(m_openSockets.begin(), m_openSockets.end(), socket), m_openSockets.end());
}

}  // namespace grs::support
