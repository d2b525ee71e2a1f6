#pragma once

// The demo's report: what a start did, step by step, and the facts it left
// (addresses, settings files, start with Windows, folders, drives, error log
// lines), printed as text or JSON on standard output.

#include <map>
#include <string>
#include <vector>

#include "host/Sandbox.h"

namespace host {

struct Step {
    std::string name;
    std::string outcome;
    bool ok = true;
    double milliseconds = 0;
};

struct Address {
    std::string value;
    std::string source;
};

struct DemoReport {
    std::vector<Step> steps;
    std::map<std::string, Address> addresses;  // by parameter-store name
    std::string routeSource;
    std::vector<std::string> routeRequests;
    std::map<std::string, std::map<std::string, std::string>> settingsFiles;  // file -> key -> value
    bool autoStartRegistered = false;
    int autoStartSetting = 0;
    std::map<std::string, std::string> folders;
    std::vector<std::string> drives;
    std::vector<std::string> errorLogLines;
};

// The keys of one section of a settings file, read through the
// private-profile functions as the client's other components read them.
std::map<std::string, std::string> ReadSection(const std::wstring& path, const wchar_t* section);

// One logical drive: kind, free space, and whether the sync folder may go there.
std::string DescribeDrive(const std::wstring& root);

void PrintText(const DemoReport& report, const Sandbox& sandbox);
void PrintJson(const DemoReport& report, const Sandbox& sandbox);

}  // namespace host
