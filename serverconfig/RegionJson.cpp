#include "serverconfig/RegionJson.h"

#include <algorithm>

#include "core/TextUtil.h"
#include "serverconfig/JsonConfig.h"

#include "rapidjson/error/en.h"

namespace grs {

namespace {

// Depth counts open containers: root members sit at depth 1, the members of
// a region object at depth 2. Only those two levels are looked at; anything
// deeper is parsed and ignored.
class RegionHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RegionHandler> {
public:
    RegionHandler(const std::string& regionName, RegionScan& scan) : m_regionName(regionName), m_scan(scan) {}

    bool Default() {
        OnValue(false, nullptr, 0);
        return true;
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        OnValue(false, text, length);
        return true;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (m_depth == 1) {
            m_atRegion = m_regionName.compare(0, std::string::npos, text, length) == 0;
        } else if (m_depth == 2 && m_inRegion) {
            // Converted now: the reader reuses the key's memory for the value.
            m_key = Utf8ToWide(text, length);
        }
        return true;
    }
    bool StartObject() {
        OnValue(true, nullptr, 0);
        ++m_depth;
        return true;
    }
    bool StartArray() {
        OnValue(false, nullptr, 0);
        ++m_depth;
        return true;
    }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }

private:
    // `text` is null for every value that is not a string.
    void OnValue(bool isObject, const char* text, size_t length) {
        if (m_depth == 1 && m_atRegion) {
            // A repeated region member replaces what an earlier one gave.
            m_atRegion = false;
            m_inRegion = isObject;
            m_scan.found = isObject;
            m_scan.nonStringValue = false;
            m_scan.servers.clear();
        } else if (m_depth == 2 && m_inRegion) {
            if (text == nullptr) {
                m_scan.nonStringValue = true;
                return;
            }
            m_scan.servers[m_key] = Utf8ToWide(text, length);
        }
    }

    bool Close() {
        --m_depth;
        if (m_depth == 1) m_inRegion = false;
        return true;
    }

    const std::string& m_regionName;
    RegionScan& m_scan;
    size_t m_depth = 0;
    bool m_atRegion = false;
    bool m_inRegion = false;
    std::wstring m_key;  // of the region member being read
};

bool IsUtf8Continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

RegionScan ScanRegion(const std::string& jsonText, const std::string& regionName) {
    RegionScan scan;
    RegionHandler handler(regionName, scan);
    // COMPAT: the client has always read this file as a C string without an
    // encoding check: text after a NUL is ignored, and a file saved in the
    // ANSI code page loads with U+FFFD in place of its stray bytes.
    rapidjson::StringStream stream(jsonText.c_str());
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<rapidjson::kParseIterativeFlag>(stream, handler);
    if (result.IsError()) {
        scan = RegionScan();
        scan.syntaxError = true;
        scan.errorOffset = result.Offset();
        scan.errorCode = static_cast<int>(result.Code());
    }
    return scan;
}

ParseErrorPlace DescribeParseError(const std::string& text, size_t offset, int code) {
    ParseErrorPlace place;
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size()));
    auto lineStart = text.begin();
    for (auto it = text.begin(); it != end; ++it) {
        if (*it == '\n') {
            ++place.line;
            lineStart = it + 1;
        }
    }
    place.column =
        1 + static_cast<size_t>(std::count_if(lineStart, end, [](char c) { return !IsUtf8Continuation(c); }));
    // Only codes of the enumeration are converted back to it.
    const bool known = code >= rapidjson::kParseErrorNone && code <= rapidjson::kParseErrorUnspecificSyntaxError;
    place.message =
        known ? rapidjson::GetParseError_En(static_cast<rapidjson::ParseErrorCode>(code)) : "Unknown error.";
    return place;
}

}  // namespace grs
