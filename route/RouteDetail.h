#pragma once

// The route service's decisions as plain functions over plain data, so that
// they can be checked without servers, caches or a parameter store.

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/TextUtil.h"

struct st_ZRVInfo;

namespace grs::route {

// group name -> (service key -> address), as st_ZRVInfo keeps them
using ServiceGroups = std::map<std::wstring, std::map<std::wstring, std::wstring>>;
// service key -> address, both viewing the strings of the groups flattened
using RouteTable = std::map<std::wstring_view, std::wstring_view>;

// The record's JSON form (Zorvane::GetDeserialize and SerializeZRV), kept free
// of the singleton so that it can be checked on its own. ReadRouteRecord
// allocates the record when it is null and never throws: text nested deeper
// than the JSON reader's stack limit is a failed answer, logged at this edge.
bool ReadRouteRecord(st_ZRVInfo*& record, const std::string& json);
std::string WriteRouteRecord(const st_ZRVInfo& record);

// The validity period carried by a "Cache-Control" value: at most five
// characters after its last '=', or from its start when it has none.
std::string CachePeriodText(const std::string& cacheControl);

// The clock of the route cache: milliseconds since 1970-01-01 UTC.
long long NowMilliseconds();

enum class CacheFreshness {
    MissingTime,             // no time or no period recorded
    TimeTooLongOrNoCountry,  // unusable time text or no country recorded
    OtherCountry,            // recorded for another country than the user's
    Expired,
    Fresh,
};

// When a record obtained at `currentTime` (milliseconds, decimal) and valid
// for `period` seconds expires: the leading numbers of both texts (0 when
// unreadable), the sum saturating instead of overflowing.
long long RouteCacheExpiryMs(const std::string& currentTime, const std::string& period);

// A cached record's time of more digits than this is never fresh.
constexpr size_t kMaxRouteTimeDigits = 15;

// Judges a cached record: obtained at `currentTime` (milliseconds, decimal),
// valid for `period` seconds, recorded for `cachedCountry`; fresh only while
// strictly before its expiry and for exactly the user's country.
CacheFreshness JudgeRouteCache(const std::string& currentTime, const std::string& period,
                               const std::wstring& cachedCountry, const std::wstring& userCountry, long long nowMs);

// One table of key -> address: the preferred group (named like the package)
// first, then the other groups in name order, an earlier address never
// replaced by a later one. Only keys `wanted` accepts are kept (all when it
// is null). It views `groups`, which must outlive it.
RouteTable FlattenRoutes(const ServiceGroups& groups, const std::wstring& packageName,
                         bool (*wanted)(std::wstring_view key) = nullptr);

}  // namespace grs::route
