// The route record's JSON form, as the singleton offers it.
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"

// The exported signatures below take their arguments by value: the client's ABI
// fixes them.
bool Zorvane::GetDeserialize(st_ZRVInfo*& record, std::string json) {  // NOLINT(performance-unnecessary-value-param)
    return grs::route::ReadRouteRecord(record, json);
}

std::string Zorvane::SerializeZRV(st_ZRVInfo*& record) {
    return record == nullptr ? std::string() : grs::route::WriteRouteRecord(*record);
}

// COMPAT: both overloads take the table by value, as exported; nothing in the
// library calls them on a hot path.
bool Zorvane::IsExistKey(std::map<std::wstring, std::wstring> map,  // NOLINT(performance-unnecessary-value-param)
                         std::wstring key) {                        // NOLINT(performance-unnecessary-value-param)
    return map.find(key) != map.end();
}

bool Zorvane::IsExistKey(std::map<std::string, std::string> map,  // NOLINT(performance-unnecessary-value-param)
                         std::string key) {                       // NOLINT(performance-unnecessary-value-param)
    return map.find(key) != map.end();
}
