// Link-time stand-ins for the collaborators and file calls of the sources
// under test: no logger, no parameter store, and one file kept in memory.
#include "fuzz/FuzzSupport.h"

#include "core/FileIo.h"
#include "globalrootservice/collaborators/CloudLogger.h"
#include "globalrootservice/collaborators/GlobalParamWrapper.h"

namespace fuzz {
MemoryFile& File() {
    static MemoryFile file;
    return file;
}
}  // namespace fuzz

Logger::CloudLogger* Logger::CloudLogger::GetInstance() {
    return nullptr;
}
void Logger::CloudLogger::Output(ModuleType, LogSeverity, int, std::string, std::wstring, bool) {}
void Logger::CloudLogger::Output(ModuleType, LogSeverity, int, std::string, std::string, bool) {}

// The route decisions share a source with the table of parameter-store
// setters; nothing here calls them. A setter added to that table is added here.
// clang-format off
#define GRS_ROUTE_SETTERS(X) \
    X(SetASBaseUrl) X(SetAgreementUrl) X(SetBasicUrl) X(SetBusinessUrl) X(SetCASBaseUrl) X(SetCBSUrl) X(SetCbsV3Url) \
    X(SetCloudPhotoUrl) X(SetCloudPhotoV2Url) X(SetCloudServiceAgreementUrl) X(SetCloudSyncDriveUrl) \
    X(SetConfigBasicUrl) X(SetConsumerBusinessUrl) X(SetConsumerUrl) X(SetContentUrl) X(SetDataExtractUrl) \
    X(SetExtensionUrl) X(SetFamilyShareUrl) X(SetFeedBackAnnexUrl) X(SetFeedBackLogUrl) X(SetFeedBackWithAnnexUrl) \
    X(SetGOpenUserUrl) X(SetGWUrl) X(SetHelpAndServiceUrl) X(SetNspUrl) X(SetOmCdnByPassUrl) X(SetOmCdnUrl) \
    X(SetOpenSource) X(SetOperqrtServerIdUrl) X(SetPIMDSUrl) X(SetPortalUrl) X(SetPushTokenUrl) X(SetPushUrl) \
    X(SetQirentClubUrl) X(SetSyncServerUrl) X(SetTestZavkooperqrtUrl) X(SetTrsUrl) X(SetUBAUrl) \
    X(SetUserInformationserviceUrl)
// clang-format on
#define GRS_IGNORE_SETTER(name) \
    void GlobalParamWrapper::name(const std::wstring&) {}
GRS_ROUTE_SETTERS(GRS_IGNORE_SETTER)

namespace grs {

ReadFileResult ReadWholeFile(const std::wstring&, unsigned long long maxBytes, std::string& bytes) {
    const fuzz::MemoryFile& file = fuzz::File();
    if (!file.exists) return ReadFileResult::Missing;
    if (file.bytes.size() > maxBytes) return ReadFileResult::TooLarge;
    bytes = file.bytes;
    return ReadFileResult::Ok;
}

SaveResult ReplaceFileContent(const std::wstring&, const std::string& bytes) {
    fuzz::File() = {bytes, true};
    return SaveResult();
}

const char* SaveStepName(SaveStep) {
    return "fuzz";
}

void RemoveLeftTemporaries(const std::wstring&) {}

}  // namespace grs
