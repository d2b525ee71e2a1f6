// The INI document and the private-profile accessors. GetPrivateProfileStringW
// is the oracle for what the client's other readers see.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>

#include "core/IniFile.h"
#include "globalrootservice/IniFileHelper.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "tests/common/TestSupport.h"
#include "tests/core/FailingAllocation.h"

namespace {

using grs::test::ReadFileBytes;
using grs::test::TempFolder;
using grs::test::WriteFileBytes;

template <size_t N>
std::string Bytes(const char (&literal)[N]) {
    return std::string(literal, N - 1);
}

std::wstring Rendered(const std::wstring& text) {
    CIniFileW ini;
    ini.ParseText(text);
    return ini.RenderText();
}

std::wstring ProfileRead(const std::wstring& path, const std::wstring& key, const wchar_t* section = L"S") {
    wchar_t buffer[1024] = {};
    ::GetPrivateProfileStringW(section, key.c_str(), L"", buffer, 1024, path.c_str());
    return buffer;
}

// "café" where the ANSI code page has it, "cafe" elsewhere.
std::wstring AnsiText() {
    const std::wstring text = L"caf\u00e9";
    const std::string bytes = grs::WideToMultiByte(text, 0);
    wchar_t back[8] = {};
    ::MultiByteToWideChar(CP_ACP, 0, bytes.c_str(), -1, back, 8);
    return text == back ? text : L"cafe";
}

bool HasTemporaryFile(const std::wstring& folder) {
    WIN32_FIND_DATAW data;
    return grs::UniqueFind(::FindFirstFileW((folder + L"\\*.tmp").c_str(), &data)).valid();
}

TEST(CIniFileW, ParseRules) {
    const struct {
        const wchar_t* text;
        const wchar_t* rendered;
    } cases[] = {
        {L"k=v\n[S]\na=1\n", L"[S]\na=1\n"},                           // key before any section
        {L"[S]\n=x\n", L"[S]\n"},                                      // "=" first: not a key line
        {L"[s]\nA=1\n[S]\na=2\n", L"[s]\nA=2\n"},                      // case-insensitive, first name kept
        {L"[S]\n  a \t= v \n", L"[S]\na= v \n"},                       // key trimmed, value exact
        {L"  [S]\r\n\tk=v\r\n", L"[S]\nk=v\n"},                        // CRLF, indentation
        {L"[S] \nk=v\n", L"[S]]\nk=v\n"},                              // one character cut at each end
        {L"[ S ]\nk=1\n[S]\nj=2\n", L"[S]\nj=2\nk=1\n"},               // header name trimmed
        {L"[B]\nz=1\ny=2\n[a]\nx=3\n", L"[a]\nx=3\n[B]\ny=2\nz=1\n"},  // sorted without regard to case
        {L"[S]\n# note\n; other\njunk\n[T\n", L"[S]\n"},               // comments, unrecognised lines
        {L"[S]\n#c=1\nk=a=b\ne=\n", L"[S]\n#c=1\ne=\nk=a=b\n"},        // key lines win over comments
        {L"[S]\nk=v \t\r\r\n", L"[S]\nk=v \t\n"},                      // only CR and LF cut at the end
        {L"[]\nk=1\n[a]b]\nj=2", L"[]\nk=1\n[a]b]\nj=2\n"},            // no final line feed
    };
    for (const auto& c : cases) EXPECT_EQ(Rendered(c.text), c.rendered) << grs::WideToUtf8(c.text);
}

// Names are ordered by their own comparison (fast on ASCII); its oracle is
// the C runtime's _wcsicmp, which the order has always followed.
TEST(IniNameLess, OrdersAsTheRuntimesCaseInsensitiveCompare) {
    const std::wstring names[] = {L"",       L"a",      L"A",      L"ab",      L"aB",        L"b",
                                  L"[",      L"_",      L"`",      L"Z",       L"z",         L"key1",
                                  L"KEY10",  L"\u00e9", L"\u00c9", L"a\u00e9", L"A\u00c9x",  L"\u4e2d",
                                  L"\uFFFF", L" a",     L"a ",     L"a\t",     {L"a\0b", 3}, {L"a\0c", 3}};
    const grs::IniNameLess less;
    for (const std::wstring& a : names)
        for (const std::wstring& b : names)
            EXPECT_EQ(less(a, b), ::_wcsicmp(a.c_str(), b.c_str()) < 0) << grs::WideToUtf8(a) << " / " << grs::WideToUtf8(b);
}

TEST(CIniFileW, GetValueAppliesTheDefaultOnlyInsideAnExistingSection) {
    CIniFileW ini;
    ini.ParseText(L"[Setting]\nLanguage=en\nEmpty=\n");
    EXPECT_EQ(ini.GetValue(L" SETTING\t", L" language ", L"d"), L"en");
    EXPECT_EQ(ini.GetValue(L"Setting", L"Empty", L"d"), L"");
    EXPECT_EQ(ini.GetValue(L"Setting", L"Missing", L"d"), L"d");
    EXPECT_EQ(ini.GetValue(L"Other", L"Language", L"d"), L"");
    EXPECT_EQ(ini.AddSection(L"setting "), ini.FindSection(L"Setting"));
    EXPECT_EQ(ini.AddKey(ini.FindSection(L"Setting"), L"LANGUAGE")->name, L"Language");
}

// No name or value set in memory may turn into another key or section.
TEST(CIniFileW, LineBreaksCannotInjectEntries) {
    const struct {
        const wchar_t* section;
        const wchar_t* key;
        const wchar_t* value;
        const wchar_t* rendered;
    } cases[] = {
        {L"S", L"k", L"1\r\n[Evil]\r\nx=y", L"[S]\nk=1\nVersion=1\n"},
        {L"S", L"k", L"\nVersion=9", L"[S]\nk=\nVersion=1\n"},
        {L"S", L"a\nVersion", L"9", L"[S]\nVersion=1\n"},
        {L"S", L"Version=9", L"x", L"[S]\nVersion=1\n"},
        {L"S", L"[Evil", L"]", L"[S]\nVersion=1\n"},
        {L"S\n[T]", L"k", L"v", L"[S]\nVersion=1\n"},
        {L"a]b", L"k", L"v", L"[a]b]\nk=v\n[S]\nVersion=1\n"},
    };
    for (const auto& c : cases) {
        CIniFileW ini;
        ini.ParseText(L"[S]\nVersion=1\n");
        ini.AddKey(ini.AddSection(c.section), c.key)->value = c.value;
        const std::wstring rendered = ini.RenderText();
        EXPECT_EQ(rendered, c.rendered) << grs::WideToUtf8(c.key);
        EXPECT_EQ(Rendered(rendered), rendered);
    }
}

// Names compare only up to a NUL character: a written name takes over from an
// equal one that cannot be written, so what the operations set is saved
// (otherwise such a header leaves out the whole "Setting" section).
TEST(CIniFileW, AWritableNameTakesOverFromAnEqualUnwritableOne) {
    CIniFileW ini;
    ini.ParseText(std::wstring(L"[S\0\r]\nk\0\r=1\n", 12));
    ini.AddKey(ini.AddSection(L"S"), L"k")->value = L"2";
    EXPECT_EQ(ini.RenderText(), L"[S]\nk=2\n");
}

// Every kind of file loads; a normalised one is saved back byte for byte. A
// value UTF-8 cannot carry turns the file into UTF-16, which carries every
// value exactly (a lone surrogate must not come back as U+FFFD).
TEST(CIniFileW, LoadsAnyFileAndSavesInTheEncodingItRead) {
    using E = grs::IniEncoding;
    const std::string longValue(70000, 'x');
    const std::wstring loneHigh(1, static_cast<wchar_t>(0xD800)), loneLow(1, static_cast<wchar_t>(0xDC00));
    const struct {
        const char* name;
        std::string bytes;
        E encoding;
        std::wstring value;  // of S/k; "*": depends on the code page
        bool sameBytes;
        std::wstring set{};  // assigned to S/k before the save
        E setEncoding = E::Utf16Le;  // what the file then reads back as
    } cases[] = {
        {"utf-16", Bytes("\xFF\xFE[\0S\0]\0\n\0k\0=\0-\0\x2D\x4E\n\0"), E::Utf16Le, L"-\u4e2d", true},
        {"utf-8 bom", "\xEF\xBB\xBF[S]\nk=\xC3\xA9\n", E::Utf8Bom, L"\u00e9", true},
        {"utf-8", "[S]\nk=\xC3\xA9\xE4\xB8\xAD\n", E::Utf8, L"\u00e9\u4e2d", true},
        {"ansi", "[S]\nk=\xC3\x28\n", E::AnsiCodePage, L"*", true},
        {"ascii", "[S]\nk=" + longValue + "\n", E::AnsiCodePage, std::wstring(70000, L'x'), true},
        {"nul bytes", Bytes("[S]\nk=a\0b\n\0\0\n"), E::AnsiCodePage, std::wstring(L"a\0b", 3), false},
        {"utf-16, no final line break", Bytes("\xFF\xFE[\0S\0]\0\n\0k\0=\0v\0w\0"), E::Utf16Le, L"vw", false},
        {"utf-16, odd size", Bytes("\xFF\xFE[\0S\0]\0\n\0k\0=\0v\0w\0\x41"), E::Utf16Le, L"vw", false},
        {"invalid utf-8 after a bom", "\xEF\xBB\xBF[S]\nk=\xFF\n", E::Utf8Bom, L"\uFFFD", false},
        {"empty", "", E::Utf16Le, L"", false},
        {"megabyte line", "[S]\nk=v\n" + std::string(1 << 20, '['), E::AnsiCodePage, L"v", false},
        {"utf-8, a lone surrogate set", "[S]\nk=\xC3\xA9\n", E::Utf8, L"\u00e9", false, loneHigh},
        {"utf-8 bom, a lone surrogate set", "\xEF\xBB\xBF[S]\nk=v\n", E::Utf8Bom, L"v", false, L"a" + loneLow},
        // A character outside the basic plane is a surrogate pair, which UTF-8 carries.
        {"utf-8, a surrogate pair set", "[S]\nk=\xC3\xA9\n", E::Utf8, L"\u00e9", false, loneHigh + loneLow + L"a" + loneHigh + loneLow,
         E::Utf8},
    };
    TempFolder folder;
    const std::wstring path = folder / L"any.ini";
    for (const auto& c : cases) {
        ASSERT_TRUE(WriteFileBytes(path, c.bytes));
        CIniFileW ini;
        ASSERT_EQ(ini.Load(path), 1) << c.name;
        EXPECT_EQ(ini.Encoding(), c.encoding) << c.name;
        if (c.value != L"*") EXPECT_EQ(ini.GetValue(L"S", L"k", L""), c.value) << c.name;
        if (!c.set.empty()) ini.AddKey(ini.FindSection(L"S"), L"k")->value = c.set;
        ASSERT_EQ(ini.Save(path), 1) << c.name;
        if (c.sameBytes) EXPECT_EQ(ReadFileBytes(path), c.bytes) << c.name;
        if (c.set.empty()) continue;
        CIniFileW back;
        ASSERT_EQ(back.Load(path), 1) << c.name;
        EXPECT_EQ(back.Encoding(), c.setEncoding) << c.name;
        EXPECT_EQ(back.GetValue(L"S", L"k", L""), c.set) << c.name;
    }
    EXPECT_FALSE(HasTemporaryFile(folder.Path()));

    std::string big = "[S]\n";  // several megabytes: one pass
    for (int i = 0; i < 200000; ++i) big += "key" + std::to_string(i) + "=value " + std::to_string(i) + "\n";
    ASSERT_TRUE(WriteFileBytes(path, big));
    CIniFileW ini;
    ASSERT_EQ(ini.Load(path), 1);
    EXPECT_EQ(ini.FindSection(L"S")->keys.size(), 200000u);
}

// Files as the private-profile functions and the narrow accessor leave them:
// after a load, a change and a save, every reader still gets every value.
TEST(CIniFileW, RoundTripsFilesOfThePrivateProfileFunctions) {
    static const std::wstring kUnicode = L"\u4e2d\u6587 caf\u00e9 \U0001F600";
    static const std::wstring kAnsi = AnsiText();
    static const std::wstring kFolder = L"C:\\Users\\Jos\u00e9\\\u4e2d\\";
    const struct {
        const char* name;
        void (*write)(const std::wstring&);
        std::wstring stored;  // the value of "Old", if any
        std::wstring added;
        std::string prefix;
    } cases[] = {
        {"utf-16 profile file",
         [](const std::wstring& p) {
             WriteFileBytes(p, "\xFF\xFE");
             ::WritePrivateProfileStringW(L"S", L"Old", kUnicode.c_str(), p.c_str());
         },
         kUnicode, L"\u65b0", "\xFF\xFE"},
        {"ansi file given text its code page lacks",
         [](const std::wstring& p) { ::WritePrivateProfileStringW(L"S", L"Old", kAnsi.c_str(), p.c_str()); }, kAnsi,
         kUnicode, "\xFF\xFE"},
        {"utf-8 values of the narrow accessor",
         [](const std::wstring& p) {
             IniFileHelper(p.c_str(), L"S").WriteIniKeyValue(L"Url", L"https://x.example");
             const std::string narrowPath = grs::WideToMultiByte(p, 0);
             IniFileHelperA(narrowPath.c_str(), "S").WriteIniKeyValueA("Old", grs::WideToUtf8(kFolder));
         },
         kFolder, L"https://base.example", "[S]"},
        {"new file", [](const std::wstring&) {}, L"", kUnicode, "\xFF\xFE"},
    };
    for (const auto& c : cases) {
        TempFolder folder;
        const std::wstring path = folder / L"profile.ini";
        c.write(path);
        CIniFileW ini;
        ini.Load(path);
        EXPECT_EQ(ini.GetValue(L"S", L"Old", L""), c.stored) << c.name;
        ini.AddKey(ini.AddSection(L"S"), L"Added")->value = c.added;
        ASSERT_EQ(ini.Save(path), 1) << c.name;

        EXPECT_EQ(ReadFileBytes(path).substr(0, c.prefix.size()), c.prefix) << c.name;
        EXPECT_EQ(ProfileRead(path, L"Added"), c.added) << c.name;
        if (c.stored == kFolder) {  // narrow readers get the UTF-8 bytes back
            const std::string narrowPath = grs::WideToMultiByte(path, 0);
            EXPECT_EQ(IniFileHelperA(narrowPath.c_str(), "S").ReadIniValueByKeyTypeString("Old"),
                      grs::WideToUtf8(kFolder));
            EXPECT_EQ(ProfileRead(path, L"Url"), L"https://x.example");
        } else {
            EXPECT_EQ(ProfileRead(path, L"Old"), c.stored) << c.name;
        }
    }
}

TEST(CIniFileW, FailedSaveKeepsTheOldFile) {
    grs::test::StandInSandbox sandbox;
    TempFolder folder;
    const std::wstring path = folder / L"old.ini";
    const struct {
        const char* name;
        std::wstring path;
        DWORD attributes;
        bool heldOpen;
    } cases[] = {
        {"missing folder", folder / L"no\\such.ini", FILE_ATTRIBUTE_NORMAL, false},
        {"read-only file", path, FILE_ATTRIBUTE_READONLY, false},
        {"file open without sharing", path, FILE_ATTRIBUTE_NORMAL, true},
    };
    for (const auto& c : cases) {
        ClientStandIn::ClearLogLines();
        ASSERT_TRUE(WriteFileBytes(path, "[S]\nk=old\n"));
        ::SetFileAttributesW(path.c_str(), c.attributes);
        grs::UniqueFile held(c.heldOpen
                                 ? ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)
                                 : INVALID_HANDLE_VALUE);
        CIniFileW ini;
        ini.ParseText(L"[S]\nk=new\n");
        EXPECT_EQ(ini.Save(c.path), 0) << c.name;
        EXPECT_EQ(ini.Load(c.path), c.heldOpen || c.path != path ? 0 : 1) << c.name;
        EXPECT_FALSE(grs::test::LogLinesOf("CIniFileW::Save").empty()) << c.name;
        held.reset();
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        EXPECT_EQ(ReadFileBytes(path), "[S]\nk=old\n") << c.name;
        EXPECT_FALSE(HasTemporaryFile(folder.Path())) << c.name;
    }

    // A hidden system file is replaced, and profile reads see the new content.
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
    EXPECT_EQ(ProfileRead(path, L"k"), L"old");
    CIniFileW ini;
    ini.ParseText(L"[S]\nk=new\n");
    ASSERT_EQ(ini.Save(path), 1);
    EXPECT_EQ(ProfileRead(path, L"k"), L"new");
}

TEST(IniFileHelper, CreatesMissingFilesAndCutsReadsAt259Characters) {
    TempFolder folder;
    const std::wstring path = folder / L"fresh.ini";
    IniFileHelper ini(path.c_str(), L"S");
    EXPECT_TRUE(grs::test::FileExists(path));
    EXPECT_EQ(ReadFileBytes(path), "");
    const std::string narrowPath = grs::WideToMultiByte(folder / L"fresh-a.ini", 0);
    IniFileHelperA narrow(narrowPath.c_str(), "S");
    EXPECT_TRUE(grs::test::FileExists(folder / L"fresh-a.ini"));

    for (size_t length : {259u, 260u, 261u, 300u}) {
        const std::wstring value(length, L'v');
        ini.WriteIniKeyValue(L"k", value);
        EXPECT_EQ(ini.ReadIniValueByKeyTypeWString(L"k"), value.substr(0, 259)) << length;
        EXPECT_EQ(ini.ReadIniValueByKeyTypeString(L"k").size(), std::min<size_t>(length, 259)) << length;
        CIniFileW whole;
        whole.Load(path);
        EXPECT_EQ(whole.GetValue(L"S", L"k", L"").size(), length);
    }
    EXPECT_EQ(ini.ReadIniValueByKeyTypeWString(L"missing"), L"");
    IniFileHelper other(path.c_str(), L"Other");
    EXPECT_EQ(other.ReadIniValueByKeyTypeWString(L"k"), L"");
    other = ini;  // rebinds to the file and section of `ini`
    EXPECT_EQ(other.ReadIniValueByKeyTypeWString(L"k").size(), 259u);

    // The narrow read is in the ANSI code page, not UTF-8.
    ini.WriteIniKeyValue(L"k", AnsiText());
    EXPECT_EQ(ini.ReadIniValueByKeyTypeString(L"k"), grs::WideToMultiByte(AnsiText(), 0));
}

// Each allocation a read makes fails in turn: the read gives an empty string
// and a log line, and nothing escapes to the client.
TEST(IniFileHelper, ReadsOutOfMemoryGiveEmptyAndLog) {
    grs::test::StandInSandbox sandbox;
    TempFolder folder;
    const std::wstring path = folder / L"memory.ini";
    const std::string narrowPath = grs::WideToMultiByte(path, 0);
    const std::wstring value(100, L'v');  // too long for any string's inline buffer
    IniFileHelper wide(path.c_str(), L"S");
    IniFileHelperA narrow(narrowPath.c_str(), "S");
    wide.WriteIniKeyValue(L"k", value);
    const struct {
        const char* function;
        std::function<size_t()> read;  // the length of what it returned
    } cases[] = {
        {"IniFileHelper::ReadIniValueByKeyTypeWString", [&] { return wide.ReadIniValueByKeyTypeWString(L"k").size(); }},
        {"IniFileHelper::ReadIniValueByKeyTypeString", [&] { return wide.ReadIniValueByKeyTypeString(L"k").size(); }},
        {"IniFileHelperA::ReadIniValueByKeyTypeString", [&] { return narrow.ReadIniValueByKeyTypeString("k").size(); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.function);
        const size_t before = grs::test::AllocationCount();
        ASSERT_EQ(c.read(), value.size());
        const size_t allocations = grs::test::AllocationCount() - before;
        ASSERT_GT(allocations, 0u);
        for (size_t nth = 1; nth <= allocations; ++nth) {
            SCOPED_TRACE(nth);
            ClientStandIn::ClearLogLines();
            size_t length = 1;
            bool escaped = false;
            try {
                grs::test::FailAllocation(nth);
                length = c.read();
            } catch (...) {
                escaped = true;
            }
            grs::test::FailAllocation(0);
            EXPECT_FALSE(escaped);
            EXPECT_EQ(length, 0u);
            const auto lines = grs::test::LogLinesOf(c.function);
            ASSERT_EQ(lines.size(), 1u);
            EXPECT_EQ(lines[0].severity, 5);
            EXPECT_EQ(grs::WideToUtf8(lines[0].message), "[" + std::string(c.function) + "] std::bad_alloc");
        }
    }
}

TEST(IniFileHelper, LineBreaksCannotInjectEntries) {
    grs::test::StandInSandbox sandbox;
    TempFolder folder;
    const std::wstring path = folder / L"inject.ini";
    const std::string narrowPath = grs::WideToMultiByte(path, 0);
    IniFileHelper wide(path.c_str(), L"S");
    IniFileHelperA narrow(narrowPath.c_str(), "S");
    wide.WriteIniKeyValue(L"Version", L"1");
    const struct {
        const wchar_t* key;
        const wchar_t* value;
    } cases[] = {
        {L"k", L"1\r\n[Evil]\r\nx=y"},
        {L"a\r\nVersion", L"9"},
        {L"Version=9", L"x"},
        {L"[Evil", L"x"},
        {L" [Evil", L"x"},
        {L"", L"x"},
    };
    for (const auto& c : cases) {
        wide.WriteIniKeyValue(c.key, c.value);
        narrow.WriteIniKeyValueA(grs::WideToUtf8(c.key), grs::WideToUtf8(c.value));
    }
    EXPECT_EQ(ProfileRead(path, L"x", L"Evil"), L"");
    EXPECT_EQ(Rendered(grs::Utf8ToWide(ReadFileBytes(path))), L"[S]\nk=1\nVersion=1\n");
    EXPECT_FALSE(grs::test::LogLinesOf("IniFileHelper::WriteIniKeyValue").empty());
    EXPECT_FALSE(grs::test::LogLinesOf("IniFileHelperA::WriteIniKeyValueA").empty());
}

}  // namespace
