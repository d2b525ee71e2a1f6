#include "route/RouteDetail.h"

#include <sys/timeb.h>

#include <exception>
#include <limits>
#include <map>
#include <string_view>

#include "core/TextUtil.h"

namespace grs::route {

namespace {

constexpr long long kMaxMs = std::numeric_limits<long long>::max();
constexpr long long kMinMs = std::numeric_limits<long long>::min();

// A period read from a tampered cache can be any 64-bit number: saturate
// instead of overflowing, so a huge period means "valid for ever".
long long ExpiryOf(long long periodSeconds, long long obtainedMs) {
    long long periodMs;
    if (periodSeconds > kMaxMs / 1000) {
        periodMs = kMaxMs;
    } else if (periodSeconds < kMinMs / 1000) {
        periodMs = kMinMs;
    } else {
        periodMs = periodSeconds * 1000;
    }
    if (obtainedMs > 0 && periodMs > kMaxMs - obtainedMs) return kMaxMs;
    if (obtainedMs < 0 && periodMs < kMinMs - obtainedMs) return kMinMs;
    return periodMs + obtainedMs;
}

}  // namespace

// COMPAT: at most five characters after the last '=': a max-age of 100000
// seconds or more is cut, as the client has always read it.
std::string CachePeriodText(const std::string& cacheControl) {
    const size_t equals = cacheControl.rfind('=');
    const size_t start = equals == std::string::npos ? 0 : equals + 1;
    return cacheControl.substr(start, 5);
}

long long NowMilliseconds() {
    __timeb64 now = {};
#ifdef _MSC_VER
    _ftime64_s(&now);
#else
    _ftime64(&now);
#endif
    return static_cast<long long>(now.time) * 1000 + now.millitm;
}

long long RouteCacheExpiryMs(const std::string& currentTime, const std::string& period) {
    return ExpiryOf(grs::LeadingInteger(period), grs::LeadingInteger(currentTime));
}

CacheFreshness JudgeRouteCache(const std::string& currentTime, const std::string& period,
                               const std::wstring& cachedCountry, const std::wstring& userCountry, long long nowMs) {
    if (currentTime.empty() || period.empty()) return CacheFreshness::MissingTime;
    if (currentTime.size() > kMaxRouteTimeDigits || cachedCountry.empty())
        return CacheFreshness::TimeTooLongOrNoCountry;
    if (cachedCountry != userCountry) return CacheFreshness::OtherCountry;
    const long long expiry = RouteCacheExpiryMs(currentTime, period);
    return expiry > nowMs ? CacheFreshness::Fresh : CacheFreshness::Expired;
}

RouteTable FlattenRoutes(const ServiceGroups& groups, const std::wstring& packageName,
                         bool (*wanted)(std::wstring_view key)) {
    RouteTable flat;
    const auto preferred = groups.find(packageName);
    if (preferred != groups.end()) {
        for (const auto& entry : preferred->second)
            if (wanted == nullptr || wanted(entry.first)) flat.emplace_hint(flat.end(), entry.first, entry.second);
    }
    for (const auto& group : groups) {
        if (group.first == packageName) continue;
        // emplace keeps the address already in the table
        for (const auto& entry : group.second)
            if (wanted == nullptr || wanted(entry.first)) flat.emplace(entry.first, entry.second);
    }
    return flat;
}

}  // namespace grs::route
