// The route cache: the cached record's JSON text, read as the route service
// reads it, judged for freshness as it judges it, and applied on paper.
#include <json/json.h>

#include <exception>
#include <memory>

#include "core/TextUtil.h"
#include "inspect/InspectDetail.h"
#include "route/RouteDetail.h"
#include "route/RouteKeys.h"
#include "globalrootservice/ZRVInfo.h"

namespace inspect {

namespace {

using grs::route::CacheFreshness;

// A routing server answers with a few groups; more are only counted.
constexpr size_t kListedGroups = 20;

// The client keeps the record as wide text; as a file it may be UTF-8 (the
// stand-in's), with or without a byte-order mark, or UTF-16LE.
std::string RecordText(const std::string& bytes) {
    if (bytes.size() >= 2 && bytes.compare(0, 2, "\xFF\xFE") == 0) {
        std::wstring wide;
        for (size_t i = 2; i + 1 < bytes.size(); i += 2)
            wide += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                         (static_cast<unsigned char>(bytes[i + 1]) << 8));
        return grs::WideToUtf8(wide);
    }
    if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) return bytes.substr(3);
    return bytes;
}

std::string Duration(long long seconds) {
    if (seconds >= 86400 && seconds % 3600 == 0) return std::to_string(seconds / 3600) + " h";
    if (seconds >= 3600 && seconds % 60 == 0) return std::to_string(seconds / 60) + " min";
    return std::to_string(seconds) + " s";
}

// Why the route service's JSON reader refuses the text, on one line; empty
// when it takes it.
// The reader's complaint about `text`, empty when it is JSON; `tooDeep` when
// the reader gave up at its stack limit (the library then fails the answer).
std::string JsonError(const std::string& text, bool& tooDeep) {
    Json::Reader reader;
    Json::Value root;
    std::string errors;
    tooDeep = false;
    try {
        if (reader.parse(text.data(), text.data() + text.size(), root, /*collectComments=*/true)) return std::string();
        errors = reader.getFormattedErrorMessages();
    } catch (const std::exception& e) {
        tooDeep = true;
        errors = e.what();
    }
    for (char& c : errors)
        if (c == '\n' || c == '\r') c = ' ';
    while (!errors.empty() && errors.back() == ' ') errors.pop_back();
    return errors.empty() ? std::string("not JSON") : errors;
}

void CheckFreshness(const st_ZRVInfo& record, const Context& context, Findings& findings) {
    const std::string time = grs::WideToUtf8(grs::FieldText(record.currentTime));
    const std::string period = grs::WideToUtf8(grs::FieldText(record.effectivePeriod));
    const CacheFreshness freshness =
        grs::route::JudgeRouteCache(time, period, record.countryCode, context.country, context.nowMs);
    const long long expiry = grs::route::RouteCacheExpiryMs(time, period);
    const bool stale = expiry <= context.nowMs;
    const std::string until = (stale ? "stale since " : "fresh until ") + FormatUtc(expiry);
    const std::string country = Shown(context.country);
    switch (freshness) {
        case CacheFreshness::Fresh:
            findings.Add(Code::RouteFresh, "[freshness]", Severity::Ok,
                         until + " for country " + country + ": the next start uses it without asking");
            return;
        case CacheFreshness::Expired:
            findings.Add(Code::RouteFresh, "[freshness]", Severity::Note,
                         until +
                             ": the next start asks the routing servers, and falls back on it only when none "
                             "answers");
            return;
        case CacheFreshness::OtherCountry:
            findings.Add(Code::RouteOtherCountry, "[freshness]", Severity::Warning,
                         "recorded for " + Shown(record.countryCode) + ", the user is in " + country + " (" + until +
                             "): never used for this user, not even when no routing server answers");
            return;
        case CacheFreshness::MissingTime:
            findings.Add(Code::RouteNeverFresh, "[freshness]", Severity::Warning,
                         "no time or no period recorded: always stale, used only when no routing server answers");
            return;
        case CacheFreshness::TimeTooLongOrNoCountry:
            findings.Add(Code::RouteNeverFresh, "[freshness]", Severity::Warning,
                         "a time of more than " + std::to_string(grs::route::kMaxRouteTimeDigits) +
                             " digits or no country: never fresh");
            return;
    }
}

// Which parameter-store keys the record would set, as ZRVInfoInitialise
// applies it.
void CheckApplication(const st_ZRVInfo& record, const Context& context, Findings& findings) {
    if (context.packageName.empty()) {
        findings.Add(Code::RoutePackageNotGiven, "[parameter store]", Severity::Note,
                     "the client's package name was not given (--package): no group is preferred");
    } else if (record.services.find(context.packageName) == record.services.end()) {
        findings.Add(Code::RouteApplication, "[parameter store]", Severity::Note,
                     "no group named " + Shown(context.packageName) +
                         ": for a key several groups carry, the group first in name order wins");
    }
    const grs::route::RouteTable table = grs::route::FlattenRoutes(record.services, context.packageName);
    std::vector<std::wstring> set;
    std::vector<std::wstring> emptyAddress;
    std::vector<std::wstring> ignored;
    for (const auto& entry : table) {
        if (!grs::route::IsRouteServiceKey(entry.first)) {
            ignored.emplace_back(entry.first);
        } else if (entry.second.empty()) {
            emptyAddress.emplace_back(entry.first);
        } else {
            set.emplace_back(entry.first);
        }
    }
    std::vector<std::wstring> absent;
    for (const std::wstring& key : grs::route::RouteServiceKeys())
        if (table.find(key) == table.end()) absent.push_back(key);
    findings.Add(Code::RouteApplication, "[parameter store]", set.empty() ? Severity::Warning : Severity::Ok,
                 set.empty() ? std::string("sets no address")
                             : "sets " + Counted(set.size(), "key", "keys") + ": " + NameList(set));
    if (!emptyAddress.empty())
        findings.Add(Code::RouteApplication, "[parameter store]", Severity::Note,
                     "empty addresses, skipped (the server address file's stay): " + NameList(emptyAddress));
    if (!absent.empty())
        findings.Add(Code::RouteApplication, "[parameter store]", Severity::Note,
                     "not in the record (the server address file's addresses stay): " + NameList(absent));
    if (!ignored.empty())
        findings.Add(Code::RouteApplication, "[parameter store]", Severity::Note,
                     "keys no setter takes (ignored): " + NameList(ignored));
}

}  // namespace

std::vector<Finding> InspectRouteCache(const Snapshot& snapshot, const Context& context) {
    Findings findings(kAreaRouteCache);
    const FileSnapshot& file = snapshot.routeCache;
    if (!file.exists) {
        if (snapshot.routeCacheGiven) {
            findings.Add(Code::RouteCacheMissing, "[file]", Severity::Warning,
                         "not found at " + Shown(snapshot.routeCachePath));
        } else {
            findings.Add(Code::RouteCacheNotGiven, "[file]", Severity::Note,
                         "not given: give --route-cache FILE with the client's cached record; without a cache the "
                         "next start asks the routing servers");
        }
        return findings.Take();
    }
    if (file.isFolder || file.tooLarge || !file.readable) {
        findings.Add(Code::RouteCacheUnreadable, "[file]", Severity::Warning,
                     file.isFolder   ? "a folder, not a file"
                     : file.tooLarge ? "too large to be a route record"
                                     : "found but not readable");
        return findings.Take();
    }
    const std::string text = RecordText(file.bytes);
    if (text.empty()) {
        findings.Add(Code::RouteCacheEmpty, "[file]", Severity::Note,
                     "empty: no cached route, the next start asks the routing servers");
        return findings.Take();
    }
    bool tooDeep = false;
    const std::string jsonError = JsonError(text, tooDeep);
    if (tooDeep) {
        findings.Add(Code::RouteCacheUnreadable, "[file]", Severity::Warning,
                     "nested deeper than any route record: read as a failed answer, never applied");
        return findings.Take();
    }
    if (!jsonError.empty()) {
        findings.Add(Code::RouteCacheUnreadable, "[file]", Severity::Warning,
                     Shown(jsonError) + ": read as a record without services, which is never applied");
        return findings.Take();
    }
    findings.Add(Code::RouteCacheJson, "[file]", Severity::Ok, std::to_string(file.size) + " bytes of JSON");

    std::unique_ptr<st_ZRVInfo> owned;
    st_ZRVInfo* record = nullptr;
    const bool whole = grs::route::ReadRouteRecord(record, text);
    owned.reset(record);
    if (!whole || record == nullptr) {
        findings.Add(Code::RouteCacheUnreadable, "[file]", Severity::Warning,
                     "not a route record (a time too long for its field, members of the wrong type, or nested too "
                     "deep): read as a failed answer, never applied");
        return findings.Take();
    }

    findings.Add(
        Code::RouteCountry, "countryCode", record->countryCode.empty() ? Severity::Warning : Severity::Ok,
        record->countryCode.empty() ? std::string("empty: matches no user's country") : Shown(record->countryCode));
    const std::string time = grs::WideToUtf8(grs::FieldText(record->currentTime));
    const std::string period = grs::WideToUtf8(grs::FieldText(record->effectivePeriod));
    if (time.empty()) {
        findings.Add(Code::RouteTime, "currentTime", Severity::Warning, "empty: the record is always stale");
    } else {
        findings.Add(Code::RouteTime, "currentTime", Severity::Ok,
                     Shown(time) + ": obtained at " + FormatUtc(grs::LeadingInteger(time)));
    }
    if (period.empty()) {
        findings.Add(Code::RoutePeriod, "effectivePeriod", Severity::Warning,
                     "empty (the routing server sent no Cache-Control max-age): the record is always stale");
    } else {
        const long long seconds = grs::LeadingInteger(period);
        findings.Add(Code::RoutePeriod, "effectivePeriod", Severity::Ok,
                     Shown(period) + ": valid for " + Duration(seconds) + ", until " +
                         FormatUtc(grs::route::RouteCacheExpiryMs(time, period)));
    }
    CheckFreshness(*record, context, findings);
    if (record->isSuccess == 1) {
        findings.Add(Code::RouteSuccess, "isSuccess", Severity::Ok, "1: a successful answer");
    } else {
        findings.Add(Code::RouteSuccess, "isSuccess", Severity::Warning,
                     std::to_string(record->isSuccess) +
                         ": a failed answer, never applied (cached all the same, it replaced the last good one)");
    }
    if (record->services.empty()) {
        findings.Add(Code::RouteServices, "services", Severity::Warning, "no groups: never applied");
        return findings.Take();
    }
    std::string groups;
    size_t listed = 0;
    for (const auto& group : record->services) {
        if (++listed > kListedGroups) {
            groups += ", and " + std::to_string(record->services.size() - kListedGroups) + " more";
            break;
        }
        groups += (groups.empty() ? "" : ", ") + Shown(group.first) + " (" +
                  Counted(group.second.size(), "address", "addresses") + ")";
    }
    findings.Add(Code::RouteServices, "services", Severity::Ok,
                 Counted(record->services.size(), "group", "groups") + ": " + groups);
    CheckApplication(*record, context, findings);
    return findings.Take();
}

}  // namespace inspect
