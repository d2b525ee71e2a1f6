// The server address files beside the client executable: which exist, which
// one the country chooses, whether it parses and what its region lacks.
#include <algorithm>

#include "inspect/InspectDetail.h"
#include "serverconfig/RegionJson.h"
#include "serverconfig/ServerRegion.h"

namespace inspect {

namespace {

// One file. The test variant matters only to test builds, so what is wrong
// with it counts one step milder.
void CheckServerFile(const std::wstring& name, const FileSnapshot& file, const std::string& member, bool testVariant,
                     Findings& findings) {
    const auto severe = [testVariant](Severity severity) {
        return testVariant && severity == Severity::Problem ? Severity::Warning : severity;
    };
    if (!file.exists) {
        if (testVariant) {
            findings.Add(Code::ServerFileMissing, name, Severity::Note,
                         "absent: test builds of the client would find no server addresses");
        } else {
            findings.Add(Code::ServerFileMissing, name, Severity::Problem,
                         "missing: the client starts without local addresses, routing servers included, so only a "
                         "fresh route cache can serve it");
        }
        return;
    }
    if (file.isFolder) {
        findings.Add(Code::ServerFileUnusable, name, severe(Severity::Problem),
                     "a folder, not a file: nothing is loaded");
        return;
    }
    if (file.tooLarge || file.size > grs::kServerConfigMaxBytes) {
        findings.Add(Code::ServerFileUnusable, name, severe(Severity::Problem),
                     std::to_string(file.size) + " bytes: over " + std::to_string(grs::kServerConfigMaxBytes) +
                         ", which the library refuses to read");
        return;
    }
    if (!file.readable) {
        findings.Add(Code::ServerFileUnusable, name, severe(Severity::Warning),
                     "found but not readable (locked by another program?)");
        return;
    }
    if (file.bytes.empty()) {
        findings.Add(Code::ServerFileUnusable, name, severe(Severity::Problem), "empty: nothing is loaded");
        return;
    }
    const grs::RegionScan scan = grs::ScanRegion(file.bytes, member);
    if (scan.syntaxError) {
        const grs::ParseErrorPlace place = grs::DescribeParseError(file.bytes, scan.errorOffset, scan.errorCode);
        findings.Add(Code::ServerFileNotJson, name, severe(Severity::Problem),
                     "not JSON at byte " + std::to_string(scan.errorOffset) + " (line " + std::to_string(place.line) +
                         ", column " + std::to_string(place.column) + "): " + place.message + " Nothing is loaded.");
        return;
    }
    if (!scan.found) {
        findings.Add(Code::ServerRegionMissing, name, severe(Severity::Problem),
                     "no \"" + member + "\" object: nothing is loaded");
        return;
    }
    if (scan.nonStringValue) {
        findings.Add(Code::ServerRegionNotString, name, severe(Severity::Problem),
                     "\"" + member + "\" holds a value that is not a string: the library refuses the whole region");
        return;
    }
    findings.Add(Code::ServerFileLoaded, name, Severity::Ok,
                 std::to_string(file.size) + " bytes; region \"" + member + "\" holds " +
                     Counted(scan.servers.size(), "key", "keys"));

    std::vector<std::wstring> lacking;
    std::vector<std::wstring> empty;
    std::vector<const wchar_t*> known;
    for (const auto& service : grs::ServiceKeys()) {
        known.push_back(service.second.c_str());
        const auto found = scan.servers.find(service.second);
        if (found == scan.servers.end()) {
            lacking.push_back(service.second);
        } else if (found->second.empty()) {
            empty.push_back(service.second);
        }
    }
    // Without "zrv" the first routing server of every request is unknown.
    const auto withPrimary = [](const std::vector<std::wstring>& keys) {
        return std::find(keys.begin(), keys.end(), L"zrv") != keys.end() ? Severity::Problem : Severity::Warning;
    };
    if (!lacking.empty()) {
        findings.Add(Code::ServiceKeysLacking, name, severe(withPrimary(lacking)),
                     "region \"" + member + "\" lacks " + std::to_string(lacking.size()) + " of the " +
                         std::to_string(known.size()) +
                         " service keys, stored as empty addresses: " + NameList(lacking));
    }
    if (!empty.empty()) {
        findings.Add(Code::ServiceKeysEmpty, name, severe(withPrimary(empty)),
                     "region \"" + member + "\" holds empty addresses for " + NameList(empty));
    }
    std::vector<std::wstring> unknown;
    for (const auto& server : scan.servers) {
        bool caseOnly = false;
        const wchar_t* nearKey = NearMiss(server.first, known, caseOnly);
        if (nearKey != nullptr) {
            findings.Add(Code::ServiceKeyMisspelt, name, severe(Severity::Warning),
                         "key " + Shown(server.first) + " is " + (caseOnly ? "spelt otherwise than" : "one edit from") +
                             " \"" + grs::WideToUtf8(nearKey) + "\": not read, the service keys are exact");
            continue;
        }
        bool isKnown = false;
        for (const wchar_t* key : known) isKnown = isKnown || server.first == key;
        if (!isKnown) unknown.push_back(server.first);
    }
    if (!unknown.empty()) {
        findings.Add(Code::ServiceKeysUnknown, name, Severity::Note,
                     "keys that are not service keys (not read): " + NameList(unknown));
    }
}

}  // namespace

std::vector<Finding> InspectServerConfig(const Snapshot& snapshot, const Context& context) {
    Findings findings(kAreaServerConfig);
    if (snapshot.exeDir.empty()) {
        findings.Add(Code::ExeDirNotGiven, "[exe dir]", Severity::Note,
                     "not inspected: give --exe-dir, the folder of the client executable");
        return findings.Take();
    }
    if (!snapshot.exeDirIsFolder) {
        findings.Add(Code::ExeDirMissing, "[exe dir]", snapshot.exeDirGiven ? Severity::Problem : Severity::Warning,
                     "no folder at " + Shown(snapshot.exeDir));
        return findings.Take();
    }
    const std::string from =
        snapshot.exeDirGiven ? std::string() : " (the folder of the executable the Run value names)";
    std::vector<std::wstring> present;
    for (grs::ServerRegion region : grs::kServerRegions) {
        for (bool test : {false, true}) {
            const std::wstring name = grs::ServerConfigFileName(region, test);
            const auto file = snapshot.serverFiles.find(name);
            if (file != snapshot.serverFiles.end() && file->second.exists) present.push_back(name);
        }
    }
    findings.Add(Code::ServerFiles, "[files]", present.empty() ? Severity::Note : Severity::Ok,
                 (present.empty() ? std::string("none of the eight server address files") : NameList(present)) +
                     " in " + Shown(snapshot.exeDir) + from);

    const grs::ServerRegion region = grs::ChooseServerRegion(context.country, context.asia, context.europe);
    const std::string member = grs::ServerRegionMember(region);
    const std::wstring normal = grs::ServerConfigFileName(region, /*isTest=*/false);
    const std::wstring test = grs::ServerConfigFileName(region, /*isTest=*/true);
    if (context.country.find_first_of(L"abcdefghijklmnopqrstuvwxyz") != std::wstring::npos) {
        findings.Add(Code::RegionCountryCase, "[region]", Severity::Note,
                     "country " + Shown(context.country) +
                         " holds lower-case letters: country codes are compared exactly, so it matches no set "
                         "written in capitals");
    }
    if (context.asia.empty() && context.europe.empty()) {
        findings.Add(Code::RegionSetsNotGiven, "[region]", Severity::Note,
                     "the client's country sets were not given (--asia, --europe): judged as for a country in "
                     "neither set");
    }
    findings.Add(Code::Region, "[region]", Severity::Ok,
                 "country " + Shown(context.country) + " uses region \"" + member + "\": " + Shown(normal) +
                     ", in test builds " + Shown(test));
    for (bool testVariant : {false, true}) {
        const std::wstring& name = testVariant ? test : normal;
        const auto found = snapshot.serverFiles.find(name);
        CheckServerFile(name, found == snapshot.serverFiles.end() ? FileSnapshot() : found->second, member, testVariant,
                        findings);
    }
    return findings.Take();
}

}  // namespace inspect
