#pragma once

// Thin INI accessors bound to one file and one section. Every call goes
// straight to the private-profile functions: nothing is cached. The helpers
// keep the pointers they are given; the caller keeps both texts alive.
// Nothing here throws: the constructors allocate nothing, and a read or write
// that fails inside (out of memory) logs the failure and, for a read, gives
// an empty string.

#include <string>

#include "globalrootservice/GlobalRootServiceExport.h"

class GLOBALROOTSERVICE_API IniFileHelper {
public:
    // Creates an empty file at `filePath` when none exists.
    IniFileHelper(const wchar_t* filePath, const wchar_t* section);
    // Defined in the DLL, which exports it: clients built against it call it.
    ~IniFileHelper();  // NOLINT(performance-trivially-destructible)
    IniFileHelper& operator=(const IniFileHelper& other);

    void WriteIniKeyValue(std::wstring key, std::wstring value);
    // The value converted to the system's ANSI code page; empty when missing
    // or when the read failed.
    std::string ReadIniValueByKeyTypeString(const wchar_t* key);
    // The value (at most 259 characters); empty when missing or when the
    // read failed.
    std::wstring ReadIniValueByKeyTypeWString(const wchar_t* key);

private:
    const wchar_t* m_filePath;
    const wchar_t* m_section;
};

class GLOBALROOTSERVICE_API IniFileHelperA {
public:
    IniFileHelperA(const char* filePath, const char* section);
    ~IniFileHelperA();  // NOLINT(performance-trivially-destructible): exported, as above
    IniFileHelperA& operator=(const IniFileHelperA& other);

    void WriteIniKeyValueA(std::string key, std::string value);
    // The value as the narrow profile function returns it; empty when missing
    // or when the read failed.
    std::string ReadIniValueByKeyTypeString(const char* key);

private:
    const char* m_filePath;
    const char* m_section;
};
