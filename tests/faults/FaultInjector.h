#pragma once

// Makes GlobalRootService.dll's own file and registry calls fail, one at a
// time or from one call on, with the error that function gives in real life:
// the Nth call counted on the arming thread fails. Calls from other threads
// (workers, the stand-in, the system) pass through uncounted.

#include <windows.h>

#include <string>
#include <vector>

#include "tests/common/ImportRedirect.h"

namespace grs::test {

struct InjectedFault {
    std::string function;
    unsigned long error;
};

class FaultInjector {
public:
    explicit FaultInjector(HMODULE dll);
    ~FaultInjector();
    FaultInjector(const FaultInjector&) = delete;
    FaultInjector& operator=(const FaultInjector&) = delete;

    // Counts calls from 1 on this thread; call `failAt` fails, and with
    // `persistent` every later one too.
    void Arm(long failAt, bool persistent);
    void Disarm();
    long Calls() const;                             // counted since Arm
    std::vector<InjectedFault> Injected() const;    // in call order

    // Names the module imports from kernel32/advapi32 that look like file,
    // folder, profile or registry calls but have no stand-in here.
    std::vector<std::string> UncoveredImports() const;
    // Names that have a stand-in and were redirected.
    const std::vector<std::string>& Redirected() const { return m_redirected; }

private:
    HMODULE m_dll;
    ImportRedirect m_redirect;
    std::vector<std::string> m_redirected;
};

}  // namespace grs::test
