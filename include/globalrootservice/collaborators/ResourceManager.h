#pragma once

// The user-interface library's resource manager: localised texts.

#include "globalrootservice/collaborators/ClientLibsExport.h"

namespace DuiLib {

class CLIENTLIBS_API CResourceManager {
public:
    static CResourceManager* GetInstance();

    const wchar_t* GetLanguage();
    // The localised text of string resource `id`; the pointer stays owned by
    // the resource manager.
    const wchar_t* GetText(const wchar_t* id, const wchar_t* type = nullptr);
};

}  // namespace DuiLib
