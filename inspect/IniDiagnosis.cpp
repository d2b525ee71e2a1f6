// Diagnosis of any INI file as this library's document reads it.
#include "inspect/IniDiagnosis.h"

#include <windows.h>

#include <map>
#include <string_view>

#include "core/IniText.h"
#include "core/TextUtil.h"

namespace inspect {

namespace {

const char* EncodingText(grs::IniEncoding encoding, bool ascii, Severity& severity) {
    severity = Severity::Ok;
    switch (encoding) {
        case grs::IniEncoding::Utf16Le:
            return "UTF-16LE with a byte-order mark";
        case grs::IniEncoding::Utf8Bom:
            severity = Severity::Note;
            return "UTF-8 with a byte-order mark (this library keeps it; the private-profile functions of older "
                   "Windows versions may not read it)";
        case grs::IniEncoding::Utf8:
            severity = Severity::Warning;
            return "UTF-8 without a byte-order mark: this library reads it as UTF-8, the private-profile functions "
                   "as the ANSI code page, so non-ASCII values differ between the two";
        case grs::IniEncoding::AnsiCodePage:
            break;
    }
    if (ascii) return "plain ASCII";
    severity = Severity::Note;
    return "the ANSI code page: read back the same only on a system of the same code page";
}

std::string LineKey(size_t number) {
    return "[line " + std::to_string(number) + "]";
}

// "3, 9" or "3, 9, 12, ... (40 lines)".
std::string LineNumbers(const std::vector<size_t>& numbers) {
    constexpr size_t kListed = 10;
    std::string text;
    for (size_t i = 0; i < numbers.size() && i < kListed; ++i) text += (i ? ", " : "") + std::to_string(numbers[i]);
    if (numbers.size() > kListed) text += ", ... (" + std::to_string(numbers.size()) + " lines)";
    return text;
}

struct RawKey {
    size_t line;
    std::wstring value;
};

}  // namespace

std::vector<std::wstring> CheckLines(const std::wstring& text, const std::wstring& sectionName, Findings& findings) {
    std::map<std::wstring, std::vector<size_t>> sections;  // lowered name -> header lines
    std::map<std::wstring, std::wstring> spelling;         // lowered name -> as first written
    std::map<std::pair<std::wstring, std::wstring>, std::vector<RawKey>> keys;
    std::map<std::pair<std::wstring, std::wstring>, std::wstring> keySpelling;
    bool inSection = false;
    std::wstring current;
    Capped dropped(findings, kListedFindings, "[lines]", "lines that are not kept");
    grs::ini::ForEachLine(std::wstring_view(text), [&](size_t number, const grs::ini::Line<wchar_t>& line) {
        const std::wstring shown(line.text);
        switch (line.kind) {
            case grs::ini::LineKind::Blank:
                return;
            case grs::ini::LineKind::Section: {
                current = Lower(std::wstring(grs::ini::TrimBlanks(line.name)));
                inSection = true;
                sections[current].push_back(number);
                spelling.emplace(current, std::wstring(grs::ini::TrimBlanks(line.name)));
                return;
            }
            case grs::ini::LineKind::Key: {
                const std::wstring name(grs::ini::TrimBlanks(line.name));
                if (!inSection) {
                    dropped.Add(Code::LineOutsideSection, LineKey(number), Severity::Warning,
                                "a key line before any section (" + Shown(shown) + "): not read, and a save drops it");
                    return;
                }
                if (!grs::ini::IsWritableKey(line.name)) {
                    dropped.Add(
                        Code::KeyNotSaved, LineKey(number), Severity::Warning,
                        "read as the key " + Shown(name) + ", which no save writes back: dropped at the next save");
                    return;
                }
                keys[{current, Lower(name)}].push_back(RawKey{number, std::wstring(line.value)});
                keySpelling.emplace(std::make_pair(current, Lower(name)), name);
                return;
            }
            case grs::ini::LineKind::Other:
                if (line.text.front() == L'#' || line.text.front() == L';') {
                    dropped.Add(Code::CommentDropped, LineKey(number), Severity::Note,
                                "a comment (" + Shown(shown) + "): a save drops it");
                } else {
                    dropped.Add(
                        Code::StrayLine, LineKey(number), Severity::Warning,
                        "neither a section nor a key line (" + Shown(shown) + "): not read, and a save drops it");
                }
                return;
        }
    });
    Capped repeated(findings, kListedFindings, "[lines]", "repeated sections and keys");
    for (const auto& section : sections) {
        if (section.second.size() < 2) continue;
        const std::string lines = LineNumbers(section.second);
        const bool read = section.first == Lower(sectionName);
        repeated.Add(Code::SectionRepeated, L"[" + spelling[section.first] + L"]",
                     read ? Severity::Warning : Severity::Note,
                     "a section header repeated on lines " + lines +
                         ": this library merges them, the private-profile functions read only the first");
    }
    for (const auto& key : keys) {
        const std::vector<RawKey>& lines = key.second;
        if (lines.size() < 2) continue;
        std::vector<size_t> numbers;
        bool same = true;
        for (const RawKey& line : lines) {
            numbers.push_back(line.line);
            same = same && line.value == lines.front().value;
        }
        const std::wstring& name = keySpelling[key.first];
        if (same) {
            repeated.Add(Code::KeyRepeatedSame, name, Severity::Note,
                         "set on lines " + LineNumbers(numbers) + ", each time to the same value: a save keeps one");
        } else {
            repeated.Add(Code::KeyRepeated, name, Severity::Warning,
                         "set on lines " + LineNumbers(numbers) + ": this library reads the last (" +
                             Shown(lines.back().value) + "), the private-profile functions the first (" +
                             Shown(lines.front().value) + ")");
        }
    }
    std::vector<std::wstring> names;
    for (const auto& section : spelling) names.push_back(section.second);
    return names;
}

void CheckStrayFiles(const std::wstring& fileName, const std::vector<std::wstring>& siblingNames, Findings& findings) {
    const std::wstring prefix = Lower(fileName);
    for (const std::wstring& name : siblingNames) {
        const std::wstring lower = Lower(name);
        if (lower.size() <= prefix.size() || lower.compare(0, prefix.size(), prefix) != 0) continue;
        if (IsStrayTemporary(fileName, name)) {
            findings.Add(Code::StrayTemporary, name, Severity::Warning,
                         "a stray temporary file: a save that did not finish (a crash or a full disk) left it; "
                         "the settings file itself is whole, and this one can go once the client is closed");
        } else {
            findings.Add(Code::SiblingFile, name, Severity::Note, "beside the settings file: not read by the library");
        }
    }
}

void CheckFileFacts(const FileSnapshot& file, Findings& findings) {
    findings.Add(Code::FileFound, "[file]", Severity::Ok, "found, " + std::to_string(file.size) + " bytes");
    std::string attributes;
    Severity severity = Severity::Ok;
    const bool hidden = (file.attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    const bool system = (file.attributes & FILE_ATTRIBUTE_SYSTEM) != 0;
    if (hidden && system) {
        attributes = "hidden and system, as every save leaves it";
    } else if (!hidden) {
        severity = Severity::Warning;
        attributes = std::string(system ? "system but not hidden" : "neither hidden nor system") +
                     ": every save of the library leaves it hidden and system, so a change was cut short, "
                     "something else rewrote it, or it was copied without its attributes";
    } else {
        severity = Severity::Note;
        attributes = "hidden but not system: every save of the library sets both";
    }
    if (file.attributes & FILE_ATTRIBUTE_READONLY) {
        severity = Worse(severity, Severity::Note);
        attributes +=
            "; read-only: the library clears that before each change, but writes through the "
            "private-profile functions fail while it is set";
    }
    findings.Add(Code::FileAttributes, "[attributes]", severity, attributes);
}

void CheckEncoding(const FileSnapshot& file, grs::IniEncoding encoding, Findings& findings) {
    if (file.bytes.empty()) {
        findings.Add(Code::FileEmpty, "[encoding]", Severity::Note, "an empty file: every key reads as empty");
        return;
    }
    Severity severity = Severity::Ok;
    const char* encodingText = EncodingText(encoding, grs::IsAscii(file.bytes), severity);
    findings.Add(Code::FileEncoding, "[encoding]", severity, encodingText);
}

void CheckOtherSections(CIniFileW& document, const std::vector<std::wstring>& sectionNames, const wchar_t* sectionName,
                        Findings& findings) {
    const std::wstring sectionHeader = L"[" + std::wstring(sectionName) + L"]";
    const bool present = document.FindSection(sectionName) != nullptr;
    Capped otherSections(findings, kListedFindings, "[sections]", "sections");
    for (const std::wstring& name : sectionNames) {
        if (name == sectionName) continue;
        const CIniFileW::Section* other = document.FindSection(name);
        const size_t count = other ? other->keys.size() : 0;
        bool caseOnly = false;
        if (SameIgnoringCase(name, sectionName)) {
            otherSections.Add(Code::SectionCase, L"[" + name + L"]", Severity::Warning,
                              "spelt otherwise than " + grs::WideToUtf8(sectionHeader) +
                                  ": this library's reader ignores letter case, but the names in this file are exact");
        } else if (NearMiss(name, {sectionName}, caseOnly) != nullptr) {
            otherSections.Add(Code::SectionMisspelt, L"[" + name + L"]",
                              present ? Severity::Warning : Severity::Problem,
                              "one edit from " + grs::WideToUtf8(sectionHeader) + ": its " +
                                  Counted(count, "key is", "keys are") + " not read");
        } else {
            otherSections.Add(
                Code::SectionUnknown, L"[" + name + L"]", Severity::Note,
                "a section the library does not read (" + Counted(count, "key", "keys") + ", kept as they are)");
        }
    }
}

void CheckUnknownKeys(CIniFileW::Section& section, const std::vector<const wchar_t*>& known, const char* unknownKey,
                      Findings& findings) {
    Capped nearlyRight(findings, kListedFindings, "[keys]", "nearly right keys");
    Capped unknownKeys(findings, kListedFindings, "[keys]", "keys that are not known names");
    for (const auto& entry : section.keys) {
        const std::wstring& name = entry.second.name;
        bool caseOnly = false;
        const wchar_t* nearKey = NearMiss(name, known, caseOnly);
        bool isKnown = false;
        for (const wchar_t* candidate : known) isKnown = isKnown || name == candidate;
        if (isKnown) continue;
        if (!name.empty() && name.front() == L';') {
            unknownKeys.Add(Code::KeyCommentLike, name, Severity::Note,
                            "looks like a comment, but a line holding \"=\" is a key line here: read as a key no one "
                            "uses, and kept");
        } else if (nearKey != nullptr && caseOnly) {
            nearlyRight.Add(Code::KeyCase, name, Severity::Warning,
                            "spelt otherwise than \"" + grs::WideToUtf8(nearKey) +
                                "\": this library's reader ignores letter case, but the names in this file are exact");
        } else if (nearKey != nullptr) {
            const CIniFileW::Key* right = section.FindKey(nearKey);
            nearlyRight.Add(Code::KeyMisspelt, name,
                            right && !right->value.empty() ? Severity::Warning : Severity::Problem,
                            "one edit from \"" + grs::WideToUtf8(nearKey) + "\": its value " +
                                Shown(entry.second.value) + " is not read, the names are exact, misspellings included");
        } else {
            const std::string shown = Shown(entry.second.value);
            unknownKeys.Add(Code::KeyUnknown, name, Severity::Note, shown + ": " + unknownKey);
        }
    }
}

bool IsStrayTemporary(const std::wstring& fileName, const std::wstring& name) {
    const std::wstring prefix = Lower(fileName);
    const std::wstring lower = Lower(name);
    return lower.size() > prefix.size() + 4 && lower.compare(0, prefix.size(), prefix) == 0 &&
           lower.compare(prefix.size(), 1, L"~") == 0 && lower.compare(lower.size() - 4, 4, L".tmp") == 0;
}

}  // namespace inspect
