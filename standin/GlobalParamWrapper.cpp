// Parameter store: addresses, texts and the user's records, kept in memory.
#include "globalrootservice/collaborators/GlobalParamWrapper.h"

#include "standin/StandInState.h"

using namespace ClientStandIn;
using namespace ClientStandIn::detail;

#define STANDIN_WIDEN_(text) L##text
#define STANDIN_WIDEN(text) STANDIN_WIDEN_(text)
#define STANDIN_SETTER(Name)                                      \
    void GlobalParamWrapper::Set##Name(const std::wstring& url) { \
        RecordSetter(STANDIN_WIDEN(#Name), url);                  \
    }
#define STANDIN_GETTER(Name)                       \
    std::wstring GlobalParamWrapper::Get##Name() { \
        return AddressOf(STANDIN_WIDEN(#Name));    \
    }
#define STANDIN_ADDRESS(Name) STANDIN_SETTER(Name) STANDIN_GETTER(Name)

GlobalParamWrapper* GlobalParamWrapper::GetInstance() {
    static GlobalParamWrapper instance;
    return &instance;
}

STANDIN_SETTER(AgreementUrl)
STANDIN_SETTER(ASBaseUrl)
STANDIN_SETTER(CASBaseUrl)
STANDIN_SETTER(CBSUrl)
STANDIN_SETTER(CbsV3Url)
STANDIN_SETTER(CloudPhotoUrl)
STANDIN_SETTER(CloudPhotoV2Url)
STANDIN_SETTER(CloudServiceAgreementUrl)
STANDIN_SETTER(CloudSyncDriveUrl)
STANDIN_SETTER(ConsumerBusinessUrl)
STANDIN_SETTER(ConsumerUrl)
STANDIN_SETTER(ContentUrl)
STANDIN_SETTER(DataExtractUrl)
STANDIN_SETTER(ExtensionUrl)
STANDIN_SETTER(FeedBackAnnexUrl)
STANDIN_SETTER(FeedBackLogUrl)
STANDIN_SETTER(FeedBackWithAnnexUrl)
STANDIN_SETTER(GOpenUserUrl)
STANDIN_SETTER(GWUrl)
STANDIN_SETTER(QirentClubUrl)
STANDIN_SETTER(PIMDSUrl)
STANDIN_SETTER(PushUrl)
STANDIN_SETTER(TrsUrl)
STANDIN_ADDRESS(BasicUrl)
STANDIN_ADDRESS(BusinessUrl)
STANDIN_ADDRESS(ConfigBasicUrl)
STANDIN_ADDRESS(FamilyShareUrl)
STANDIN_ADDRESS(HelpAndServiceUrl)
STANDIN_ADDRESS(NspUrl)
STANDIN_ADDRESS(OpenSource)
STANDIN_ADDRESS(OperqrtServerIdUrl)
STANDIN_ADDRESS(PortalUrl)
STANDIN_ADDRESS(SyncServerUrl)
STANDIN_ADDRESS(TestZavkooperqrtUrl)
STANDIN_ADDRESS(UBAUrl)
STANDIN_ADDRESS(UserInformationserviceUrl)
STANDIN_ADDRESS(OmCdnUrl)
STANDIN_ADDRESS(OmCdnByPassUrl)
STANDIN_SETTER(PushTokenUrl)
STANDIN_ADDRESS(DmpUploadUrl)
STANDIN_ADDRESS(LogPingUrl)
STANDIN_SETTER(PortalServerUrl)
STANDIN_SETTER(NetPing)
STANDIN_SETTER(ScopeUrl)
STANDIN_SETTER(QirentCcpcUrl)
STANDIN_ADDRESS(ZRVUrl)
STANDIN_ADDRESS(ZRVBakUrl)
STANDIN_ADDRESS(ZRVBakUrl1)
STANDIN_ADDRESS(ZRVBakRuUrl)
STANDIN_ADDRESS(ZRVBakEuUrl)

std::wstring GlobalParamWrapper::GetCountryCode() {
    return TextOf(Text::CountryCode);
}

void GlobalParamWrapper::SetConfigCountryCode(std::wstring& countryCode) {
    return Locked([&](State& s) { s.configCountryCode = countryCode; });
}

std::unordered_set<std::wstring> GlobalParamWrapper::GetAsiaCountrySet() {
    return Locked([&](State& s) { return s.asia; });
}

std::unordered_set<std::wstring> GlobalParamWrapper::GetEuropeCountrySet() {
    return Locked([&](State& s) { return s.europe; });
}

std::wstring GlobalParamWrapper::GetPackageName() {
    return TextOf(Text::PackageName);
}
std::wstring GlobalParamWrapper::GetLocalLanguage() {
    return TextOf(Text::LocalLanguage);
}
std::wstring GlobalParamWrapper::GetAppDataLocalPath() {
    return TextOf(Text::AppDataLocalPath);
}
std::wstring GlobalParamWrapper::GetUserProfilePath() {
    return TextOf(Text::UserProfilePath);
}
std::wstring GlobalParamWrapper::GetUserDownloadsPath() {
    return TextOf(Text::UserDownloadsPath);
}
std::wstring GlobalParamWrapper::GetPCModel() {
    return TextOf(Text::PCModel);
}
std::wstring GlobalParamWrapper::GetSystemUUid() {
    return TextOf(Text::SystemUUid);
}

std::string GlobalParamWrapper::GetUserGradeCode() {
    return Locked([&](State& s) { return s.userGradeCode; });
}

st_UserInfo* GlobalParamWrapper::GetUserInfo() {
    return &GetState().userInfo;
}
st_UserPropertiesShow* GlobalParamWrapper::GetUserPropertiesShow() {
    return &GetState().userPropertiesShow;
}
st_OtherUserProperties* GlobalParamWrapper::GetOtherUserProperties() {
    return &GetState().otherUserProperties;
}

void GlobalParamWrapper::SetErrorLimitingTime(const unsigned long long& time) {
    return Locked([&](State& s) { s.errorLimitingTime = time; });
}

bool GlobalParamWrapper::CheckFunctionOpen(NewBusinesstFunction function) {
    return Locked([&](State& s) { return s.openFunctions.count(static_cast<int>(function)) != 0; });
}

void GlobalParamWrapper::SettCacheCopyRes(bool copying) {
    return Locked([&](State& s) { s.cacheCopyRes.push_back(copying); });
}

void GlobalParamWrapper::SetModPathRes(bool changed) {
    return Locked([&](State& s) { s.modPathRes.push_back(changed); });
}
