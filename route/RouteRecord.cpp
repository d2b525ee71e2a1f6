// The route record's JSON form, as the singleton offers it.
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"

bool Zorvane::GetDeserialize(st_ZRVInfo*& record, std::string json) {
    return grs::route::ReadRouteRecord(record, json);
}

std::string Zorvane::SerializeZRV(st_ZRVInfo*& record) {
    return record == nullptr ? std::string() : grs::route::WriteRouteRecord(*record);
}

// COMPAT: both overloads take the table by value, as exported; nothing in the
// library calls them on a hot path.
bool Zorvane::IsExistKey(std::map<std::wstring, std::wstring> map, std::wstring key) {
    return map.find(key) != map.end();
}

bool Zorvane::IsExistKey(std::map<std::string, std::string> map, std::string key) {
    return map.find(key) != map.end();
}
