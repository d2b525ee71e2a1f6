// Text conversion, number parsing, bounded copies, path text, hashing and
// placeholder classification.
#include <gtest/gtest.h>

#include <windows.h>

#include <cwchar>
#include <limits>
#include <string>
#include <utility>

#include "core/HashUtil.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"

namespace {

constexpr long long kMax = std::numeric_limits<long long>::max();
constexpr long long kMin = std::numeric_limits<long long>::min();

TEST(Sha256Hex, KnownAnswers) {
    const struct {
        std::string input;
        const char* digest;
    } cases[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        // 55, 56 and 64 bytes: the padding boundaries of one and two blocks.
        {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
        {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {std::string("a\0b", 3), "59b271ae1bbcb1d31d41929817f4b16fb439eb4f31520b5ad1d5ce98920a7138"},
    };
    for (const auto& c : cases) EXPECT_EQ(grs::Sha256Hex(c.input), c.digest) << "input size " << c.input.size();
}

TEST(ParseDecimalInt64, StrictRules) {
    const struct {
        const char* text;
        bool result;
        long long value;
    } cases[] = {
        {"0", true, 0},
        {"-0", true, 0},
        {"+5", true, 5},
        {"9223372036854775807", true, kMax},
        {"9223372036854775808", false, kMax},
        {"9223372036854775810", false, kMax},
        {"99999999999999999999", false, kMax},
        {"-9223372036854775808", true, kMin},
        {"-9223372036854775809", false, kMin},
        {"-99999999999999999999", false, kMin},
        {" 42", false, 42},  // leading space: value stored, result false
        {"\t-7", false, -7},
        {"42 ", false, 42},  // trailing space rejected
        {"12a", false, 12},
        {"-12a", false, -12},
        {"-", false, 0},
        {"+", false, 0},
        {"+-5", false, 0},
        {"", false, 0},
        {"   ", false, 0},
    };
    for (const auto& c : cases) {
        const std::string text = c.text;
        long long value = 777;
        EXPECT_EQ(grs::ParseDecimalInt64(text.data(), text.data() + text.size(), value), c.result)
            << '"' << text << '"';
        EXPECT_EQ(value, c.value) << '"' << text << '"';
    }
}

// Like wcscpy_s: a text fits with its terminator or leaves an empty field;
// nothing past the capacity is written. The whole buffer of eight, '#' where
// nothing was written.
TEST(CopyToField, FitsWithItsTerminatorOrLeavesAnEmptyField) {
    const struct {
        std::wstring text;
        size_t capacity;
        bool copied;
        std::wstring buffer;
    } cases[] = {
        {L"abc", 4, true, {L"abc\0####", 8}},
        {L"abcd", 4, false, {L"\0#######", 8}},  // no room for the terminator
        {L"", 1, true, {L"\0#######", 8}},
        {{L"ab\0cdef", 7}, 3, true, {L"ab\0#####", 8}},  // stops at the first NUL
        {L"a", 0, false, L"########"},                   // no field: untouched
    };
    for (const auto& c : cases) {
        wchar_t buffer[8];
        std::wmemset(buffer, L'#', 8);
        EXPECT_EQ(grs::CopyToField(buffer, c.capacity, c.text), c.copied) << grs::WideToUtf8(c.text);
        EXPECT_EQ(std::wstring(buffer, 8), c.buffer) << grs::WideToUtf8(c.text);
    }
}

TEST(PathText, DirectoryPartAndExtendedPrefix) {
    const std::pair<const wchar_t*, const wchar_t*> directories[] = {
        {L"C:\\a\\b.exe", L"C:\\a\\"}, {L"C:\\a", L"C:\\"},       {L"C:\\a\\", L"C:\\a\\"},
        {L"C:\\", L"C:\\"},            {L"name", L"name"},        {L"", L""},
        {L"C:\\a/b", L"C:\\"}};  // only a backslash separates
    for (const auto& d : directories) EXPECT_EQ(grs::DirectoryWithSeparator(d.first), d.second) << grs::WideToUtf8(d.first);

    const auto pathOf = [](size_t length) { return L"C:\\" + std::wstring(length - 3, L'x'); };
    const struct {
        std::wstring path;
        bool prefixed;
    } prefixes[] = {
        {pathOf(259), false},
        {pathOf(260), true},  // MAX_PATH already needs the long form: no room for the terminator
        {pathOf(300), true},
        {L"\\\\?\\" + pathOf(300), false},
    };
    for (const auto& p : prefixes)
        EXPECT_EQ(grs::WithExtendedPrefix(p.path), p.prefixed ? L"\\\\?\\" + p.path : p.path) << p.path.size();
}

TEST(TextConversion, EmptyInputFailsInvalidInputIsReplaced) {
    std::wstring wide = L"kept";
    std::string narrow = "kept";
    EXPECT_FALSE(grs::Utf8ToWide(std::string(), wide));
    EXPECT_FALSE(grs::WideToMultiByte(std::wstring(), narrow, grs::kCodePageAnsi));
    EXPECT_EQ(wide + grs::Utf8ToWide(narrow), L"keptkept");

    EXPECT_TRUE(grs::Utf8ToWide("a\xFF\xC3\xA9", wide));
    EXPECT_EQ(wide, L"a\uFFFD\u00e9");
    EXPECT_EQ(grs::Utf8ToWide(std::string("x\0y", 3)), std::wstring(L"x\0y", 3));
    // A view of a buffer converts its own bytes, not up to a terminator.
    EXPECT_EQ(grs::Utf8ToWide("\xC3\xA9xyz", 3), L"\u00e9x");
    EXPECT_EQ(grs::Utf8ToWide("xyz", 0), L"");
    EXPECT_EQ(grs::WideToUtf8(L"\u4e2d" + std::wstring(1, wchar_t(0xD800))), "\xE4\xB8\xAD\xEF\xBF\xBD");
}

TEST(IsPlaceholderEntry, Classification) {
    const struct {
        unsigned long attributes;
        unsigned long tag;
        bool placeholder;
    } cases[] = {
        {FILE_ATTRIBUTE_NORMAL, grs::kReparseTagCloud4, false},  // the tag counts on a reparse point only
        {grs::kAttributeRecallOnDataAccess, 0, true},
        {grs::kAttributeReparsePoint, grs::kReparseTagCloud4, true},
        {grs::kAttributeReparsePoint, 0xA000000C /* symbolic link */, false},
        {grs::kAttributeReparsePoint | grs::kAttributeOffline, 0, true},
    };
    for (const auto& c : cases) EXPECT_EQ(grs::IsPlaceholderEntry(c.attributes, c.tag), c.placeholder) << c.attributes;
    EXPECT_FALSE(grs::IsCloudPlaceholder(L"Z:\\no\\such\\file"));
}

}  // namespace
