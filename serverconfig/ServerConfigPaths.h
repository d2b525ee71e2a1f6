#pragma once

// Process-wide texts shared by every ServerConfigHelper: the host executable's
// directory (with its trailing backslash) and the server address file that
// isFileExist chose last. Written without synchronisation, as the class is
// used from the initialising thread only.

#include <string>

namespace grs {

std::wstring& ModuleDirectory();
std::wstring& ServerAddressPath();

}  // namespace grs
