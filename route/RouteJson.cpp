// The route record's JSON form: one line, members sorted, UTF-8. Pure: no
// collaborator, no file, no clock.
#include <json/json.h>

#include "core/Log.h"
#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "globalrootservice/ZRVInfo.h"

namespace grs::route {

namespace {

constexpr char kGetDeserialize[] = "Zorvane::GetDeserialize";

// Reads the parsed answer into the record in the fixed order; false when a
// time text does not fit its field (later fields then keep their values).
bool FillRecord(st_ZRVInfo& record, const Json::Value& root) {
    if (!grs::CopyToField(record.currentTime, grs::Utf8ToWide(root["currentTime"].asString()))) return false;
    if (!grs::CopyToField(record.effectivePeriod, grs::Utf8ToWide(root["effectivePeriod"].asString()))) return false;
    record.isSuccess = root["isSuccess"].asInt();
    record.countryCode = grs::Utf8ToWide(root["countryCode"].asString());

    ServiceGroups groups;
    const Json::Value& services = root["services"];
    for (const std::string& groupName : services.getMemberNames()) {
        const Json::Value& group = services[groupName];
        std::map<std::wstring, std::wstring> entries;
        for (const std::string& key : group.getMemberNames()) {
            entries.insert({grs::Utf8ToWide(key), grs::Utf8ToWide(group[key].asString())});
        }
        // COMPAT: a group enters the record with its first entry, so one that
        // is null or an empty object is dropped. An answer whose groups are
        // all empty therefore has no services and is not applied.
        if (!entries.empty()) groups.insert({grs::Utf8ToWide(groupName), std::move(entries)});
    }
    record.services.swap(groups);
    return true;
}

}  // namespace

bool JsonNestsDeeperThan(const std::string& text, size_t limit) {
    size_t depth = 0;
    const size_t size = text.size();
    for (size_t i = 0; i < size; ++i) {
        const char c = text[i];
        if (c == '"') {
            for (++i; i < size && text[i] != '"'; ++i) {
                if (text[i] == '\\') ++i;
            }
        } else if (c == '/' && i + 1 < size && text[i + 1] == '/') {
            i = text.find('\n', i);
            if (i == std::string::npos) return false;
        } else if (c == '/' && i + 1 < size && text[i + 1] == '*') {
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

bool ReadRouteRecord(st_ZRVInfo*& record, const std::string& json) {
    try {
        if (record == nullptr) record = new st_ZRVInfo();
        if (JsonNestsDeeperThan(json, kMaxJsonNesting)) {
            grs::log::Exception(__LINE__, kGetDeserialize, "route text nests too deep");
        } else {
            Json::Reader reader;
            Json::Value root;
            if (!reader.parse(json.data(), json.data() + json.size(), root, /*collectComments=*/true)) {
                // Not JSON: still a record, but one without services, which no
                // caller accepts.
                record->services.clear();
                return true;
            }
            return FillRecord(*record, root);
        }
    } catch (...) {
        grs::log::CurrentException(__LINE__, kGetDeserialize);
    }
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
