#pragma once

// Text conversions and number parsing shared by every subsystem. Pure: no
// state, safe from any thread. An empty input is a failure, not an empty
// success, and a failed conversion leaves the out-parameter untouched.

#include <algorithm>
#include <cstddef>
#include <string>

namespace grs {

constexpr unsigned kCodePageAnsi = 0;
constexpr unsigned kCodePageUtf8 = 65001;

// No byte of 0x80 or above (an empty text is ASCII).
bool IsAscii(const std::string& bytes);

bool Utf8ToWide(const std::string& in, std::wstring& out);
bool WideToMultiByte(const std::wstring& in, std::string& out, unsigned codePage);
// By-value forms: the converted text, or empty when the conversion failed.
std::string WideToMultiByte(const std::wstring& in, unsigned codePage);
std::string WideToUtf8(const std::wstring& in);
std::wstring Utf8ToWide(const std::string& in);

// Appends the UTF-16 form of `size` bytes of UTF-8 to `out`, without a system
// call. Each ill-formed sequence's maximal subpart (the longest start of a
// well-formed sequence, at least one byte) becomes one U+FFFD, which is what
// MultiByteToWideChar(CP_UTF8, 0) gives on Windows, so the result equals
// Utf8ToWide's there. (Wine's converter takes a different number of bytes per
// U+FFFD after the lead bytes E0, ED, F0 and F4.)
void AppendUtf8AsWide(const char* text, size_t size, std::wstring& out);

// Strict decimal parser over [begin, end): optional leading white space (makes
// the result false but the value is still read), one sign, digits only; an
// overflow saturates and returns false.
bool ParseDecimalInt64(const char* begin, const char* end, long long& value);

// The leading decimal number of `text` as the C library's atoll reads it:
// leading white space, one sign, digits up to the first other character, 0
// when there are none; saturates instead of overflowing.
long long LeadingInteger(const std::string& text);

// The text of a fixed record field, up to its terminator or its end (a record
// filled elsewhere may lack the terminator): never reads past the field.
template <size_t N>
std::wstring FieldText(const wchar_t (&field)[N]) {
    return std::wstring(field, std::find(field, field + N, L'\0'));
}

// Bounded copy into a fixed, zero-terminated field of `capacity` characters.
// Fails (and leaves the field empty) when the text does not fit.
bool CopyToField(wchar_t* field, size_t capacity, const std::wstring& text);
template <size_t N>
bool CopyToField(wchar_t (&field)[N], const std::wstring& text) {
    return CopyToField(field, N, text);
}

}  // namespace grs
