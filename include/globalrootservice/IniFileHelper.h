#pragma once

// Thin INI accessors bound to one file and one section. Every call goes
// straight to the private-profile functions: nothing is cached. The helpers
// keep the pointers they are given; the caller keeps both texts alive.

#include <string>

#include "globalrootservice/GlobalRootServiceExport.h"

class GLOBALROOTSERVICE_API IniFileHelper {
public:
    // Creates an empty file at `filePath` when none exists.
    IniFileHelper(const wchar_t* filePath, const wchar_t* section);
    ~IniFileHelper();
    IniFileHelper& operator=(const IniFileHelper& other);

    void WriteIniKeyValue(std::wstring key, std::wstring value);
    // The value converted to the system's ANSI code page; empty when missing.
    std::string ReadIniValueByKeyTypeString(const wchar_t* key);
    // The value (at most 259 characters); empty when missing.
    std::wstring ReadIniValueByKeyTypeWString(const wchar_t* key);

private:
    const wchar_t* m_filePath;
    const wchar_t* m_section;
};

class GLOBALROOTSERVICE_API IniFileHelperA {
public:
    IniFileHelperA(const char* filePath, const char* section);
    ~IniFileHelperA();
    IniFileHelperA& operator=(const IniFileHelperA& other);

    void WriteIniKeyValueA(std::string key, std::string value);
    // The value as the narrow profile function returns it; empty when missing.
    std::string ReadIniValueByKeyTypeString(const char* key);

private:
    const char* m_filePath;
    const char* m_section;
};
