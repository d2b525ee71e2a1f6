// route-server: loopback routing servers for the demo and the end-to-end tests.
//
//   route-server --routes FILE [--server MODE]... [--max-age N] [--slow-ms N]
//                [--port-file FILE] [--parent-pid PID]
//
// Each --server starts one routing server on a free port of 127.0.0.1 (the
// first plays the primary, the next ones the standbys); MODE is ok, dead,
// slow, fail, empty or garbage. Without --server one "ok" server starts. The
// chosen ports are printed and, with --port-file, written one per line as
// "<mode> <port>". Every request is logged on one line. The servers run until
// the process is stopped or, with --parent-pid, until that process ends.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/FileIo.h"
#include "core/UniqueResource.h"
#include "support/Files.h"
#include "tools/route-server/RouteServer.h"

using grs::routeserver::Mode;

namespace {

int Usage(const char* problem) {
    if (problem) std::fprintf(stderr, "route-server: %s\n", problem);
    std::fprintf(stderr,
                 "usage: route-server --routes FILE [--server ok|dead|slow|fail|empty|garbage]... [--max-age N]\n"
                 "                    [--slow-ms N] [--port-file FILE] [--parent-pid PID]\n");
    return 2;
}

}  // namespace

int main() {
    int argc = 0;
    LPWSTR* argv = ::CommandLineToArgvW(::GetCommandLineW(), &argc);
    const grs::UniqueLocal argvMemory(argv);
    std::wstring routesPath, portFile;
    std::vector<Mode> modes;
    grs::routeserver::Options base;
    DWORD parentPid = 0;
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--routes" && hasValue) {
            routesPath = argv[++i];
        } else if (arg == L"--server" && hasValue) {
            Mode mode;
            if (!grs::routeserver::ParseMode(grs::WideToUtf8(argv[++i]), mode))
                return Usage("unknown server mode");
            modes.push_back(mode);
        } else if (arg == L"--max-age" && hasValue) {
            base.maxAgeSeconds = _wtoi(argv[++i]);
        } else if (arg == L"--slow-ms" && hasValue) {
            base.slowDelayMs = _wtoi(argv[++i]);
        } else if (arg == L"--port-file" && hasValue) {
            portFile = argv[++i];
        } else if (arg == L"--parent-pid" && hasValue) {
            parentPid = static_cast<DWORD>(_wtoi(argv[++i]));
        } else {
            return Usage(arg == L"--help" ? nullptr : "unknown argument");
        }
    }
    if (modes.empty()) modes.push_back(Mode::Ok);

    grs::routeserver::Routes routes;
    std::string text, error;
    if (!routesPath.empty()) {
        if (::GetFileAttributesW(routesPath.c_str()) == INVALID_FILE_ATTRIBUTES)
            return Usage("cannot read the routes file");
        text = grs::support::ReadFileBytes(routesPath);
        if (!routes.Load(text, error)) return Usage(error.c_str());
    }

    std::vector<std::unique_ptr<grs::support::LoopbackHttpServer>> servers;
    std::string portLines;
    for (size_t i = 0; i < modes.size(); ++i) {
        grs::routeserver::Options options = base;
        options.mode = modes[i];
        auto server = std::make_unique<grs::support::LoopbackHttpServer>();
        const std::string label = "[" + std::string(i == 0 ? "primary" : "standby " + std::to_string(i)) + ", " +
                                  grs::routeserver::ModeName(options.mode) + "] ";
        server->SetHandler([routes, options, label](const grs::support::HttpRequest& request) {
            grs::support::HttpAnswer answer = grs::routeserver::Answer(routes, options, request);
            std::printf("route-server %s%s\n", label.c_str(),
                        grs::routeserver::DescribeExchange(request, answer, options.mode).c_str());
            std::fflush(stdout);
            return answer;
        });
        if (!server->Start()) return Usage("cannot listen on 127.0.0.1");
        std::printf("route-server %slistening on http://127.0.0.1:%u\n", label.c_str(), server->Port());
        portLines +=
            std::string(grs::routeserver::ModeName(options.mode)) + " " + std::to_string(server->Port()) + "\n";
        servers.push_back(std::move(server));
    }
    std::fflush(stdout);
    if (!portFile.empty()) {
        // Replaced whole, so a reader never sees half of it.
        (void)grs::ReplaceFileContent(portFile, portLines);
    }

    const grs::UniqueHandle parent(parentPid ? ::OpenProcess(SYNCHRONIZE, FALSE, parentPid) : nullptr);
    if (parent) {
        ::WaitForSingleObject(parent.get(), INFINITE);
    } else {
        for (;;) ::Sleep(60000);
    }
    for (auto& server : servers) server->Stop();
    return 0;
}
