// The client may unload the library while a worker it started still runs.
// This suite does not link GlobalRootService.dll: it loads and frees it
// itself, so that FreeLibrary really drops the client's last reference.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "globalrootservice/collaborators/MainDatabaseProvider.h"
#include "tests/common/TestSupport.h"

namespace {

#if defined(__GNUC__)  // the export is looked up by its mingw-w64 name
using CheckPathInSyncFolder = bool (*)(std::vector<PropertyDb::UserProperties>&);

// The exported ClientInitialize::CheckPathInSyncFolder, as mingw-w64 names it.
constexpr char kCheckPathInSyncFolder[] =
    "_ZN16ClientInitialize21CheckPathInSyncFolderERSt6vectorIN10PropertyDb14UserPropertiesESaIS2_EE";
// SHA-256 of the user id "abc": the per-user cache folder.
constexpr wchar_t kUserHash[] = L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

int CountFiles(const std::wstring& folder) {
    int count = 0;
    WIN32_FIND_DATAW entry;
    HANDLE find = ::FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) return 0;
    do {
        const std::wstring name = entry.cFileName;
        if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            ++count;
        else if (name != L"." && name != L"..")
            count += CountFiles(folder + L"\\" + name);
    } while (::FindNextFileW(find, &entry));
    ::FindClose(find);
    return count;
}

TEST(Unload, ThumbnailCopyFinishesAfterTheClientFreesTheLibrary) {
    grs::test::StandInSandbox sandbox;
    ClientStandIn::SetText(ClientStandIn::Text::CurrentUserID, L"abc");
    const std::wstring sync = sandbox.Root() / L"Sync", oldCache = sync + L"\\Cache";
    const std::wstring from = oldCache + L"\\" + kUserHash + L"\\SyncThumbnailFile";
    constexpr int kFolders = 30, kPerFolder = 50;
    for (int f = 0; f < kFolders; ++f) {
        const std::wstring folder = from + L"\\" + std::to_wstring(f);
        ASSERT_TRUE(grs::test::CreateFolderTree(folder));
        for (int i = 0; i < kPerFolder; ++i)
            ASSERT_TRUE(grs::test::WriteFileBytes(folder + L"\\" + std::to_wstring(i) + L".jpg", "thumb"));
    }

    HMODULE library = ::LoadLibraryW(L"GlobalRootService.dll");
    ASSERT_NE(library, nullptr) << ::GetLastError();
    const auto check = reinterpret_cast<CheckPathInSyncFolder>(
        reinterpret_cast<void (*)()>(::GetProcAddress(library, kCheckPathInSyncFolder)));
    ASSERT_NE(check, nullptr);
    std::vector<PropertyDb::UserProperties> rows = {{L"SyncCloudFolder", sync}, {L"CacheFolder", oldCache}};
    ASSERT_TRUE(check(rows));
    ASSERT_TRUE(::FreeLibrary(library));

    // Still copying, and the library still mapped: the worker holds it.
    EXPECT_LT(ClientStandIn::CacheCopyResCalls().size(), 2u) << "the copy ended before FreeLibrary";
    EXPECT_NE(::GetModuleHandleW(L"GlobalRootService.dll"), nullptr);
    for (int poll = 0; poll < 30000 && ::GetModuleHandleW(L"GlobalRootService.dll") != nullptr; ++poll) ::Sleep(10);

    // The process lives on; the copy finished, then the worker let the library go.
    EXPECT_EQ(::GetModuleHandleW(L"GlobalRootService.dll"), nullptr);
    EXPECT_EQ(ClientStandIn::CacheCopyResCalls(), (std::vector<bool>{true, false}));
    EXPECT_EQ(CountFiles(sandbox.Profile() + L"\\Cloud\\Cache\\" + kUserHash), kFolders * kPerFolder);
}
#endif

}  // namespace
