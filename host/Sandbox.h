#pragma once

// The demo's world: folders for app-data, profile and downloads, the server
// address files beside the host, a routes file, and the routing servers
// (route-server.exe, a child process on free loopback ports).

#include <string>
#include <vector>

#include "core/UniqueResource.h"
#include "support/Files.h"

namespace host {

struct RoutingServer {
    std::string mode;  // as route-server names it: ok, dead, slow, ...
    std::wstring url;  // http://127.0.0.1:<port>
};

class Sandbox {
public:
    Sandbox(std::wstring root, std::wstring hostFolder);
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // Creates the folders (wiping the root first unless `keep`).
    bool Prepare(bool keep, std::string& error);
    // Writes the four regional server address files beside the host, naming
    // the routing servers for "zrv".."zrvbakeu" and sample service addresses.
    bool WriteServerAddressFiles(std::string& error);
    // Starts route-server with one server per mode: the primary, then standbys.
    bool StartRoutingServers(const std::vector<std::string>& modes, int maxAgeSeconds, std::string& error);
    void StopRoutingServers();

    const std::wstring& Root() const { return m_root; }
    std::wstring AppData() const { return m_root + L"\\AppData"; }
    std::wstring Profile() const { return m_root + L"\\Profile"; }
    std::wstring Downloads() const { return m_root + L"\\Profile\\Downloads"; }
    std::wstring Database() const { return m_root + L"\\properties.db"; }
    std::wstring LogFile() const { return m_root + L"\\client.log"; }
    std::wstring RouteServerLog() const { return m_root + L"\\route-server.log"; }
    const std::vector<RoutingServer>& RoutingServers() const { return m_servers; }
    // Which server an address belongs to ("primary", "standby 2"), or empty.
    std::string ServerRole(const std::wstring& url) const;

private:
    std::wstring m_root;
    std::wstring m_hostFolder;
    std::vector<RoutingServer> m_servers;
    grs::UniqueHandle m_routeServerProcess;
};

bool WriteTextFile(const std::wstring& path, const std::string& text);
std::string ReadTextFile(const std::wstring& path);

}  // namespace host
