#include "route/RouteSetters.h"

#include <map>
#include <string_view>
#include <vector>

#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "route/RouteKeys.h"

namespace grs::route {

namespace {

const std::vector<RouteSetter>& Setters() {
    using P = GlobalParamWrapper;
    // Built on first use: the setters live in another module, so their
    // addresses are not constants.
    static const std::vector<RouteSetter> kSetters = {
#define GRS_ROUTE_SETTER_ROW(key, setter, logPrefix) {key, &P::setter, logPrefix},
        GRS_ROUTE_SERVICE_KEYS(GRS_ROUTE_SETTER_ROW)
#undef GRS_ROUTE_SETTER_ROW
    };
    return kSetters;
}

}  // namespace

const RouteSetter* FindRouteSetter(std::wstring_view key) {
    // Every route entry is looked up: by an index, not a walk of the table.
    static const std::map<std::wstring_view, const RouteSetter*> kByKey = [] {
        std::map<std::wstring_view, const RouteSetter*> index;
        for (const RouteSetter& setter : Setters()) index.emplace(setter.key, &setter);
        return index;
    }();
    const auto found = kByKey.find(key);
    return found == kByKey.end() ? nullptr : found->second;
}

}  // namespace grs::route
