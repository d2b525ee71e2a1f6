#pragma once

// Redirects one module's imports of named functions to stand-ins, in this
// process only and for the object's lifetime: the module's import table entry
// is overwritten, so calls from other modules (the test itself, the system
// libraries, the stand-in) are untouched.

#include <windows.h>

#include <string>
#include <vector>

namespace grs::test {

class ImportRedirect {
public:
    ImportRedirect() = default;
    ~ImportRedirect();
    ImportRedirect(const ImportRedirect&) = delete;
    ImportRedirect& operator=(const ImportRedirect&) = delete;

    // Points `module`'s import of `function` (from any library) at
    // `replacement`; the address it called before, or null when the module
    // does not import that name.
    void* Redirect(HMODULE module, const char* function, void* replacement);

    // The functions `module` imports by name from `library` (case ignored).
    static std::vector<std::string> ImportedNames(HMODULE module, const char* library);

private:
    struct Patch {
        void** slot;
        void* original;
    };
    static bool Write(void** slot, void* value);
    std::vector<Patch> m_patches;
};

}  // namespace grs::test
