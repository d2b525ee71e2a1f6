// Any text as a routing server's answer or a route cache: a record always
// comes back, nothing throws, and an accepted record writes and reads back as
// itself (groups without entries aside).
#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzz/FuzzSupport.h"
#include "route/RouteDetail.h"
#include "globalrootservice/ZRVInfo.h"

namespace {

grs::route::ServiceGroups NonEmpty(grs::route::ServiceGroups groups) {
    for (auto it = groups.begin(); it != groups.end();) it = it->second.empty() ? groups.erase(it) : std::next(it);
    return groups;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    st_ZRVInfo* record = nullptr;
    if (size % 2 == 1) {  // parsing over an existing record
        record = new st_ZRVInfo();
        record->services[L"old"][L"cas"] = L"https://old";
        record->countryCode = L"CN";
    }
    const bool accepted = grs::route::ReadRouteRecord(record, text);
    fuzz::Check(record != nullptr, "a record always comes back");
    const std::unique_ptr<st_ZRVInfo> owner(record);
    if (!accepted) return 0;

    st_ZRVInfo* again = nullptr;
    fuzz::Check(grs::route::ReadRouteRecord(again, grs::route::WriteRouteRecord(*record)), "written record reads");
    const std::unique_ptr<st_ZRVInfo> againOwner(again);
    fuzz::Check(NonEmpty(again->services) == NonEmpty(record->services), "services survive");
    fuzz::Check(again->isSuccess == record->isSuccess && again->countryCode == record->countryCode,
                "flag and country survive");
    fuzz::Check(grs::route::FieldText(again->currentTime) == grs::route::FieldText(record->currentTime) &&
                    grs::route::FieldText(again->effectivePeriod) == grs::route::FieldText(record->effectivePeriod),
                "times survive");
    return 0;
}
