#pragma once

// The route record: where one country's services live, as the routing server
// answered. Allocated on the heap and handed around by pointer; whoever
// finally receives it from Zorvane::GetZRVInfo deletes it.

#include <map>
#include <string>

struct st_ZRVInfo {
    int isSuccess = 0;  // 1: the routing server answered with success
    // group name -> (service key -> address), both ordered by code unit
    std::map<std::wstring, std::map<std::wstring, std::wstring>> services;
    wchar_t effectivePeriod[256] = {};  // validity in seconds, decimal digits
    wchar_t currentTime[20] = {};       // milliseconds since 1970 UTC, decimal digits
    std::wstring countryCode;
};
