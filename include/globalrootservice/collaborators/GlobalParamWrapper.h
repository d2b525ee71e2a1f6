#pragma once

// The client's parameter store: service addresses, paths, country data and the
// signed-in user's records. Internally synchronised; any thread may call it.

#include <string>
#include <unordered_set>

#include "globalrootservice/collaborators/ClientLibsExport.h"
#include "globalrootservice/collaborators/UserRecords.h"

// Feature switches known to the store; only the sync function (19) is asked here.
enum NewBusinesstFunction {
    NewBusinessSyncFunction = 19,
};

class CLIENTLIBS_API GlobalParamWrapper {
public:
    // Never null while the client runs.
    static GlobalParamWrapper* GetInstance();

    // Service addresses: a setter replaces the stored text (an empty one
    // included); a getter returns a copy, empty when never set.
    void SetAgreementUrl(const std::wstring& url);
    void SetASBaseUrl(const std::wstring& url);
    void SetCASBaseUrl(const std::wstring& url);
    void SetCBSUrl(const std::wstring& url);
    void SetCbsV3Url(const std::wstring& url);
    void SetCloudPhotoUrl(const std::wstring& url);
    void SetCloudPhotoV2Url(const std::wstring& url);
    void SetCloudServiceAgreementUrl(const std::wstring& url);
    void SetCloudSyncDriveUrl(const std::wstring& url);
    void SetConsumerBusinessUrl(const std::wstring& url);
    void SetConsumerUrl(const std::wstring& url);
    void SetContentUrl(const std::wstring& url);
    void SetDataExtractUrl(const std::wstring& url);
    void SetExtensionUrl(const std::wstring& url);
    void SetFeedBackAnnexUrl(const std::wstring& url);
    void SetFeedBackLogUrl(const std::wstring& url);
    void SetFeedBackWithAnnexUrl(const std::wstring& url);
    void SetGOpenUserUrl(const std::wstring& url);
    void SetGWUrl(const std::wstring& url);
    void SetQirentClubUrl(const std::wstring& url);
    void SetPIMDSUrl(const std::wstring& url);
    void SetPushUrl(const std::wstring& url);
    void SetTrsUrl(const std::wstring& url);

    void SetBasicUrl(const std::wstring& url);
    std::wstring GetBasicUrl();
    void SetBusinessUrl(const std::wstring& url);
    std::wstring GetBusinessUrl();
    void SetConfigBasicUrl(const std::wstring& url);
    std::wstring GetConfigBasicUrl();
    void SetFamilyShareUrl(const std::wstring& url);
    std::wstring GetFamilyShareUrl();
    void SetHelpAndServiceUrl(const std::wstring& url);
    std::wstring GetHelpAndServiceUrl();
    void SetNspUrl(const std::wstring& url);
    std::wstring GetNspUrl();
    void SetOpenSource(const std::wstring& url);
    std::wstring GetOpenSource();
    void SetOperqrtServerIdUrl(const std::wstring& url);
    std::wstring GetOperqrtServerIdUrl();
    void SetPortalUrl(const std::wstring& url);
    std::wstring GetPortalUrl();
    void SetSyncServerUrl(const std::wstring& url);
    std::wstring GetSyncServerUrl();
    void SetTestZavkooperqrtUrl(const std::wstring& url);
    std::wstring GetTestZavkooperqrtUrl();
    void SetUBAUrl(const std::wstring& url);
    std::wstring GetUBAUrl();
    void SetUserInformationserviceUrl(const std::wstring& url);
    std::wstring GetUserInformationserviceUrl();
    void SetOmCdnUrl(const std::wstring& url);
    std::wstring GetOmCdnUrl();
    void SetOmCdnByPassUrl(const std::wstring& url);
    std::wstring GetOmCdnByPassUrl();
    void SetPushTokenUrl(const std::wstring& url);
    void SetDmpUploadUrl(const std::wstring& url);
    std::wstring GetDmpUploadUrl();
    void SetLogPingUrl(const std::wstring& url);
    std::wstring GetLogPingUrl();
    void SetPortalServerUrl(const std::wstring& url);
    void SetNetPing(const std::wstring& url);
    void SetScopeUrl(const std::wstring& url);
    void SetQirentCcpcUrl(const std::wstring& url);

    // Routing servers: the primary and the four standby addresses.
    void SetZRVUrl(const std::wstring& url);
    std::wstring GetZRVUrl();
    void SetZRVBakUrl(const std::wstring& url);
    std::wstring GetZRVBakUrl();
    void SetZRVBakUrl1(const std::wstring& url);
    std::wstring GetZRVBakUrl1();
    void SetZRVBakRuUrl(const std::wstring& url);
    std::wstring GetZRVBakRuUrl();
    void SetZRVBakEuUrl(const std::wstring& url);
    std::wstring GetZRVBakEuUrl();

    // Country data: the configured country (two upper-case letters, may be
    // empty), the country the cached routes belong to, and the region sets.
    std::wstring GetCountryCode();
    void SetConfigCountryCode(std::wstring& countryCode);
    std::unordered_set<std::wstring> GetAsiaCountrySet();
    std::unordered_set<std::wstring> GetEuropeCountrySet();

    std::wstring GetPackageName();
    std::wstring GetLocalLanguage();
    std::wstring GetAppDataLocalPath();
    std::wstring GetUserProfilePath();
    std::wstring GetUserDownloadsPath();
    std::wstring GetPCModel();
    std::wstring GetSystemUUid();
    std::string GetUserGradeCode();

    // The store keeps ownership; the pointers stay valid while the client runs.
    st_UserInfo* GetUserInfo();
    st_UserPropertiesShow* GetUserPropertiesShow();
    st_OtherUserProperties* GetOtherUserProperties();

    void SetErrorLimitingTime(const unsigned long long& time);
    bool CheckFunctionOpen(NewBusinesstFunction function);
    void SettCacheCopyRes(bool copying);
    void SetModPathRes(bool changed);
};
