// The pure decisions: property rows to records and back, the version check,
// the drive choice and the sync-folder test.
#include <gtest/gtest.h>

#include <map>

#include "core/TextUtil.h"
#include "tests/common/TestSupport.h"
#include "userprops/UserPropertyRules.h"

namespace {

using Rows = std::vector<PropertyDb::UserProperties>;

std::map<std::wstring, std::wstring> Saved(const st_UserPropertiesShow& show, const st_OtherUserProperties& other) {
    std::map<std::wstring, std::wstring> saved;
    for (const auto& row : grs::PropertyRows(show, other)) saved[row.key] = row.value;
    return saved;
}

TEST(UserPropertyRows, SavedKeysKeepTheirStoredSpellingAndOrder) {
    const std::wstring expected =
        L"CacheFolder DownLoadFolder NewDownLoadFolder OriginalCacheFileRealFolder IsDefaultDownLoadFolder "
        L"DownloadThreadCount UploadThreadCount IsFirstQuit IsRemindLater IsDelCacheFile IsFirstEnterAlbum "
        L"IsFirstEnterCloudView SyncCloudFolder IsDeskTopChecked IsDocumentsChecked isFirstLogin IsSyncSwitchOpen "
        L"ShowQirentDriveTray ShowQirentShortcut IsSyncSwitchOnceOpen IsSyncSwitchFirstOpen DeskTopSyncFolder "
        L"DocumentsSyncFolder IsAutoLogin WarningText AutoStartTransferTask AutoPowerOnClientTime IsSyncCloudClose "
        L"IsOpenDownloadWnd IsUseDownloadsPath IsSyncMigrateDone GalleryRowCount VolumnValue PushTime "
        L"PushOperateLogTime LastClearVersion SyncDiskGuidDocumentHash cloudPranteID cloudPranteName silentUser "
        L"dataCleanUpEnd driveSortType driveSortUpOrDown ";
    st_UserPropertiesShow show;
    st_OtherUserProperties other{};
    grs::ResetUserPropertiesShow(show);
    std::wstring keys;
    for (const auto& row : grs::PropertyRows(show, other)) keys += row.key + L" ";
    EXPECT_EQ(keys, expected);
}

// Rows loaded over the defaults (with "DownLoadFolder" preset), then saved.
TEST(UserPropertyRows, LoadThenSave) {
    const std::wstring longest(255, L'w');
    const struct {
        Rows rows;
        const wchar_t* savedKey;
        std::wstring saved;
    } cases[] = {
        {{{L"DownloadThreadCount", L"abc"}}, L"DownloadThreadCount", L"0"},
        {{{L"DownloadThreadCount", L"99999999999"}}, L"DownloadThreadCount", L"2147483647"},
        {{{L"PushTime", L"-9223372036854775808"}}, L"PushTime", L"-9223372036854775808"},
        {{{L"IsFirstQuit", L""}}, L"IsFirstQuit", L"1"},       // empty keeps the default
        {{{L"DownLoadFolder", L""}}, L"DownLoadFolder", L""},  // empty clears this one
        {{{L"IsOpenDownloadWnd", L"7"}}, L"IsOpenDownloadWnd", L"1"},
        {{{L"IsUseDownloadsPath", L"abc"}}, L"IsUseDownloadsPath", L"0"},
        {{{L"LastClearVersion", L"17.1 beta"}}, L"LastClearVersion", L"17.1"},
        {{{L"WarningText", longest}}, L"WarningText", longest},
        {{{L"WarningText", longest + L"w"}}, L"WarningText", L""},
        {{{L"cloudPranteID", L"id"}}, L"cloudPranteID", L""},
        {{{L"silentUser", L"1"}}, L"silentUser", L"0"},
        {{{L"isfirstquit", L"0"}}, L"IsFirstQuit", L"1"},  // keys are case-sensitive
        {{{L"VolumnValue", L"3"}, {L"VolumnValue", L"4"}}, L"VolumnValue", L"4"},
    };
    for (const auto& c : cases) {
        st_UserPropertiesShow show;
        st_OtherUserProperties other{};
        grs::ResetUserPropertiesShow(show);
        grs::CopyToField(show.DownLoadFolder, L"D:\\Old");
        grs::ApplyPropertyRows(c.rows, show, other, true);
        EXPECT_EQ(Saved(show, other)[c.savedKey], c.saved) << grs::WideToUtf8(c.rows[0].key);
    }
}

TEST(WindowsVersion, MajorAndBuildAreTestedSeparately) {
    const struct {
        unsigned long platform, major, build;
        bool newEnough;
    } cases[] = {{2, 10, 16299, true}, {2, 10, 16298, false}, {2, 11, 100, false},
                 {2, 6, 22000, false}, {1, 10, 19041, false}, {2, 11, 22631, true}};
    for (const auto& c : cases)
        EXPECT_EQ(grs::IsWin10Build16299OrLater(c.platform, c.major, c.build), c.newEnough)
            << c.platform << " " << c.major << " " << c.build;
}

st_DriveInfo Drive(const wchar_t* root, unsigned long long freeBytes, unsigned int type = grs::kFixedDrive) {
    st_DriveInfo drive{freeBytes, {}, type};
    grs::CopyToField(drive.root, root);
    return drive;
}

TEST(DriveChoice, FirstQualifyingDriveSystemDriveLast) {
    constexpr unsigned long long MiB = 1024 * 1024;
    const st_DriveInfo c = Drive(L"C:\\", 50000 * MiB), dExact = Drive(L"D:\\", 100 * MiB),
                       dMore = Drive(L"D:\\", 100 * MiB + 1), usb = Drive(L"E:\\", 90000 * MiB, 2),
                       hidden = Drive(L"H:\\", 90000 * MiB), hiddenDir = Drive(L"J:\\", 90000 * MiB),
                       missing = Drive(L"M:\\", 90000 * MiB);
    const grs::DriveProbe probe{[](const std::wstring& root) { return root != L"M:\\"; },
                                [](const std::wstring& root) -> unsigned long {
                                    return root == L"H:\\" ? 0x2 : root == L"J:\\" ? 0x12 : 0x16;
                                }};
    const struct {
        std::vector<st_DriveInfo> drives;
        std::wstring expected;
    } cases[] = {
        {{c, dMore}, L"D:\\"},
        {{c, dExact}, L"C:\\Users\\name\\"},
        {{usb, c}, L"C:\\Users\\name\\"},
        {{c, hidden, hiddenDir}, L"J:\\"},
        {{missing, usb}, L""},
        {{}, L""},
    };
    for (const auto& t : cases)
        EXPECT_EQ(grs::ChooseSyncCloudFolder(t.drives, L"C:\\", L"C:\\Users\\name", probe), t.expected)
            << grs::WideToUtf8(t.expected);
}

TEST(SyncFolderTest, TrailingSeparatorDecides) {
    const struct {
        const wchar_t* path;
        bool inside;
    } cases[] = {{L"D:\\Sync\\Cache", true},
                 {L"D:\\Sync", true},
                 {L"D:\\SyncOther", false},
                 {L"d:\\sync\\Cache", false},
                 {L"", false}};
    for (const auto& c : cases)
        EXPECT_EQ(grs::LiesInSyncFolder(c.path, L"D:\\Sync\\"), c.inside) << grs::WideToUtf8(c.path);
}

}  // namespace
