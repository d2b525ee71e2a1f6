#include "supporttool/Zip.h"

#include <windows.h>

#include <minizip/unzip.h>
#include <minizip/zip.h>
// After zip.h: it uses zlib's macros without including zlib.
#include <minizip/iowin32.h>

#include <climits>

#include "core/UniqueResource.h"

namespace supporttool {

namespace {

void CloseZip(zipFile file) {
    zipClose(file, nullptr);
}
void CloseUnzip(unzFile file) {
    unzClose(file);
}
using UniqueZip = grs::UniqueResource<grs::HandleTraits<zipFile, 0, &CloseZip>>;
using UniqueUnzip = grs::UniqueResource<grs::HandleTraits<unzFile, 0, &CloseUnzip>>;

// The entry's time: now, in local time as zip keeps it.
zip_fileinfo EntryInfo() {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    zip_fileinfo info = {};
    info.tmz_date.tm_sec = now.wSecond;
    info.tmz_date.tm_min = now.wMinute;
    info.tmz_date.tm_hour = now.wHour;
    info.tmz_date.tm_mday = now.wDay;
    info.tmz_date.tm_mon = now.wMonth - 1;
    info.tmz_date.tm_year = now.wYear;
    return info;
}

}  // namespace

bool WriteZip(const std::wstring& path, const std::map<std::string, std::string>& entries, std::string& error) {
    zlib_filefunc64_def files = {};
    fill_win32_filefunc64W(&files);
    UniqueZip zip(zipOpen2_64(path.c_str(), APPEND_STATUS_CREATE, nullptr, &files));
    if (!zip) {
        error = "cannot create the zip file (error " + std::to_string(::GetLastError()) + ")";
        return false;
    }
    const zip_fileinfo info = EntryInfo();
    for (const auto& entry : entries) {
        if (entry.second.size() > static_cast<size_t>(UINT_MAX)) {
            error = "entry " + entry.first + " too large";
            return false;
        }
        // Stored (method 0), no zip64 extra field: what every unzip reads.
        if (zipOpenNewFileInZip64(zip.get(), entry.first.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, 0, 0, 0) !=
                ZIP_OK ||
            zipWriteInFileInZip(zip.get(), entry.second.data(), static_cast<unsigned>(entry.second.size())) != ZIP_OK ||
            zipCloseFileInZip(zip.get()) != ZIP_OK) {
            error = "cannot write entry " + entry.first;
            return false;
        }
    }
    if (zipClose(zip.release(), nullptr) != ZIP_OK) {
        error = "cannot finish the zip file";
        return false;
    }
    return true;
}

bool ReadZip(const std::wstring& path, unsigned long long maxBytes, std::map<std::string, std::string>& entries,
             std::string& error) {
    zlib_filefunc64_def files = {};
    fill_win32_filefunc64W(&files);
    UniqueUnzip zip(unzOpen2_64(path.c_str(), &files));
    if (!zip) {
        error = "not a zip file that can be read";
        return false;
    }
    for (int status = unzGoToFirstFile(zip.get()); status == UNZ_OK; status = unzGoToNextFile(zip.get())) {
        unz_file_info64 info = {};
        char name[512] = {};
        if (unzGetCurrentFileInfo64(zip.get(), &info, name, sizeof name - 1, nullptr, 0, nullptr, 0) != UNZ_OK ||
            info.uncompressed_size > maxBytes || unzOpenCurrentFile(zip.get()) != UNZ_OK) {
            error = std::string("cannot read entry ") + name;
            return false;
        }
        std::string bytes(static_cast<size_t>(info.uncompressed_size), '\0');
        const int read =
            bytes.empty() ? 0 : unzReadCurrentFile(zip.get(), &bytes[0], static_cast<unsigned>(bytes.size()));
        const int closed = unzCloseCurrentFile(zip.get());  // checks the CRC
        if (read != static_cast<int>(bytes.size()) || closed != UNZ_OK) {
            error = std::string("entry ") + name + " is damaged";
            return false;
        }
        entries[name] = std::move(bytes);
    }
    return true;
}

}  // namespace supporttool
