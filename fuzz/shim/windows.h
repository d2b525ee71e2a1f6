#pragma once

// The few Win32 calls the library's pure sources make, for a native Linux
// build of the fuzz targets only. wchar_t is 32 bits here, but every wide
// string holds UTF-16 code units, one per wchar_t, exactly as on Windows: the
// conversions below produce and consume surrogate pairs. The ANSI code page
// is Windows-1252, as on the usual Western installation.

#include <cstddef>
#include <cstdint>

typedef unsigned long DWORD;
typedef int BOOL;
typedef unsigned int UINT;
typedef const char* LPCSTR;
typedef char* LPSTR;
typedef const wchar_t* LPCWSTR;
typedef wchar_t* LPWSTR;
typedef BOOL* LPBOOL;

#define TRUE 1
#define FALSE 0
#define CP_ACP 0
#define CP_UTF8 65001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_NO_UNICODE_TRANSLATION 1113L
#define ERROR_INVALID_PARAMETER 87L

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int size, LPWSTR out, int capacity);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR text, int size, LPSTR out, int capacity, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar);
UINT GetACP();
DWORD GetLastError();
void SetLastError(DWORD error);
BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR path);
int _wcsicmp(const wchar_t* a, const wchar_t* b);
