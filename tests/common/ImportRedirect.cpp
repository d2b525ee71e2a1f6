#include "tests/common/ImportRedirect.h"

#include <cstring>

namespace grs::test {

namespace {

// Calls `visit(libraryName, functionName, slot)` for every import by name.
template <typename Visit>
void ForEachImport(HMODULE module, Visit visit) {
    const auto* base = reinterpret_cast<const BYTE*>(module);
    if (base == nullptr) return;
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0) return;
    for (auto* descriptor = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         descriptor->Name != 0; ++descriptor) {
        const char* library = reinterpret_cast<const char*>(base + descriptor->Name);
        const DWORD lookup = descriptor->OriginalFirstThunk ? descriptor->OriginalFirstThunk : descriptor->FirstThunk;
        auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + lookup);
        auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(const_cast<BYTE*>(base) + descriptor->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
            const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            visit(library, reinterpret_cast<const char*>(byName->Name), reinterpret_cast<void**>(&slots->u1.Function));
        }
    }
}

}  // namespace

ImportRedirect::~ImportRedirect() {
    for (auto patch = m_patches.rbegin(); patch != m_patches.rend(); ++patch) Write(patch->slot, patch->original);
}

bool ImportRedirect::Write(void** slot, void* value) {
    DWORD previous = 0;
    if (!::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &previous)) return false;
    *slot = value;
    ::VirtualProtect(slot, sizeof *slot, previous, &previous);
    return true;
}

void* ImportRedirect::Redirect(HMODULE module, const char* function, void* replacement) {
    void* original = nullptr;
    ForEachImport(module, [&](const char*, const char* name, void** slot) {
        if (std::strcmp(name, function) != 0) return;
        void* const before = *slot;
        if (!Write(slot, replacement)) return;
        m_patches.push_back(Patch{slot, before});
        original = before;
    });
    return original;
}

std::vector<std::string> ImportRedirect::ImportedNames(HMODULE module, const char* library) {
    std::vector<std::string> names;
    ForEachImport(module, [&](const char* from, const char* name, void**) {
        if (::_stricmp(from, library) == 0) names.emplace_back(name);
    });
    return names;
}

}  // namespace grs::test
