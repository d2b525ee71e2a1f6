// Any text as a routing server's answer or a route cache: a record always
// comes back, nothing throws, a record read holds exactly the groups that
// have entries, and an accepted record writes and reads back as itself.
#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

#include "core/TextUtil.h"
#include "fuzz/FuzzSupport.h"
#include "route/RouteDetail.h"
#include "globalrootservice/ZRVInfo.h"

namespace {

// The group names the record must hold: the members of "services" with at
// least one member of their own, parsed by the same reader.
std::set<std::wstring> GroupsWithEntries(const std::string& text) {
    std::set<std::wstring> names;
    Json::Reader reader;
    Json::Value root;
    if (!reader.parse(text.data(), text.data() + text.size(), root, /*collectComments=*/true)) return names;
    const Json::Value& services = root["services"];
    for (const std::string& name : services.getMemberNames())
        if (!services[name].getMemberNames().empty()) names.insert(grs::Utf8ToWide(name));
    return names;
}

std::set<std::wstring> GroupNames(const st_ZRVInfo& record) {
    std::set<std::wstring> names;
    for (const auto& group : record.services) names.insert(group.first);
    return names;
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
    // Accepted text was parsed whole (or was not JSON, leaving no groups).
    fuzz::Check(GroupNames(*record) == GroupsWithEntries(text), "exactly the groups with entries are kept");

    // An empty group written with the record is dropped on the way back.
    st_ZRVInfo withEmptyGroup = *record;
    withEmptyGroup.services[L"empty-group"];
    st_ZRVInfo* again = nullptr;
    fuzz::Check(grs::route::ReadRouteRecord(again, grs::route::WriteRouteRecord(withEmptyGroup)),
                "written record reads");
    const std::unique_ptr<st_ZRVInfo> againOwner(again);
    fuzz::Check(again->services == record->services, "services survive");
    fuzz::Check(again->isSuccess == record->isSuccess && again->countryCode == record->countryCode,
                "flag and country survive");
    fuzz::Check(grs::route::FieldText(again->currentTime) == grs::route::FieldText(record->currentTime) &&
                    grs::route::FieldText(again->effectivePeriod) == grs::route::FieldText(record->effectivePeriod),
                "times survive");
    return 0;
}
