// Obtaining the route record: the cache while fresh, else the routing servers
// in their fixed order, the cache again as the last resort.
#include <map>
#include <optional>
#include <string>

#include "core/Guarded.h"
#include "core/Log.h"
#include "core/TextUtil.h"
#include "globalrootservice/collaborators/AccountSession.h"
#include "globalrootservice/collaborators/ConfigEntityManager.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kGetZRVInfo[] = "Zorvane::GetZRVInfo";
constexpr char kGetZRVInfoFromRemote[] = "Zorvane::GetZRVInfoFromRemote";
constexpr char kGetZRVInfoFromLocal[] = "Zorvane::GetZRVInfoFromLocal";

// The client's application name in the routing server's request path.
const wchar_t kApplicationName[] = L"ombrine";

// A pass asks the primary and then each standby address; the whole round is
// repeated until this many passes found no answer.
constexpr int kPasses = 4;

void Drop(st_ZRVInfo*& record) {
    delete record;
    record = nullptr;
}

}  // namespace

st_ZRVInfo* Zorvane::GetZRVInfo(bool fromCache) {
    st_ZRVInfo* record = nullptr;
    st_ZRVInfo* const result = grs::Guarded(__LINE__, kGetZRVInfo, static_cast<st_ZRVInfo*>(nullptr), [&] {
        if (fromCache) {
            GetZRVInfoFromLocal(record, true);
            return record;
        }
        struct RoutingAddress {
            const char* announcement;  // logged before asking; null for the primary
            std::wstring (GlobalParamWrapper::*get)();
        };
        // The labels are what operators grep for: "address1" goes with the
        // "zrvbak" address and "asia" with "zrvbak1".
        const RoutingAddress addresses[] = {
            {nullptr, &GlobalParamWrapper::GetZRVUrl},
            {"use standby ZRV address1", &GlobalParamWrapper::GetZRVBakUrl},
            {"use standby ZRV address asia", &GlobalParamWrapper::GetZRVBakUrl1},
            {"use standby ZRV address ru", &GlobalParamWrapper::GetZRVBakRuUrl},
            {"use standby ZRV address eu", &GlobalParamWrapper::GetZRVBakEuUrl},
        };
        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        for (int pass = 0; pass < kPasses && record == nullptr; ++pass) {
            for (const RoutingAddress& address : addresses) {
                if (address.announcement != nullptr) grs::log::Info(__LINE__, kGetZRVInfo, address.announcement);
                GetZRVInfoFromRemote(record, (store->*address.get)());
                if (record != nullptr) break;
            }
        }
        // No answer at all, or a failed one (which is already cached): the
        // cache decides, however old, as long as it is of the user's country.
        if (record == nullptr || record->isSuccess != 1) GetZRVInfoFromLocal(record, false);
        if (record != nullptr && record->isSuccess != 1) Drop(record);
        return record;
    });
    // After an exception the record may be half made: nobody gets it.
    if (result == nullptr) Drop(record);
    return result;
}

bool Zorvane::GetZRVInfoFromRemote(st_ZRVInfo*& record, std::wstring baseUrl) {
    const bool hadRecord = record != nullptr;
    // Empty only after an exception.
    const std::optional<bool> handled =
        grs::Guarded(__LINE__, kGetZRVInfoFromRemote, std::optional<bool>(), [&]() -> std::optional<bool> {
            std::wstring country = AccountSession::GetInstance()->GetCurrentCountryCode();
            if (country.empty()) country = GlobalParamWrapper::GetInstance()->GetCountryCode();
            const std::wstring url = baseUrl + L"/zrv/1.0/" + kApplicationName + L"/router?reg_country=" + country;

            std::map<std::string, std::string> headers;
            const std::string body = AccountSession::GetInstance()->GetZrvRemoteInfo(url, headers);
            if (body.empty()) return false;

            // Any answer makes a record, even one that is not JSON: the caller
            // stops asking and judges it by isSuccess.
            GetDeserialize(record, body);
            if (record == nullptr) return false;

            const auto cacheControl = headers.find("Cache-Control");
            const std::string period =
                grs::route::CachePeriodText(cacheControl == headers.end() ? std::string() : cacheControl->second);
            std::string now = std::to_string(grs::route::NowMilliseconds());
            grs::log::Info(__LINE__, kGetZRVInfoFromRemote, period);
            grs::log::Info(__LINE__, kGetZRVInfoFromRemote, now);
            if (now.size() > 15) {
                now.clear();
                grs::log::Error(__LINE__, kGetZRVInfoFromRemote, "get current time out of length.");
            }
            if (!grs::CopyToField(record->currentTime, grs::Utf8ToWide(now)) ||
                !grs::CopyToField(record->effectivePeriod, grs::Utf8ToWide(period))) {
                return false;
            }
            // The routes belong to the country asked for, whatever the server says.
            record->countryCode = country;

            std::wstring cache = grs::Utf8ToWide(SerializeZRV(record));
            ConfigEntityManager::GetInstance()->updateConfigContent(ConfigEntityRouteCache, cache);
            grs::log::Info(__LINE__, kGetZRVInfoFromRemote, "update zrv from remote.");
            return true;
        });
    if (handled) return *handled;
    // An answer that could not be handled counts as none.
    if (!hadRecord) Drop(record);
    return false;
}

void Zorvane::GetZRVInfoFromLocal(st_ZRVInfo*& record, bool checkFreshness) {
    const bool completed = grs::Guarded(__LINE__, kGetZRVInfoFromLocal, false, [&] {
        const std::string content =
            grs::WideToUtf8(ConfigEntityManager::GetInstance()->GetConfigContentByType(ConfigEntityRouteCache));
        const std::wstring userCountry = AccountSession::GetInstance()->GetCurrentCountryCode();
        if (content.empty()) {
            Drop(record);
            return true;
        }
        GetDeserialize(record, content);
        if (record == nullptr) return true;
        std::wstring cachedCountry = record->countryCode;
        GlobalParamWrapper::GetInstance()->SetConfigCountryCode(cachedCountry);

        if (!checkFreshness) {
            // The last resort: age does not matter, the country does.
            if (record->countryCode == userCountry) {
                grs::log::Info(__LINE__, kGetZRVInfoFromLocal, "update ZRV from remote fail,use confilefile update");
            } else {
                grs::log::Info(__LINE__, kGetZRVInfoFromLocal,
                               "update ZRV from remote fail, countrycode is different, use serverconfile");
                Drop(record);
            }
            return true;
        }

        const auto freshness =
            grs::route::JudgeRouteCache(grs::WideToUtf8(grs::FieldText(record->currentTime)),
                                        grs::WideToUtf8(grs::FieldText(record->effectivePeriod)), record->countryCode,
                                        userCountry, grs::route::NowMilliseconds());
        switch (freshness) {
            case grs::route::CacheFreshness::Fresh:
                grs::log::Info(__LINE__, kGetZRVInfoFromLocal, "not update ZRV, use address from configfile");
                return true;
            case grs::route::CacheFreshness::TimeTooLongOrNoCountry:
                grs::log::Error(__LINE__, kGetZRVInfoFromLocal,
                                "get current time out of length or not get user countryCode.");
                break;
            case grs::route::CacheFreshness::OtherCountry:
                grs::log::Info(__LINE__, kGetZRVInfoFromLocal, "update ZRV, countryCode is different");
                break;
            case grs::route::CacheFreshness::MissingTime:
            case grs::route::CacheFreshness::Expired:
                break;
        }
        Drop(record);
        return true;
    });
    if (!completed) Drop(record);
}
