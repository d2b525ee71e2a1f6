#include "serverconfig/ServerConfigHelper.h"

#include "core/PathUtil.h"
#include "serverconfig/ServerConfigPaths.h"

namespace grs {

std::wstring& ModuleDirectory() {
    static std::wstring directory;
    return directory;
}

std::wstring& ServerAddressPath() {
    static std::wstring path;
    return path;
}

}  // namespace grs

ServerConfigHelper::ServerConfigHelper()
    : m_testFileName(L"ServerConfigTest"),
      m_testFileNameDR2(L"ServerConfigTestDR2"),
      m_testFileNameDR3(L"ServerConfigTestDR3"),
      m_testFileNameDR4(L"ServerConfigTestDR4"),
      m_fileName(L"ServerConfig"),
      m_fileNameDR2(L"ServerConfigDR2"),
      m_fileNameDR3(L"ServerConfigDR3"),
      m_fileNameDR4(L"ServerConfigDR4") {
    std::wstring& moduleDirectory = grs::ModuleDirectory();
    if (moduleDirectory.empty()) moduleDirectory = grs::DirectoryWithSeparator(grs::HostExecutablePath());
}

ServerConfigHelper::ServerConfigHelper(const ServerConfigHelper& other) = default;

ServerConfigHelper::~ServerConfigHelper() = default;
