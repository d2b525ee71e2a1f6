// "Setting.ini" and "SyncSetting.ini": the file, its encoding and attributes,
// every key with its value as the library reads it, keys that are missing,
// empty, nearly right or repeated, lines a save drops, and stray files.
#include <windows.h>

#include <functional>
#include <map>
#include <string_view>

#include "core/HashUtil.h"
#include "core/IniFile.h"
#include "core/IniText.h"
#include "core/TextUtil.h"
#include "host/InspectDetail.h"
#include "settings/SettingRules.h"

namespace host::inspect {

namespace {

namespace readings = grs::settings;

// Past this many, findings of one kind are only counted.
constexpr size_t kListedFindings = 20;
// The user record's text fields hold 255 characters and a terminator.
constexpr size_t kRecordFieldChars = 255;
// CIniFileW reads no settings file larger than this.
constexpr unsigned long long kIniMaxBytes = 64ull << 20;

struct Verdict {
    Severity severity = Severity::Ok;
    std::string message;
    bool report = true;
};

Verdict Say(Severity severity, std::string message) {
    return Verdict{severity, std::move(message), true};
}

// What the other keys of the same section hold.
struct Facts {
    CIniFileW* document;
    const wchar_t* section;
    std::wstring user;
    std::wstring Value(const wchar_t* key) const { return document->GetValue(section, key, std::wstring()); }
};

// `missing` tells a missing key from an empty one.
using AbsentRule = std::function<Verdict(bool missing, const Facts&)>;
// A non-empty value; the message follows the shown value.
using ValueRule = std::function<Verdict(const std::wstring& value, const Facts&)>;

struct KeyRule {
    const wchar_t* name;
    AbsentRule absent;
    ValueRule check;  // empty: ok, the value is all there is to say
};

// "missing: the next start writes ..." - CreateSettingFile fills missing and
// empty keys alike.
AbsentRule RefilledAtStart(std::string what) {
    return [what](bool missing, const Facts&) {
        return Say(Severity::Note, std::string(missing ? "missing" : "empty") + ": the next start writes " + what);
    };
}

AbsentRule EmptyByDesign(std::string whenEmpty = "empty, as written at creation") {
    return [whenEmpty](bool missing, const Facts&) {
        return missing ? Say(Severity::Note, "missing: the next start adds it empty") : Say(Severity::Ok, whenEmpty);
    };
}

// Keys a profile may well lack: said only when present.
AbsentRule Optional() {
    return [](bool missing, const Facts&) {
        Verdict verdict = Say(Severity::Ok, "empty");
        verdict.report = !missing;
        return verdict;
    };
}

AbsentRule Expected(Severity severity, std::string reason) {
    return [severity, reason](bool missing, const Facts&) {
        return Say(severity, std::string(missing ? "missing" : "empty") + ": " + reason);
    };
}

// Text the user record holds in a field of 256 characters.
ValueRule FitsRecordField() {
    return [](const std::wstring& value, const Facts&) {
        if (value.size() <= kRecordFieldChars) return Say(Severity::Ok, "");
        return Say(Severity::Problem, std::to_string(value.size()) +
                                          " characters, more than the 255 its field holds: reading the settings "
                                          "stops here, so nothing after it is read and the file is not saved");
    };
}

// A flag: `libraryOn` is the library's own reading. When a person would read
// the text otherwise, `mismatch` says how bad that is.
Verdict FlagVerdict(const std::wstring& value, bool libraryOn, const char* on, const char* off, Severity mismatch,
                    const std::string& rule) {
    const std::optional<bool> person = PersonReads(value);
    if (!person) {
        // Text that says nothing clear: the reading is worth knowing, one step milder.
        const Severity unclear = mismatch == Severity::Problem ? Severity::Warning : Severity::Note;
        return Say(unclear, std::string("reads as ") + (libraryOn ? on : off) + ": " + rule);
    }
    if (*person != libraryOn)
        return Say(mismatch,
                   std::string("reads as ") + (libraryOn ? on : off) + ", not " + (libraryOn ? off : on) + ": " + rule);
    return Say(Severity::Ok, libraryOn ? on : off);
}

// Messages that start with a value read best as `"value": reason`.
std::string WithValue(const std::wstring& value, const std::string& message) {
    return message.empty() ? Shown(value) : Shown(value) + ": " + message;
}

const std::vector<KeyRule>& SettingRules() {
    static const std::vector<KeyRule> rules = {
        {L"Language", RefilledAtStart("the client's language"), FitsRecordField()},
        {L"InstallLanguage", RefilledAtStart("the client's language"), nullptr},
        {L"CheckTime", EmptyByDesign(), nullptr},
        {L"IsJoinUserExperiencePlan", RefilledAtStart("\"true\", which reads as not joined"),
         [](const std::wstring& value, const Facts&) {
             const bool joined = readings::JoinsExperiencePlan(value);
             // COMPAT: the library's own default reads as not joined; that is
             // how every client has read it, so it is only worth a note.
             if (value == L"true")
                 return Say(Severity::Note,
                            "reads as not joined: the value is read as a number, and this default written at "
                            "creation stays until the client saves the user's choice as \"0\" or \"1\"");
             return FlagVerdict(value, joined, "joined", "not joined", Severity::Warning,
                                "the value is read as a number (non-zero: joined)");
         }},
        {L"Platform", RefilledAtStart("\"x64\""),
         [](const std::wstring& value, const Facts&) {
             return value == L"x64" ? Say(Severity::Ok, "")
                                    : Say(Severity::Note,
                                          "not \"x64\", the client's platform: kept, a value is never "
                                          "overwritten at start");
         }},
        {L"DiscreteTime", RefilledAtStart("\"1440\""), nullptr},
        {L"SapceOMVersion", RefilledAtStart("\"0\""), nullptr},
        {L"NoticeOMVersion", RefilledAtStart("\"0\""), nullptr},
        {L"Version", RefilledAtStart("the installed client's version"), nullptr},
        {L"ErrorLimitingTime",
         [](bool missing, const Facts& facts) {
             if (missing) return Say(Severity::Note, "missing: the next start adds it empty");
             // COMPAT: the number comes from the plan key, as the client always read it.
             return Say(
                 Severity::Ok,
                 "empty, as written at creation: the error limiting time is then taken from "
                 "\"IsJoinUserExperiencePlan\" (" +
                     std::to_string(readings::ErrorLimitingTimeFrom(facts.Value(L"IsJoinUserExperiencePlan"))) +
                     ")");
         },
         [](const std::wstring&, const Facts&) {
             return Say(Severity::Ok, "the parameter store keeps its own error limiting time");
         }},
        {L"IsGuidRun", RefilledAtStart("\"0\""), nullptr},
        {L"IsOpenSyncGuide", RefilledAtStart("\"0\""), nullptr},
        {L"DmpUploadUrl",
         RefilledAtStart("the parameter store's address (\"dmpUpload\" of the server address file, if it has one)"),
         nullptr},
        {L"LogPingUrl",
         RefilledAtStart("the parameter store's address (\"logPingUrl\" of the server address file, if it has one)"),
         nullptr},
        {L"VersionType", Optional(), FitsRecordField()},
        {L"IsAutoCheckUpdate",
         [](bool missing, const Facts& facts) {
             const std::string state = missing ? "missing" : "empty";
             if (facts.Value(L"IsAutoStartUp").empty())
                 return Say(Severity::Note, state +
                                                ": the next start writes \"1\" or \"0\" with \"IsAutoStartUp\", "
                                                "as the Run value says");
             return Say(Severity::Warning,
                        state + ": reads as off (no automatic update checks), and no start fills it");
         },
         [](const std::wstring& value, const Facts&) {
             return FlagVerdict(value, readings::IsAutoCheckUpdateOn(value), "on", "off", Severity::Warning,
                                "only \"1\", \"true\", \"TRUE\" and \"True\" turn automatic update checks on");
         }},
        {L"IsAutoStartUp",
         [](bool missing, const Facts&) {
             return Say(Severity::Note, std::string(missing ? "missing" : "empty") +
                                            ": the next start takes start with Windows from the Run value and "
                                            "records it here");
         },
         [](const std::wstring& value, const Facts&) {
             const bool on = readings::PlanAutoStart(value, false).which == readings::AutoStartCase::On;
             const Verdict verdict =
                 FlagVerdict(value, on, "on", "off", Severity::Problem,
                             "only \"1\" turns start with Windows on, so the next start removes the Run value");
             if (verdict.severity != Severity::Ok) return verdict;
             return Say(Severity::Ok,
                        on ? "on: every start registers the Run value" : "off: every start removes the Run value");
         }},
        {L"FirstStart", Optional(),
         [](const std::wstring&, const Facts&) { return Say(Severity::Ok, "decides nothing"); }},
        {L"IsFirstStartUp",
         [](bool missing, const Facts&) {
             return Say(Severity::Note, std::string(missing ? "missing" : "empty") +
                                            ": not a first start; the next start-up check writes \"false\"");
         },
         [](const std::wstring& value, const Facts&) {
             return FlagVerdict(value, readings::ReadsFirstStart(value), "the first start", "not the first start",
                                Severity::Warning, "only \"true\" marks the first start after installation");
         }},
        {L"NoticeCreateLink",
         [](bool missing, const Facts&) {
             return Say(Severity::Note,
                        std::string(missing ? "missing" : "empty") + ": the desktop shortcut is still to be offered");
         },
         [](const std::wstring& value, const Facts&) {
             // The flag says "settled", so a person's "on" is the library's "not pending".
             const bool settled = !readings::ReadsShortcutPending(value);
             return FlagVerdict(value, settled, "settled", "still to be offered", Severity::Warning,
                                "only an empty value or \"0\" offers the desktop shortcut again");
         }},
        {L"InstallTime", Optional(), nullptr},
        {L"UpgradeTime", Optional(), nullptr},
        {L"ShowTabBar", Expected(Severity::Note, "written after sign-in"), nullptr},
    };
    return rules;
}

ValueRule Address(Severity notAnAddress = Severity::Note) {
    return [notAnAddress](const std::wstring& value, const Facts&) {
        if (value.find(L"://") != std::wstring::npos) return Say(Severity::Ok, "");
        return Say(notAnAddress, "not an address");
    };
}

// Every start rewrites "SyncSetting.ini" from the parameter store.
AbsentRule Rewritten(Severity whenEmpty, std::string emptyReason) {
    return [whenEmpty, emptyReason](bool missing, const Facts&) {
        if (missing)
            return Say(Severity::Warning,
                       "missing: every start writes it, so the last start stopped before it or the file was rewritten");
        return Say(whenEmpty, "empty: " + emptyReason);
    };
}

// "CatchFolder": the user's cache folder, a backslash and the SHA-256 of the
// user's id in lower-case hexadecimal.
std::wstring CacheRootDigest(const std::wstring& root) {
    const size_t slash = root.rfind(L'\\');
    const std::wstring tail = slash == std::wstring::npos ? root : root.substr(slash + 1);
    if (tail.size() != 64 || tail.find_first_not_of(L"0123456789abcdef") != std::wstring::npos) return std::wstring();
    return tail;
}

ValueRule ThumbnailFolder(const wchar_t* leaf) {
    return [leaf](const std::wstring& value, const Facts& facts) {
        const std::wstring root = facts.Value(L"CatchFolder");
        const std::wstring expected = root + L"\\" + leaf + L"\\";
        if (root.empty() || value == expected) return Say(Severity::Ok, "");
        return Say(Severity::Note,
                   "not \"CatchFolder\" followed by \"\\" + Utf8(leaf) + "\\\" as every start writes it");
    };
}

const std::vector<KeyRule>& SyncSettingRules() {
    const auto noAddress = "the sync component gets no address (the parameter store had none at the last start)";
    static const std::vector<KeyRule> rules = {
        {L"ServerUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"FamilyShareUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"NspUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"HelpAndServiceUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"UserinformationUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"MacAddressEncrypt", Rewritten(Severity::Warning, "the system UUID was unknown"),
         [](const std::wstring& value, const Facts& facts) {
             if (value == L"SYNC" + facts.Value(L"deviceUUid")) return Say(Severity::Ok, "");
             return Say(Severity::Warning, "not \"SYNC\" followed by \"deviceUUid\": written on another device?");
         }},
        {L"deviceUUid", Rewritten(Severity::Warning, "the system UUID was unknown"), nullptr},
        {L"PcVersion", Rewritten(Severity::Note, "the user record's version was empty (settings not yet read)"),
         nullptr},
        {L"ConfigBasic", Rewritten(Severity::Warning, noAddress), Address()},
        {L"BusinessUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"BaseUri", Rewritten(Severity::Warning, noAddress), Address()},
        {L"UBAUri", Rewritten(Severity::Warning, noAddress), Address()},
        {L"PCModel", Rewritten(Severity::Note, "the PC model was unknown"), nullptr},
        {L"BasicUrl", Rewritten(Severity::Warning, noAddress), Address()},
        {L"OpenSource", Rewritten(Severity::Warning, noAddress), Address()},
        {L"Portal", Rewritten(Severity::Warning, noAddress), Address()},
        {L"OmCdnUrl", Rewritten(Severity::Note, "only the routing servers give this address"), Address()},
        {L"OmCdnByPassUrl", Rewritten(Severity::Note, "only the routing servers give this address"), Address()},
        {L"ThumbnailRootFolder", Rewritten(Severity::Warning, "no thumbnail folder"),
         ThumbnailFolder(L"SyncThumbnailFile")},
        {L"LcdThumbnailRootFolder", Rewritten(Severity::Warning, "no thumbnail folder"),
         ThumbnailFolder(L"LcdSyncThumbnailFile")},
        {L"CatchFolder", Rewritten(Severity::Warning, "no cache folder"),
         [](const std::wstring& value, const Facts& facts) {
             const std::wstring digest = CacheRootDigest(value);
             if (digest.empty())
                 return Say(Severity::Warning,
                            "does not end in the 64-digit hash of a user id, as every start writes it");
             if (value.size() == 65)
                 return Say(Severity::Warning,
                            "only the user hash: written before sign-in, while the user's cache "
                            "folder was unknown; the next signed-in start rewrites it");
             if (facts.user.empty()) return Say(Severity::Ok, "");
             const std::wstring expected = grs::Utf8ToWide(grs::Sha256Hex(grs::WideToUtf8(facts.user)));
             if (digest == expected) return Say(Severity::Ok, "the cache folder of user " + Shown(facts.user));
             return Say(Severity::Warning, "the cache folder of another user than " + Shown(facts.user) +
                                               " (whose hash is " + Utf8(expected) + ")");
         }},
    };
    return rules;
}

std::vector<const wchar_t*> Names(const std::vector<KeyRule>& rules) {
    std::vector<const wchar_t*> names;
    for (const KeyRule& rule : rules) names.push_back(rule.name);
    return names;
}

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

void CheckFileFacts(const FileSnapshot& file, Findings& findings) {
    findings.Add("[file]", Severity::Ok, "found, " + std::to_string(file.size) + " bytes");
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
    findings.Add("[attributes]", severity, attributes);
}

bool IsAscii(const std::string& bytes) {
    for (unsigned char c : bytes)
        if (c >= 0x80) return false;
    return true;
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

// Walks the lines as the document reads them: repeated sections and keys, and
// lines that a save drops. Returns the section names as first written.
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
                    dropped.Add(LineKey(number), Severity::Warning,
                                "a key line before any section (" + Shown(shown) + "): not read, and a save drops it");
                    return;
                }
                if (!grs::ini::IsWritableKey(line.name)) {
                    dropped.Add(
                        LineKey(number), Severity::Warning,
                        "read as the key " + Shown(name) + ", which no save writes back: dropped at the next save");
                    return;
                }
                keys[{current, Lower(name)}].push_back(RawKey{number, std::wstring(line.value)});
                keySpelling.emplace(std::make_pair(current, Lower(name)), name);
                return;
            }
            case grs::ini::LineKind::Other:
                if (line.text.front() == L'#' || line.text.front() == L';') {
                    dropped.Add(LineKey(number), Severity::Note, "a comment (" + Shown(shown) + "): a save drops it");
                } else {
                    dropped.Add(
                        LineKey(number), Severity::Warning,
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
        repeated.Add(L"[" + spelling[section.first] + L"]", read ? Severity::Warning : Severity::Note,
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
            repeated.Add(name, Severity::Note,
                         "set on lines " + LineNumbers(numbers) + ", each time to the same value: a save keeps one");
        } else {
            repeated.Add(name, Severity::Warning,
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
        if (lower.compare(prefix.size(), 1, L"~") == 0 && lower.size() > 4 &&
            lower.compare(lower.size() - 4, 4, L".tmp") == 0) {
            findings.Add(name, Severity::Warning,
                         "a stray temporary file: a save that did not finish (a crash or a full disk) left it; "
                         "the settings file itself is whole, and this one can go once the client is closed");
        } else {
            findings.Add(name, Severity::Note, "beside the settings file: not read by the library");
        }
    }
}

struct IniSpec {
    const char* area;
    const wchar_t* fileName;
    const wchar_t* section;
    const std::vector<KeyRule>& rules;
    const char* whenMissing;
    const char* unknownKey;
};

void CheckIni(const IniSpec& spec, const FileSnapshot& file, const std::wstring& user, Findings& findings) {
    if (!file.exists) {
        findings.Add("[file]", Severity::Note, spec.whenMissing);
        return;
    }
    if (file.isFolder) {
        findings.Add("[file]", Severity::Problem,
                     "a folder of that name: the library can neither read nor write the file, so every setting in it "
                     "is lost at each start");
        return;
    }
    if (file.tooLarge || file.size > kIniMaxBytes) {
        findings.Add("[file]", Severity::Problem,
                     std::to_string(file.size) +
                         " bytes: over 64 MiB, which the library does not read; the next save replaces it with "
                         "defaults");
        return;
    }
    if (!file.readable) {
        findings.Add("[file]", Severity::Warning, "found but not readable (locked by another program?)");
        return;
    }
    CheckFileFacts(file, findings);

    grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
    const std::wstring text = grs::DecodeIniBytes(file.bytes, encoding);
    if (file.bytes.empty()) {
        findings.Add("[encoding]", Severity::Note, "an empty file: every key reads as empty");
    } else {
        Severity severity = Severity::Ok;
        const char* encodingText = EncodingText(encoding, IsAscii(file.bytes), severity);
        findings.Add("[encoding]", severity, encodingText);
    }
    const std::vector<std::wstring> sectionNames = CheckLines(text, spec.section, findings);

    CIniFileW document;
    document.ParseText(text);
    const std::vector<const wchar_t*> known = Names(spec.rules);
    const std::wstring sectionHeader = L"[" + std::wstring(spec.section) + L"]";
    CIniFileW::Section* section = document.FindSection(spec.section);

    // Sections the library does not read, and one that is nearly right.
    Capped otherSections(findings, kListedFindings, "[sections]", "sections");
    for (const std::wstring& name : sectionNames) {
        if (name == spec.section) continue;
        const CIniFileW::Section* other = document.FindSection(name);
        const size_t count = other ? other->keys.size() : 0;
        bool caseOnly = false;
        if (SameIgnoringCase(name, spec.section)) {
            otherSections.Add(L"[" + name + L"]", Severity::Warning,
                              "spelt otherwise than " + Utf8(sectionHeader) +
                                  ": this library's reader ignores letter case, but the names in this file are exact");
        } else if (NearMiss(name, {spec.section}, caseOnly) != nullptr) {
            otherSections.Add(
                L"[" + name + L"]", section ? Severity::Warning : Severity::Problem,
                "one edit from " + Utf8(sectionHeader) + ": its " + Counted(count, "key is", "keys are") + " not read");
        } else {
            otherSections.Add(
                L"[" + name + L"]", Severity::Note,
                "a section the library does not read (" + Counted(count, "key", "keys") + ", kept as they are)");
        }
    }
    if (section == nullptr) {
        findings.Add(sectionHeader, Severity::Problem,
                     "no " + Utf8(sectionHeader) +
                         " section: every setting reads as empty (the next start adds it, "
                         "with defaults)");
        return;
    }

    Facts facts{&document, spec.section, user};
    for (const KeyRule& rule : spec.rules) {
        const CIniFileW::Key* key = section->FindKey(rule.name);
        Verdict verdict;
        if (key == nullptr || key->value.empty()) {
            verdict = rule.absent(key == nullptr, facts);
            if (!verdict.report) continue;
        } else {
            verdict = rule.check ? rule.check(key->value, facts) : Say(Severity::Ok, "");
            if (!verdict.report) continue;
            verdict.message = WithValue(key->value, verdict.message);
        }
        findings.Add(rule.name, verdict.severity, verdict.message);
    }

    // Keys that are not one of the known names, as this library reads them.
    Capped nearlyRight(findings, kListedFindings, "[keys]", "nearly right keys");
    Capped unknownKeys(findings, kListedFindings, "[keys]", "keys that are not known names");
    for (const auto& entry : section->keys) {
        const std::wstring& name = entry.second.name;
        bool caseOnly = false;
        const wchar_t* nearKey = NearMiss(name, known, caseOnly);
        bool isKnown = false;
        for (const wchar_t* candidate : known) isKnown = isKnown || name == candidate;
        if (isKnown) continue;
        if (!name.empty() && name.front() == L';') {
            unknownKeys.Add(name, Severity::Note,
                            "looks like a comment, but a line holding \"=\" is a key line here: read as a key no one "
                            "uses, and kept");
        } else if (nearKey != nullptr && caseOnly) {
            nearlyRight.Add(name, Severity::Warning,
                            "spelt otherwise than \"" + Utf8(nearKey) +
                                "\": this library's reader ignores letter case, but the names in this file are exact");
        } else if (nearKey != nullptr) {
            const CIniFileW::Key* right = section->FindKey(nearKey);
            nearlyRight.Add(name, right && !right->value.empty() ? Severity::Warning : Severity::Problem,
                            "one edit from \"" + Utf8(nearKey) + "\": its value " + Shown(entry.second.value) +
                                " is not read, the names are exact, misspellings included");
        } else {
            unknownKeys.Add(name, Severity::Note, WithValue(entry.second.value, spec.unknownKey));
        }
    }
}

std::vector<Finding> InspectIni(const IniSpec& spec, const FileSnapshot& file,
                                const std::vector<std::wstring>& siblingNames, const std::wstring& user) {
    Findings findings(spec.area);
    CheckIni(spec, file, user, findings);
    CheckStrayFiles(spec.fileName, siblingNames, findings);
    return findings.Take();
}

}  // namespace

std::vector<Finding> InspectSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames) {
    const IniSpec spec{kAreaSetting,
                       L"Setting.ini",
                       L"Setting",
                       SettingRules(),
                       "not found: the next start creates it with defaults",
                       "not a key of this library (kept as it is; the upgrade component keeps its own keys here)"};
    return InspectIni(spec, file, siblingNames, std::wstring());
}

std::vector<Finding> InspectSyncSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames,
                                           const std::wstring& user) {
    const IniSpec spec{kAreaSyncSetting,
                       L"SyncSetting.ini",
                       L"SyncSetting",
                       SyncSettingRules(),
                       "not found: every start writes it, the sync component reads it",
                       "not a key this library writes (kept as it is)"};
    return InspectIni(spec, file, siblingNames, user);
}

}  // namespace host::inspect
