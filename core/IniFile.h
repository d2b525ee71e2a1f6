#pragma once

// CIniFileW: an INI document read from a file whole, changed in memory and
// written back whole. Section and key names are trimmed of spaces and tabs and
// compared without regard to case; both are kept sorted by that comparison.
// Values are kept exactly. Comments and unrecognised lines are not kept.
// One object belongs to one thread.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/FileIo.h"

namespace grs {

// Settings files are a few kilobytes; a file larger than this is not one of
// them and is not read.
constexpr unsigned long long kIniMaxFileBytes = 64ull << 20;

// Case-insensitive ordering of names, exactly as _wcsicmp orders them (which
// stops at a NUL character); looks up by view as well.
struct IniNameLess {
    using is_transparent = void;
    bool operator()(std::wstring_view a, std::wstring_view b) const;
};

// How a document's bytes were (or will be) stored. A document is written back
// in the encoding it was read in. A new or empty file, and an empty document,
// get UTF-16LE: the private-profile functions read any text from it and keep
// writing UTF-16.
enum class IniEncoding {
    Utf16Le,      // UTF-16LE with a byte-order mark
    Utf8Bom,      // UTF-8 with a byte-order mark
    Utf8,         // plain bytes, valid UTF-8, at least one of them not ASCII
    AnsiCodePage  // any other plain bytes (ASCII included): the system's ANSI code page;
                  // text that code page cannot carry, or whose bytes would read
                  // back as UTF-8, turns the file into UTF-16LE
};

// UTF-16LE code units from `units` pairs of bytes, and back. Pure.
std::wstring FromUtf16Le(const char* data, size_t units);
std::string ToUtf16Le(const std::wstring& text);

// The text of a file's bytes and the encoding they were read in, by the
// rules above (a byte-order mark decides first). Pure.
std::wstring DecodeIniBytes(const std::string& bytes, IniEncoding& encoding);

// The bytes of `text` in `encoding`; the encoding becomes UTF-16LE where the
// one asked for cannot carry the text or would read back otherwise. Pure.
std::string EncodeIniText(const std::wstring& text, IniEncoding& encoding);

}  // namespace grs

class CIniFileW {
public:
    struct Key {
        std::wstring name;  // as first added
        std::wstring value;
    };
    struct Section {
        std::wstring name;  // as first added
        std::map<std::wstring, Key, grs::IniNameLess> keys;

        // Existing key of that name or a new one with an empty value.
        Key* AddKey(const std::wstring& name);
        Key* FindKey(const std::wstring& name);
    };

    // 1 when the file was opened and read (its content replaces the document),
    // 0 otherwise (the document is left as it was). Files over kIniMaxFileBytes are refused.
    int Load(const std::wstring& path);

    // What the last Load found: Ok, or why it read nothing (Missing is the
    // one reason after which saving cannot overwrite anything), and the Win32
    // error behind it where there was one.
    grs::ReadFileResult LoadResult() const { return m_loadResult; }
    unsigned long LoadError() const { return m_loadError; }

    // Writes the whole document through grs::ReplaceFileContent (which states
    // what survives a crash and other handles); 1 on success. A failure (0) is
    // logged with the step that failed, an in-place rewrite with the reason.
    // Entries that could not be read back as themselves are not written (see
    // RenderText). The written file has normal attributes. A document saved to
    // the file it was last loaded from or saved to, whose bytes would be the
    // same as then, is not written again (1, the file untouched).
    int Save(const std::wstring& path);
    // What the last Save that wrote found; a save skipped as unchanged, or
    // stopped by an exception, leaves it as it was.
    const grs::SaveResult& LastSave() const { return m_lastSave; }

    void Clear();
    Section* FindSection(const std::wstring& name);
    Section* AddSection(const std::wstring& name);
    Key* AddKey(Section* section, const std::wstring& key);

    // Missing section: empty text (not the default). Missing key in an
    // existing section: the default. Otherwise the value.
    std::wstring GetValue(const std::wstring& section, const std::wstring& key, const std::wstring& defaultValue);

    // Pure text forms, for tests and tools. ParseText replaces the document by
    // the lines of `text`. RenderText gives "[name]" and "key=value" lines
    // ending in LF; a value is cut at its first line break, and a section name
    // holding a line break or a key that is empty, holds a line break or "="
    // or starts with "[" is left out with its content, so that no value can
    // turn into another key or section.
    void ParseText(const std::wstring& text);
    std::wstring RenderText() const;
    // The same, counting the entries left out and the values cut.
    std::wstring RenderText(size_t& leftOut, size_t& cut) const;

    grs::IniEncoding Encoding() const { return m_encoding; }

private:
    std::map<std::wstring, Section, grs::IniNameLess> m_sections;
    grs::IniEncoding m_encoding = grs::IniEncoding::Utf16Le;
    grs::ReadFileResult m_loadResult = grs::ReadFileResult::Missing;
    unsigned long m_loadError = 0;
    // The file this document was last read from or written to, and its bytes.
    std::wstring m_filePath;
    std::string m_fileBytes;
    grs::SaveResult m_lastSave;
};
