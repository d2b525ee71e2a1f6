#include "globalrootservice/ServerConfigHelper.h"

#include <windows.h>

#include <exception>
#include <stdexcept>
#include <string>

#include "core/FileIo.h"
#include "core/Guarded.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "serverconfig/RegionJson.h"
#include "serverconfig/ServerConfigPaths.h"
#include "serverconfig/ServerRegion.h"

namespace grs {

std::wstring& ModuleDirectory() {
    static std::wstring directory;
    return directory;
}

std::wstring& ServerAddressPath() {
    static std::wstring path;
    return path;
}

}  // namespace grs

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kServerConfigHelper[] = "ServerConfigHelper::ServerConfigHelper";
constexpr char kIsFileExist[] = "ServerConfigHelper::isFileExist";
constexpr char kLoad[] = "ServerConfigHelper::Load";
constexpr char kLoadServersMap[] = "ServerConfigHelper::loadServersMap";
constexpr char kGetServerAddress[] = "ServerConfigHelper::GetServerAddress";
constexpr char kInitLocalServiceUrl[] = "ServerConfigHelper::InitLocalServiceUrl";

// Line numbers that the client's log readers match on, kept with their lines
// (every other log line carries its source line).
constexpr int kLineFileMissing = 122;
constexpr int kLineLoaded = 119;
constexpr int kLineLoadFailed = 156;
constexpr int kLineServersEmpty = 167;
constexpr int kLineParseError = 258;

using grs::ServerRegion;

template <typename T>
const T& ByRegion(ServerRegion region, const T& asia, const T& europe, const T& russia, const T& other) {
    switch (region) {
        case ServerRegion::Asia:
            return asia;
        case ServerRegion::Europe:
            return europe;
        case ServerRegion::Russia:
            return russia;
        case ServerRegion::Default:
            break;
    }
    return other;
}

// COMPAT: the main module's path as a buffer of MAX_PATH characters holds it,
// as the client always read it: a longer path comes back cut after 259
// characters (and the server address file is then not found).
std::wstring MainModulePath() {
    return grs::HostExecutablePath().substr(0, MAX_PATH - 1);
}

// The whole file, read once; empty, too large or unreadable loads nothing.
// `error`: the Win32 error of a file that could not be opened, sized or read.
bool ReadServerAddressFile(const std::wstring& path, std::string& text, unsigned long* error = nullptr) {
    const grs::ReadFileResult read =
        grs::ReadWholeFile(grs::WithExtendedPrefix(path), grs::kServerConfigMaxBytes, text);
    if (error != nullptr) *error = read == grs::ReadFileResult::Ok || read == grs::ReadFileResult::TooLarge ? 0 : ::GetLastError();
    return read == grs::ReadFileResult::Ok && !text.empty(); }

// What Load does with the file's text: the region of `countryCode` replaces
// `servers` when the file names it. An exception (a value that is not a
// string) is logged as Load's, whichever operation read the file.
template <typename LoadServersMap>
void ApplyText(const std::string& text, const std::wstring& countryCode, ServerConfigHelper::RegionServers& servers,
               LoadServersMap loadServersMap) {
    grs::Guarded(kLineLoadFailed, kLoad, [&] {
        ServerConfigHelper::ServersByCountry serversByCountry;
        loadServersMap(text, serversByCountry);
        const auto entry = serversByCountry.find(countryCode);
        // A move leaves the map either as it was or wholly replaced.
        if (entry != serversByCountry.end()) servers = std::move(entry->second);
    });
}

using AddressSetter = void (GlobalParamWrapper::*)(const std::wstring&);

struct ServiceStep {
    ServiceAddressEnum service;
    AddressSetter setter;
};

// The order the store receives the addresses in. COMPAT: "portal" feeds two
// setters and "ubaurl" is applied twice, as the client's store has always
// received them; neither is a slip.
const ServiceStep kServiceSteps[] = {
    {SERVICE_TERMS, &GlobalParamWrapper::SetAgreementUrl},
    {SERVICE_UPAS, &GlobalParamWrapper::SetASBaseUrl},
    {SERVICE_BASIC, &GlobalParamWrapper::SetBasicUrl},
    {SERVICE_BUSINESS, &GlobalParamWrapper::SetBusinessUrl},
    {SERVICE_CAS, &GlobalParamWrapper::SetCASBaseUrl},
    {SERVICE_CBS, &GlobalParamWrapper::SetCBSUrl},
    {SERVICE_CLOUDPHOTO, &GlobalParamWrapper::SetCloudPhotoUrl},
    {SERVICE_CLOUDPHOTOV2, &GlobalParamWrapper::SetCloudPhotoV2Url},
    {SERVICE_CONFIGBASIC, &GlobalParamWrapper::SetConfigBasicUrl},
    {SERVICE_CONSUMERBUSINESS, &GlobalParamWrapper::SetConsumerBusinessUrl},
    {SERVICE_CONSUMER, &GlobalParamWrapper::SetConsumerUrl},
    {SERVICE_FEEDBACKANNEX, &GlobalParamWrapper::SetFeedBackAnnexUrl},
    {SERVICE_FEEDBACKLOG, &GlobalParamWrapper::SetFeedBackLogUrl},
    {SERVICE_FEEDBACKWITHANNEX, &GlobalParamWrapper::SetFeedBackWithAnnexUrl},
    {SERVICE_FAMILYSHARE, &GlobalParamWrapper::SetFamilyShareUrl},
    {SERVICE_USER, &GlobalParamWrapper::SetGOpenUserUrl},
    {SERVICE_ZRVBAK, &GlobalParamWrapper::SetZRVBakUrl},
    {SERVICE_ZRV, &GlobalParamWrapper::SetZRVUrl},
    {SERVICE_ZRVBAK1, &GlobalParamWrapper::SetZRVBakUrl1},
    {SERVICE_ZRVBAKRU, &GlobalParamWrapper::SetZRVBakRuUrl},
    {SERVICE_ZRVBAKEU, &GlobalParamWrapper::SetZRVBakEuUrl},
    {SERVICE_GW, &GlobalParamWrapper::SetGWUrl},
    {SERVICE_HELP, &GlobalParamWrapper::SetHelpAndServiceUrl},
    {SERVICE_UBAURL, &GlobalParamWrapper::SetUBAUrl},
    {SERVICE_OPENSOURCE, &GlobalParamWrapper::SetOpenSource},
    {SERVICE_CLUB, &GlobalParamWrapper::SetQirentClubUrl},
    {SERVICE_VFS, &GlobalParamWrapper::SetNspUrl},
    {SERVICE_OPERQRTSERVERID, &GlobalParamWrapper::SetOperqrtServerIdUrl},
    {SERVICE_PIMDS, &GlobalParamWrapper::SetPIMDSUrl},
    {SERVICE_PORTAL, &GlobalParamWrapper::SetPortalServerUrl},
    {SERVICE_PORTAL, &GlobalParamWrapper::SetPortalUrl},
    {SERVICE_SYNCSERVERURL, &GlobalParamWrapper::SetSyncServerUrl},
    {SERVICE_TESTZAVKOOPERQRTURL, &GlobalParamWrapper::SetTestZavkooperqrtUrl},
    {SERVICE_USERINFORMATIONSERVICE, &GlobalParamWrapper::SetUserInformationserviceUrl},
    {SERVICE_TRS, &GlobalParamWrapper::SetTrsUrl},
    {SERVICE_PUSH, &GlobalParamWrapper::SetPushUrl},
    {SERVICE_UBAURL, &GlobalParamWrapper::SetUBAUrl},
    {SERVICE_CONTENT, &GlobalParamWrapper::SetContentUrl},
    {SERVICE_CBSV3, &GlobalParamWrapper::SetCbsV3Url},
    {SERVICE_EXTENSION, &GlobalParamWrapper::SetExtensionUrl},
    {SERVICE_CLOUDSYNCDRIVE, &GlobalParamWrapper::SetCloudSyncDriveUrl},
    {SERVICE_QIRENTCCPCURL, &GlobalParamWrapper::SetQirentCcpcUrl},
    {SERVICE_SCOPEURL, &GlobalParamWrapper::SetScopeUrl},
    {SERVICE_NETPING, &GlobalParamWrapper::SetNetPing},
    {SERVICE_DATAEXTRACT, &GlobalParamWrapper::SetDataExtractUrl},
    {SERVICE_CLOUDSERVICEAGREEMENT, &GlobalParamWrapper::SetCloudServiceAgreementUrl},
    {SERVICE_DMPUPLOAD, &GlobalParamWrapper::SetDmpUploadUrl},
    {SERVICE_LOGPINGURL, &GlobalParamWrapper::SetLogPingUrl},
};

}  // namespace

ServerConfigHelper::ServerConfigHelper()
    : m_testFileName(grs::ServerConfigFileName(ServerRegion::Default, /*isTest=*/true)),
      m_testFileNameDR2(grs::ServerConfigFileName(ServerRegion::Asia, /*isTest=*/true)),
      m_testFileNameDR3(grs::ServerConfigFileName(ServerRegion::Europe, /*isTest=*/true)),
      m_testFileNameDR4(grs::ServerConfigFileName(ServerRegion::Russia, /*isTest=*/true)),
      m_fileName(grs::ServerConfigFileName(ServerRegion::Default, /*isTest=*/false)),
      m_fileNameDR2(grs::ServerConfigFileName(ServerRegion::Asia, /*isTest=*/false)),
      m_fileNameDR3(grs::ServerConfigFileName(ServerRegion::Europe, /*isTest=*/false)),
      m_fileNameDR4(grs::ServerConfigFileName(ServerRegion::Russia, /*isTest=*/false)) {
    grs::Guarded(__LINE__, kServerConfigHelper, [] {
        std::wstring& moduleDirectory = grs::ModuleDirectory();
        if (moduleDirectory.empty()) moduleDirectory = grs::DirectoryWithSeparator(MainModulePath());
    });
}

ServerConfigHelper::ServerConfigHelper(const ServerConfigHelper& other) = default;

ServerConfigHelper::~ServerConfigHelper() = default;

bool ServerConfigHelper::isFileExist(bool isTest) {
    return grs::Guarded(__LINE__, kIsFileExist, false, [&] {
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        m_countryCode = store->GetCountryCode();
        m_asiaCountrySet = store->GetAsiaCountrySet();
        m_europeCountrySet = store->GetEuropeCountrySet();

        const ServerRegion region = grs::ChooseServerRegion(m_countryCode, m_asiaCountrySet, m_europeCountrySet);
        const std::wstring& name =
            isTest ? ByRegion(region, m_testFileNameDR2, m_testFileNameDR3, m_testFileNameDR4, m_testFileName)
                   : ByRegion(region, m_fileNameDR2, m_fileNameDR3, m_fileNameDR4, m_fileName);
        std::wstring& path = grs::ServerAddressPath();
        path = grs::ModuleDirectory() + name;

        // Read first and test for existence only when that fails: a path that
        // exists but cannot be read (a folder, a locked file) is not missing.
        std::string text;
        unsigned long readError = 0;
        if (ReadServerAddressFile(path, text, &readError)) {
            ApplyText(text, m_countryCode, m_servers, [this](const std::string& json, ServersByCountry& byCountry) {
                loadServersMap(json, byCountry);
            });
        } else if (grs::ProbePath(grs::WithExtendedPrefix(path)) == grs::PathPresence::Missing) {
            grs::log::Error(kLineFileMissing, kIsFileExist,
                            L"Load serverconfig to init url fail, serverAddresPath: " + path);
            return false;
        }
        if (m_servers.empty()) return grs::ServerAddressFileNotRead(path, readError);
        InitLocalServiceUrl();
        grs::log::Info(kLineLoaded, kIsFileExist, "Load serverconfig to init url");
        return true;
    });
}

void ServerConfigHelper::Load(std::wstring countryCode, bool /*isTest*/) {
    grs::Guarded(kLineLoadFailed, kLoad, [&] {
        std::string text;
        if (ReadServerAddressFile(grs::ServerAddressPath(), text))
            ApplyText(text, countryCode, m_servers, [this](const std::string& json, ServersByCountry& byCountry) {
                loadServersMap(json, byCountry);
            });
    });
}

void ServerConfigHelper::loadServersMap(
    const std::string& jsonText, std::map<std::wstring, std::map<std::wstring, std::wstring>>& serversByCountry) {
    const ServerRegion region = grs::ChooseServerRegion(m_countryCode, m_asiaCountrySet, m_europeCountrySet);
    grs::RegionScan scan = grs::ScanRegion(jsonText, grs::ServerRegionMember(region));
    if (scan.syntaxError) {
        grs::log::Error(kLineParseError, kLoadServersMap,
                        "[ServerConfigHelper::loadServersMap] Parse ServerConfig Error");
        // Where it broke, for whoever edits the file by hand.
        const grs::ParseErrorPlace place = grs::DescribeParseError(jsonText, scan.errorOffset, scan.errorCode);
        grs::log::Error(kLineParseError, kLoadServersMap,
                        "[ServerConfigHelper::loadServersMap] ServerConfig broken at offset " +
                            std::to_string(scan.errorOffset) + " (line " + std::to_string(place.line) + ", column " +
                            std::to_string(place.column) + "): " + place.message);
        return;
    }
    if (!scan.found) return;
    // Addresses are strings; a region holding anything else is not trusted at
    // all rather than half applied.
    if (scan.nonStringValue) throw std::runtime_error("Server address value is not a string");
    serversByCountry[m_countryCode] = std::move(scan.servers);
}

std::wstring ServerConfigHelper::GetServerAddress(ServiceAddressEnum service, bool isTest) {
    return grs::Guarded(__LINE__, kGetServerAddress, std::wstring(), [&] {
        if (m_servers.empty()) {
            Load(m_countryCode, isTest);
            if (m_servers.empty()) {
                grs::log::Error(kLineServersEmpty, kGetServerAddress,
                                "[ServerConfigHelper::GetServerAddress] servers is empty");
                return std::wstring();
            }
        }
        const auto& keys = grs::ServiceKeys();
        const auto key = keys.find(service);
        if (key == keys.end()) return std::wstring();
        const auto address = m_servers.find(key->second);
        return address == m_servers.end() ? std::wstring() : address->second;
    });
}

void ServerConfigHelper::InitLocalServiceUrl() {
    grs::Guarded(__LINE__, kInitLocalServiceUrl, [&] {
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        if (m_servers.empty()) {
            // Each lookup tries to load the file (and logs that it failed).
            for (const ServiceStep& step : kServiceSteps) (store->*step.setter)(GetServerAddress(step.service, false));
            return;
        }
        // The addresses are handed over in place; a service the file does
        // not name is stored empty.
        static const std::wstring kNone;
        const auto& keys = grs::ServiceKeys();
        for (const ServiceStep& step : kServiceSteps) {
            const auto address = m_servers.find(keys.at(step.service));
            (store->*step.setter)(address == m_servers.end() ? kNone : address->second);
        }
    });
}

namespace grs {

bool ServerAddressFileNotRead(const std::wstring& path, unsigned long error) {
    // A folder in the file's place is no file: it loads nothing, silently.
    const DWORD attributes = ::GetFileAttributesW(WithExtendedPrefix(path).c_str());
    const bool folder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (error != 0 && !folder)
        log::Error(__LINE__, kIsFileExist,
                   L"Server address file not read, error " + std::to_wstring(error) + L": " + path);
    return false;
}

}  // namespace grs
