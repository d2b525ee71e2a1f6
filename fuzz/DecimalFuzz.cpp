// The strict decimal parser against a reference written the other way round:
// a wide accumulator and the bounds checked after each digit.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/TextUtil.h"
#include "fuzz/FuzzSupport.h"

namespace {

struct Parsed {
    bool result;
    long long value;
};

Parsed Reference(const char* begin, const char* end) {
    const char* p = begin;
    while (p != end && std::isspace(static_cast<unsigned char>(*p))) ++p;
    const bool clean = p == begin;
    if (p == end) return {false, 0};
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    if (p == end) return {false, 0};
    __int128 value = 0;
    for (; p != end; ++p) {
        if (*p < '0' || *p > '9') return {false, static_cast<long long>(value)};
        value = value * 10 + (negative ? -(*p - '0') : (*p - '0'));
        if (value > std::numeric_limits<long long>::max()) return {false, std::numeric_limits<long long>::max()};
        if (value < std::numeric_limits<long long>::min()) return {false, std::numeric_limits<long long>::min()};
    }
    return {clean, static_cast<long long>(value)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* begin = reinterpret_cast<const char*>(data);
    long long value = 7;
    const bool result = grs::ParseDecimalInt64(begin, begin + size, value);
    const Parsed expected = Reference(begin, begin + size);
    fuzz::Check(result == expected.result, "result agrees with the reference");
    fuzz::Check(value == expected.value, "value agrees with the reference");
    return 0;
}
