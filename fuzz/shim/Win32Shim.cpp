// Native stand-ins for the Win32 text calls declared in shim/windows.h.
#include <windows.h>

#include <string>

namespace {

thread_local DWORD g_lastError = 0;

// Windows-1252 bytes 0x80-0x9F; the five undefined ones map to the C1
// control of the same value, as MultiByteToWideChar does.
const wchar_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                 0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

wchar_t FromAnsi(unsigned char byte) {
    return byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : static_cast<wchar_t>(byte);
}

bool ToAnsi(wchar_t unit, char& byte) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) {
        byte = static_cast<char>(unit);
        return true;
    }
    for (int i = 0; i < 32; ++i) {
        if (kCp1252High[i] == unit) {
            byte = static_cast<char>(0x80 + i);
            return true;
        }
    }
    return false;
}

// One code point from UTF-8; false (and one byte consumed) on a malformed
// sequence, an overlong form, a surrogate or a value past U+10FFFF.
bool DecodeUtf8(const unsigned char* text, size_t size, size_t& at, char32_t& point) {
    const unsigned char lead = text[at];
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 0 || at + length > size) {
        ++at;
        return false;
    }
    point = length == 1 ? lead : lead & (0x3F >> (length - 1));
    for (size_t i = 1; i < length; ++i) {
        if ((text[at + i] & 0xC0) != 0x80) {
            ++at;
            return false;
        }
        point = (point << 6) | (text[at + i] & 0x3F);
    }
    static const char32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < kMinimum[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
        ++at;
        return false;
    }
    at += length;
    return true;
}

template <typename Unit>
int Deliver(const std::basic_string<Unit>& converted, Unit* out, int capacity) {
    if (capacity == 0) return static_cast<int>(converted.size());
    if (static_cast<size_t>(capacity) < converted.size()) {
        g_lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    converted.copy(out, converted.size());
    return static_cast<int>(converted.size());
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int size, LPWSTR out, int capacity) {
    if (text == nullptr || size < -1 || capacity < 0) {
        g_lastError = ERROR_INVALID_PARAMETER;
        return 0;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const size_t length = size == -1 ? std::char_traits<char>::length(text) + 1 : static_cast<size_t>(size);
    std::wstring converted;
    if (codePage == CP_UTF8) {
        for (size_t at = 0; at < length;) {
            char32_t point = 0;
            if (!DecodeUtf8(bytes, length, at, point)) {
                if (flags & MB_ERR_INVALID_CHARS) {
                    g_lastError = ERROR_NO_UNICODE_TRANSLATION;
                    return 0;
                }
                point = 0xFFFD;
            }
            if (point >= 0x10000) {
                converted += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
                converted += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
            } else {
                converted += static_cast<wchar_t>(point);
            }
        }
    } else {
        for (size_t at = 0; at < length; ++at) converted += FromAnsi(bytes[at]);
    }
    if (converted.empty()) {
        g_lastError = ERROR_NO_UNICODE_TRANSLATION;
        return 0;
    }
    return Deliver(converted, out, capacity);
}

int WideCharToMultiByte(UINT codePage, DWORD /*flags*/, LPCWSTR text, int size, LPSTR out, int capacity,
                        LPCSTR /*defaultChar*/, LPBOOL usedDefaultChar) {
    if (text == nullptr || size < -1 || capacity < 0) {
        g_lastError = ERROR_INVALID_PARAMETER;
        return 0;
    }
    const size_t length = size == -1 ? std::char_traits<wchar_t>::length(text) + 1 : static_cast<size_t>(size);
    std::string converted;
    bool lossy = false;
    for (size_t at = 0; at < length; ++at) {
        // Each wchar_t is one UTF-16 unit; anything wider is not text.
        const char32_t unit = static_cast<char32_t>(text[at]) & 0xFFFFFFFFu;
        if (codePage != CP_UTF8) {
            char byte = '?';
            if (unit > 0xFFFF || !ToAnsi(static_cast<wchar_t>(unit), byte)) lossy = true;
            converted += byte;
            continue;
        }
        char32_t point = unit;
        if (unit >= 0xD800 && unit <= 0xDBFF && at + 1 < length && text[at + 1] >= 0xDC00 && text[at + 1] <= 0xDFFF) {
            point = 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(text[++at]) - 0xDC00);
        } else if ((unit >= 0xD800 && unit <= 0xDFFF) || unit > 0xFFFF) {
            point = 0xFFFD;  // a lone surrogate
        }
        if (point < 0x80) {
            converted += static_cast<char>(point);
        } else if (point < 0x800) {
            converted += static_cast<char>(0xC0 | (point >> 6));
            converted += static_cast<char>(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            converted += static_cast<char>(0xE0 | (point >> 12));
            converted += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
            converted += static_cast<char>(0x80 | (point & 0x3F));
        } else {
            converted += static_cast<char>(0xF0 | (point >> 18));
            converted += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
            converted += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
            converted += static_cast<char>(0x80 | (point & 0x3F));
        }
    }
    if (usedDefaultChar != nullptr) *usedDefaultChar = lossy ? TRUE : FALSE;
    if (converted.empty()) {
        g_lastError = ERROR_INVALID_PARAMETER;
        return 0;
    }
    return Deliver(converted, out, capacity);
}

UINT GetACP() {
    return 1252;
}
DWORD GetLastError() {
    return g_lastError;
}
void SetLastError(DWORD error) {
    g_lastError = error;
}
BOOL WritePrivateProfileStringW(LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR) {
    return TRUE;
}

int _wcsicmp(const wchar_t* a, const wchar_t* b) {
    // Only ASCII letters fold, as in the C locale.
    const auto fold = [](wchar_t c) -> unsigned long {
        const unsigned long u = static_cast<unsigned long>(c);
        return u >= 'A' && u <= 'Z' ? u + ('a' - 'A') : u;
    };
    for (;; ++a, ++b) {
        const unsigned long x = fold(*a), y = fold(*b);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}
