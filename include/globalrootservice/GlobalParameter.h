#pragma once

// Base of the route service singleton: the client's service path constants
// and the local server address file. The path constants are filled by the
// constructor and never change.

#include <string>

#include "globalrootservice/GlobalRootServiceExport.h"
#include "globalrootservice/ServerConfigHelper.h"

// HWND without <windows.h>: the platform's own tag name, reserved because it is
// the platform's.
struct HWND__;  // NOLINT(bugprone-reserved-identifier)

class GLOBALROOTSERVICE_API GlobalParameter {
public:
    GlobalParameter();
    virtual ~GlobalParameter();

    // Kept for the client; does nothing and answers true.
    bool InitializePara();

    // The client's mask window; this library never touches it.
    static HWND__* g_backMaskHWND;  // NOLINT(bugprone-reserved-identifier)

    ServerConfigHelper m_serverConfigHelper;
    int m_nReserved;

    // Service paths, request bodies and configuration names of the client, in
    // the client's fixed order ("{0}".."{2}" are filled in by the client).
    std::wstring m_strReserved;
    std::wstring m_strOthersLoginAction;
    std::wstring m_strLoginQuery;
    std::wstring m_strUserAgreementPage;
    std::wstring m_strPrivacyStatementPage;
    std::wstring m_strCASPortalCloudIframeLoginHtml;
    std::wstring m_strCASMobileAtLoginHtml;
    std::wstring m_strAccountServerIUserInfoMngGetResource;
    std::wstring m_strDataversiontwohelp;
    std::wstring m_strPcclientLogout;
    std::wstring m_strPcclientQuerytask;
    std::wstring m_strPcclientRefreshtoken;
    std::wstring m_strPcclientPushlog;
    std::wstring m_strPcclientGetproperties;
    std::wstring m_strPcclientQueryuserspace;
    std::wstring m_strContactExportContacts;
    std::wstring m_strHelp;
    std::wstring m_strPcclientGetAccessTokenByCode;
    std::wstring m_strPcLogin;
    std::wstring m_strPcHome;
    std::wstring m_strPcclientPcErrorPage;
    std::wstring m_strInactives;
    std::wstring m_strVexloraUserFoundationServicePC;
    std::wstring m_strUserDeviceRegister;
    std::wstring m_strUserDeviceUnRegister;
    std::wstring m_strGetLastOperationRecord;
    std::wstring m_strGetUserDeviceInfo;
    std::wstring m_strGetUserRegister;
    std::wstring m_strSysConfInit;
    std::wstring m_strSysConfRefresh;
    std::wstring m_strPostDeviceSwitch;
    std::wstring m_strChangeUserStatus;
    std::wstring m_strJPJXCloudPhoto;
    std::wstring m_strJPJXCloudPhoto4Web;
    std::wstring m_strJPJXCloudPhotoRecycle;
    std::wstring m_strJPJXCloudPhotoQuerymodifyinfos;
    std::wstring m_strJPJXCloudPhotoCycleQuerymodifyinfos;
    std::wstring m_strJPJXBaseAPI;
    std::wstring m_strPicturesPC;
    std::wstring m_strDefaultAlbum3;
    std::wstring m_strDefaultAlbum300;
    std::wstring m_strCloudpayUser;
    std::wstring m_strUpgradeRequestBody;
    std::wstring m_strZltAndCommonV2UpdateReportAction;
    std::wstring m_strZltAndCommonV2CheckExAction;
    std::wstring m_strConfigserverV1VexloraConfigsChanges;
    std::wstring m_strConfigserverV1VexloraConfigs;
    std::wstring m_strVexlora;
    std::wstring m_strVexloraPCUpgradeConfig;
    std::wstring m_strVexloraPCDownloadConfig;
    std::wstring m_strVexloraStaticPage;
    std::wstring m_strVexloraPCServerConfig;
    std::wstring m_strVexloraTrigger;
    std::wstring m_strCloudBackupClientServlet;
    std::wstring m_strStatisticContact;
    std::wstring m_strStatisticCalendar;
    std::wstring m_strStatisticWlan;
    std::wstring m_strStatisticNotepad;
    std::wstring m_strStatisticBrowser;
    std::wstring m_strRecyclebinQuery;
    std::wstring m_strGetServerInfo;
    std::wstring m_strCommonZavkooperqrt;
    std::wstring m_strCommonZavkomaintqrt;
    std::wstring m_strCollectorV1Event;
    std::wstring m_strDriveV1ObjectsObsAddressQuery;
    std::wstring m_strDriveV1Files;
    std::wstring m_strDriveV1Files2;
    std::wstring m_strReserved2;
    std::wstring m_strDriveV1FilesDownloadAddress;
    std::wstring m_strDriveV1ObjectsObsAddress;
    std::wstring m_strCommonV1KeysPublicKeyEc256;
    std::wstring m_strCommonV1Keys;
    std::wstring m_strDriveV1FilesCreateComplete;
    std::wstring m_strDriveV1ObjectsUploadComplete;
    std::wstring m_strDriveV1FilesGenerateIdsCount;
    std::wstring m_strVexloraUserInformationServiceV1Keys;
    std::wstring m_strDriveV1FilesAssetsRevisions;
    std::wstring m_strPcclientUpdatePullupStatus;
    std::wstring m_strPcclientQueryDownloadTask;
    std::wstring m_strCloudPhotoV1About;
    std::wstring m_strCloudPhotoV1MediaAttachmentsStatus;
    std::wstring m_strCloudPhotoV1MediaAttachments;
    std::wstring m_strCloudPhotoV1MediaAllThumbnailLinks;
    std::wstring m_strCloudPhotoV1MediaThumbnailLink;
    std::wstring m_strCloudPhotoV1Batch;
    std::wstring m_strCloudPhotoV1MediaSignedDownloadLink;
    std::wstring m_strCloudPhotoV1MediaBasicFields;
    std::wstring m_strCloudPhotoV1About2;
    std::wstring m_strCloudPhotoV1ChangesGetStartCursor;
    std::wstring m_strCloudPhotoV1Changes;
    std::wstring m_strCloudPhotoV1Albums;
    std::wstring m_strCloudPhotoV1Lock;
    std::wstring m_strCloudPhotoV1Media;
    std::wstring m_strCloudPhotoV1Batch2;
    std::wstring m_strCloudPhotoV1ChangesSubscribe;
    std::wstring m_strCloudPhotoV1ChannelsStop;
    std::wstring m_strUserV1QuotaDrive;
    std::wstring m_strDriveV1ChannelsStop;
    std::wstring m_strRestPhp;
    std::wstring m_strCloudPhotoV1Media2;
    std::wstring m_strCloudPhotoV1MediaAssetsRevisions;
    std::wstring m_strCloudPhotoV1MediaAssetsRevisionsContent;
    std::wstring m_strCloudPhotoV1MediaAssetsRevisionsThumbnail;
    std::wstring m_strCloudPhotoV1Media3;
    std::wstring m_strIndexHtmlQxlpmApp;
    std::wstring m_strReserved3;
};
