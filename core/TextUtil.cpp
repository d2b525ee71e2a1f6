#include "core/TextUtil.h"

#include <windows.h>

#include <cctype>
#include <cwchar>
#include <limits>

namespace grs {

bool Utf8ToWide(const std::string& in, std::wstring& out) {
    if (in.empty() || in.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
    const int length = ::MultiByteToWideChar(kCodePageUtf8, 0, in.data(), static_cast<int>(in.size()), nullptr, 0);
    if (length <= 0) return false;
    out.clear();
    out.resize(static_cast<size_t>(length));
    const int written =
        ::MultiByteToWideChar(kCodePageUtf8, 0, in.data(), static_cast<int>(in.size()), &out[0], length);
    return written > 0;
}

bool WideToMultiByte(const std::wstring& in, std::string& out, unsigned codePage) {
    if (in.empty() || in.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
    const int length =
        ::WideCharToMultiByte(codePage, 0, in.data(), static_cast<int>(in.size()), nullptr, 0, nullptr, nullptr);
    if (length <= 0) return false;
    out.clear();
    out.resize(static_cast<size_t>(length));
    const int written =
        ::WideCharToMultiByte(codePage, 0, in.data(), static_cast<int>(in.size()), &out[0], length, nullptr, nullptr);
    return written > 0;
}

std::string WideToMultiByte(const std::wstring& in, unsigned codePage) {
    std::string out;
    return WideToMultiByte(in, out, codePage) ? out : std::string();
}

std::string WideToUtf8(const std::wstring& in) {
    return WideToMultiByte(in, kCodePageUtf8);
}

std::wstring Utf8ToWide(const std::string& in) {
    std::wstring out;
    return Utf8ToWide(in, out) ? out : std::wstring();
}

void AppendUtf8AsWide(const char* text, size_t size, std::wstring& out) {
    // Every byte yields at most one UTF-16 unit (a four-byte sequence yields
    // two), so `size` more units always suffice.
    const size_t start = out.size();
    out.resize(start + size);
    wchar_t* to = &out[0] + start;
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    const auto* const end = at + size;
    while (at != end) {
        unsigned point = *at++;
        if (point < 0x80) {
            *to++ = static_cast<wchar_t>(point);
            continue;
        }
        // The lead byte sets the length and the range of the second byte;
        // those ranges keep out overlong forms, surrogates and values past
        // U+10FFFF (the well-formed sequences of the Unicode standard).
        size_t following = 0;
        unsigned char low = 0x80, high = 0xBF;
        if (point >= 0xC2 && point <= 0xDF) {
            following = 1;
            point &= 0x1F;
        } else if (point >= 0xE0 && point <= 0xEF) {
            following = 2;
            point &= 0x0F;
            if (point == 0x0) low = 0xA0;
            if (point == 0xD) high = 0x9F;
        } else if (point >= 0xF0 && point <= 0xF4) {
            following = 3;
            point &= 0x07;
            if (point == 0x0) low = 0x90;
            if (point == 0x4) high = 0x8F;
        } else {
            *to++ = L'\xFFFD';
            continue;
        }
        for (; following != 0 && at != end && *at >= low && *at <= high; --following) {
            point = (point << 6) | (*at++ & 0x3Fu);
            low = 0x80;
            high = 0xBF;
        }
        if (following != 0) {
            *to++ = L'\xFFFD';  // the maximal subpart read so far
        } else if (point >= 0x10000) {
            *to++ = static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
            *to++ = static_cast<wchar_t>(0xDC00 + (point & 0x3FF));
        } else {
            *to++ = static_cast<wchar_t>(point);
        }
    }
    out.resize(static_cast<size_t>(to - out.data()));
}

bool ParseDecimalInt64(const char* begin, const char* end, long long& value) {
    constexpr long long kMax = std::numeric_limits<long long>::max();
    constexpr long long kMin = std::numeric_limits<long long>::min();
    constexpr long long kMaxTenth = kMax / 10;   //  922337203685477580
    constexpr long long kMinTenth = -kMaxTenth;  // -922337203685477580

    bool result = true;
    const char* p = begin;
    while (p != end && std::isspace(static_cast<unsigned char>(*p))) {
        result = false;
        ++p;
    }
    if (p == end) {
        value = 0;
        return false;
    }
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (*p == '-') {
        ++p;
        value = 0;
        if (p == end) return false;
        for (; p != end; ++p) {
            if (!isDigit(*p)) return false;
            const int digit = *p - '0';
            if (value < kMinTenth || (value == kMinTenth && digit == 9)) {
                value = kMin;
                return false;
            }
            value = value * 10 - digit;
        }
        return result;
    }
    if (*p == '+') ++p;
    value = 0;
    if (p == end) return false;
    for (; p != end; ++p) {
        if (!isDigit(*p)) return false;
        const int digit = *p - '0';
        if (value > kMaxTenth || (value == kMaxTenth && digit >= 8)) {
            value = kMax;
            return false;
        }
        value = value * 10 + digit;
    }
    return result;
}

bool CopyToField(wchar_t* field, size_t capacity, const std::wstring& text) {
    if (field == nullptr || capacity == 0) return false;
    // Like wcscpy_s: a text stops at its first NUL, and one that does not fit
    // leaves an empty field and a failure.
    const size_t length = std::wcslen(text.c_str());
    if (length >= capacity) {
        field[0] = L'\0';
        return false;
    }
    std::wmemcpy(field, text.c_str(), length);
    field[length] = L'\0';
    return true;
}

long long LeadingInteger(const std::string& text) {
    // The parser's verdict only tells whether the whole text was a number;
    // the value it leaves is the leading number, which is what is wanted.
    long long value = 0;
    ParseDecimalInt64(text.data(), text.data() + text.size(), value);
    return value;
}

bool IsAscii(const std::string& bytes) {
    for (unsigned char c : bytes)
        if (c >= 0x80) return false;
    return true;
}

}  // namespace grs
