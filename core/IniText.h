#pragma once

// Line-level rules shared by the INI document and the private-profile
// accessors. Both kinds of reader see the same files, so a name or value is
// written only in a form that every reader parses back as the same entry.

#include <string>
#include <string_view>

namespace grs::ini {

template <typename Char>
constexpr bool IsBlank(Char c) {
    return c == Char(' ') || c == Char('\t');
}

template <typename Char>
constexpr bool IsLineBreak(Char c) {
    return c == Char('\r') || c == Char('\n');
}

// Leading and trailing spaces and tabs removed.
template <typename Char>
std::basic_string_view<Char> TrimBlanks(std::basic_string_view<Char> text) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && IsBlank(text[begin])) ++begin;
    while (end > begin && IsBlank(text[end - 1])) --end;
    return text.substr(begin, end - begin);
}

template <typename Char>
bool HasLineBreak(std::basic_string_view<Char> text) {
    for (Char c : text)
        if (IsLineBreak(c)) return true;
    return false;
}

// A key can be written when no reader would take its line for something else:
// a line break would start a new line, "=" would move the split, a leading
// "[" makes the private-profile functions read a section header.
template <typename Char>
bool IsWritableKey(std::basic_string_view<Char> key) {
    const std::basic_string_view<Char> trimmed = TrimBlanks(key);
    return !trimmed.empty() && trimmed.front() != Char('[') && !HasLineBreak(trimmed) &&
           trimmed.find(Char('=')) == std::basic_string_view<Char>::npos;
}

template <typename Char>
bool IsWritableSection(std::basic_string_view<Char> section) {
    return !HasLineBreak(section);
}

// Cuts the text at its first CR or LF; true when something was cut.
template <typename Char>
bool CutAtLineBreak(std::basic_string<Char>& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsLineBreak(text[i])) {
            text.resize(i);
            return true;
        }
    }
    return false;
}

}  // namespace grs::ini
