// Any text as a routing server's answer or a route cache: a record always
// comes back, nothing throws, the fast reader agrees with jsoncpp's, a record
// read holds exactly the groups that have entries, and an accepted record
// writes and reads back as itself.
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

// The nesting test byte by byte, as first written: the oracle of the fast one.
bool NestsDeeperThan(const std::string& text, size_t limit) {
    size_t depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            for (++i; i < text.size() && text[i] != '"'; ++i)
                if (text[i] == '\\') ++i;
        } else if (c == '/' && i + 1 < text.size() && text[i + 1] == '/') {
            i = text.find('\n', i);
            if (i == std::string::npos) return false;
        } else if (c == '/' && i + 1 < text.size() && text[i + 1] == '*') {
            i = text.find("*/", i + 2);
            if (i == std::string::npos) return false;
            ++i;
        } else if (c == '[' || c == '{') {
            if (++depth > limit) return true;
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return false;
}

bool SameRecord(const st_ZRVInfo& a, const st_ZRVInfo& b) {
    return a.isSuccess == b.isSuccess && a.services == b.services && a.countryCode == b.countryCode &&
           grs::FieldText(a.currentTime) == grs::FieldText(b.currentTime) &&
           grs::FieldText(a.effectivePeriod) == grs::FieldText(b.effectivePeriod);
}

st_ZRVInfo* StartingRecord(size_t size) {
    if (size % 2 == 0) return nullptr;
    auto* record = new st_ZRVInfo();  // parsing over an existing record
    record->services[L"old"][L"cas"] = L"https://old";
    record->countryCode = L"CN";
    grs::CopyToField(record->currentTime, L"1");
    return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t limit : {size_t{1}, size_t{3}, grs::route::kMaxJsonNesting})
        fuzz::Check(grs::route::JsonNestsDeeperThan(text, limit) == NestsDeeperThan(text, limit), "nesting agrees");
    st_ZRVInfo* record = StartingRecord(size);
    const bool accepted = grs::route::ReadRouteRecord(record, text);
    fuzz::Check(record != nullptr, "a record always comes back");
    const std::unique_ptr<st_ZRVInfo> owner(record);

    // The fast reader gives what jsoncpp's reader alone gives, failures included.
    st_ZRVInfo* reference = StartingRecord(size);
    const bool referenceAccepted = grs::route::ReadRouteRecordWithJsoncpp(reference, text);
    const std::unique_ptr<st_ZRVInfo> referenceOwner(reference);
    fuzz::Check(accepted == referenceAccepted && SameRecord(*record, *reference), "same record as jsoncpp's");
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
    fuzz::Check(SameRecord(*again, *record), "written record reads back as itself");
    return 0;
}
