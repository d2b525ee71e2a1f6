// Any bytes as the route cache, through the reader of Zorvane::GetDeserialize
// and the freshness decision: the verdict agrees with a reference computed in
// wide integers (at the edges of time and on either side of the expiry), and
// the record written back as the route cache is judged as the text it came
// from.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "core/TextUtil.h"
#include "fuzz/FuzzSupport.h"
#include "route/RouteDetail.h"
#include "globalrootservice/ZRVInfo.h"

namespace {

using grs::route::CacheFreshness;

constexpr long long kMax = std::numeric_limits<long long>::max();
constexpr long long kMin = std::numeric_limits<long long>::min();

long long Clamp(__int128 value) {
    return value > kMax ? kMax : value < kMin ? kMin : static_cast<long long>(value);
}

// The expiry the cache text stands for: the leading numbers of both fields,
// the period in seconds, everything saturated at the 64-bit ends.
long long ReferenceExpiry(const std::string& time, const std::string& period) {
    long long obtained = 0, seconds = 0;
    grs::ParseDecimalInt64(time.data(), time.data() + time.size(), obtained);
    grs::ParseDecimalInt64(period.data(), period.data() + period.size(), seconds);
    return Clamp(static_cast<__int128>(Clamp(static_cast<__int128>(seconds) * 1000)) + obtained);
}

CacheFreshness Judge(const st_ZRVInfo& record, const std::wstring& userCountry, long long now) {
    return grs::route::JudgeRouteCache(grs::WideToUtf8(grs::FieldText(record.currentTime)),
                                       grs::WideToUtf8(grs::FieldText(record.effectivePeriod)), record.countryCode,
                                       userCountry, now);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    st_ZRVInfo* record = nullptr;
    grs::route::ReadRouteRecord(record, std::string(reinterpret_cast<const char*>(data), size));
    fuzz::Check(record != nullptr, "a record always comes back");
    const std::unique_ptr<st_ZRVInfo> owner(record);

    const std::string time = grs::WideToUtf8(grs::FieldText(record->currentTime));
    const std::string period = grs::WideToUtf8(grs::FieldText(record->effectivePeriod));
    const long long expiry = ReferenceExpiry(time, period);
    st_ZRVInfo* again = nullptr;
    grs::route::ReadRouteRecord(again, grs::route::WriteRouteRecord(*record));
    const std::unique_ptr<st_ZRVInfo> againOwner(again);

    for (const std::wstring& userCountry : {record->countryCode, std::wstring(L"CN")}) {
        for (const long long now : {kMin, expiry == kMin ? kMin : expiry - 1, expiry, 0ll, 1700000000000ll, kMax}) {
            const CacheFreshness verdict = Judge(*record, userCountry, now);
            CacheFreshness expected = CacheFreshness::Fresh;
            if (time.empty() || period.empty())
                expected = CacheFreshness::MissingTime;
            else if (time.size() > 15 || record->countryCode.empty())
                expected = CacheFreshness::TimeTooLongOrNoCountry;
            else if (record->countryCode != userCountry)
                expected = CacheFreshness::OtherCountry;
            else if (expiry <= now)
                expected = CacheFreshness::Expired;
            fuzz::Check(verdict == expected, "the verdict agrees with the reference");
            fuzz::Check(again != nullptr && Judge(*again, userCountry, now) == verdict,
                        "the record written back is judged the same");
        }
    }
    return 0;
}
