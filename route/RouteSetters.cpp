#include "route/RouteSetters.h"

#include <map>
#include <string_view>
#include <vector>

#include "globalrootservice/collaborators/GlobalParamWrapper.h"

namespace grs::route {

namespace {

const std::vector<RouteSetter>& Setters() {
    using P = GlobalParamWrapper;
    // Built on first use: the setters live in another module, so their
    // addresses are not constants.
    static const std::vector<RouteSetter> kSetters = {
        {L"cas", &P::SetCASBaseUrl, nullptr},
        {L"upas", &P::SetASBaseUrl, nullptr},
        {L"portal", &P::SetPortalUrl, nullptr},
        {L"basic", &P::SetBasicUrl, nullptr},
        {L"vfs", &P::SetNspUrl, nullptr},
        {L"cloudphoto", &P::SetCloudPhotoUrl, nullptr},
        {L"business", &P::SetBusinessUrl, nullptr},
        {L"terms", &P::SetAgreementUrl, nullptr},
        {L"gw", &P::SetGWUrl, nullptr},
        {L"user", &P::SetGOpenUserUrl, nullptr},
        {L"club", &P::SetQirentClubUrl, nullptr},
        {L"consumer", &P::SetConsumerUrl, nullptr},
        {L"cbs", &P::SetCBSUrl, nullptr},
        {L"cbsv3", &P::SetCbsV3Url, nullptr},
        {L"pim", &P::SetPIMDSUrl, nullptr},
        // Two keys feed one setter; the table is walked in key order, so
        // "operqrtserverid" wins over "dravenstats".
        {L"dravenstats", &P::SetOperqrtServerIdUrl, L"dravenstats:"},
        {L"familyshare", &P::SetFamilyShareUrl, nullptr},
        {L"feedbackannex", &P::SetFeedBackAnnexUrl, nullptr},
        {L"feedbackwithannex", &P::SetFeedBackWithAnnexUrl, nullptr},
        {L"feedbacklog", &P::SetFeedBackLogUrl, nullptr},
        {L"operqrtserverid", &P::SetOperqrtServerIdUrl, L"operqrtserverid:"},
        {L"testzavkooperqrturl", &P::SetTestZavkooperqrtUrl, nullptr},
        {L"configbasic", &P::SetConfigBasicUrl, nullptr},
        {L"consumerbusiness", &P::SetConsumerBusinessUrl, nullptr},
        {L"syncserverurl", &P::SetSyncServerUrl, nullptr},
        {L"userInformationservice", &P::SetUserInformationserviceUrl, nullptr},
        {L"help", &P::SetHelpAndServiceUrl, nullptr},
        {L"cloudphotov2", &P::SetCloudPhotoV2Url, nullptr},
        {L"ubaurl", &P::SetUBAUrl, nullptr},
        {L"opensource", &P::SetOpenSource, nullptr},
        {L"content", &P::SetContentUrl, nullptr},
        {L"extensions", &P::SetExtensionUrl, nullptr},
        {L"trs", &P::SetTrsUrl, nullptr},
        {L"push", &P::SetPushUrl, nullptr},
        {L"pushToken", &P::SetPushTokenUrl, nullptr},
        {L"cloudsyncdrive", &P::SetCloudSyncDriveUrl, nullptr},
        {L"dataExtract", &P::SetDataExtractUrl, nullptr},
        {L"cloudServiceAgreement", &P::SetCloudServiceAgreementUrl, nullptr},
        {L"omcdn", &P::SetOmCdnUrl, nullptr},
        {L"omcdnBypass", &P::SetOmCdnByPassUrl, nullptr},
    };
    return kSetters;
}

}  // namespace

const RouteSetter* FindRouteSetter(std::wstring_view key) {
    // Every route entry is looked up: by an index, not a walk of the table.
    static const std::map<std::wstring_view, const RouteSetter*> kByKey = [] {
        std::map<std::wstring_view, const RouteSetter*> index;
        for (const RouteSetter& setter : Setters()) index.emplace(setter.key, &setter);
        return index;
    }();
    const auto found = kByKey.find(key);
    return found == kByKey.end() ? nullptr : found->second;
}

std::vector<std::wstring> RouteSetterKeys() {
    std::vector<std::wstring> keys;
    for (const RouteSetter& setter : Setters()) keys.push_back(setter.key);
    return keys;
}

}  // namespace grs::route
