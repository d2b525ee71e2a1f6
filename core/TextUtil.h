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
// Text in `codePage` as UTF-16, as the system reads it (no strict mode);
// empty when the conversion fails.
std::wstring MultiByteToWide(const std::string& in, unsigned codePage);

// `size` bytes of UTF-8 as UTF-16, for text that is not a std::string (a
// parser's view of its buffer); empty when `size` is 0 or the conversion fails.
std::wstring Utf8ToWide(const char* text, size_t size);

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
