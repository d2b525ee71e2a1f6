#include "core/TextUtil.h"

#include <windows.h>

#include <cctype>
#include <cwchar>
#include <limits>

namespace grs {

namespace {

// Invalid sequences become U+FFFD as the system converter counts them
// (flags 0, no strict mode).
bool ConvertMultiByte(const char* text, size_t size, std::wstring& out, unsigned codePage) {
    if (size == 0 || size > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
    const int length = ::MultiByteToWideChar(codePage, 0, text, static_cast<int>(size), nullptr, 0);
    if (length <= 0) return false;
    out.clear();
    out.resize(static_cast<size_t>(length));
    const int written = ::MultiByteToWideChar(codePage, 0, text, static_cast<int>(size), &out[0], length);
    return written > 0;
}

bool ConvertUtf8(const char* text, size_t size, std::wstring& out) {
    return ConvertMultiByte(text, size, out, kCodePageUtf8);
}

}  // namespace

bool Utf8ToWide(const std::string& in, std::wstring& out) {
    return ConvertUtf8(in.data(), in.size(), out);
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

std::wstring MultiByteToWide(const std::string& in, unsigned codePage) {
    std::wstring out;
    return ConvertMultiByte(in.data(), in.size(), out, codePage) ? out : std::wstring();
}

std::wstring Utf8ToWide(const char* text, size_t size) {
    std::wstring out;
    return ConvertUtf8(text, size, out) ? out : std::wstring();
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
