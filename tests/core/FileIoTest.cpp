// The file kit: whole-file reads that say why they failed, and saves that
// arrive whatever holds the target and leave no temporary file behind.
#include <gtest/gtest.h>

#include <windows.h>

#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/FileIo.h"
#include "core/UniqueResource.h"
#include "tests/common/TestSupport.h"

namespace {

using grs::ReadFileResult;
using grs::SaveStep;
using grs::test::ReadFileBytes;
using grs::test::TempFolder;
using grs::test::WriteFileBytes;

grs::UniqueFile Hold(const std::wstring& path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return grs::UniqueFile(::CreateFileW(path.c_str(), access, share, nullptr, disposition, 0, nullptr));
}

TEST(ReadWholeFile, SaysWhyNothingWasRead) {
    TempFolder folder;
    const std::wstring path = folder / L"f.ini";
    ASSERT_TRUE(WriteFileBytes(path, "1234"));
    const struct {
        const char* name;
        std::wstring path;
        unsigned long long limit;
        DWORD heldShare;  // 0xFF: not held
        ReadFileResult result;
        DWORD error;
    } cases[] = {
        {"read", path, 4, 0xFF, ReadFileResult::Ok, 0},
        {"missing file", folder / L"none.ini", 4, 0xFF, ReadFileResult::Missing, ERROR_FILE_NOT_FOUND},
        {"missing folder", folder / L"none\\f.ini", 4, 0xFF, ReadFileResult::Missing, ERROR_PATH_NOT_FOUND},
        {"a folder", folder.Path(), 4, 0xFF, ReadFileResult::CannotOpen, 0},
        {"held without read sharing", path, 4, FILE_SHARE_WRITE | FILE_SHARE_DELETE, ReadFileResult::CannotOpen,
         ERROR_SHARING_VIOLATION},
        {"one byte over the limit", path, 3, 0xFF, ReadFileResult::TooLarge, 0},
        // A device opens like a file, but reading it could block.
        {"a device", L"NUL", 4, 0xFF, ReadFileResult::CannotOpen, ERROR_INVALID_FUNCTION},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const grs::UniqueFile held(c.heldShare == 0xFF ? INVALID_HANDLE_VALUE
                                                       : Hold(path, GENERIC_READ, c.heldShare).release());
        std::string bytes = "untouched";
        EXPECT_EQ(grs::ReadWholeFile(c.path, c.limit, bytes), c.result);
        if (c.error != 0) EXPECT_EQ(::GetLastError(), c.error);
        EXPECT_EQ(bytes, c.result == ReadFileResult::Ok ? "1234" : "untouched");
    }
}

// What the save leaves: the new content (replaced, or rewritten in place when
// another handle holds the target), or the old content and the failed step;
// never a temporary file, except one that another save still holds.
TEST(ReplaceFileContent, ArrivesWhateverHoldsTheTargetAndLeavesNoTemporaryFile) {
    // A fresh folder per row: leftovers are looked for at a file's first save in a process.
    std::wstring target, shared;
    const auto none = [] { return grs::UniqueFile(); };
    const struct {
        const char* name;
        std::function<grs::UniqueFile()> arrange;  // what it returns is held during the save
        SaveStep failedStep;
        bool inPlace;
        std::set<std::wstring> others;  // names beside the target afterwards
    } cases[] = {
        {"nothing holds it", none, SaveStep::None, false, {}},
        // Windows' classic rename, as Wine's, refuses to replace any open
        // file, whatever it shares.
        {"a reader sharing reading and writing",
         [&] { return Hold(target, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE); },
         SaveStep::None,
         true,
         {}},
        {"a reader sharing everything",
         [&] { return Hold(target, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE); },
         SaveStep::None,
         true,
         {}},
        {"a reader sharing only reading",
         [&] { return Hold(target, GENERIC_READ, FILE_SHARE_READ); },
         SaveStep::OpenTargetInPlace,
         false,
         {}},
        {"read-only",
         [&] {
             ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_READONLY);
             return grs::UniqueFile();
         },
         SaveStep::CheckTarget,
         false,
         {}},
        {"temporary files of killed saves",
         [&] {
             WriteFileBytes(shared, "half");
             WriteFileBytes(target + L"~77-1.tmp", "half");
             WriteFileBytes(target + L"~78-9.tmp", "half");
             return grs::UniqueFile();
         },
         SaveStep::None,
         false,
         {}},
        {"the temporary file busy in another save",
         [&] { return Hold(shared, GENERIC_WRITE, 0, CREATE_ALWAYS); },
         SaveStep::None,
         false,
         {L"Setting.ini~.tmp"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const TempFolder folder;
        target = folder / L"Setting.ini";
        shared = target + L"~.tmp";
        ASSERT_TRUE(WriteFileBytes(target, "old content"));
        grs::SaveResult saved;
        {
            const grs::UniqueFile held = c.arrange();
            saved = grs::ReplaceFileContent(target, "new");
        }
        EXPECT_EQ(saved.failedStep, c.failedStep);
        EXPECT_EQ(saved.RewrittenInPlace(), c.inPlace);
        if (c.inPlace) EXPECT_NE(saved.refusedReplace, 0u);
        ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
        EXPECT_EQ(ReadFileBytes(target), saved.Succeeded() ? "new" : "old content");
        std::set<std::wstring> others = grs::test::FileNames(folder.Path());
        others.erase(L"Setting.ini");
        EXPECT_EQ(others, c.others);
        ::DeleteFileW(shared.c_str());
    }
}

// Threads saving files of their own, each over the leftovers of a killed
// save: each file's own first save removes them, whatever the others do.
TEST(ReplaceFileContent, EachFileLosesItsLeftoversAtItsFirstSave) {
    constexpr int kThreads = 4;
    TempFolder folders[kThreads];
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        const std::wstring target = folders[t] / L"Setting.ini";
        ASSERT_TRUE(WriteFileBytes(target + L"~.tmp", "half") && WriteFileBytes(target + L"~9-1.tmp", "half"));
        threads.emplace_back([target] {
            for (int i = 0; i < 20; ++i) EXPECT_TRUE(grs::ReplaceFileContent(target, std::to_string(i)).Succeeded());
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const TempFolder& folder : folders) EXPECT_EQ(grs::test::FileNames(folder.Path()), std::set<std::wstring>{L"Setting.ini"});
}

}  // namespace
