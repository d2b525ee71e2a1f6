#include "core/IniFile.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "core/IniText.h"
#include "core/TextUtil.h"

namespace grs {

bool IniNameLess::operator()(std::wstring_view a, std::wstring_view b) const {
    // ASCII is folded here; from the first other character on, the C
    // runtime's own folding decides, on the rest of both names.
    for (size_t i = 0;; ++i) {
        unsigned long x = i < a.size() ? static_cast<unsigned long>(a[i]) : 0;
        unsigned long y = i < b.size() ? static_cast<unsigned long>(b[i]) : 0;
        if (x >= 0x80 || y >= 0x80) {
            const std::wstring restA(a.substr(std::min(i, a.size()))), restB(b.substr(std::min(i, b.size())));
            return ::_wcsicmp(restA.c_str(), restB.c_str()) < 0;
        }
        if (x >= 'A' && x <= 'Z') x += 'a' - 'A';
        if (y >= 'A' && y <= 'Z') y += 'a' - 'A';
        if (x != y) return x < y;
        if (x == 0) return false;
    }
}

}  // namespace grs

namespace {

using grs::IniEncoding;
using SectionMap = std::map<std::wstring, CIniFileW::Section, grs::IniNameLess>;

bool DecodeBytes(unsigned codePage, DWORD flags, const char* data, size_t size, std::wstring& text) {
    if (size == 0) {
        text.clear();
        return true;
    }
    const int length = ::MultiByteToWideChar(codePage, flags, data, static_cast<int>(size), nullptr, 0);
    if (length <= 0) return false;
    std::wstring out(static_cast<size_t>(length), L'\0');
    if (::MultiByteToWideChar(codePage, flags, data, static_cast<int>(size), &out[0], length) != length) return false;
    text.swap(out);
    return true;
}

// Plain bytes are taken for UTF-8 when they are valid UTF-8 and not all ASCII.
bool DecodesAsUtf8(const std::string& bytes, std::wstring& text) {
    return !grs::IsAscii(bytes) && DecodeBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), bytes.size(), text);
}

}  // namespace

namespace grs {

// Moved one char16_t at a time: a wchar_t holds one unit whatever its width
// (two bytes on Windows, four in the native fuzz build). Hosts are
// little-endian, as the file is.
std::wstring FromUtf16Le(const char* data, size_t units) {
    std::wstring text(units, L'\0');
    for (size_t i = 0; i < units; ++i) {
        char16_t unit = 0;
        std::memcpy(&unit, data + 2 * i, 2);
        text[i] = static_cast<wchar_t>(unit);
    }
    return text;
}

std::string ToUtf16Le(const std::wstring& text) {
    std::string bytes(text.size() * 2, '\0');
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = static_cast<char16_t>(text[i]);
        std::memcpy(&bytes[2 * i], &unit, 2);
    }
    return bytes;
}

std::wstring DecodeIniBytes(const std::string& bytes, IniEncoding& encoding) {
    std::wstring text;
    // An empty file is a new one, which is written as UTF-16.
    if (bytes.empty() || (bytes.size() >= 2 && bytes.compare(0, 2, "\xFF\xFE") == 0)) {
        encoding = IniEncoding::Utf16Le;
        // An odd trailing byte is not a character: dropped.
        if (!bytes.empty()) text = FromUtf16Le(bytes.data() + 2, (bytes.size() - 2) / 2);
    } else if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        encoding = IniEncoding::Utf8Bom;
        DecodeBytes(CP_UTF8, 0, bytes.data() + 3, bytes.size() - 3, text);
    } else if (DecodesAsUtf8(bytes, text)) {
        encoding = IniEncoding::Utf8;
    } else {
        // ASCII lands here too: it is what the private-profile functions
        // write into a plain file, in the ANSI code page.
        encoding = IniEncoding::AnsiCodePage;
        DecodeBytes(CP_ACP, 0, bytes.data(), bytes.size(), text);
    }
    return text;
}

}  // namespace grs

namespace {

// A surrogate without its partner: UTF-8 cannot carry it.
bool HasLoneSurrogate(const std::wstring& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned long unit = static_cast<unsigned long>(text[i]);
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            ++i;
        else if (unit >= 0xD800 && unit <= 0xDFFF)
            return true;
    }
    return false;
}

std::string Encode(const std::wstring& text, IniEncoding& encoding) {
    // Nothing to write: an empty file would read back as a new one, which is
    // UTF-16, and be saved differently the next time.
    if (text.empty()) encoding = IniEncoding::Utf16Le;
    if (encoding == IniEncoding::AnsiCodePage && !text.empty() && ::GetACP() != CP_UTF8) {
        BOOL lossy = FALSE;
        const int size = static_cast<int>(text.size());
        const int length =
            ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), size, nullptr, 0, nullptr, &lossy);
        if (length > 0 && !lossy) {
            std::string bytes(static_cast<size_t>(length), '\0');
            std::wstring readBack;
            // Bytes that happen to form UTF-8 would be read back as UTF-8,
            // which is other text: those go the way of lossy text.
            if (::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), size, &bytes[0], length, nullptr,
                                      nullptr) == length &&
                !DecodesAsUtf8(bytes, readBack))
                return bytes;
        }
        // The code page cannot carry this text: UTF-16 with a byte-order mark
        // loses nothing and the private-profile functions still read it.
        encoding = IniEncoding::Utf16Le;
    }
    // UTF-8 would turn a lone surrogate into U+FFFD, another value.
    if (encoding != IniEncoding::Utf16Le && HasLoneSurrogate(text)) encoding = IniEncoding::Utf16Le;
    switch (encoding) {
        case IniEncoding::Utf16Le: {
            return std::string("\xFF\xFE", 2) + grs::ToUtf16Le(text);
        }
        case IniEncoding::Utf8Bom:
            return "\xEF\xBB\xBF" + grs::WideToUtf8(text);
        case IniEncoding::Utf8:
        case IniEncoding::AnsiCodePage:
            break;
    }
    return grs::WideToUtf8(text);
}

std::wstring Render(const SectionMap& sections, size_t& leftOut, size_t& cut) {
    std::wstring text;
    for (const auto& sectionEntry : sections) {
        const CIniFileW::Section& section = sectionEntry.second;
        if (!grs::ini::IsWritableSection(std::wstring_view(section.name))) {
            ++leftOut;
            continue;
        }
        text += L'[';
        text += section.name;
        text += L"]\n";
        for (const auto& keyEntry : section.keys) {
            const CIniFileW::Key& key = keyEntry.second;
            if (!grs::ini::IsWritableKey(std::wstring_view(key.name))) {
                ++leftOut;
                continue;
            }
            std::wstring value = key.value;
            if (grs::ini::CutAtLineBreak(value)) ++cut;
            text += key.name;
            text += L'=';
            text += value;
            text += L'\n';
        }
    }
    return text;
}

// The entry of that name, added when missing. Names in sorted order (as
// this library writes them) are appended without a search. The entry keeps
// the name it was first added with, unless that one cannot be written and
// this one can: names compare only up to a NUL character, so a name with a
// line break after a NUL would otherwise leave out, at every save, the entry
// that the operations go on setting.
template <typename Map, typename Writable, typename Make>
typename Map::mapped_type& FindOrAdd(Map& map, std::wstring_view name, Writable writable, Make make) {
    const grs::IniNameLess less;
    auto at = map.end();
    if (!map.empty() && !less(std::prev(map.end())->first, name)) {
        at = map.lower_bound(name);
        if (at != map.end() && !less(name, at->first)) {
            if (!writable(at->second.name) && writable(name)) at->second.name.assign(name.data(), name.size());
            return at->second;
        }
    }
    return map.emplace_hint(at, std::wstring(name), make(std::wstring(name)))->second;
}

CIniFileW::Section& FindOrAddSection(SectionMap& sections, std::wstring_view name) {
    return FindOrAdd(
        sections, grs::ini::TrimBlanks(name), [](std::wstring_view n) { return grs::ini::IsWritableSection(n); },
        [](std::wstring&& trimmed) {
            CIniFileW::Section section;
            section.name = std::move(trimmed);
            return section;
        });
}

CIniFileW::Key& FindOrAddKey(CIniFileW::Section& section, std::wstring_view name) {
    return FindOrAdd(
        section.keys, grs::ini::TrimBlanks(name), [](std::wstring_view n) { return grs::ini::IsWritableKey(n); },
        [](std::wstring&& trimmed) {
            return CIniFileW::Key{std::move(trimmed), std::wstring()};
        });
}

}  // namespace

CIniFileW::Key* CIniFileW::Section::AddKey(const std::wstring& name) {
    return &FindOrAddKey(*this, name);
}

CIniFileW::Key* CIniFileW::Section::FindKey(const std::wstring& name) {
    const auto found = keys.find(grs::ini::TrimBlanks(std::wstring_view(name)));
    return found == keys.end() ? nullptr : &found->second;
}

void CIniFileW::Clear() {
    m_sections.clear();
}

CIniFileW::Section* CIniFileW::FindSection(const std::wstring& name) {
    const auto found = m_sections.find(grs::ini::TrimBlanks(std::wstring_view(name)));
    return found == m_sections.end() ? nullptr : &found->second;
}

CIniFileW::Section* CIniFileW::AddSection(const std::wstring& name) {
    return &FindOrAddSection(m_sections, name);
}

CIniFileW::Key* CIniFileW::AddKey(Section* section, const std::wstring& key) {
    return section == nullptr ? nullptr : section->AddKey(key);
}

std::wstring CIniFileW::GetValue(const std::wstring& section, const std::wstring& key, const std::wstring& defaultValue) {
    Section* found = FindSection(section);
    if (found == nullptr) return std::wstring();
    const Key* entry = found->FindKey(key);
    return entry == nullptr ? defaultValue : entry->value;
}

void CIniFileW::ParseText(const std::wstring& text) {
    Clear();
    Section* current = nullptr;
    grs::ini::ForEachLine(std::wstring_view(text), [&](size_t, const grs::ini::Line<wchar_t>& line) {
        switch (line.kind) {
            case grs::ini::LineKind::Section:
                current = &FindOrAddSection(m_sections, line.name);
                break;
            case grs::ini::LineKind::Key:
                if (current != nullptr)
                    FindOrAddKey(*current, line.name).value.assign(line.value.data(), line.value.size());
                break;
            case grs::ini::LineKind::Blank:
            case grs::ini::LineKind::Other:
                break;  // comments and unrecognised lines are not kept
        }
    });
}

std::wstring CIniFileW::RenderText() const {
    size_t leftOut = 0;
    size_t cut = 0;
    return Render(m_sections, leftOut, cut);
}

std::wstring CIniFileW::RenderText(size_t& leftOut, size_t& cut) const {
    return Render(m_sections, leftOut, cut);
}

namespace grs {

std::string EncodeIniText(const std::wstring& text, IniEncoding& encoding) {
    return Encode(text, encoding);
}

}  // namespace grs
