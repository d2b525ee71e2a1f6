#include "serverconfig/ServerRegion.h"

namespace grs {

ServerRegion ChooseServerRegion(const std::wstring& countryCode, const std::unordered_set<std::wstring>& asia,
                                const std::unordered_set<std::wstring>& europe) {
    if (asia.count(countryCode) != 0) return ServerRegion::Asia;
    if (europe.count(countryCode) != 0) return ServerRegion::Europe;
    if (countryCode == L"RU") return ServerRegion::Russia;
    return ServerRegion::Default;
}

const char* ServerRegionMember(ServerRegion region) {
    switch (region) {
        case ServerRegion::Asia:
            return "dr2";
        case ServerRegion::Europe:
            return "dr3";
        case ServerRegion::Russia:
            return "dr4";
        case ServerRegion::Default:
            break;
    }
    return "cn";
}

const wchar_t* ServerConfigFileName(ServerRegion region, bool isTest) {
    switch (region) {
        case ServerRegion::Asia:
            return isTest ? L"ServerConfigTestDR2" : L"ServerConfigDR2";
        case ServerRegion::Europe:
            return isTest ? L"ServerConfigTestDR3" : L"ServerConfigDR3";
        case ServerRegion::Russia:
            return isTest ? L"ServerConfigTestDR4" : L"ServerConfigDR4";
        case ServerRegion::Default:
            break;
    }
    return isTest ? L"ServerConfigTest" : L"ServerConfig";
}

const std::map<ServiceAddressEnum, std::wstring>& ServiceKeys() {
    static const std::map<ServiceAddressEnum, std::wstring> keys = {
        {SERVICE_ZRV, L"zrv"},
        {SERVICE_ZRVBAK, L"zrvbak"},
        {SERVICE_ZRVBAK1, L"zrvbak1"},
        {SERVICE_ZRVBAKRU, L"zrvbakru"},
        {SERVICE_ZRVBAKEU, L"zrvbakeu"},
        {SERVICE_CAS, L"cas"},
        {SERVICE_UPAS, L"upas"},
        {SERVICE_PORTAL, L"portal"},
        {SERVICE_BASIC, L"basic"},
        {SERVICE_VFS, L"vfs"},
        {SERVICE_CLOUDPHOTO, L"cloudphoto"},
        {SERVICE_BUSINESS, L"business"},
        {SERVICE_FEEDBACKANNEX, L"feedbackannex"},
        {SERVICE_FEEDBACKWITHANNEX, L"feedbackwithannex"},
        {SERVICE_FEEDBACKLOG, L"feedbacklog"},
        {SERVICE_TERMS, L"terms"},
        {SERVICE_GW, L"gw"},
        {SERVICE_USER, L"user"},
        {SERVICE_CLUB, L"club"},
        {SERVICE_CONSUMER, L"consumer"},
        {SERVICE_CBS, L"cbs"},
        {SERVICE_PIMDS, L"pimds"},
        {SERVICE_CONFIGBASIC, L"configbasic"},
        {SERVICE_OPERQRTSERVERID, L"operqrtserverid"},
        {SERVICE_TRS, L"trs"},
        {SERVICE_PUSH, L"push"},
        {SERVICE_TESTZAVKOOPERQRTURL, L"testzavkooperqrturl"},
        {SERVICE_NETPING, L"netping"},
        {SERVICE_FAMILYSHARE, L"familyshare"},
        {SERVICE_CONSUMERBUSINESS, L"consumerbusiness"},
        {SERVICE_SYNCSERVERURL, L"syncserverurl"},
        {SERVICE_CLOUDPHOTOV2, L"cloudphotov2"},
        {SERVICE_USERINFORMATIONSERVICE, L"userInformationservice"},
        {SERVICE_HELP, L"help"},
        {SERVICE_UBAURL, L"ubaurl"},
        {SERVICE_OPENSOURCE, L"opensource"},
        {SERVICE_CONTENT, L"content"},
        {SERVICE_CBSV3, L"cbsv3"},
        {SERVICE_EXTENSION, L"extension"},
        {SERVICE_CLOUDSYNCDRIVE, L"cloudsyncdrive"},
        {SERVICE_QIRENTCCPCURL, L"qirentccpcurl"},
        {SERVICE_SCOPEURL, L"scopeurl"},
        {SERVICE_DATAEXTRACT, L"dataExtract"},
        {SERVICE_CLOUDSERVICEAGREEMENT, L"cloudServiceAgreement"},
        {SERVICE_DMPUPLOAD, L"dmpUpload"},
        {SERVICE_LOGPINGURL, L"logPingUrl"},
    };
    return keys;
}

}  // namespace grs
