#pragma once

// Which parameter-store setter takes the address of each service key of a
// route answer.

#include <string>
#include <string_view>
#include <vector>

class GlobalParamWrapper;

namespace grs::route {

// The parameter-store setter of one service key, and the prefix of the log
// line it writes (null: none).
struct RouteSetter {
    const wchar_t* key;
    void (GlobalParamWrapper::*set)(const std::wstring&);
    const wchar_t* logPrefix;
};

// The setter for a key (exact, case-sensitive), null when the key is unknown.
const RouteSetter* FindRouteSetter(std::wstring_view key);

}  // namespace grs::route
