#pragma once

// Service paths that more than one subsystem needs. The route service carries
// them as GlobalParameter members; the settings operations request them
// without reaching for the route singleton.

namespace grs {

// Appended to the server-id address to ask which server "BaseUri" names.
constexpr wchar_t kServerInfoPath[] = L"/getServerInfo";

}  // namespace grs
