#pragma once

// The client's local property database: key/value rows of the current user.
// Calls report nothing back.

#include <string>
#include <vector>

#include "globalrootservice/collaborators/ClientLibsExport.h"

namespace PropertyDb {

// One stored property; numbers and flags are decimal text ("1"/"0").
struct UserProperties {
    std::wstring key;
    std::wstring value;
};

namespace MainDatabaseProvider {

CLIENTLIBS_API std::vector<UserProperties> GetAllUserProperties();
// The value of `key`, empty when absent.
CLIENTLIBS_API std::wstring GetUserPropertieByKey(const std::wstring& key);
// Replaces the value of an existing key.
CLIENTLIBS_API void UpdateUserProperties(const std::wstring& key, const std::wstring& value);
CLIENTLIBS_API void InsertUserProperties(const std::wstring& key, const std::wstring& value);
CLIENTLIBS_API void InsertUserProperties(std::vector<UserProperties>& properties);
CLIENTLIBS_API void DeleteAllUserProperties();

}  // namespace MainDatabaseProvider
}  // namespace PropertyDb
