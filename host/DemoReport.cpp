#include "host/DemoReport.h"

#include <windows.h>

#include <json/json.h>

#include <cstdio>
#include <cwchar>

#include "core/TextUtil.h"
#include "userprops/UserPropertyRules.h"

namespace host {

std::map<std::string, std::string> ReadSection(const std::wstring& path, const wchar_t* section) {
    std::map<std::string, std::string> keys;
    std::vector<wchar_t> buffer(65536);
    const DWORD length =
        ::GetPrivateProfileSectionW(section, buffer.data(), static_cast<DWORD>(buffer.size()), path.c_str());
    for (const wchar_t* entry = buffer.data(); entry < buffer.data() + length && *entry; entry += wcslen(entry) + 1) {
        const std::wstring line = entry;
        const size_t equals = line.find(L'=');
        keys[grs::WideToUtf8(line.substr(0, equals))] =
            equals == std::wstring::npos ? "" : grs::WideToUtf8(line.substr(equals + 1));
    }
    return keys;
}

std::string DescribeDrive(const std::wstring& root) {
    ULARGE_INTEGER available, total, free;
    const UINT type = ::GetDriveTypeW(root.c_str());
    const char* kind = type == DRIVE_FIXED       ? "fixed"
                       : type == DRIVE_REMOVABLE ? "removable"
                       : type == DRIVE_REMOTE    ? "network"
                       : type == DRIVE_CDROM     ? "optical"
                                                 : "other";
    std::string text = grs::WideToUtf8(root) + " " + kind;
    if (::GetDiskFreeSpaceExW(root.c_str(), &available, &total, &free)) {
        text += ", " + std::to_string(free.QuadPart >> 20) + " MiB free";
        text += free.QuadPart > grs::kSyncDriveMinimumFree ? "" : " (not more than 100 MiB: not eligible)";
    } else {
        text += ", free space unreadable (skipped)";
    }
    const DWORD attributes = ::GetFileAttributesW(root.c_str());
    if (attributes == FILE_ATTRIBUTE_HIDDEN) text += ", hidden root (skipped)";
    if (type != DRIVE_FIXED) text += " (not a fixed disk: not eligible)";
    return text;
}

void PrintText(const DemoReport& report, const Sandbox& sandbox) {
    std::printf("\nStart-up report (profile: %s)\n", grs::WideToUtf8(sandbox.Root()).c_str());
    std::printf("\nSteps\n");
    for (const Step& step : report.steps)
        std::printf("  %-4s %-52s %8.1f ms  %s\n", step.ok ? "ok" : "FAIL", step.name.c_str(), step.milliseconds,
                    step.outcome.c_str());
    std::printf("\nRouting servers\n");
    for (size_t i = 0; i < sandbox.RoutingServers().size(); ++i)
        std::printf("  %-10s %-8s %s\n", i == 0 ? "primary" : ("standby " + std::to_string(i)).c_str(),
                    sandbox.RoutingServers()[i].mode.c_str(), grs::WideToUtf8(sandbox.RoutingServers()[i].url).c_str());
    std::printf("  requests made: %zu; route source: %s\n", report.routeRequests.size(), report.routeSource.c_str());
    std::printf("\nService addresses in the parameter store\n");
    for (const auto& address : report.addresses)
        std::printf("  %-28s %-52s %s\n", address.first.c_str(),
                    address.second.value.empty() ? "(empty)" : address.second.value.c_str(),
                    address.second.source.c_str());
    for (const auto& file : report.settingsFiles) {
        std::printf("\n%s (%zu keys)\n", file.first.c_str(), file.second.size());
        for (const auto& key : file.second) std::printf("  %s=%s\n", key.first.c_str(), key.second.c_str());
    }
    std::printf("\nStart with Windows: setting %d, Run value %s\n", report.autoStartSetting,
                report.autoStartRegistered ? "registered" : "not registered");
    std::printf("\nFolders\n");
    for (const auto& folder : report.folders) std::printf("  %-40s %s\n", folder.first.c_str(), folder.second.c_str());
    std::printf(
        "  drives (the sync folder goes to the first fixed drive with more than 100 MiB free, system drive last):\n");
    for (const auto& drive : report.drives) std::printf("    %s\n", drive.c_str());
    std::printf("\nLibrary log lines at severity 5 (%zu)\n", report.errorLogLines.size());
    for (const auto& line : report.errorLogLines) std::printf("  %s\n", line.c_str());
    std::printf("\nFull log: %s\n", grs::WideToUtf8(sandbox.LogFile()).c_str());
}

void PrintJson(const DemoReport& report, const Sandbox& sandbox) {
    Json::Value root(Json::objectValue);
    root["profile"] = grs::WideToUtf8(sandbox.Root());
    for (const Step& step : report.steps) {
        Json::Value s(Json::objectValue);
        s["name"] = step.name;
        s["ok"] = step.ok;
        s["outcome"] = step.outcome;
        s["milliseconds"] = step.milliseconds;
        root["steps"].append(s);
    }
    for (size_t i = 0; i < sandbox.RoutingServers().size(); ++i) {
        Json::Value s(Json::objectValue);
        s["role"] = i == 0 ? "primary" : "standby " + std::to_string(i);
        s["mode"] = sandbox.RoutingServers()[i].mode;
        s["url"] = grs::WideToUtf8(sandbox.RoutingServers()[i].url);
        root["routingServers"].append(s);
    }
    root["routeSource"] = report.routeSource;
    root["routeRequests"] = Json::Value(Json::arrayValue);
    for (const auto& request : report.routeRequests) root["routeRequests"].append(request);
    for (const auto& address : report.addresses) {
        root["addresses"][address.first]["value"] = address.second.value;
        root["addresses"][address.first]["source"] = address.second.source;
    }
    for (const auto& file : report.settingsFiles)
        for (const auto& key : file.second) root["settingsFiles"][file.first][key.first] = key.second;
    root["autoStart"]["setting"] = report.autoStartSetting;
    root["autoStart"]["registered"] = report.autoStartRegistered;
    for (const auto& folder : report.folders) root["folders"][folder.first] = folder.second;
    root["drives"] = Json::Value(Json::arrayValue);
    for (const auto& drive : report.drives) root["drives"].append(drive);
    root["errorLogLines"] = Json::Value(Json::arrayValue);
    for (const auto& line : report.errorLogLines) root["errorLogLines"].append(line);
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    std::printf("%s\n", Json::writeString(builder, root).c_str());
}

}  // namespace host
