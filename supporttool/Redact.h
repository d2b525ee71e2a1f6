#pragma once

// Redaction of a bundle: the Windows user name, the machine name and the
// signed-in user id become stable tokens wherever they stand (paths, values,
// file contents) in UTF-8, UTF-16LE and the ANSI code page. A token is as long
// as the name and keeps its blanks, so a path keeps its length and its
// spaces; what else diagnosis needs of a path (whether the ANSI code page
// spells it, its drive type) is recorded before redaction. A name is replaced
// where it stands as a whole word, letter case ignored: "Root" inside
// "ThumbnailRootFolder" is a key, not the user "root".

#include <string>
#include <utility>
#include <vector>

namespace supporttool {

struct Redaction {
    // Real name -> token, the longest names first.
    std::vector<std::pair<std::wstring, std::wstring>> names;
    bool Empty() const { return names.empty(); }
};

// The user's token starts with "U", the machine's with "M", the user id's
// with "I"; the rest is "x", blanks kept. Empty names are left out.
Redaction MakeRedaction(const std::wstring& userName, const std::wstring& machineName, const std::wstring& userId);

std::wstring RedactText(const Redaction& redaction, const std::wstring& text);

// Every form of every name in `bytes`: UTF-8, UTF-16LE and `codePage` (the
// ANSI code page of the machine the bytes come from).
std::string RedactBytes(const Redaction& redaction, const std::string& bytes, unsigned codePage);

// "Uxxx = root" lines, for the mapping kept beside the bundle.
std::string MappingText(const Redaction& redaction);

}  // namespace supporttool
