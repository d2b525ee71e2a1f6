#pragma once

// Process-wide texts shared by every ServerConfigHelper: the host executable's
// directory (with its trailing backslash) and the server address file that
// isFileExist chose last. Written without synchronisation, as the class is
// used from the initialising thread only.

#include <string>

namespace grs {

std::wstring& ModuleDirectory();
std::wstring& ServerAddressPath();

// Says at severity 5, with the Win32 error, why a server address file that is
// there loaded nothing (`error` 0, or a folder in its place: nothing to say). Always false: what
// isFileExist returns then.
bool ServerAddressFileNotRead(const std::wstring& path, unsigned long error);

}  // namespace grs
