// "SyncSetting.ini": the sync component's copy of the service addresses, the
// device identity and the thumbnail cache folders. The parameter store is the
// source of truth; the file is rewritten from it at every start.
#include <windows.h>

#include <json/json.h>

#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "core/IniFile.h"
#include "core/HashUtil.h"
#include "core/Log.h"
#include "core/PathUtil.h"
#include "core/ServicePaths.h"
#include "core/TextUtil.h"
#include "core/UniqueResource.h"
#include "core/Worker.h"
#include "globalrootservice/collaborators/AccountSession.h"
#include "globalrootservice/collaborators/AnyHttpLib.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"
#include "globalrootservice/ClientInitialize.h"
#include "settings/ProfileKeys.h"
#include "settings/SettingsFiles.h"

using grs::settings::kSyncSettingSection;

namespace {

// The tags of this file's operations, in log lines and at their exception edge.
constexpr char kCreateSyncSettingFile[] = "ClientInitialize::CreateSyncSettingFile";
constexpr char kSyncBaseUri[] = "ClientInitialize::SyncBaseUri";
constexpr char kSavePCModel[] = "ClientInitialize::SavePCModel";
constexpr char kSaveSyncThumbnailRootFolder[] = "ClientInitialize::SaveSyncThumbnailRootFolder";
constexpr char kSaveSyncLcdThumbnailRootFolder[] = "ClientInitialize::SaveSyncLcdThumbnailRootFolder";
constexpr char kGetBaseUri[] = "ClientInitialize::GetBaseUri";

constexpr DWORD kBaseUriPollMs = 5000;

// The cache folder, one backslash unless it already ends in one, and the
// SHA-256 of the user's id: accounts never share a thumbnail folder.
std::wstring UserCacheRoot(const std::wstring& cacheFolder, const std::wstring& userId) {
    const std::wstring digest = grs::UserIdHash(userId);
    const bool separated = !cacheFolder.empty() && cacheFolder.back() == L'\\';
    return cacheFolder + (separated ? L"" : L"\\") + digest;
}

std::wstring CurrentUserId() {
    const AccountSession* session = AccountSession::GetInstance();
    return session ? session->GetCurrentUserID() : std::wstring();
}

// What CreateSyncSettingFile writes for a key of SyncSettingKeys.
std::wstring ValueOf(grs::settings::Source source, GlobalParamWrapper& store, const st_UserPropertiesShow* show,
                     const std::wstring& root) {
    using grs::settings::Source;
    switch (source) {
        case Source::SyncServerUrl:
            return store.GetSyncServerUrl();
        case Source::FamilyShareUrl:
            return store.GetFamilyShareUrl();
        case Source::NspUrl:
            return store.GetNspUrl();
        case Source::HelpAndServiceUrl:
            return store.GetHelpAndServiceUrl();
        case Source::UserInformationUrl:
            return store.GetUserInformationserviceUrl();
        case Source::MacAddress:
            return grs::settings::kMacAddressPrefix + store.GetSystemUUid();
        case Source::DeviceId:
            return store.GetSystemUUid();
        case Source::RecordVersion:
            return show ? grs::FieldText(show->Version) : std::wstring();
        case Source::ConfigBasicUrl:
            return store.GetConfigBasicUrl();
        case Source::BusinessUrl:
            return store.GetBusinessUrl();
        case Source::BaseUri:
            // Replaced by the server-id address once that is known (SyncBaseUri).
            return store.GetTestZavkooperqrtUrl();
        case Source::UbaUrl:
            return store.GetUBAUrl();
        case Source::PcModel:
            return store.GetPCModel();
        case Source::BasicUrl:
            return store.GetBasicUrl();
        case Source::OpenSource:
            return store.GetOpenSource();
        case Source::PortalUrl:
            return store.GetPortalUrl();
        case Source::OmCdnUrl:
            return store.GetOmCdnUrl();
        case Source::OmCdnByPassUrl:
            return store.GetOmCdnByPassUrl();
        case Source::ThumbnailFolder:
            return root + L"\\" + grs::settings::kThumbnailLeaf + L"\\";
        case Source::LcdThumbnailFolder:
            return root + L"\\" + grs::settings::kLcdThumbnailLeaf + L"\\";
        case Source::CacheFolder:
            return root;
        default:
            return std::wstring();
    }
}

// COMPAT: the HTTP library's diagnostics go to standard output, not to the
// client's logger, where the client has always had them; a host that wants
// them elsewhere redirects its standard output.
void PrintHttpLog(const std::string& message) {
    std::cout << message << std::endl;
}

// Loads the file and lets `change` set values in memory. COMPAT: the change is
// never saved, as the client always did: only the file's attributes change,
// and the values reach the file with the next CreateSyncSettingFile.
template <typename Change>
void ChangeSyncCopy(int line, const char* tag, Change change) {
    grs::settings::Guarded(line, tag, [tag, &change] {
        std::lock_guard<std::mutex> lock(grs::settings::SyncSettingsLock());
        grs::settings::ChangeExistingFile(grs::settings::SyncSettingFilePath(), tag, [&change](CIniFileW& ini) {
            change(ini);
            return grs::settings::Outcome::Discard;
        });
    });
}

}  // namespace

void ClientInitialize::CreateSyncSettingFile() {
    grs::settings::Guarded(__LINE__, kCreateSyncSettingFile, [] {
        std::lock_guard<std::mutex> lock(grs::settings::SyncSettingsLock());
        const std::wstring path = grs::settings::SyncSettingFilePath();
        if (path.empty()) return;
        if (!grs::PathExists(path)) {
            grs::UniqueFile created(::CreateFileW(grs::WithExtendedPrefix(path).c_str(), GENERIC_WRITE,
                                                  FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                                  FILE_ATTRIBUTE_NORMAL, nullptr));
        }

        GlobalParamWrapper& store = grs::settings::Store();
        const st_UserPropertiesShow* show = store.GetUserPropertiesShow();
        const std::wstring root =
            UserCacheRoot(show ? grs::FieldText(show->CacheFolder) : std::wstring(), CurrentUserId());
        grs::settings::MarkChanging(path);
        // The sync component reads the folders as UTF-8 bytes, written as the
        // narrow profile functions write them.
        grs::settings::ProfileKeyWriter keys(path, kSyncSettingSection, kCreateSyncSettingFile);
        for (const grs::settings::SettingKey& key : grs::settings::SyncSettingKeys()) {
            const std::wstring value = ValueOf(key.source, store, show, root);
            if (!grs::settings::WrittenAsUtf8(key.source))
                keys.Write(key.name, value);
            else
                keys.WriteUtf8(key.name, value);
        }
        keys.Finish();
        grs::settings::MarkAtRest(path);

        // The thread owns its copy of the path.
        grs::StartWorker(__LINE__, kCreateSyncSettingFile, [path] { SyncBaseUri(path); });
    });
}

void ClientInitialize::SyncBaseUri(std::wstring path) {
    grs::settings::Guarded(__LINE__, kSyncBaseUri, [&] {
        // No limit on the attempts: the address arrives whenever route resolution gets to it. COMPAT: no lock, as the
        // client has always run it: a CreateSyncSettingFile at the same moment interleaves, and the last write wins.
        // A file whose existence cannot be told, or that cannot be read yet, is waited for like a missing one: saving
        // an empty document over it would lose the user's keys, and giving up would never write the address.
        std::string address;
        CIniFileW ini;
        for (;;) {
            address = grs::WideToUtf8(grs::settings::Store().GetOperqrtServerIdUrl());
            if (grs::ProbePath(path) == grs::PathPresence::Present && !address.empty() &&
                grs::settings::LoadSettingsFile(ini, path, kSyncBaseUri) != grs::settings::Loaded::Unreadable)
                break;
            grs::log::Error(__LINE__, kSyncBaseUri, "SyncSetting.ini not exist, or reqUri is empty!" + address);
            ::Sleep(kBaseUriPollMs);
        }

        grs::settings::MarkChanging(path);
        grs::settings::SetValue(ini, grs::settings::SyncKey::BaseUri, grs::Utf8ToWide(address));
        if (!ini.Save(path)) grs::log::Error(__LINE__, kSyncBaseUri, "SyncBaseUri syncSetting file update error!");
        grs::settings::MarkAtRest(path);
    });
}

void ClientInitialize::SavePCModel(const std::wstring& /*model*/) {
    // The store's model wins over the argument.
    ChangeSyncCopy(__LINE__, kSavePCModel, [](CIniFileW& ini) {
        grs::settings::SetValue(ini, grs::settings::SyncKey::PCModel, grs::settings::Store().GetPCModel());
    });
}

void ClientInitialize::SaveSyncThumbnailRootFolder(const std::wstring& folder) {
    ChangeSyncCopy(__LINE__, kSaveSyncThumbnailRootFolder, [&folder](CIniFileW& ini) {
        grs::settings::SetValue(ini, grs::settings::SyncKey::ThumbnailRootFolder,
                                grs::PathJoin(folder, grs::settings::kThumbnailLeaf));
    });
}

void ClientInitialize::SaveSyncLcdThumbnailRootFolder(const std::wstring& folder) {
    ChangeSyncCopy(__LINE__, kSaveSyncLcdThumbnailRootFolder, [&folder](CIniFileW& ini) {
        grs::settings::SetValue(ini, grs::settings::SyncKey::LcdThumbnailRootFolder,
                                grs::PathJoin(folder, grs::settings::kLcdThumbnailLeaf));
        grs::settings::SetValue(ini, grs::settings::SyncKey::CatchFolder, folder);
    });
}

void ClientInitialize::InitSyncFileTransPort() {}

std::string ClientInitialize::GetBaseUri() {
    return grs::settings::Guarded(__LINE__, kGetBaseUri, std::string(), [&]() -> std::string {
        const std::wstring url = grs::settings::Store().GetOperqrtServerIdUrl() + grs::kServerInfoPath;
        grs::log::Info(__LINE__, kGetBaseUri, url);

        AnyBasicHttpLibStrategy strategy;
        strategy.SetUrl(grs::WideToMultiByte(url, grs::kCodePageAnsi));
        strategy.SetLogFunction(&PrintHttpLog);
        strategy.SetHttpRequestMethod(AnyHttpRequestPost);
        strategy.SetPostData("{\"isoCode\":\"CN\"}");
        strategy.SetHeaders(std::map<std::string, std::string>{{"Content-Type", "application/json"}});
        std::string response;
        int code = 0;
        {
            AnyCurlHttpLibContext context(&strategy);
            code = context.Request(response);
        }
        if (response.empty()) {
            grs::log::Error(__LINE__, kGetBaseUri, std::to_string(code));
            return std::string();
        }

        Json::CharReaderBuilder builder;
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        Json::Value root;
        std::string errors;
        reader->parse(response.data(), response.data() + response.size(), &root, &errors);
        if (!root.isObject() || !root.isMember("serverUrl")) return std::string();
        // asString refuses arrays and objects by throwing: caught below.
        std::string serverUrl = root["serverUrl"].asString();
        // COMPAT: a success logged at severity 5, a notable success as the
        // client's logs have always carried it; it is not an error.
        grs::log::Error(__LINE__, kGetBaseUri, serverUrl);
        return serverUrl;
    });
}
