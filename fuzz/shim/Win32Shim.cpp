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

// One code point from UTF-8. On an ill-formed sequence: false, with `at`
// moved past its maximal subpart (the longest start of a well-formed sequence,
// at least one byte), which Windows' converter replaces by one U+FFFD. The
// second byte's range depends on the lead byte, which is what keeps overlong
// forms, surrogates and values past U+10FFFF out.
bool DecodeUtf8(const unsigned char* text, size_t size, size_t& at, char32_t& point) {
    const unsigned char lead = text[at];
    if (lead < 0x80) {
        point = lead;
        ++at;
        return true;
    }
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        ++at;
        return false;
    }
    point = lead & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        const unsigned char lowest = i == 1 ? low : 0x80, highest = i == 1 ? high : 0xBF;
        if (at + i >= size || text[at + i] < lowest || text[at + i] > highest) {
            at += i;
            return false;
        }
        point = (point << 6) | (text[at + i] & 0x3F);
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
