#pragma once

// Helpers shared by the inspection's areas: collecting findings, showing
// user text in one-line messages, and matching names that are nearly right.

#include <optional>
#include <string>
#include <vector>

#include "core/TextUtil.h"
#include "inspect/Inspect.h"

namespace inspect {

// The findings of one area.
class Findings {
public:
    explicit Findings(const char* area) : m_area(area) {}
    void Add(Code code, const std::string& key, Severity severity, const std::string& message) {
        m_findings.push_back(Finding{m_area, key, severity, message, code});
    }
    void Add(Code code, const std::wstring& key, Severity severity, const std::string& message);
    std::vector<Finding> Take() { return std::move(m_findings); }

private:
    const char* m_area;
    std::vector<Finding> m_findings;
};

// At most `limit` findings of one kind, so that a hostile file cannot flood
// the report; the rest are counted in one note under `key`.
class Capped {
public:
    Capped(Findings& findings, size_t limit, std::string key, std::string what)
        : m_findings(findings), m_limit(limit), m_key(std::move(key)), m_what(std::move(what)) {}
    ~Capped() {
        if (m_skipped == 0) return;
        try {
            m_findings.Add(Code::FindingsCapped, m_key, Severity::Note,
                           m_what + ": " + std::to_string(m_skipped) + " more, not listed");
        } catch (...) {
            // Out of memory while closing: the count is lost, the report is not.
        }
    }
    Capped(const Capped&) = delete;
    Capped& operator=(const Capped&) = delete;
    template <typename Key>
    void Add(Code code, const Key& key, Severity severity, const std::string& message) {
        if (m_added++ < m_limit) {
            m_findings.Add(code, key, severity, message);
        } else {
            ++m_skipped;
        }
    }

private:
    Findings& m_findings;
    size_t m_limit;
    std::string m_key;
    std::string m_what;
    size_t m_added = 0;
    size_t m_skipped = 0;
};

// User text in double quotes on one line: quotes and control characters
// escaped (backslashes stay, paths read better), long text cut with its
// length told.
std::string Shown(const std::wstring& text);
std::string Shown(const std::string& utf8);

// "a, b, c"; a long list ends in "and N more".
std::string NameList(const std::vector<std::wstring>& names);

// "1 problem", "3 warnings".
std::string Counted(size_t count, const char* singular, const char* plural);

// ASCII letters lowered; names in these files are ASCII.
std::wstring Lower(const std::wstring& text);

// Equal when letter case is ignored.
bool SameIgnoringCase(const std::wstring& a, const std::wstring& b);

// At most one insertion, deletion, substitution or swap of two neighbours
// apart, letter case ignored ("SpaceOMVersion" and "SapceOMVersion").
bool WithinOneEdit(const std::wstring& a, const std::wstring& b);

// The first of `known` that `name` nearly matches (not exactly), or null;
// `caseOnly` tells whether only letter case differs.
const wchar_t* NearMiss(const std::wstring& name, const std::vector<const wchar_t*>& known, bool& caseOnly);

// What a person would take a flag's text to say: on, off, or no opinion.
std::optional<bool> PersonReads(const std::wstring& text);

// The worse of two severities.
inline Severity Worse(Severity a, Severity b) {
    return a < b ? b : a;
}

}  // namespace inspect
