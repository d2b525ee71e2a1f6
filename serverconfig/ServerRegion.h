#pragma once

// Which server address file a country uses: the region choice, the region's
// member in the file's JSON, the file names, and the service keys the client
// looks up. Pure: no file, no parameter store.

#include <map>
#include <string>
#include <unordered_set>

#include "globalrootservice/ServiceAddressEnum.h"

namespace grs {

enum class ServerRegion { Asia, Europe, Russia, Default };
// Every region, the default first: each has its server address file.
constexpr ServerRegion kServerRegions[] = {ServerRegion::Default, ServerRegion::Asia, ServerRegion::Europe,
                                           ServerRegion::Russia};

// A server address file is read whole; a larger one is refused.
constexpr unsigned long long kServerConfigMaxBytes = 1048576;

// First match wins: a country in both sets counts as Asian; "RU" is exact.
ServerRegion ChooseServerRegion(const std::wstring& countryCode, const std::unordered_set<std::wstring>& asia,
                                const std::unordered_set<std::wstring>& europe);

// "dr2", "dr3", "dr4" or "cn".
const char* ServerRegionMember(ServerRegion region);

// "ServerConfigDR2" ... "ServerConfig", or the "ServerConfigTest..." variant.
// The files carry no extension.
const wchar_t* ServerConfigFileName(ServerRegion region, bool isTest);

// The member of the region object that names each of the 46 services.
const std::map<ServiceAddressEnum, std::wstring>& ServiceKeys();

}  // namespace grs
