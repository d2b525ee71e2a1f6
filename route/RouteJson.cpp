// The route record's JSON form: one line, members sorted, UTF-8. Pure: no
// collaborator, no file, no clock.
#include <json/json.h>

#include <optional>

#include "core/Guarded.h"
#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "globalrootservice/ZRVInfo.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kGetDeserialize[] = "Zorvane::GetDeserialize";

}  // namespace

namespace grs::route {

namespace {

// A string member as UTF-16. Strings are read in place; other types go
// through the library's own string conversion (an integer gives its digits,
// an object or array throws).
std::wstring AsWide(const Json::Value& value) {
    const char* begin = nullptr;
    const char* end = nullptr;
    if (value.getString(&begin, &end)) return grs::Utf8ToWide(begin, static_cast<size_t>(end - begin));
    return grs::Utf8ToWide(value.asString());
}

std::wstring NameAsWide(const Json::Value::const_iterator& member) {
    const char* end = nullptr;
    const char* begin = member.memberName(&end);
    return grs::Utf8ToWide(begin, static_cast<size_t>(end - begin));
}

// Members are listed only for null and objects; anything else fails as the
// library fails to list it (an exception with its own message).
void RequireMembers(const Json::Value& value) {
    if (!value.isNull() && !value.isObject()) value.getMemberNames();
}

// Reads the parsed answer into the record in the fixed order; false when a
// time text does not fit its field (later fields then keep their values).
bool FillRecord(st_ZRVInfo& record, const Json::Value& root) {
    if (!grs::CopyToField(record.currentTime, AsWide(root["currentTime"]))) return false;
    if (!grs::CopyToField(record.effectivePeriod, AsWide(root["effectivePeriod"]))) return false;
    record.isSuccess = root["isSuccess"].asInt();
    record.countryCode = AsWide(root["countryCode"]);

    ServiceGroups groups;
    const Json::Value& services = root["services"];
    RequireMembers(services);
    // Members come in byte order of their names, which their UTF-16 forms
    // nearly always keep: the end is the right hint.
    for (auto group = services.begin(); group != services.end(); ++group) {
        RequireMembers(*group);
        std::map<std::wstring, std::wstring> entries;
        for (auto entry = group->begin(); entry != group->end(); ++entry)
            entries.emplace_hint(entries.end(), NameAsWide(entry), AsWide(*entry));  // an earlier equal key stays
        // COMPAT: a group enters the record with its first entry, so one that
        // is null or an empty object is dropped. An answer whose groups are
        // all empty therefore has no services and is not applied.
        if (!entries.empty()) groups.emplace_hint(groups.end(), NameAsWide(group), std::move(entries));
    }
    record.services.swap(groups);
    return true;
}

}  // namespace

bool ReadRouteRecord(st_ZRVInfo*& record, const std::string& json) {
    // Empty when the text could not be taken (too deep, wrong member types).
    const std::optional<bool> read =
        grs::Guarded(__LINE__, kGetDeserialize, std::optional<bool>(), [&]() -> std::optional<bool> {
            if (record == nullptr) record = new st_ZRVInfo();
            // Text nested deeper than the reader's own stack limit (a route
            // answer is three levels deep) throws, and fails at this edge.
            Json::Reader reader;
            Json::Value root;
            if (!reader.parse(json.data(), json.data() + json.size(), root, /*collectComments=*/true)) {
                // Not JSON: still a record, but one without services, which no
                // caller accepts.
                record->services.clear();
                return true;
            }
            return FillRecord(*record, root);
        });
    if (read) return *read;
    // Text the reader cannot take (wrong member types, too deep): a failed
    // answer, so that nobody uses what was half read.
    if (record != nullptr) {
        record->isSuccess = 0;
        record->services.clear();
    }
    return false;
}

std::string WriteRouteRecord(const st_ZRVInfo& record) {
    Json::Value services;  // stays null when there are no groups
    for (const auto& group : record.services) {
        Json::Value entries;  // a group without entries is written as null
        for (const auto& entry : group.second) entries[grs::WideToUtf8(entry.first)] = grs::WideToUtf8(entry.second);
        services[grs::WideToUtf8(group.first)] = entries;
    }
    Json::Value root;
    root["services"] = services;
    root["effectivePeriod"] = grs::WideToUtf8(FieldText(record.effectivePeriod));
    root["currentTime"] = grs::WideToUtf8(FieldText(record.currentTime));
    root["isSuccess"] = record.isSuccess;
    root["countryCode"] = grs::WideToUtf8(record.countryCode);

    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, root);
}

}  // namespace grs::route
