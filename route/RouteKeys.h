#pragma once

// The service keys of a route answer that reach the parameter store, each
// with the name of its setter on GlobalParamWrapper and the prefix of the log
// line its write carries (nullptr: none), in the order keys are compared.
// One list: the route layer builds its setter table from it, and the
// inspection (which must not link the client's libraries) its key list.
// Two keys feed one setter: the table is walked in key order, so
// "operqrtserverid" wins over "dravenstats".
#define GRS_ROUTE_SERVICE_KEYS(X) \
    X(L"cas", SetCASBaseUrl, nullptr) \
    X(L"upas", SetASBaseUrl, nullptr) \
    X(L"portal", SetPortalUrl, nullptr) \
    X(L"basic", SetBasicUrl, nullptr) \
    X(L"vfs", SetNspUrl, nullptr) \
    X(L"cloudphoto", SetCloudPhotoUrl, nullptr) \
    X(L"business", SetBusinessUrl, nullptr) \
    X(L"terms", SetAgreementUrl, nullptr) \
    X(L"gw", SetGWUrl, nullptr) \
    X(L"user", SetGOpenUserUrl, nullptr) \
    X(L"club", SetQirentClubUrl, nullptr) \
    X(L"consumer", SetConsumerUrl, nullptr) \
    X(L"cbs", SetCBSUrl, nullptr) \
    X(L"cbsv3", SetCbsV3Url, nullptr) \
    X(L"pim", SetPIMDSUrl, nullptr) \
    X(L"dravenstats", SetOperqrtServerIdUrl, L"dravenstats:") \
    X(L"familyshare", SetFamilyShareUrl, nullptr) \
    X(L"feedbackannex", SetFeedBackAnnexUrl, nullptr) \
    X(L"feedbackwithannex", SetFeedBackWithAnnexUrl, nullptr) \
    X(L"feedbacklog", SetFeedBackLogUrl, nullptr) \
    X(L"operqrtserverid", SetOperqrtServerIdUrl, L"operqrtserverid:") \
    X(L"testzavkooperqrturl", SetTestZavkooperqrtUrl, nullptr) \
    X(L"configbasic", SetConfigBasicUrl, nullptr) \
    X(L"consumerbusiness", SetConsumerBusinessUrl, nullptr) \
    X(L"syncserverurl", SetSyncServerUrl, nullptr) \
    X(L"userInformationservice", SetUserInformationserviceUrl, nullptr) \
    X(L"help", SetHelpAndServiceUrl, nullptr) \
    X(L"cloudphotov2", SetCloudPhotoV2Url, nullptr) \
    X(L"ubaurl", SetUBAUrl, nullptr) \
    X(L"opensource", SetOpenSource, nullptr) \
    X(L"content", SetContentUrl, nullptr) \
    X(L"extensions", SetExtensionUrl, nullptr) \
    X(L"trs", SetTrsUrl, nullptr) \
    X(L"push", SetPushUrl, nullptr) \
    X(L"pushToken", SetPushTokenUrl, nullptr) \
    X(L"cloudsyncdrive", SetCloudSyncDriveUrl, nullptr) \
    X(L"dataExtract", SetDataExtractUrl, nullptr) \
    X(L"cloudServiceAgreement", SetCloudServiceAgreementUrl, nullptr) \
    X(L"omcdn", SetOmCdnUrl, nullptr) \
    X(L"omcdnBypass", SetOmCdnByPassUrl, nullptr)

#include <string>
#include <string_view>
#include <vector>

namespace grs::route {

// Whether a route answer's key reaches the parameter store (exact,
// case-sensitive).
bool IsRouteServiceKey(std::wstring_view key);

// Every such key, in the order keys are compared.
std::vector<std::wstring> RouteServiceKeys();

}  // namespace grs::route
