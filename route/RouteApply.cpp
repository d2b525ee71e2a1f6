// Writing a route record's addresses into the client's parameter store.
#include <memory>

#include "core/Guarded.h"
#include "core/Log.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "route/RouteDetail.h"
#include "route/RouteSetters.h"
#include "globalrootservice/Zorvane.h"

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kZRVInfoInitialise[] = "Zorvane::ZRVInfoInitialise";

}  // namespace

void Zorvane::ZRVInfoInitialise(bool fromCache, bool& succeeded) {
    succeeded = grs::Guarded(__LINE__, kZRVInfoInitialise, false, [&] {
        const std::unique_ptr<st_ZRVInfo> record(GetZRVInfo(fromCache));
        if (!record || record->isSuccess != 1 || record->services.empty()) return false;

        GlobalParamWrapper* store = GlobalParamWrapper::GetInstance();
        // Keys without a setter are left out at once, so the table holds at
        // most one entry per known key. An empty address still takes its key.
        const grs::route::RouteTable table = grs::route::FlattenRoutes(
            record->services, store->GetPackageName(),
            [](std::wstring_view key) { return grs::route::FindRouteSetter(key) != nullptr; });
        for (const auto& entry : table) {
            // An empty address would wipe what the server address file gave.
            if (entry.second.empty()) continue;
            const grs::route::RouteSetter* setter = grs::route::FindRouteSetter(entry.first);
            const std::wstring address(entry.second);
            (store->*setter->set)(address);
            if (setter->logPrefix != nullptr) {
                grs::log::Info(__LINE__, kZRVInfoInitialise, setter->logPrefix + address);
            }
        }
        return true;
    });
}
