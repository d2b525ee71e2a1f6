// Link-time stand-ins for the collaborators and file calls of the sources
// under test: no logger, and one file kept in memory.
#include "fuzz/FuzzSupport.h"

#include "core/FileIo.h"
#include "globalrootservice/collaborators/CloudLogger.h"

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

namespace grs {

ReadFileResult ReadWholeFile(const std::wstring&, unsigned long long maxBytes, std::string& bytes) {
    const fuzz::MemoryFile& file = fuzz::File();
    if (!file.exists) return ReadFileResult::CannotOpen;
    if (file.bytes.size() > maxBytes) return ReadFileResult::TooLarge;
    bytes = file.bytes;
    return ReadFileResult::Ok;
}

bool ReplaceFileContent(const std::wstring&, const std::string& bytes, const char*) {
    fuzz::File() = {bytes, true};
    return true;
}

}  // namespace grs
