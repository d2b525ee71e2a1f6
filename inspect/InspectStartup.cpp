// Start with Windows: the Run value "QIRENT Cloud" against the executable it
// names, the install folder and the file's "IsAutoStartUp".
#include <windows.h>

#include "core/PathUtil.h"
#include "inspect/InspectDetail.h"
#include "settings/SettingRules.h"

namespace inspect {

namespace {

namespace readings = grs::settings;

const char* TypeName(unsigned long type) {
    switch (type) {
        case REG_SZ:
            return "REG_SZ";
        case REG_EXPAND_SZ:
            return "REG_EXPAND_SZ";
        case REG_MULTI_SZ:
            return "REG_MULTI_SZ";
        case REG_BINARY:
            return "REG_BINARY";
        case REG_DWORD:
            return "REG_DWORD";
        default:
            return "a type other than REG_SZ";
    }
}

std::wstring Trimmed(const std::wstring& text) {
    const size_t begin = text.find_first_not_of(L" \t");
    if (begin == std::wstring::npos) return std::wstring();
    return text.substr(begin, text.find_last_not_of(L" \t") - begin + 1);
}

std::wstring WithSeparator(const std::wstring& folder) {
    return grs::EndsWithSeparator(folder) ? folder : folder + L"\\";
}

}  // namespace

std::wstring RunCommandExecutable(const std::wstring& command, bool& quoted, std::wstring& arguments) {
    const std::wstring text = Trimmed(command);
    quoted = !text.empty() && text.front() == L'"';
    if (quoted) {
        const size_t close = text.find(L'"', 1);
        if (close == std::wstring::npos) {
            arguments.clear();
            return std::wstring();
        }
        arguments = Trimmed(text.substr(close + 1));
        return text.substr(1, close - 1);
    }
    // Unquoted, Windows tries each blank as the end of the path; the ".exe"
    // that ends the name is the likely one.
    const std::wstring lower = Lower(text);
    size_t end = std::wstring::npos;
    for (size_t found = lower.find(L".exe"); found != std::wstring::npos; found = lower.find(L".exe", found + 1)) {
        const size_t after = found + 4;
        if (after == lower.size() || lower[after] == L' ' || lower[after] == L'\t') {
            end = after;
            break;
        }
    }
    if (end == std::wstring::npos) end = text.find_first_of(L" \t");
    if (end == std::wstring::npos) end = text.size();
    arguments = Trimmed(text.substr(end));
    return text.substr(0, end);
}

std::vector<Finding> InspectStartWithWindows(const RunValueSnapshot& run, const std::wstring* autoStart,
                                             const std::wstring& exeDir,
                                             const std::function<bool(const std::wstring&)>& fileExists) {
    Findings findings(kAreaStartWithWindows);
    const std::string valueName = grs::WideToUtf8(readings::kRunValue);
    // What the next start does with the Run value, by the file's choice.
    const readings::AutoStartCase choice =
        autoStart ? readings::PlanAutoStart(*autoStart, false).which : readings::AutoStartCase::Empty;
    const std::string setting =
        autoStart == nullptr ? std::string("\"Setting.ini\" unreadable") : "\"IsAutoStartUp\" is " + Shown(*autoStart);

    if (!run.present) {
        if (autoStart == nullptr) {
            findings.Add(Code::RunNotRegistered, valueName, Severity::Note, "not registered");
        } else if (choice == readings::AutoStartCase::On) {
            findings.Add(Code::RunNotRegistered, valueName, Severity::Note,
                         "not registered: the next start registers it (" + setting + ")");
        } else if (choice == readings::AutoStartCase::Empty) {
            findings.Add(Code::RunNotRegistered, valueName, Severity::Note,
                         "not registered: the next start records \"IsAutoStartUp=0\" (" + setting + ")");
        } else {
            findings.Add(Code::RunNotRegistered, valueName, Severity::Ok,
                         "not registered, as the settings say (" + setting + ")");
        }
        return findings.Take();
    }

    const bool isString = run.type == REG_SZ;
    const bool readsRegistered = isString && run.data.size() <= readings::kRunValueReadableChars;
    findings.Add(Code::RunValue, valueName, Severity::Ok,
                 Shown(run.data) + " (" + TypeName(run.type) + ", " + std::to_string(run.data.size()) + " characters)");

    // How the library reads it, and what the next start then does.
    if (!readsRegistered) {
        const std::string why =
            !isString ? std::string("of ") + TypeName(run.type) + ", which the library does not read as a string"
                      : std::to_string(run.data.size()) +
                            " characters: " + std::to_string(readings::kRunValueReadableChars + 1) +
                            " or more do not fit the library's read";
        if (choice == readings::AutoStartCase::On) {
            findings.Add(Code::RunNotReadable, valueName, Severity::Warning,
                         why + ", so it reads as not registered; the next start writes it again (" + setting + ")");
        } else if (choice == readings::AutoStartCase::Empty) {
            findings.Add(Code::RunNotReadable, valueName, Severity::Problem,
                         why +
                             ", so it reads as not registered: the next start records \"IsAutoStartUp=0\" while "
                             "Windows keeps starting the client (" +
                             setting + ")");
        } else {
            findings.Add(Code::RunNotReadable, valueName, Severity::Problem,
                         why +
                             ", so it reads as not registered: the next start does not remove it, and Windows "
                             "keeps starting the client although the user turned that off (" +
                             setting + ")");
        }
    } else if (autoStart != nullptr) {
        const std::string autoStartKey = grs::WideToUtf8(readings::Name(readings::Key::IsAutoStartUp));
        if (choice == readings::AutoStartCase::On) {
            findings.Add(Code::RunSetting, autoStartKey, Severity::Ok, "registered, as the settings say (" + setting + ")");
        } else if (choice == readings::AutoStartCase::Empty) {
            findings.Add(Code::RunSetting, autoStartKey, Severity::Note,
                         "registered; the next start records \"IsAutoStartUp=1\" (" + setting + ")");
        } else {
            findings.Add(Code::RunSetting, autoStartKey, Severity::Warning,
                         "registered although the settings say off: the next start removes it (" + setting + ")");
        }
    }

    // The command itself.
    bool quoted = false;
    std::wstring arguments;
    const std::wstring executable = RunCommandExecutable(run.data, quoted, arguments);
    const std::string rewrite = choice == readings::AutoStartCase::On
                                    ? "; the next start of the client rewrites it with its own path"
                                    : std::string();
    if (executable.empty()) {
        findings.Add(Code::RunNoExecutable, valueName, Severity::Problem,
                     "names no executable (a quote is never closed): Windows starts "
                     "nothing at log-on");
        return findings.Take();
    }
    if (!quoted && executable.find(L' ') != std::wstring::npos) {
        findings.Add(Code::RunUnquoted, valueName, Severity::Warning,
                     "not quoted, and the path holds a blank: Windows tries " +
                         Shown(executable.substr(0, executable.find(L' '))) + " first" + rewrite);
    } else if (!quoted) {
        findings.Add(Code::RunUnquoted, valueName, Severity::Note,
                     "not quoted (the library writes the path in quotes)" + rewrite);
    }
    if (arguments != L"/background") {
        findings.Add(Code::RunArguments, valueName, Severity::Note,
                     (arguments.empty() ? std::string("no arguments") : "arguments " + Shown(arguments)) +
                         " instead of \"/background\": the client opens its window at log-on" + rewrite);
    }
    if (!fileExists || !fileExists(executable)) {
        findings.Add(
            Code::RunExecutableMissing, valueName, Severity::Problem,
            "names " + Shown(executable) + ", which does not exist: Windows starts nothing at log-on" + rewrite);
    }
    if (!exeDir.empty()) {
        const std::wstring folder = grs::DirectoryWithSeparator(executable);
        if (!SameIgnoringCase(folder, WithSeparator(exeDir))) {
            findings.Add(Code::RunOtherFolder, valueName, Severity::Warning,
                         "names an executable in " + Shown(folder) + ", not in the install folder " +
                             Shown(WithSeparator(exeDir)) + ": left from an earlier installation or a move" + rewrite);
        }
    }
    return findings.Take();
}

}  // namespace inspect
