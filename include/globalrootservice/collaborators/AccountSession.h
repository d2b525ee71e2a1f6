#pragma once

// The signed-in user's session.

#include <map>
#include <string>

#include "globalrootservice/collaborators/ClientLibsExport.h"

class CLIENTLIBS_API AccountSession {
public:
    static AccountSession* GetInstance();

    // Empty when nobody is signed in.
    std::wstring GetCurrentUserID() const;
    std::wstring GetCurrentCountryCode() const;

    // The route service's authenticated request to `url`. Returns the response
    // body as UTF-8 (empty on any failure) and fills `headers` with the
    // response header fields.
    std::string GetZrvRemoteInfo(std::wstring url, std::map<std::string, std::string>& headers);
};
