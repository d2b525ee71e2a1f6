#include "route/RouteKeys.h"

#include <algorithm>
#include <iterator>

namespace grs::route {

namespace {
#define GRS_ROUTE_KEY_TEXT(key, setter, logPrefix) key,
constexpr const wchar_t* kKeys[] = {GRS_ROUTE_SERVICE_KEYS(GRS_ROUTE_KEY_TEXT)};
#undef GRS_ROUTE_KEY_TEXT
}  // namespace

bool IsRouteServiceKey(std::wstring_view key) {
    return std::any_of(std::begin(kKeys), std::end(kKeys), [key](const wchar_t* known) { return key == known; });
}

std::vector<std::wstring> RouteServiceKeys() {
    return std::vector<std::wstring>(std::begin(kKeys), std::end(kKeys));
}

}  // namespace grs::route
