#pragma once

// The route service: which addresses the signed-in user's country must use.
// A process-wide singleton built on first use; its operations run on the
// caller's thread and take no lock.

#include <map>
#include <string>

#include "globalrootservice/GlobalRootServiceExport.h"
#include "globalrootservice/GlobalParameter.h"
#include "globalrootservice/ZRVInfo.h"

class GLOBALROOTSERVICE_API Zorvane : public GlobalParameter {
public:
    // The one instance; safe to call from several threads at once.
    static Zorvane* GetInstance();

    // Obtains a route record and writes its addresses into the parameter
    // store. `succeeded` tells whether a usable record was applied; on false
    // the store keeps the local server address file's addresses.
    void ZRVInfoInitialise(bool fromCache, bool& succeeded);

    // fromCache: the route cache only, while fresh and of the user's country.
    // Otherwise the routing servers in their fixed order, the cache as last
    // resort. The caller owns (and deletes) the record; null when none.
    st_ZRVInfo* GetZRVInfo(bool fromCache);

    // Parses UTF-8 JSON into `record`, allocating it when null. Text that is
    // not JSON gives true and a record without services; a group without
    // entries (null or an empty object) is left out of the record. False when a time
    // field is too long for the record, or when the text is JSON of the wrong
    // shape or nesting (logged; the record then has isSuccess 0 and no services).
    bool GetDeserialize(st_ZRVInfo*& record, std::string json);

private:
    friend class ZorvaneTestAccess;

    Zorvane();
    ~Zorvane() override;
    Zorvane(const Zorvane&) = delete;
    Zorvane& operator=(const Zorvane&) = delete;

    void GetZRVInfoFromLocal(st_ZRVInfo*& record, bool checkFreshness);
    bool GetZRVInfoFromRemote(st_ZRVInfo*& record, std::wstring baseUrl);
    std::string SerializeZRV(st_ZRVInfo*& record);
    bool IsExistKey(std::map<std::wstring, std::wstring> map, std::wstring key);
    bool IsExistKey(std::map<std::string, std::string> map, std::string key);
    void InitZRVService();
};
