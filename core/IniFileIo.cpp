// CIniFileW's reading and writing of its file: the document's own rules are
// in IniFile.cpp, which neither touches a file nor logs.
#include <windows.h>

#include <cwchar>
#include <string>

#include "core/FileIo.h"
#include "core/Guarded.h"
#include "core/IniFile.h"
#include "core/Log.h"
#include "core/TextUtil.h"

namespace {

using grs::IniEncoding;

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kLoad[] = "CIniFileW::Load";
constexpr char kSave[] = "CIniFileW::Save";

}  // namespace

int CIniFileW::Load(const std::wstring& path) {
    m_loadResult = grs::ReadFileResult::Failed;
    m_loadError = 0;
    const int loaded = grs::Guarded(__LINE__, kLoad, 0, [&] {
        std::string bytes;
        m_loadResult = grs::ReadWholeFile(path, grs::kIniMaxFileBytes, bytes);
        if (m_loadResult != grs::ReadFileResult::Ok) m_loadError = ::GetLastError();
        switch (m_loadResult) {
            case grs::ReadFileResult::Ok:
                break;
            case grs::ReadFileResult::Missing:
            case grs::ReadFileResult::CannotOpen:
                return 0;
            case grs::ReadFileResult::TooLarge:
                grs::log::Error(__LINE__, kLoad, L"File too large, not read: " + path);
                return 0;
            case grs::ReadFileResult::Failed:
                grs::log::Error(__LINE__, kLoad, L"Read error " + std::to_wstring(m_loadError) + L": " + path);
                return 0;
        }
        IniEncoding encoding = IniEncoding::Utf16Le;
        const std::wstring text = grs::DecodeIniBytes(bytes, encoding);
        CIniFileW parsed;
        parsed.ParseText(text);
        m_sections.swap(parsed.m_sections);
        m_encoding = encoding;
        m_filePath = path;
        m_fileBytes.swap(bytes);
        return 1;
    });
    // An exception (out of memory) after a successful read still fails the load.
    if (loaded == 0 && m_loadResult == grs::ReadFileResult::Ok) m_loadResult = grs::ReadFileResult::Failed;
    return loaded;
}

int CIniFileW::Save(const std::wstring& path) {
    return grs::Guarded(__LINE__, kSave, 0, [&] {
        size_t leftOut = 0;
        size_t cut = 0;
        const std::wstring text = RenderText(leftOut, cut);
        if (leftOut != 0 || cut != 0) {
            grs::log::Error(__LINE__, kSave,
                            L"Entries with line breaks or unusable names left out: " + std::to_wstring(leftOut) +
                                L", values cut at a line break: " + std::to_wstring(cut));
        }
        IniEncoding encoding = m_encoding;
        std::string bytes = grs::EncodeIniText(text, encoding);
        // The same bytes to the same file: nothing is written. Safe: the file held exactly these bytes when this
        // document read (or wrote) it, and writing them again would undo a newer change by another writer. A start
        // on an unchanged file writes nothing; what an earlier failed save could not remove goes all the same.
        if (bytes == m_fileBytes && !m_filePath.empty() && ::_wcsicmp(path.c_str(), m_filePath.c_str()) == 0) {
            grs::RemoveLeftTemporaries(path);
            return 1;
        }
        const grs::SaveResult saved = m_lastSave = grs::ReplaceFileContent(path, bytes);
        if (!saved.Succeeded()) {
            std::string message = "Not saved: step " + std::string(grs::SaveStepName(saved.failedStep)) + " (" +
                                  std::to_string(static_cast<int>(saved.failedStep)) + ") failed with error " +
                                  std::to_string(saved.error);
            if (saved.refusedReplace != 0)
                message += " after the replace was refused with error " + std::to_string(saved.refusedReplace);
            grs::log::Error(__LINE__, kSave, message + ": " + grs::WideToUtf8(path));
        }
        // A failed save, or one rewritten in place, may also leave its temporary file: reported below.
        if (saved.RewrittenInPlace()) {
            grs::log::Info(__LINE__, kSave,
                           L"Rewritten in place: another handle holds the file, replace refused with error " +
                               std::to_wstring(saved.refusedReplace) + L": " + path);
        }
        if (!saved.temporaryLeft.empty()) {
            grs::log::Error(__LINE__, kSave,
                            L"Temporary file left until the next save, removing it failed with error " +
                                std::to_wstring(saved.temporaryError) + L": " + saved.temporaryLeft);
        }
        if (!saved.Succeeded()) return 0;
        m_encoding = encoding;
        m_filePath = path;
        m_fileBytes.swap(bytes);
        // The private-profile functions may cache the old content.
        ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, path.c_str());
        return 1;
    });
}
