// "Setting.ini" and "SyncSetting.ini": every key of the library's tables with
// its value as the library reads it, what the next start does about a key
// that is missing or empty, and the generic diagnosis of the file.
#include <windows.h>

#include <string>

#include "core/HashUtil.h"
#include "core/IniFile.h"
#include "core/PathUtil.h"
#include "core/TextUtil.h"
#include "inspect/IniDiagnosis.h"
#include "inspect/InspectDetail.h"
#include "settings/ProfileText.h"
#include "settings/SettingRules.h"

namespace inspect {

namespace {

namespace readings = grs::settings;
using readings::Absent;
using readings::Reading;
using readings::SettingKey;
using readings::Source;

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

// How a person names a flag's two readings, and what a misreading costs.
struct FlagWords {
    const char* on;
    const char* off;
    Severity mismatch;
    std::string rule;
};

// "\"1\", \"true\" and \"True\"": texts as a person reads a list of them.
template <size_t N>
std::string QuotedList(const wchar_t* const (&texts)[N]) {
    std::string list;
    for (size_t i = 0; i < N; ++i)
        list += std::string(i == 0 ? "" : i + 1 == N ? " and " : ", ") + "\"" + grs::WideToUtf8(texts[i]) + "\"";
    return list;
}

// The text the library writes for a flag's reading, quoted.
std::string Quoted(readings::Key key, bool on) {
    return "\"" + grs::WideToUtf8(readings::FlagValue(key, on)) + "\"";
}

const FlagWords* WordsOf(Reading reading) {
    static const FlagWords autoCheck{"on", "off", Severity::Warning,
                                     "only " + QuotedList(readings::kAutoCheckUpdateOnTexts) +
                                         " turn automatic update checks on"};
    static const FlagWords joinPlan{"joined", "not joined", Severity::Warning,
                                    "the value is read as a number (non-zero: joined)"};
    static const FlagWords autoStart{"on", "off", Severity::Problem,
                                     "only " + Quoted(readings::Key::IsAutoStartUp, true) +
                                         " turns start with Windows on, so the next start removes the Run value"};
    static const FlagWords firstStart{"the first start", "not the first start", Severity::Warning,
                                      "only " + Quoted(readings::Key::IsFirstStartUp, true) +
                                          " marks the first start after installation"};
    // The flag says "settled", so a person's "on" is the library's "not pending".
    static const FlagWords shortcut{"settled", "still to be offered", Severity::Warning,
                                    "only an empty value or " + Quoted(readings::Key::NoticeCreateLink, false) +
                                        " offers the desktop shortcut again"};
    switch (reading) {
        case Reading::AutoCheckUpdate:
            return &autoCheck;
        case Reading::JoinPlan:
            return &joinPlan;
        case Reading::AutoStart:
            return &autoStart;
        case Reading::FirstStart:
            return &firstStart;
        case Reading::ShortcutSettled:
            return &shortcut;
        default:
            return nullptr;
    }
}

// A flag: when a person would read the text otherwise than the library does,
// `words.mismatch` says how bad that is.
Verdict FlagVerdict(const std::wstring& value, bool libraryOn, const FlagWords& words) {
    const std::optional<bool> person = PersonReads(value);
    if (!person) {
        // Text that says nothing clear: the reading is worth knowing, one step milder.
        const Severity unclear = words.mismatch == Severity::Problem ? Severity::Warning : Severity::Note;
        return Say(unclear, std::string("reads as ") + (libraryOn ? words.on : words.off) + ": " + words.rule);
    }
    if (*person != libraryOn)
        return Say(words.mismatch, std::string("reads as ") + (libraryOn ? words.on : words.off) + ", not " +
                                       (libraryOn ? words.off : words.on) + ": " + words.rule);
    return Say(Severity::Ok, libraryOn ? words.on : words.off);
}

// What CreateSettingFile writes for a key, in words.
std::string WrittenValue(const SettingKey& key) {
    switch (key.source) {
        case Source::LocalLanguage:
        case Source::InstallLanguage:
            return "the client's language";
        case Source::CallerVersion:
            return "the installed client's version";
        case Source::DmpUploadUrl:
            return "the parameter store's address (\"dmpUpload\" of the server address file, if it has one)";
        case Source::LogPingUrl:
            return "the parameter store's address (\"logPingUrl\" of the server address file, if it has one)";
        default:
            break;
    }
    std::string text = Shown(std::wstring(key.literal ? key.literal : L""));
    const FlagWords* words = WordsOf(key.reading);
    const std::optional<bool> library = readings::ReadsOn(key.reading, key.literal ? key.literal : L"");
    if (words && library) text += std::string(", which reads as ") + (*library ? words->on : words->off);
    return text;
}

// Why "SyncSetting.ini" holds a key empty, and how bad that is.
Verdict EmptySyncValue(Source source) {
    const char* noAddress = "the sync component gets no address (the parameter store had none at the last start)";
    switch (source) {
        case Source::MacAddress:
        case Source::DeviceId:
            return Say(Severity::Warning, "empty: the system UUID was unknown");
        case Source::RecordVersion:
            return Say(Severity::Note, "empty: the user record's version was empty (settings not yet read)");
        case Source::PcModel:
            return Say(Severity::Note, "empty: the PC model was unknown");
        case Source::OmCdnUrl:
        case Source::OmCdnByPassUrl:
            return Say(Severity::Note, "empty: only the routing servers give this address");
        case Source::ThumbnailFolder:
        case Source::LcdThumbnailFolder:
            return Say(Severity::Warning, "empty: no thumbnail folder");
        case Source::CacheFolder:
            return Say(Severity::Warning, "empty: no cache folder");
        default:
            return Say(Severity::Warning, std::string("empty: ") + noAddress);
    }
}

// A key that is missing (or, with `missing` false, empty).
Verdict AbsentVerdict(const SettingKey& key, bool missing, const Facts& facts) {
    const std::string state = missing ? "missing" : "empty";
    switch (key.absent) {
        case Absent::Filled:
            return Say(Severity::Note, state + ": the next start writes " + WrittenValue(key));
        case Absent::AddedEmpty:
            if (missing) return Say(Severity::Note, "missing: the next start adds it empty");
            if (key.reading == Reading::ErrorLimit) {
                // COMPAT: the number comes from the plan key, as the client always read it.
                return Say(Severity::Ok,
                           "empty, as written at creation: the error limiting time is then taken from "
                           "\"IsJoinUserExperiencePlan\" (" +
                               std::to_string(readings::ErrorLimitingTimeFrom(facts.Value(Name(readings::Key::IsJoinUserExperiencePlan)))) +
                               ")");
            }
            return Say(Severity::Ok, "empty, as written at creation");
        case Absent::FromRunValue:
            if (key.reading == Reading::AutoStart)
                return Say(Severity::Note, state +
                                               ": the next start takes start with Windows from the Run value and "
                                               "records it here");
            if (facts.Value(Name(readings::Key::IsAutoStartUp)).empty())
                return Say(Severity::Note, state +
                                               ": the next start writes \"1\" or \"0\" with \"IsAutoStartUp\", "
                                               "as the Run value says");
            return Say(Severity::Warning, state + ": reads as off (no automatic update checks), and no start fills it");
        case Absent::FirstStartCheck:
            return Say(Severity::Note, state + ": not a first start; the next start-up check writes \"false\"");
        case Absent::ShortcutOffered:
            return Say(Severity::Note, state + ": the desktop shortcut is still to be offered");
        case Absent::AfterSignIn:
            return Say(Severity::Note, state + ": written after sign-in");
        case Absent::Optional: {
            Verdict verdict = Say(Severity::Ok, "empty");
            verdict.report = !missing;
            return verdict;
        }
        case Absent::Rewritten:
            if (missing)
                return Say(Severity::Warning,
                           "missing: every start writes it, so the last start stopped before it or the file was "
                           "rewritten");
            return EmptySyncValue(key.source);
    }
    return Say(Severity::Ok, "");
}

// The length of the library's hash of a user id, in hexadecimal digits.
size_t UserHashDigits() {
    static const size_t digits = grs::UserIdHash(L"").size();
    return digits;
}

// "CatchFolder": the user's cache folder, a backslash and the SHA-256 of the
// user's id in lower-case hexadecimal.
std::wstring CacheRootDigest(const std::wstring& root) {
    const size_t slash = root.rfind(L'\\');
    const std::wstring tail = slash == std::wstring::npos ? root : root.substr(slash + 1);
    if (tail.size() != UserHashDigits() || tail.find_first_not_of(L"0123456789abcdef") != std::wstring::npos)
        return std::wstring();
    return tail;
}

Verdict ThumbnailVerdict(const std::wstring& value, const wchar_t* leaf, const Facts& facts) {
    const std::wstring root = facts.Value(Name(readings::SyncKey::CatchFolder));
    const std::wstring expected = root + L"\\" + leaf + L"\\";
    if (root.empty() || value == expected) return Say(Severity::Ok, "");
    return Say(Severity::Note,
               "not \"CatchFolder\" followed by \"\\" + grs::WideToUtf8(leaf) + "\\\" as every start writes it");
}

Verdict CacheFolderVerdict(const std::wstring& value, const Facts& facts) {
    const std::wstring digest = CacheRootDigest(value);
    if (digest.empty())
        return Say(Severity::Warning, "does not end in the " + std::to_string(UserHashDigits()) +
                                          "-digit hash of a user id, as every start writes it");
    if (value.size() == UserHashDigits() + 1)
        return Say(Severity::Warning,
                   "only the user hash: written before sign-in, while the user's cache "
                   "folder was unknown; the next signed-in start rewrites it");
    if (facts.user.empty()) return Say(Severity::Ok, "");
    const std::wstring expected = grs::UserIdHash(facts.user);
    if (digest == expected) return Say(Severity::Ok, "the cache folder of user " + Shown(facts.user));
    return Say(Severity::Warning, "the cache folder of another user than " + Shown(facts.user) + " (whose hash is " +
                                      grs::WideToUtf8(expected) + ")");
}

// A non-empty value; the message follows the shown value.
Verdict ValueVerdict(const SettingKey& key, const std::wstring& value, const Facts& facts) {
    switch (key.source) {
        case Source::MacAddress:
            if (value == readings::kMacAddressPrefix + facts.Value(Name(readings::SyncKey::deviceUUid))) return Say(Severity::Ok, "");
            return Say(Severity::Warning, "not \"SYNC\" followed by \"deviceUUid\": written on another device?");
        case Source::ThumbnailFolder:
            return ThumbnailVerdict(value, readings::kThumbnailLeaf, facts);
        case Source::LcdThumbnailFolder:
            return ThumbnailVerdict(value, readings::kLcdThumbnailLeaf, facts);
        case Source::CacheFolder:
            return CacheFolderVerdict(value, facts);
        default:
            break;
    }
    switch (key.reading) {
        case Reading::RecordText:
            if (value.size() <= readings::kRecordFieldChars) return Say(Severity::Ok, "");
            return Say(Severity::Problem, std::to_string(value.size()) + " characters, more than the " +
                                              std::to_string(readings::kRecordFieldChars) +
                                              " its field holds: reading the settings stops here, so nothing after "
                                              "it is read and the file is not saved");
        case Reading::ClientPlatform:
            if (value == key.literal) return Say(Severity::Ok, "");
            return Say(Severity::Note,
                       "not " + Shown(std::wstring(key.literal)) +
                           ", the client's platform: kept, a value is never overwritten at start");
        case Reading::ErrorLimit:
            return Say(Severity::Ok, "the parameter store keeps its own error limiting time");
        case Reading::Discarded:
            return Say(Severity::Ok, "decides nothing");
        case Reading::Address:
            if (value.find(L"://") != std::wstring::npos) return Say(Severity::Ok, "");
            return Say(Severity::Note, "not an address");
        case Reading::JoinPlan:
            // COMPAT: the library's own default reads as not joined; that is
            // how every client has read it, so it is only worth a note.
            if (key.literal && value == key.literal)
                return Say(Severity::Note,
                           "reads as not joined: the value is read as a number, and this default written at "
                           "creation stays until the client saves the user's choice as \"0\" or \"1\"");
            break;
        default:
            break;
    }
    const FlagWords* words = WordsOf(key.reading);
    const std::optional<bool> on = readings::ReadsOn(key.reading, value);
    if (!words || !on) return Say(Severity::Ok, "");
    const Verdict verdict = FlagVerdict(value, *on, *words);
    if (key.reading == Reading::AutoStart && verdict.severity == Severity::Ok)
        return Say(Severity::Ok,
                   *on ? "on: every start registers the Run value" : "off: every start removes the Run value");
    return verdict;
}

// The kind of a key's finding, by the key's rule.
Code KeyCode(const SettingKey& key, const CIniFileW::Key* entry) {
    if (entry == nullptr) return Code::KeyMissing;
    if (entry->value.empty()) return Code::KeyEmpty;
    switch (key.source) {
        case Source::MacAddress:
            return Code::DeviceId;
        case Source::ThumbnailFolder:
        case Source::LcdThumbnailFolder:
            return Code::ThumbnailFolder;
        case Source::CacheFolder:
            return Code::CacheFolder;
        default:
            break;
    }
    if (key.reading == Reading::RecordText && entry->value.size() > readings::kRecordFieldChars)
        return Code::ValueTooLong;
    if (WordsOf(key.reading) != nullptr && readings::ReadsOn(key.reading, entry->value)) return Code::FlagReading;
    return Code::KeyValue;
}

struct IniFileRules {
    const char* area;
    const wchar_t* fileName;
    const wchar_t* section;
    const std::vector<SettingKey>& keys;
    const char* whenMissing;
    const char* unknownKey;
};

void CheckIni(const IniFileRules& fileRules, const FileSnapshot& file, const std::wstring& user, Findings& findings) {
    if (!file.exists) {
        findings.Add(Code::FileMissing, "[file]", Severity::Note, fileRules.whenMissing);
        return;
    }
    if (file.isFolder) {
        findings.Add(Code::FileIsFolder, "[file]", Severity::Problem,
                     "a folder of that name: the library can neither read nor write the file, so every setting in it "
                     "is lost at each start");
        return;
    }
    if (file.tooLarge || file.size > grs::kIniMaxFileBytes) {
        findings.Add(Code::FileTooLarge, "[file]", Severity::Problem,
                     std::to_string(file.size) + " bytes: over " + std::to_string(grs::kIniMaxFileBytes) +
                         ", which the library does not read; the next save replaces it with defaults");
        return;
    }
    if (!file.readable) {
        findings.Add(Code::FileUnreadable, "[file]", Severity::Warning,
                     "found but not readable (locked by another program?)");
        return;
    }
    CheckFileFacts(file, findings);

    grs::IniEncoding encoding = grs::IniEncoding::Utf16Le;
    const std::wstring text = grs::DecodeIniBytes(file.bytes, encoding);
    CheckEncoding(file, encoding, findings);
    const std::vector<std::wstring> sectionNames = CheckLines(text, fileRules.section, findings);

    CIniFileW document;
    document.ParseText(text);
    CheckOtherSections(document, sectionNames, fileRules.section, findings);
    CIniFileW::Section* section = document.FindSection(fileRules.section);
    if (section == nullptr) {
        const std::string header = "[" + grs::WideToUtf8(fileRules.section) + "]";
        findings.Add(Code::SectionMissing, header, Severity::Problem,
                     "no " + header + " section: every setting reads as empty (the next start adds it, with defaults)");
        return;
    }

    Facts facts{&document, fileRules.section, user};
    std::vector<const wchar_t*> known;
    for (const SettingKey& key : fileRules.keys) {
        known.push_back(key.name);
        const CIniFileW::Key* entry = section->FindKey(key.name);
        Verdict verdict;
        if (entry == nullptr || entry->value.empty()) {
            verdict = AbsentVerdict(key, entry == nullptr, facts);
            if (!verdict.report) continue;
        } else {
            verdict = ValueVerdict(key, entry->value, facts);
            verdict.message =
                verdict.message.empty() ? Shown(entry->value) : Shown(entry->value) + ": " + verdict.message;
        }
        findings.Add(KeyCode(key, entry), key.name, verdict.severity, verdict.message);
    }
    CheckUnknownKeys(*section, known, fileRules.unknownKey, findings);
}

std::vector<Finding> InspectIni(const IniFileRules& fileRules, const FileSnapshot& file,
                                const std::vector<std::wstring>& siblingNames, const std::wstring& user) {
    Findings findings(fileRules.area);
    CheckIni(fileRules, file, user, findings);
    CheckStrayFiles(fileRules.fileName, siblingNames, findings);
    return findings.Take();
}

}  // namespace

std::vector<Finding> InspectSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames) {
    const IniFileRules fileRules{kAreaSetting,
                       readings::kSettingFileName,
                       readings::kSettingSection,
                       readings::SettingKeys(),
                       "not found: the next start creates it with defaults",
                       "not a key of this library (kept as it is; the upgrade component keeps its own keys here)"};
    return InspectIni(fileRules, file, siblingNames, std::wstring());
}

std::vector<Finding> InspectSyncSettingIni(const FileSnapshot& file, const std::vector<std::wstring>& siblingNames,
                                           const std::wstring& user) {
    const IniFileRules fileRules{kAreaSyncSetting,
                       readings::kSyncSettingFileName,
                       readings::kSyncSettingSection,
                       readings::SyncSettingKeys(),
                       "not found: every start writes it, the sync component reads it",
                       "not a key this library writes (kept as it is)"};
    return InspectIni(fileRules, file, siblingNames, user);
}

std::vector<Finding> InspectProfilePath(const Snapshot& snapshot) {
    Findings findings(kAreaSyncSetting);
    std::vector<std::wstring> narrow;
    for (const SettingKey& key : readings::SyncSettingKeys())
        if (readings::WrittenAsUtf8(key.source)) narrow.push_back(key.name);
    const std::wstring file = grs::PathJoin(snapshot.appData, readings::kSyncSettingFileName);
    if (file.size() >= grs::settings::kProfilePathLimit) {
        findings.Add(Code::ProfilePathLong, "[folder]", Severity::Note,
                     "the settings file's path is " + std::to_string(file.size()) + " characters, " +
                         std::to_string(grs::settings::kProfilePathLimit) +
                         " or more, where the profile functions stop: this client writes every key of the file "
                         "through its own document instead, and logs at severity 5 what the long-name query of "
                         "the user-property steps cannot do");
    } else if (!snapshot.appDataSpellable) {
        findings.Add(Code::ProfilePathNotAnsi, "[folder]", Severity::Note,
                     "the path cannot be spelt in the ANSI code page " + std::to_string(snapshot.ansiCodePage) +
                         ", which the narrow keys (" + NameList(narrow) +
                         ") go through: this client writes them through its own document instead");
    }
    return findings.Take();
}

}  // namespace inspect
