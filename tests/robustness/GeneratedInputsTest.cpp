// Thousands of generated inputs per parser, with fixed seeds: nothing may
// crash or throw, and each parser keeps its invariant.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>
#include <map>
#include <memory>

#include "core/IniFile.h"
#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "globalrootservice/Zorvane.h"
#include "serverconfig/RegionJson.h"
#include "globalrootservice/ServerConfigHelper.h"
#include "serverconfig/ServerConfigPaths.h"
#include "tests/common/TestSupport.h"
#include "tests/robustness/Generate.h"

class ZorvaneTestAccess {
public:
    static std::string Serialize(st_ZRVInfo* record) { return Zorvane::GetInstance()->SerializeZRV(record); }
};

namespace grs::test {
namespace {

// --- INI documents ----------------------------------------------------------

std::wstring IniLines(Random& random) {
    std::wstring text;
    const size_t lines = Below(random, 12);
    for (size_t i = 0; i < lines; ++i) {
        if (OneIn(random, 3)) text += L"[" + WideText(random, 4) + L"]";
        text += WideText(random, 10) + (OneIn(random, 3) ? L"\r\n" : L"\n");
    }
    return text;
}

TEST(GeneratedIni, RenderedTextParsesBackToItself) {
    Random random(11);
    for (int i = 0; i < 5000; ++i) {
        const std::wstring text = IniLines(random);
        CIniFileW first;
        first.ParseText(text);
        const std::wstring rendered = first.RenderText();
        CIniFileW second;
        second.ParseText(rendered);
        ASSERT_EQ(second.RenderText(), rendered) << grs::WideToUtf8(text);
    }
}

// A document saved in each encoding the loader can pick loads back as the same
// document; so does one loaded from random bytes and saved again.
TEST(GeneratedIni, SavedDocumentsLoadBackInEveryEncoding) {
    TempFolder folder;
    const std::wstring path = folder / L"doc.ini";
    const std::string seeds[] = {std::string("\xFF\xFE", 2), "\xEF\xBB\xBF", "[s]\nk=\xC3\xA9\n", "[s]\n"};
    Random random(12);
    for (int i = 0; i < 400; ++i) {
        CIniFileW written;
        if (i % 2 == 0) {
            ASSERT_TRUE(WriteFileBytes(path, seeds[i / 2 % 4]));
            ASSERT_EQ(written.Load(path), 1);
            written.Clear();
            for (size_t s = Below(random, 4); s > 0; --s) {
                CIniFileW::Section* section = written.AddSection(WideText(random, 4));
                for (size_t k = Below(random, 5); k > 0; --k)
                    written.AddKey(section, WideText(random, 4))->value = WideText(random, 8);
            }
        } else {
            std::string bytes = i % 6 == 1 ? std::string("\xFF\xFE", 2) : i % 6 == 3 ? "\xEF\xBB\xBF" : "";
            bytes += Bytes(random, 60);
            ASSERT_TRUE(WriteFileBytes(path, bytes));
            ASSERT_EQ(written.Load(path), 1);
        }
        ASSERT_EQ(written.Save(path), 1);
        CIniFileW read;
        ASSERT_EQ(read.Load(path), 1);
        ASSERT_EQ(read.RenderText(), written.RenderText()) << "case " << i;
    }
}

// Hostile inputs that keep their own cases (the bytes of fuzz/regressions).
TEST(HostileInputs, KeepTheirInvariants) {
    TempFolder folder;
    const std::wstring path = folder / L"found.ini";
    // Plain bytes read in the ANSI code page whose rewrite would be valid
    // UTF-8 (the comment that made them invalid is dropped on save).
    for (const std::string bytes :
         {std::string(" [ \0\0\0\x06;S\xEF\xBB\xBF]\n\xF2", 16), std::string("[s]\nk=\xC3\xA9\n#\xE9\n")}) {
        ASSERT_TRUE(WriteFileBytes(path, bytes));
        CIniFileW first, second;
        ASSERT_EQ(first.Load(path), 1);
        ASSERT_EQ(first.Save(path), 1);
        ASSERT_EQ(second.Load(path), 1);
        EXPECT_EQ(second.RenderText(), first.RenderText());
    }
    // A broken UTF-8 sequence at the very end of a server address file.
    EXPECT_TRUE(ScanRegion("\"r\xF4\xFF", "cn").syntaxError);
    EXPECT_TRUE(ScanRegion("{\"cn\":{\"zrv\":\"\xF0", "cn").syntaxError);
}

// --- Decimal numbers --------------------------------------------------------

// What a digits-only text (optionally signed) means: its value, or the bound
// it saturates to.
struct Expected {
    long long value;
    bool overflow;
};

Expected Reference(bool negative, const std::string& digits) {
    const std::string bound = negative ? "9223372036854775808" : "9223372036854775807";
    const size_t first = std::min(digits.find_first_not_of('0'), digits.size());
    const std::string significant = digits.substr(first);
    const bool overflow =
        significant.size() > bound.size() || (significant.size() == bound.size() && significant > bound);
    if (overflow)
        return {negative ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max(), true};
    unsigned long long magnitude = 0;
    for (char c : significant) magnitude = magnitude * 10 + static_cast<unsigned>(c - '0');
    const long long value = negative ? static_cast<long long>(0ull - magnitude) : static_cast<long long>(magnitude);
    return {value, false};
}

TEST(GeneratedNumbers, ParserAgreesWithAReference) {
    Random random(21);
    const std::string spaces = " \t\n\v\f\r";
    const std::string garbage = "x.e +-\x80\xFF";
    for (int i = 0; i < 20000; ++i) {
        std::string leading(Below(random, 3) == 0 ? Below(random, 3) : 0, ' ');
        for (char& c : leading) c = spaces[Below(random, spaces.size())];
        const std::string sign = std::vector<std::string>{"", "", "-", "+"}[Below(random, 4)];
        // Around the 19-digit bounds most of the time.
        std::string digits(OneIn(random, 4) ? Below(random, 25) : 18 + Below(random, 3), '0');
        for (char& c : digits) c = static_cast<char>('0' + Below(random, 10));
        if (!digits.empty() && OneIn(random, 3)) digits[0] = '9';
        std::string tail;
        if (OneIn(random, 4) && !(sign.empty() && digits.empty()))
            tail = garbage.substr(Below(random, garbage.size()), 2);
        const std::string text = leading + sign + digits + tail;

        long long value = 42;
        const bool result = ParseDecimalInt64(text.data(), text.data() + text.size(), value);
        const Expected expected = Reference(sign == "-", digits);
        const bool atEnd = leading.size() == text.size();
        SCOPED_TRACE("\"" + text + "\"");
        ASSERT_EQ(value, atEnd ? 0 : expected.value);
        ASSERT_EQ(result, !atEnd && leading.empty() && !digits.empty() && tail.empty() && !expected.overflow);
    }
}

// On any bytes, success means the text was exactly the number.
TEST(GeneratedNumbers, SuccessOnRandomBytesMeansAnExactNumber) {
    Random random(22);
    for (int i = 0; i < 20000; ++i) {
        const std::string bytes = Bytes(random, 30);
        long long value = 0;
        if (ParseDecimalInt64(bytes.data(), bytes.data() + bytes.size(), value)) {
            const std::string digits = bytes[0] == '+' ? bytes.substr(1) : bytes;
            ASSERT_EQ(Reference(digits[0] == '-', digits.substr(digits[0] == '-')).value, value) << bytes;
        }
    }
}

// --- Route records ----------------------------------------------------------

std::unique_ptr<st_ZRVInfo> RandomRecord(Random& random) {
    auto record = std::make_unique<st_ZRVInfo>();
    record->isSuccess = OneIn(random, 2) ? 1 : static_cast<int>(random());
    record->countryCode = WideText(random, 3);
    if (OneIn(random, 5)) record->countryCode += L'\0' + WideText(random, 2);
    CopyToField(record->currentTime, std::to_wstring(random()).substr(0, 19));
    CopyToField(record->effectivePeriod, WideText(random, OneIn(random, 8) ? 200 : 6).substr(0, 255));
    for (size_t g = Below(random, 5); g > 0; --g) {
        auto& group = record->services[WideText(random, 4)];
        for (size_t k = Below(random, 4); k > 0; --k) group[WideText(random, 4)] = WideText(random, 10);
    }
    return record;
}

grs::route::ServiceGroups WithoutEmptyGroups(grs::route::ServiceGroups groups) {
    for (auto it = groups.begin(); it != groups.end();) it = it->second.empty() ? groups.erase(it) : std::next(it);
    return groups;
}

void ExpectSameRecord(const st_ZRVInfo& read, const st_ZRVInfo& written) {
    EXPECT_EQ(WithoutEmptyGroups(read.services), WithoutEmptyGroups(written.services));
    EXPECT_EQ(read.isSuccess, written.isSuccess);
    EXPECT_EQ(read.countryCode, written.countryCode);
    EXPECT_EQ(std::wstring(read.currentTime), std::wstring(written.currentTime));
    EXPECT_EQ(std::wstring(read.effectivePeriod), std::wstring(written.effectivePeriod));
}

TEST(GeneratedRoutes, WrittenRecordReadsBackApartFromEmptyGroups) {
    Random random(31);
    for (int i = 0; i < 3000; ++i) {
        const std::unique_ptr<st_ZRVInfo> written = RandomRecord(random);
        const std::string json = ZorvaneTestAccess::Serialize(written.get());
        st_ZRVInfo* read = nullptr;
        ASSERT_TRUE(Zorvane::GetInstance()->GetDeserialize(read, json)) << json;
        const std::unique_ptr<st_ZRVInfo> owner(read);
        SCOPED_TRACE(json);
        ExpectSameRecord(*read, *written);
        if (::testing::Test::HasFailure()) return;
    }
}

// Damaged cache or answer texts: always a record, and whatever was accepted
// writes and reads back as itself.
TEST(GeneratedRoutes, DamagedTextsAreContained) {
    Random random(32);
    for (int i = 0; i < 4000; ++i) {
        const std::unique_ptr<st_ZRVInfo> source = RandomRecord(random);
        const std::string text =
            OneIn(random, 5) ? Bytes(random, 80) : Mutate(random, ZorvaneTestAccess::Serialize(source.get()));
        st_ZRVInfo* record = OneIn(random, 2) ? nullptr : RandomRecord(random).release();
        bool result = false;
        ASSERT_NO_THROW(result = Zorvane::GetInstance()->GetDeserialize(record, text));
        ASSERT_NE(record, nullptr);
        const std::unique_ptr<st_ZRVInfo> owner(record);
        if (!result) continue;
        st_ZRVInfo* again = nullptr;
        ASSERT_TRUE(Zorvane::GetInstance()->GetDeserialize(again, ZorvaneTestAccess::Serialize(record)));
        const std::unique_ptr<st_ZRVInfo> againOwner(again);
        SCOPED_TRACE(text);
        ExpectSameRecord(*again, *record);
        if (::testing::Test::HasFailure()) return;
    }
}

// --- Server address files ---------------------------------------------------

// A JSON string literal of `text`, characters randomly escaped or raw UTF-8.
std::string JsonString(Random& random, const std::wstring& text) {
    // Unescaped characters go through as UTF-8, surrogate pairs whole.
    std::string json = "\"";
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size();
        if (c < 0x20 || c == L'"' || c == L'\\' || OneIn(random, 4)) {
            char escaped[16];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            json += escaped;
            if (pair) {
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(text[++i]));
                json += escaped;
            }
        } else {
            json += WideToUtf8(text.substr(i, pair ? 2 : 1));
            if (pair) ++i;
        }
    }
    return json + "\"";
}

const char* const kRegions[] = {"cn", "dr2", "dr3", "dr4", "cn ", "CN"};

struct GeneratedFile {
    std::string json;
    RegionScan expected;  // for region "cn"
};

GeneratedFile RandomServerFile(Random& random) {
    GeneratedFile file;
    // The last one is an object: a region, but not one of addresses.
    const char* const others[] = {"1", "null", "true", "[]", "[{\"zrv\":\"x\"}]", "-0.5e3", "{\"a\":{\"b\":[]}}"};
    file.json = "{";
    for (size_t m = Below(random, 5); m > 0; --m) {
        const std::string name = kRegions[Below(random, 6)];
        std::string value;
        const bool object = !OneIn(random, 5);
        RegionScan scan;
        scan.found = object;
        if (object) {
            value = "{";
            for (size_t k = Below(random, 6); k > 0; --k) {
                const std::wstring key = OneIn(random, 3) ? L"zrv" : WideText(random, 4);
                value += JsonString(random, key) + ":";
                if (OneIn(random, 12)) {
                    value += others[Below(random, 7)];
                    scan.nonStringValue = true;
                } else {
                    const std::wstring address = WideText(random, 12);
                    value += JsonString(random, address);
                    scan.servers[key] = address;
                }
                value += ",";
            }
            value.back() = '}';
            if (value == "}") value = "{}";
        } else {
            value = others[Below(random, 6)];
        }
        if (name == "cn") file.expected = scan;
        file.json += JsonString(random, Utf8ToWide(name)) + ":" + value + ",";
    }
    file.json.back() = '}';
    if (file.json == "}") file.json = "{}";
    return file;
}

TEST(GeneratedServerFiles, RegionReaderMatchesTheModel) {
    Random random(41);
    for (int i = 0; i < 4000; ++i) {
        const GeneratedFile file = RandomServerFile(random);
        const RegionScan scan = ScanRegion(file.json, "cn");
        SCOPED_TRACE(file.json);
        ASSERT_FALSE(scan.syntaxError);
        ASSERT_EQ(scan.found, file.expected.found);
        ASSERT_EQ(scan.nonStringValue, file.expected.nonStringValue);
        ASSERT_EQ(scan.servers, file.expected.servers);
    }
}

TEST(GeneratedServerFiles, DamagedFilesAreContained) {
    Random random(42);
    for (int i = 0; i < 4000; ++i) {
        const std::string text = OneIn(random, 4) ? Bytes(random, 100) : Mutate(random, RandomServerFile(random).json);
        RegionScan scan;
        ASSERT_NO_THROW(scan = ScanRegion(text, "cn")) << text;
        if (scan.syntaxError) ASSERT_TRUE(scan.servers.empty() && !scan.found) << text;
    }
}

// The same files through the exported class, read from disk.
TEST(GeneratedServerFiles, HelperLoadsExactlyTheUsableRegions) {
    StandInSandbox sandbox;
    ServerConfigHelper first;  // fills the module directory once per process
    const std::wstring moduleDirectory = ModuleDirectory();
    ModuleDirectory() = sandbox.Root().Path() + L"\\";
    ClientStandIn::SetText(ClientStandIn::Text::CountryCode, L"CN");
    Random random(43);
    for (int i = 0; i < 300; ++i) {
        const GeneratedFile file = OneIn(random, 4) ? GeneratedFile{Mutate(random, RandomServerFile(random).json), {}}
                                                    : RandomServerFile(random);
        ASSERT_TRUE(WriteFileBytes(ModuleDirectory() + L"ServerConfig", file.json));
        ServerConfigHelper helper;
        const RegionScan scan = ScanRegion(file.json, "cn");
        const bool usable = !scan.syntaxError && scan.found && !scan.nonStringValue && !scan.servers.empty();
        bool loaded = false;
        ASSERT_NO_THROW(loaded = helper.isFileExist(false)) << file.json;
        ASSERT_EQ(loaded, usable) << file.json;
        const auto zrv = scan.servers.find(L"zrv");
        if (usable)
            ASSERT_EQ(helper.GetServerAddress(SERVICE_ZRV, false), zrv == scan.servers.end() ? L"" : zrv->second);
    }
    ModuleDirectory() = moduleDirectory;
}

}  // namespace
}  // namespace grs::test
