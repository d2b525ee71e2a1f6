#include "host/Sandbox.h"

#include <windows.h>

#include <algorithm>
#include <cctype>

#include "serverconfig/ServerRegion.h"
#include "core/TextUtil.h"
#include "support/Files.h"

namespace host {

namespace {

// What routing servers answer: the package's own group and a default group.
const char* const kRoutedKeys[] = {"cas",
                                   "upas",
                                   "portal",
                                   "basic",
                                   "vfs",
                                   "cloudphoto",
                                   "business",
                                   "terms",
                                   "gw",
                                   "user",
                                   "club",
                                   "consumer",
                                   "cbs",
                                   "cbsv3",
                                   "pim",
                                   "familyshare",
                                   "feedbackannex",
                                   "feedbackwithannex",
                                   "feedbacklog",
                                   "operqrtserverid",
                                   "testzavkooperqrturl",
                                   "configbasic",
                                   "consumerbusiness",
                                   "syncserverurl",
                                   "userInformationservice",
                                   "help",
                                   "cloudphotov2",
                                   "ubaurl",
                                   "opensource",
                                   "content",
                                   "extensions",
                                   "trs",
                                   "push",
                                   "pushToken",
                                   "cloudsyncdrive",
                                   "dataExtract",
                                   "cloudServiceAgreement",
                                   "omcdn",
                                   "omcdnBypass"};

const char* const kRegions[] = {"cn", "dr2", "dr3", "dr4"};
const wchar_t* const kRegionFiles[] = {L"ServerConfig", L"ServerConfigDR2", L"ServerConfigDR3", L"ServerConfigDR4"};

bool CreateTree(const std::wstring& folder) {
    return grs::support::CreateFolderTree(folder);
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

bool WriteTextFile(const std::wstring& path, const std::string& text) {
    return grs::support::WriteFileBytes(path, text);
}

std::string ReadTextFile(const std::wstring& path) {
    return grs::support::ReadFileBytes(path);
}

Sandbox::Sandbox(std::wstring root, std::wstring hostFolder)
    : m_root(std::move(root)), m_hostFolder(std::move(hostFolder)) {}

Sandbox::~Sandbox() {
    StopRoutingServers();
}

bool Sandbox::Prepare(bool keep, std::string& error) {
    if (!keep) grs::support::RemoveTree(m_root);
    for (const std::wstring& folder : {m_root, AppData(), Profile(), Downloads()}) {
        if (!CreateTree(folder)) {
            error = "cannot create " + grs::WideToUtf8(folder);
            return false;
        }
    }
    return true;
}

bool Sandbox::WriteServerAddressFiles(std::string& error) {
    for (size_t region = 0; region < 4; ++region) {
        std::string json = "{\n";
        for (size_t r = 0; r < 4; ++r) {
            json += "  \"" + std::string(kRegions[r]) + "\": {";
            // The services in the order of their enumeration: the routing
            // servers (primary, then the four standbys) come first.
            size_t k = 0;
            for (const auto& service : grs::ServiceKeys()) {
                const std::string key = grs::WideToUtf8(service.second);
                std::string address;
                if (k < 5) {
                    address = k < m_servers.size() ? grs::WideToUtf8(m_servers[k].url) : std::string("http://127.0.0.1:9");
                } else {
                    address = "https://" + Lower(key) + "." + kRegions[r] + ".serverconfig.example";
                }
                json += std::string(k ? ", " : "") + "\"" + key + "\": \"" + address + "\"";
                ++k;
            }
            json += r < 3 ? "},\n" : "}\n";
        }
        json += "}\n";
        const std::wstring path = m_hostFolder + kRegionFiles[region];
        if (!WriteTextFile(path, json)) {
            error = "cannot write " + grs::WideToUtf8(path);
            return false;
        }
    }
    return true;
}

bool Sandbox::StartRoutingServers(const std::vector<std::string>& modes, int maxAgeSeconds, std::string& error) {
    // The routes file: each country gets the package's group and a default group.
    std::string routes = "{\"countries\": {";
    const char* const countries[] = {"CN", "DE", "RU", "SG", "US"};
    for (size_t c = 0; c < 5; ++c) {
        const std::string country = Lower(countries[c]);
        std::string groups = "{\"com.qirent.cloud.pc\": {\"portal\": \"https://portal." + country +
                             ".pc-route.example\"}, \"default\": {";
        for (size_t k = 0; k < sizeof kRoutedKeys / sizeof kRoutedKeys[0]; ++k) {
            groups += std::string(k ? ", " : "") + "\"" + kRoutedKeys[k] + "\": \"https://" + Lower(kRoutedKeys[k]) +
                      "." + country + ".route.example\"";
        }
        groups += "}}";
        routes += std::string(c ? ", " : "") + "\"" + countries[c] + "\": " + groups;
    }
    routes += "}}\n";
    const std::wstring routesFile = m_root + L"\\routes.json";
    const std::wstring portFile = m_root + L"\\route-server.ports";
    ::DeleteFileW(portFile.c_str());
    if (!WriteTextFile(routesFile, routes)) {
        error = "cannot write the routes file";
        return false;
    }

    std::wstring command = L"\"" + m_hostFolder + L"route-server.exe\" --routes \"" + routesFile +
                           L"\" --port-file \"" + portFile + L"\" --slow-ms 1500 --max-age " +
                           std::to_wstring(maxAgeSeconds) + L" --parent-pid " +
                           std::to_wstring(::GetCurrentProcessId());
    for (const std::string& mode : modes) command += L" --server " + grs::Utf8ToWide(mode);

    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    grs::UniqueFile log(::CreateFileW(RouteServerLog().c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherit, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = log.get();
    startup.hStdError = log.get();
    startup.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    PROCESS_INFORMATION process = {};
    const BOOL started = ::CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                          nullptr, &startup, &process);
    log.reset();  // the child has its own handle now
    if (!started) {
        error = "cannot start route-server.exe (error " + std::to_string(::GetLastError()) + ")";
        return false;
    }
    m_routeServerProcess = std::move(grs::UniqueProcess(process).process);

    // Wait (bounded) for the servers to report their ports.
    for (int waited = 0; waited < 15000; waited += 50) {
        const std::string ports = ReadTextFile(portFile);
        size_t lines = static_cast<size_t>(std::count(ports.begin(), ports.end(), '\n'));
        if (lines >= modes.size()) {
            size_t start = 0;
            for (size_t i = 0; i < modes.size(); ++i) {
                const size_t end = ports.find('\n', start);
                const std::string line = ports.substr(start, end - start);
                const size_t space = line.find(' ');
                m_servers.push_back({line.substr(0, space), L"http://127.0.0.1:" + grs::Utf8ToWide(line.substr(space + 1))});
                start = end + 1;
            }
            return true;
        }
        if (::WaitForSingleObject(m_routeServerProcess.get(), 50) == WAIT_OBJECT_0) break;
    }
    error = "route-server did not start; see " + grs::WideToUtf8(RouteServerLog());
    return false;
}

void Sandbox::StopRoutingServers() {
    if (m_routeServerProcess) {
        ::TerminateProcess(m_routeServerProcess.get(), 0);
        ::WaitForSingleObject(m_routeServerProcess.get(), 5000);
        m_routeServerProcess.reset();
    }
}

std::string Sandbox::ServerRole(const std::wstring& url) const {
    for (size_t i = 0; i < m_servers.size(); ++i) {
        const std::wstring& base = m_servers[i].url;
        if (url.compare(0, base.size(), base) == 0 && (url.size() == base.size() || url[base.size()] == L'/'))
            return i == 0 ? "primary" : "standby " + std::to_string(i);
    }
    return std::string();
}

}  // namespace host
