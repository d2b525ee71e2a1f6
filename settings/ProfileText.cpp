#include "settings/ProfileText.h"

// _wcsicmp: the C runtime's on Windows, the shim's in the native fuzz build.
#include <windows.h>

#include <cwchar>
#include <string_view>
#include <utility>

#include "core/IniFile.h"
#include "core/IniText.h"
#include "core/TextUtil.h"

namespace grs::settings {

namespace {

constexpr wchar_t kExtendedPrefix[] = L"\\\\?\\";

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

bool SpelledIn(const std::wstring& text, unsigned codePage) {
    return MultiByteToWide(WideToMultiByte(text, codePage), codePage) == text;
}

bool ProfileFunctionsTake(const std::wstring& path, bool narrowPath, unsigned codePage) {
    if (path.empty() || path.size() >= kProfilePathLimit || path.compare(0, 4, kExtendedPrefix) == 0) return false;
    return !narrowPath || SpelledIn(path, codePage);
}

std::string WithProfileKey(const std::string& fileBytes, const std::wstring& section, const std::wstring& key,
                           const std::wstring& value, unsigned codePage) {
    if (StartsWith(fileBytes, "\xFF\xFE")) {
        const std::wstring text = EditText(FromUtf16Le(fileBytes.data() + 2, (fileBytes.size() - 2) / 2), section,
                                           key, value, [](const std::wstring& name) { return name; });
        return "\xFF\xFE" + ToUtf16Le(text);
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

}  // namespace grs::settings
