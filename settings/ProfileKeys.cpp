#include "settings/ProfileKeys.h"

#include <windows.h>

#include <cwchar>
#include <string_view>
#include <utility>

#include "core/FileIo.h"
#include "core/IniText.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "globalrootservice/IniFileHelper.h"

namespace grs::settings {

namespace {

constexpr wchar_t kExtendedPrefix[] = L"\\\\?\\";
constexpr size_t kProfilePathLimit = MAX_PATH;

// The edit itself, over text in the file's own code units. `toWide` reads a
// name in the file's encoding, for the comparison without regard to case.
template <typename Char, typename ToWide>
std::basic_string<Char> EditText(std::basic_string<Char> text, const std::basic_string<Char>& section,
                                 const std::basic_string<Char>& key, const std::basic_string<Char>& value,
                                 ToWide toWide) {
    using String = std::basic_string<Char>;
    using View = std::basic_string_view<Char>;
    const String crlf{Char('\r'), Char('\n')};
    const auto sameName = [&toWide](View name, const std::wstring& wanted) {
        return ::_wcsicmp(toWide(String(ini::TrimBlanks(name))).c_str(), wanted.c_str()) == 0;
    };
    const std::wstring wideSection = toWide(section);
    const std::wstring wideKey = toWide(key);
    bool inSection = false;
    bool sectionFound = false;
    size_t insertAt = text.size();  // after the last line of the section that is not blank
    size_t position = 0;
    while (position < text.size()) {
        size_t end = text.find(Char('\n'), position);
        const bool terminated = end != String::npos;
        if (!terminated) end = text.size();
        const size_t next = terminated ? end + 1 : end;
        const ini::Line<Char> line = ini::ClassifyLine(View(text).substr(position, end - position));
        if (line.kind == ini::LineKind::Section) {
            if (inSection) break;
            inSection = sameName(line.name, wideSection);
            if (inSection) {
                sectionFound = true;
                insertAt = next;
            }
        } else if (inSection && line.kind == ini::LineKind::Key && sameName(line.name, wideKey)) {
            // The key keeps the spelling it has in the file.
            const size_t nameEnd =
                static_cast<size_t>(line.name.data() - text.data()) + ini::TrimBlanks(line.name).size();
            size_t lineEnd = end;
            while (lineEnd > nameEnd && ini::IsLineBreak(text[lineEnd - 1])) --lineEnd;
            text.replace(nameEnd, lineEnd - nameEnd, Char('=') + value);
            return text;
        } else if (inSection && line.kind != ini::LineKind::Blank) {
            insertAt = next;
        }
        position = next;
    }
    String added;
    // A last line without its line break gets one before anything follows it.
    if (insertAt > 0 && text[insertAt - 1] == Char('\r')) added += Char('\n');
    else if (insertAt > 0 && text[insertAt - 1] != Char('\n')) added += crlf;
    if (!sectionFound) added += Char('[') + section + Char(']') + crlf;
    added += key + Char('=') + value + crlf;
    text.insert(insertAt, added);
    return text;
}

bool StartsWith(const std::string& bytes, const char* prefix) {
    return bytes.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

}  // namespace

bool ProfileFunctionsTake(const std::wstring& path, bool narrowPath, unsigned codePage) {
    if (path.empty() || path.size() >= kProfilePathLimit || path.compare(0, 4, kExtendedPrefix) == 0) return false;
    if (!narrowPath) return true;
    return MultiByteToWide(WideToMultiByte(path, codePage), codePage) == path;
}

std::string WithProfileKey(const std::string& fileBytes, const std::wstring& section, const std::wstring& key,
                           const std::wstring& value, unsigned codePage) {
    if (StartsWith(fileBytes, "\xFF\xFE")) {
        std::wstring text((fileBytes.size() - 2) / 2, L'\0');
        for (size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<wchar_t>(static_cast<unsigned char>(fileBytes[2 + 2 * i]) |
                                           static_cast<unsigned char>(fileBytes[3 + 2 * i]) << 8);
        text = EditText(std::move(text), section, key, value, [](const std::wstring& name) { return name; });
        std::string bytes = "\xFF\xFE";
        for (wchar_t unit : text) {
            bytes += static_cast<char>(unit & 0xFF);
            bytes += static_cast<char>((unit >> 8) & 0xFF);
        }
        return bytes;
    }
    const bool utf8 = StartsWith(fileBytes, "\xEF\xBB\xBF");
    const unsigned fileCodePage = utf8 ? kCodePageUtf8 : codePage;
    const size_t textAt = utf8 ? 3 : 0;
    // What the code page cannot carry becomes its default character, as the profile functions write it.
    std::string text = EditText(
        fileBytes.substr(textAt), WideToMultiByte(section, fileCodePage), WideToMultiByte(key, fileCodePage),
        WideToMultiByte(value, fileCodePage),
        [fileCodePage](const std::string& name) { return MultiByteToWide(name, fileCodePage); });
    return fileBytes.substr(0, textAt) + text;
}

ProfileKeyWriter::ProfileKeyWriter(std::wstring path, const wchar_t* section, const char* function)
    : m_path(std::move(path)),
      m_section(section),
      m_function(function),
      m_wideTakes(ProfileFunctionsTake(m_path, false, kCodePageAnsi)),
      m_narrowTakes(ProfileFunctionsTake(m_path, true, kCodePageAnsi)) {
    // The wide accessor creates the file when it is missing.
    if (m_wideTakes) m_wide = std::make_unique<IniFileHelper>(m_path.c_str(), m_section);
}

ProfileKeyWriter::~ProfileKeyWriter() = default;

void ProfileKeyWriter::Write(const std::wstring& key, std::wstring value) {
    if (!m_wideTakes) return Edit(key, std::move(value));
    Finish();  // what the file's content holds goes first
    m_wide->WriteIniKeyValue(key, std::move(value));
}

void ProfileKeyWriter::WriteUtf8(const std::wstring& key, const std::wstring& value) {
    // The narrow function reads the bytes in the ANSI code page.
    if (!m_narrowTakes) return Edit(key, MultiByteToWide(WideToUtf8(value), kCodePageAnsi));
    Finish();
    const std::string narrowPath = WideToMultiByte(m_path, kCodePageAnsi);
    IniFileHelperA(narrowPath.c_str(), WideToUtf8(m_section).c_str()).WriteIniKeyValueA(WideToUtf8(key), WideToUtf8(value));
}

void ProfileKeyWriter::Edit(const std::wstring& key, std::wstring value) {
    if (!m_loaded) {
        m_loaded = true;
        m_bytes.clear();
        const ReadFileResult read = ReadWholeFile(WithExtendedPrefix(m_path), kIniMaxFileBytes, m_bytes);
        if (read != ReadFileResult::Ok && read != ReadFileResult::Missing) {
            // Writing over a file that could not be read would lose its other keys.
            m_failed = true;
            m_error = ::GetLastError();
            log::Error(__LINE__, m_function,
                       L"Keys not written, reading the file failed (error " + std::to_wstring(m_error) + L"): " +
                           m_path);
        }
    }
    if (m_failed) return;
    // The same rules as the accessors: one write sets exactly one key.
    if (!ini::IsWritableKey(std::wstring_view(key))) {
        log::Error(__LINE__, m_function, L"Key not written, empty, or holds a line break, '=' or a leading '[': " + key);
        return;
    }
    if (ini::CutAtLineBreak(value)) log::Error(__LINE__, m_function, L"Value cut at its first line break");
    m_bytes = WithProfileKey(m_bytes, m_section, key, value, kCodePageAnsi);
    m_changed = true;
}

bool ProfileKeyWriter::Finish() {
    m_loaded = false;
    if (!m_changed) return !m_failed;
    m_changed = false;
    const SaveResult saved = ReplaceFileContent(WithExtendedPrefix(m_path), m_bytes);
    if (!saved.Succeeded()) {
        m_failed = true;
        m_error = saved.error;
        log::Error(__LINE__, m_function,
                   L"Keys not written, step " + Utf8ToWide(SaveStepName(saved.failedStep)) + L" failed with error " +
                       std::to_wstring(saved.error) + L": " + m_path);
    }
    // The profile functions may cache the old content.
    if (m_wideTakes) ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, m_path.c_str());
    return !m_failed;
}

}  // namespace grs::settings
