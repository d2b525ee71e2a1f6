#include "supporttool/Redact.h"

#include <algorithm>

#include "core/TextUtil.h"

namespace supporttool {

namespace {

bool IsAsciiWordChar(unsigned value) {
    return (value >= '0' && value <= '9') || (value >= 'a' && value <= 'z') || (value >= 'A' && value <= 'Z') ||
           value == '_';
}

unsigned FoldAscii(unsigned value) {
    return value >= 'A' && value <= 'Z' ? value - 'A' + 'a' : value;
}

// Replaces each whole-word occurrence of `from` by `to` in a sequence of
// `width`-byte little-endian units (1 for UTF-8 and ANSI bytes, 2 for
// UTF-16LE), ASCII letters compared without case.
std::string ReplaceUnits(const std::string& bytes, const std::string& from, const std::string& to, size_t width) {
    if (from.empty() || bytes.size() < from.size()) return bytes;
    const auto unit = [width](const std::string& text, size_t at) {
        unsigned value = static_cast<unsigned char>(text[at]);
        if (width == 2) value |= static_cast<unsigned>(static_cast<unsigned char>(text[at + 1])) << 8;
        return value;
    };
    std::string out;
    out.reserve(bytes.size());
    size_t at = 0;
    while (at < bytes.size()) {
        bool match = at + from.size() <= bytes.size() && (at % width) == 0;
        for (size_t i = 0; match && i < from.size(); i += width)
            match = FoldAscii(unit(bytes, at + i)) == FoldAscii(unit(from, i));
        if (match) {
            const bool startsWord = at < width || !IsAsciiWordChar(unit(bytes, at - width));
            const size_t end = at + from.size();
            const bool endsWord = end + width > bytes.size() || !IsAsciiWordChar(unit(bytes, end));
            match = startsWord && endsWord;
        }
        if (match) {
            out += to;
            at += from.size();
        } else {
            out += bytes[at];
            ++at;
        }
    }
    return out;
}

std::string Utf16Le(const std::wstring& text) {
    std::string bytes;
    for (wchar_t c : text) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>((c >> 8) & 0xFF);
    }
    return bytes;
}

std::wstring Token(wchar_t kind, const std::wstring& name) {
    std::wstring token(name.size(), L'x');
    token[0] = kind;
    for (size_t i = 1; i < name.size(); ++i)
        if (name[i] == L' ') token[i] = L' ';
    return token;
}

}  // namespace

Redaction MakeRedaction(const std::wstring& userName, const std::wstring& machineName, const std::wstring& userId) {
    Redaction redaction;
    const std::pair<wchar_t, const std::wstring*> names[] = {{L'U', &userName}, {L'M', &machineName}, {L'I', &userId}};
    for (const auto& name : names)
        if (!name.second->empty()) redaction.names.emplace_back(*name.second, Token(name.first, *name.second));
    std::stable_sort(redaction.names.begin(), redaction.names.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
    return redaction;
}

std::wstring RedactText(const Redaction& redaction, const std::wstring& text) {
    std::string bytes = Utf16Le(text);
    for (const auto& name : redaction.names) bytes = ReplaceUnits(bytes, Utf16Le(name.first), Utf16Le(name.second), 2);
    std::wstring out(bytes.size() / 2, L'\0');
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                      (static_cast<unsigned>(static_cast<unsigned char>(bytes[2 * i + 1])) << 8));
    return out;
}

std::string RedactBytes(const Redaction& redaction, const std::string& bytes, unsigned codePage) {
    std::string out = bytes;
    for (const auto& name : redaction.names) {
        out = ReplaceUnits(out, grs::WideToUtf8(name.first), grs::WideToUtf8(name.second), 1);
        out = ReplaceUnits(out, Utf16Le(name.first), Utf16Le(name.second), 2);
        // A name the code page cannot spell has no ANSI form ("?" stands for
        // what is lost, and "?" alone is nobody's name).
        std::string ansi;
        if (!grs::WideToMultiByte(name.first, ansi, codePage) || ansi.empty()) continue;
        const auto lost =
            std::count(ansi.begin(), ansi.end(), '?') - std::count(name.first.begin(), name.first.end(), L'?');
        if (lost == 0) out = ReplaceUnits(out, ansi, grs::WideToMultiByte(name.second, codePage), 1);
    }
    return out;
}

std::string MappingText(const Redaction& redaction) {
    std::string text;
    for (const auto& name : redaction.names)
        text += grs::WideToUtf8(name.second) + " = " + grs::WideToUtf8(name.first) + "\n";
    return text;
}

}  // namespace supporttool
