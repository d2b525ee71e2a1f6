#pragma once

// Records of the signed-in user. The parameter store owns them and hands out
// pointers; callers read and write the fields in place. The layout is shared by
// every library of the client, so the field order must not change.

#include <string>

// First field is the only one this library reads.
struct st_UserInfo {
    bool IsAutoLogin;
    wchar_t UserID[256];
    wchar_t NickName[256];
};

struct st_UserPropertiesShow {
    wchar_t DownLoadFolder[256];
    wchar_t NewDownLoadFolder[256];
    wchar_t CacheFolder[256];
    wchar_t OriginalCacheFileRealFolder[256];
    wchar_t cloudPranteID[256];
    wchar_t cloudPranteName[256];
    int IsDefaultDownLoadFolder;
    int DownloadThreadCount;
    int UploadThreadCount;
    wchar_t UserCacheFolder[256];  // computed at start-up, never stored as a row

    // Mirrors of "Setting.ini".
    bool IsJoinUserExperiencePlan;
    wchar_t Version[256];
    wchar_t VersionType[256];
    int IsAutoStartUp;
    wchar_t Language[256];
    bool IsAutoCheckUpdate;

    bool IsFirstQuit;
    bool IsRemindLater;
    bool IsDelCacheFile;
    bool IsFirstEnterAlbum;
    bool IsFirstEnterCloudView;
    wchar_t SyncCloudFolder[256];
    bool IsDeskTopChecked;
    bool IsDocumentsChecked;
    bool isFirstLogin;
    bool IsSyncSwitchOpen;
    bool IsSyncSwitchOnceOpen;
    int IsSyncSwitchFirstOpen;
    wchar_t DeskTopSyncFolder[256];
    wchar_t DocumentsSyncFolder[256];
    bool IsAutoLogin;
    wchar_t WarningText[256];
    bool ShowQirentDriveTray;
    bool AutoStartTransferTask;
    int AutoPowerOnClientTime;
    bool IsSyncCloudClose;
    bool IsOpenDownloadWnd;
    bool IsUseDownloadsPath;
    bool ShowQirentShortcut;
    bool IsSyncMigrateDone;
    bool IsShowSyncMigrateTip;  // owned by the user interface
    bool silentUser;
    bool dataCleanUpEnd;
    int driveSortType;
    bool driveSortUpOrDown;
};

struct st_OtherUserProperties {
    int GalleryRowCount;
    int VolumnValue;
    long long PushTime;
    long long PushOperateLogTime;
    wchar_t LastClearVersion[256];
    wchar_t SyncDiskGuidDocumentHash[256];
};
