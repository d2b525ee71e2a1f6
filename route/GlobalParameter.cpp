#include "globalrootservice/GlobalParameter.h"

#include "core/ServicePaths.h"
#include "route/GlobalParameterConstants.h"

HWND__* GlobalParameter::g_backMaskHWND = nullptr;

namespace grs {

// Declaration order of GlobalParameter's string row; the constructor fills the
// members from this table and the tests check the order against the layout.
const PathConstant kGlobalParameterPaths[] = {
    {&GlobalParameter::m_strReserved, L""},
    {&GlobalParameter::m_strOthersLoginAction, L"/others/login.action"},
    {&GlobalParameter::m_strLoginQuery, L"&reqClientType=1&loginChannel=1000002"},
    {&GlobalParameter::m_strUserAgreementPage,
     L"/AMW/portal/agreements/userAgreement/{0}_userAgreement.html?version=china&reqClientType=1"},
    {&GlobalParameter::m_strPrivacyStatementPage,
     L"/AMW/portal/agreements/accPrivacyStatement/{0}_accPrivacyStatement.html?version=china&reqClientType=1"},
    {&GlobalParameter::m_strCASPortalCloudIframeLoginHtml, L"/CAS/portal/cloudIframeLogin.html"},
    {&GlobalParameter::m_strCASMobileAtLoginHtml, L"/CAS/mobile/atLogin.html"},
    {&GlobalParameter::m_strAccountServerIUserInfoMngGetResource, L"/AccountServer/IUserInfoMng/getResource"},
    {&GlobalParameter::m_strDataversiontwohelp, L"/dataversiontwohelp"},
    {&GlobalParameter::m_strPcclientLogout, L"/pcclient/logout"},
    {&GlobalParameter::m_strPcclientQuerytask, L"/pcclient/querytask"},
    {&GlobalParameter::m_strPcclientRefreshtoken, L"/pcclient/refreshtoken"},
    {&GlobalParameter::m_strPcclientPushlog, L"/pcclient/pushlog"},
    {&GlobalParameter::m_strPcclientGetproperties, L"/pcclient/getproperties"},
    {&GlobalParameter::m_strPcclientQueryuserspace, L"/pcclient/queryuserspace"},
    {&GlobalParameter::m_strContactExportContacts, L"/contact/exportContacts"},
    {&GlobalParameter::m_strHelp, L"/help"},
    {&GlobalParameter::m_strPcclientGetAccessTokenByCode, L"/pcclient/getAccessTokenByCode"},
    {&GlobalParameter::m_strPcLogin, L"/pcLogin"},
    {&GlobalParameter::m_strPcHome, L"/pcHome"},
    {&GlobalParameter::m_strPcclientPcErrorPage, L"/pcclient/pcErrorPage"},
    {&GlobalParameter::m_strInactives, L"/inactives"},
    {&GlobalParameter::m_strVexloraUserFoundationServicePC, L"/VexloraUserFoundationService/PC"},
    {&GlobalParameter::m_strUserDeviceRegister, L"/userDeviceRegister"},
    {&GlobalParameter::m_strUserDeviceUnRegister, L"/userDeviceUnRegister"},
    {&GlobalParameter::m_strGetLastOperationRecord, L"/getLastOperationRecord"},
    {&GlobalParameter::m_strGetUserDeviceInfo, L"/getUserDeviceInfo"},
    {&GlobalParameter::m_strGetUserRegister, L"/getUserRegister"},
    {&GlobalParameter::m_strSysConfInit, L"/sysConfInit"},
    {&GlobalParameter::m_strSysConfRefresh, L"/sysConfRefresh"},
    {&GlobalParameter::m_strPostDeviceSwitch, L"/postDeviceSwitch"},
    {&GlobalParameter::m_strChangeUserStatus, L"/changeUserStatus"},
    {&GlobalParameter::m_strJPJXCloudPhoto, L"/JPJX/CloudPhoto"},
    {&GlobalParameter::m_strJPJXCloudPhoto4Web, L"/JPJX/CloudPhoto4Web"},
    {&GlobalParameter::m_strJPJXCloudPhotoRecycle, L"/JPJX/CloudPhotoRecycle"},
    {&GlobalParameter::m_strJPJXCloudPhotoQuerymodifyinfos, L"/JPJX/CloudPhoto/querymodifyinfos"},
    {&GlobalParameter::m_strJPJXCloudPhotoCycleQuerymodifyinfos, L"/JPJX/CloudPhoto/cycle/querymodifyinfos"},
    {&GlobalParameter::m_strJPJXBaseAPI, L"/JPJX/BaseAPI"},
    {&GlobalParameter::m_strPicturesPC, L"/Pictures/PC"},
    {&GlobalParameter::m_strDefaultAlbum3, L"default-album-3"},
    {&GlobalParameter::m_strDefaultAlbum300, L"default-album-300-"},
    {&GlobalParameter::m_strCloudpayUser, L"/cloudpay/user"},
    {&GlobalParameter::m_strUpgradeRequestBody,
     L"{\"components\": [{\"componentID\": \"1\"}],\"rules\": {\"OS\": \"6.1\"}}"},
    {&GlobalParameter::m_strZltAndCommonV2UpdateReportAction, L"/zlt_and_common/v2/UpdateReport.action"},
    {&GlobalParameter::m_strZltAndCommonV2CheckExAction, L"/zlt_and_common/v2/CheckEx.action"},
    {&GlobalParameter::m_strConfigserverV1VexloraConfigsChanges, L"/configserver/v1/vexlora/configs/changes"},
    {&GlobalParameter::m_strConfigserverV1VexloraConfigs, L"/configserver/v1/vexlora/configs/{0}"},
    {&GlobalParameter::m_strVexlora, L"vexlora"},
    {&GlobalParameter::m_strVexloraPCUpgradeConfig, L"VexloraPCUpgradeConfig"},
    {&GlobalParameter::m_strVexloraPCDownloadConfig, L"VexloraPCDownloadConfig"},
    {&GlobalParameter::m_strVexloraStaticPage, L"VexloraStaticPage"},
    {&GlobalParameter::m_strVexloraPCServerConfig, L"VexloraPCServerConfig"},
    {&GlobalParameter::m_strVexloraTrigger, L"VexloraTrigger"},
    {&GlobalParameter::m_strCloudBackupClientServlet, L"/CloudBackup/ClientServlet"},
    {&GlobalParameter::m_strStatisticContact, L"/Statistic/Contact"},
    {&GlobalParameter::m_strStatisticCalendar, L"/Statistic/Calendar"},
    {&GlobalParameter::m_strStatisticWlan, L"/Statistic/Wlan"},
    {&GlobalParameter::m_strStatisticNotepad, L"/Statistic/Notepad"},
    {&GlobalParameter::m_strStatisticBrowser, L"/Statistic/Browser"},
    {&GlobalParameter::m_strRecyclebinQuery, L"/recyclebin/query"},
    {&GlobalParameter::m_strGetServerInfo, kServerInfoPath},
    {&GlobalParameter::m_strCommonZavkooperqrt, L"/common/zavkooperqrt"},
    {&GlobalParameter::m_strCommonZavkomaintqrt, L"/common/zavkomaintqrt"},
    {&GlobalParameter::m_strCollectorV1Event, L"/collector/v1/event"},
    {&GlobalParameter::m_strDriveV1ObjectsObsAddressQuery, L"/drive/v1/objects/{0}/obsAddress?"},
    {&GlobalParameter::m_strDriveV1Files, L"/drive/v1/files"},
    {&GlobalParameter::m_strDriveV1Files2, L"/drive/v1/files"},
    {&GlobalParameter::m_strReserved2, L""},
    {&GlobalParameter::m_strDriveV1FilesDownloadAddress, L"/drive/v1/files/{0}/downloadAddress"},
    {&GlobalParameter::m_strDriveV1ObjectsObsAddress, L"/drive/v1/objects/{0}/obsAddress"},
    {&GlobalParameter::m_strCommonV1KeysPublicKeyEc256, L"/common/v1/keys/publicKey?tempKeyEncType=EC_256"},
    {&GlobalParameter::m_strCommonV1Keys, L"/common/v1/keys"},
    {&GlobalParameter::m_strDriveV1FilesCreateComplete,
     L"/drive/v1/files/createComplete?fields=id,fileName,category,mimeType,parentFolder,contentVersion"},
    {&GlobalParameter::m_strDriveV1ObjectsUploadComplete, L"/drive/v1/objects/{0}/uploadComplete"},
    {&GlobalParameter::m_strDriveV1FilesGenerateIdsCount, L"/drive/v1/files/generateIds?count=1"},
    {&GlobalParameter::m_strVexloraUserInformationServiceV1Keys, L"/VexloraUserInformationService/v1/keys"},
    {&GlobalParameter::m_strDriveV1FilesAssetsRevisions, L"/drive/v1/files/{0}/assets/{1}/revisions/{2}"},
    {&GlobalParameter::m_strPcclientUpdatePullupStatus, L"/pcclient/updatePullupStatus"},
    {&GlobalParameter::m_strPcclientQueryDownloadTask, L"/pcclient/queryDownloadTask"},
    {&GlobalParameter::m_strCloudPhotoV1About, L"/cloudPhoto/v1/about"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAttachmentsStatus, L"/cloudPhoto/v1/media/{0}?fields=attachments,status"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAttachments,
     L"/cloudPhoto/v1/media/{0}?thumbnailInfo=true&fields=attachments"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAllThumbnailLinks,
     L"/cloudPhoto/v1/media/"
     L"{0}?fields=attachments,smallThumbnailDownloadLink,thumbnailDownloadLink&thumbnailInfo=true"},
    {&GlobalParameter::m_strCloudPhotoV1MediaThumbnailLink,
     L"/cloudPhoto/v1/media/{0}?fields=attachments,thumbnailDownloadLink&thumbnailInfo=true"},
    {&GlobalParameter::m_strCloudPhotoV1Batch, L"/cloudPhoto/v1/batch"},
    {&GlobalParameter::m_strCloudPhotoV1MediaSignedDownloadLink, L"/cloudPhoto/v1/media/{0}?fields=signedDownloadLink"},
    {&GlobalParameter::m_strCloudPhotoV1MediaBasicFields, L"/cloudPhoto/v1/media/{0}?fields=id,fileName,albumId,size"},
    {&GlobalParameter::m_strCloudPhotoV1About2, L"/cloudPhoto/v1/about"},
    {&GlobalParameter::m_strCloudPhotoV1ChangesGetStartCursor, L"/cloudPhoto/v1/changes/getStartCursor"},
    {&GlobalParameter::m_strCloudPhotoV1Changes, L"/cloudPhoto/v1/changes"},
    {&GlobalParameter::m_strCloudPhotoV1Albums, L"/cloudPhoto/v1/albums"},
    {&GlobalParameter::m_strCloudPhotoV1Lock, L"/cloudPhoto/v1/lock"},
    {&GlobalParameter::m_strCloudPhotoV1Media, L"/cloudPhoto/v1/media"},
    {&GlobalParameter::m_strCloudPhotoV1Batch2, L"/cloudPhoto/v1/batch"},
    {&GlobalParameter::m_strCloudPhotoV1ChangesSubscribe, L"/cloudPhoto/v1/changes/subscribe"},
    {&GlobalParameter::m_strCloudPhotoV1ChannelsStop, L"/cloudPhoto/v1/channels/stop"},
    {&GlobalParameter::m_strUserV1QuotaDrive, L"/user/v1/quota/drive"},
    {&GlobalParameter::m_strDriveV1ChannelsStop, L"/drive/v1/channels/stop"},
    {&GlobalParameter::m_strRestPhp, L"/rest.php"},
    {&GlobalParameter::m_strCloudPhotoV1Media2, L"/cloudPhoto/v1/media"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAssetsRevisions, L"/cloudPhoto/v1/media/{0}/assets/{1}/revisions/{2}"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAssetsRevisionsContent,
     L"/cloudPhoto/v1/media/{0}/assets/{1}/revisions?xqzattachmentUsage=content"},
    {&GlobalParameter::m_strCloudPhotoV1MediaAssetsRevisionsThumbnail,
     L"/cloudPhoto/v1/media/{0}/assets/{1}/revisions?xqzattachmentUsage=thumbnail"},
    {&GlobalParameter::m_strCloudPhotoV1Media3, L"/cloudPhoto/v1/media/{0}"},
    {&GlobalParameter::m_strIndexHtmlQxlpmApp, L"/index.html?appId=22011&enterurl=qxlpm_app"},
    {&GlobalParameter::m_strReserved3, L""},
};

const size_t kGlobalParameterPathCount = sizeof(kGlobalParameterPaths) / sizeof(kGlobalParameterPaths[0]);

}  // namespace grs

GlobalParameter::GlobalParameter() : m_nReserved(0) {
    for (size_t i = 0; i < grs::kGlobalParameterPathCount; ++i) {
        this->*grs::kGlobalParameterPaths[i].member = grs::kGlobalParameterPaths[i].value;
    }
}

GlobalParameter::~GlobalParameter() = default;

bool GlobalParameter::InitializePara() {
    return true;
}
