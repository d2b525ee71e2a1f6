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

// What one line of an INI text is, by the document's rules (first match wins):
// a section header starts with "[" and its last character other than a space,
// tab, CR or LF is "]"; a key line holds "=" after its first character; every
// other line is not kept (comments included).
enum class LineKind { Blank, Section, Key, Other };

template <typename Char>
struct Line {
    LineKind kind = LineKind::Blank;
    std::basic_string_view<Char> text;   // leading blanks and trailing CR/LF removed
    std::basic_string_view<Char> name;   // section: one character off each end; key: before the first "="
    std::basic_string_view<Char> value;  // key: after the first "=", exactly as written
};

template <typename Char>
Line<Char> ClassifyLine(std::basic_string_view<Char> raw) {
    size_t begin = 0;
    size_t end = raw.size();
    while (begin < end && IsBlank(raw[begin])) ++begin;
    while (end > begin && IsLineBreak(raw[end - 1])) --end;
    Line<Char> line;
    line.text = raw.substr(begin, end - begin);
    if (line.text.empty()) return line;
    const std::basic_string_view<Char> text = line.text;
    if (text.front() == Char('[')) {
        size_t last = text.size();
        while (last > 0 && (IsBlank(text[last - 1]) || IsLineBreak(text[last - 1]))) --last;
        if (last > 1 && text[last - 1] == Char(']')) {
            // Exactly one character off each end, whatever the last one is.
            line.kind = LineKind::Section;
            line.name = text.substr(1, text.size() - 2);
            return line;
        }
    }
    const size_t equals = text.find(Char('='));
    if (equals != std::basic_string_view<Char>::npos && equals > 0) {
        line.kind = LineKind::Key;
        line.name = text.substr(0, equals);
        line.value = text.substr(equals + 1);
        return line;
    }
    line.kind = LineKind::Other;
    return line;
}

// Calls `visit(number, line)` for every line of `text` split at LF, numbered
// from 1; a last line without LF counts.
template <typename Char, typename Visit>
void ForEachLine(std::basic_string_view<Char> text, Visit&& visit) {
    size_t position = 0;
    size_t number = 0;
    while (position < text.size()) {
        size_t end = text.find(Char('\n'), position);
        if (end == std::basic_string_view<Char>::npos) end = text.size();
        visit(++number, ClassifyLine(text.substr(position, end - position)));
        position = end + 1;
    }
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
