#pragma once

// Diagnosis of any INI file as this library's document reads it, apart from
// what its keys mean: the file itself (size, attributes, encoding), lines that
// are repeated or that a save drops, sections that are not the one read, keys
// nearly right, and stray files of an interrupted save beside it.

#include <string>
#include <vector>

#include "core/IniFile.h"
#include "inspect/InspectDetail.h"

namespace inspect {

// Past this many, findings of one kind are only counted.
constexpr size_t kListedFindings = 20;

// "[file]" and "[attributes]": the file's size, and hidden and system as every
// save of the library leaves it.
void CheckFileFacts(const FileSnapshot& file, Findings& findings);

// "[encoding]" of the file's bytes, as the document reads them.
void CheckEncoding(const FileSnapshot& file, grs::IniEncoding encoding, Findings& findings);

// Walks the lines as the document reads them: repeated sections and keys, and
// lines that a save drops. Returns the section names as first written.
std::vector<std::wstring> CheckLines(const std::wstring& text, const std::wstring& sectionName, Findings& findings);

// Sections other than `section` (one nearly right is worse when `section` is
// missing).
void CheckOtherSections(CIniFileW& document, const std::vector<std::wstring>& sectionNames, const wchar_t* section,
                        Findings& findings);

// Keys of `section` that are not one of `known`: nearly right by one edit or
// letter case, comment-like, or unknown (`unknownKey` says what becomes of them).
void CheckUnknownKeys(CIniFileW::Section& section, const std::vector<const wchar_t*>& known,
                      const char* unknownKey, Findings& findings);

// Names beside `fileName` that start with it: "<name>~*.tmp" is a temporary
// file of an interrupted save.
void CheckStrayFiles(const std::wstring& fileName, const std::vector<std::wstring>& siblingNames, Findings& findings);

// Whether `name` is a temporary file of an interrupted save of `fileName`.
bool IsStrayTemporary(const std::wstring& fileName, const std::wstring& name);

}  // namespace inspect
