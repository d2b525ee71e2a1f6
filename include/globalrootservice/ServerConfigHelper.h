#pragma once

// The local server address file: one JSON file per region beside the host
// executable, naming the complete address of every service. Not thread-safe:
// construct and call isFileExist from the thread that initialises the client.

#include <map>
#include <string>
#include <unordered_set>

#include "globalrootservice/GlobalRootServiceExport.h"
#include "globalrootservice/ServiceAddressEnum.h"

class GLOBALROOTSERVICE_API ServerConfigHelper {
public:
    using RegionServers = std::map<std::wstring, std::wstring>;
    using ServersByCountry = std::map<std::wstring, RegionServers>;

    // Both can fail only by running out of memory (the file names are
    // copied), and then throw std::bad_alloc.
    ServerConfigHelper();
    ServerConfigHelper(const ServerConfigHelper& other);
    virtual ~ServerConfigHelper();

    // Chooses the file of the current country's region (the test variant when
    // `isTest`), loads it and pushes every address into the parameter store.
    // True only when the file existed and gave a non-empty address map.
    bool isFileExist(bool isTest);

    // Reads the file that isFileExist last chose; on success replaces the
    // address map by the region map found for `countryCode`.
    void Load(std::wstring countryCode, bool isTest);

    // The address of `service` for the current region, or empty.
    std::wstring GetServerAddress(ServiceAddressEnum service, bool isTest);

    // Stores every known address in the parameter store (empty ones included).
    void InitLocalServiceUrl();

private:
    friend class ServerConfigHelperTestAccess;

    void loadServersMap(const std::string& jsonText,
                        std::map<std::wstring, std::map<std::wstring, std::wstring>>& serversByCountry);

    RegionServers m_servers;
    std::wstring m_testFileName;
    std::wstring m_testFileNameDR2;
    std::wstring m_testFileNameDR3;
    std::wstring m_testFileNameDR4;
    std::wstring m_fileName;
    std::wstring m_fileNameDR2;
    std::wstring m_fileNameDR3;
    std::wstring m_fileNameDR4;
    std::unordered_set<std::wstring> m_asiaCountrySet;
    std::unordered_set<std::wstring> m_europeCountrySet;
    std::wstring m_countryCode;
};
