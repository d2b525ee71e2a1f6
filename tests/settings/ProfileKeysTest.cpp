// Keys written without the private-profile functions, where they cannot take
// the path, must be the bytes those functions write.
#include "settings/ProfileKeys.h"
#include "settings/SettingsFiles.h"

#include "tests/settings/SettingsFixture.h"

namespace grs::test {
namespace {

using settings::ProfileFunctionsTake;
using settings::WithProfileKey;

TEST(ProfileKeys, WhichPathsTheProfileFunctionsTake) {
    const std::wstring deep = L"C:\\" + std::wstring(250, L'd') + L"\\SyncSetting.ini";
    const struct {
        const char* name;
        std::wstring path;
        bool narrow;
        unsigned codePage;
        bool takes;
    } rows[] = {
        {"ascii, narrow", L"C:\\Users\\anna\\Setting.ini", true, 1252, true},
        {"umlaut in its code page", L"C:\\Users\\J\u00fcrgen\\Setting.ini", true, 1252, true},
        {"umlaut best-fit to u", L"C:\\Users\\J\u00fcrgen\\Setting.ini", true, 1251, false},
        {"cyrillic in its code page", L"C:\\Users\\\u0418\u0432\u0430\u043d\\Setting.ini", true, 1251, true},
        {"cjk outside the code page", L"C:\\Users\\\u674e\u56db\\Setting.ini", true, 1252, false},
        {"cjk in its code page", L"C:\\Users\\\u674e\u56db\\Setting.ini", true, 936, true},
        {"cjk, wide", L"C:\\Users\\\u674e\u56db\\Setting.ini", false, 1252, true},
        {"outside the basic plane", L"C:\\Users\\a\U0001F600\\Setting.ini", true, 936, false},
        {"259 characters", L"C:\\" + std::wstring(256, L'x'), false, 1252, true},
        {"260 characters, wide", L"C:\\" + std::wstring(257, L'x'), false, 1252, false},
        {"deep, narrow", deep, true, 1252, false},
        {"extended form", L"\\\\?\\C:\\Users\\anna\\Setting.ini", false, 1252, false},
        {"empty", L"", false, 1252, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ProfileFunctionsTake(row.path, row.narrow, row.codePage), row.takes) << row.name;
}

// The oracle is the profile function itself, on a short path it can take.
TEST(ProfileKeys, EditsAsTheProfileFunctionWrites) {
    const struct {
        const char* name;
        std::string before;
        std::wstring section, key, value;
    } rows[] = {
        {"empty file", "", L"S", L"K", L"v"},
        {"new key after the last", "[S]\r\nA=1\r\n[T]\r\nB=2\r\n", L"S", L"K", L"v"},
        {"new key in the last section", "[S]\r\nA=1\r\n[T]\r\nB=2\r\n", L"T", L"K", L"v"},
        {"existing key, other case", "[S]\r\nk=old\r\nA=1\r\n", L"s", L"K", L"new"},
        {"new section", "[S]\r\nA=1\r\n", L"T", L"K", L"v"},
        {"last line without its break", "[S]\r\nA=1", L"S", L"K", L"v"},
        {"last line ending in a lone CR", "[S]\r\nA=1\r", L"S", L"K", L"v"},
        {"empty value", "[S]\r\nK=1\r\n", L"S", L"K", L""},
        {"key in another section only", "[T]\r\nK=1\r\n[S]\r\nA=2\r\n", L"S", L"K", L"v"},
        {"value outside the code page", "", L"S", L"K", L"\u00fc\u674e"},
        {"utf-16 file", std::string("\xFF\xFE[\0S\0]\0\r\0\n\0A\0=\0" "1\0\r\0\n\0", 22), L"S", L"K", L"\u00fc\u674e"},
    };
    TempFolder folder;
    const std::wstring path = folder / L"p.ini";
    for (const auto& row : rows) {
        ASSERT_TRUE(WriteFileBytes(path, row.before));
        ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, path.c_str());
        ::WritePrivateProfileStringW(row.section.c_str(), row.key.c_str(), row.value.c_str(), path.c_str());
        EXPECT_EQ(WithProfileKey(row.before, row.section, row.key, row.value, ::GetACP()), ReadFileBytes(path))
            << row.name;
    }
}

// The same start for app-data folders the profile functions can and cannot
// take gives the same file, byte for byte.
TEST_F(SettingsTest, SettingsFilesAreTheSameBytesWhereTheProfileFunctionsCannotGo) {
    ClientStandIn::SetText(ClientStandIn::Text::SystemUUid, L"id");
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"abc");
    CopyToField(Show().CacheFolder, L"C:\\Cach\u00e9");
    const auto filesIn = [](const std::wstring& appData) {
        EXPECT_TRUE(CreateFolderTree(appData));
        ClientStandIn::SetText(ClientStandIn::Text::AppDataLocalPath, appData);
        ClientInitialize::CreateSyncSettingFile();
        EXPECT_EQ(settings::WriteShowTabBar(true, "test"), 0u);
        return ReadFileBytes(L"\\\\?\\" + appData + L"\\SyncSetting.ini") + "|" +
               ReadFileBytes(L"\\\\?\\" + appData + L"\\Setting.ini");
    };
    const std::string spellable = filesIn(sandbox.Root() / L"Plain");
    ASSERT_NE(spellable.find("CatchFolder="), std::string::npos);
    const struct {
        const char* name;
        std::wstring leaf;
    } rows[] = {
        {"deeper than 260", std::wstring(120, L'a') + L"\\" + std::wstring(120, L'b')},
        {"cjk", L"\u674e\u56db"},
        {"outside the basic plane", L"a\U0001F600"},
    };
    for (const auto& row : rows) EXPECT_EQ(filesIn(sandbox.Root() / row.leaf), spellable) << row.name;
}

}  // namespace
}  // namespace grs::test
