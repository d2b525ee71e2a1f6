#include "serverconfig/RegionJson.h"

#include "core/TextUtil.h"
#include "serverconfig/JsonConfig.h"

// RapidJSON headers after its configuration above.
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
            m_key.assign(text, length);
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
            m_scan.servers[Utf8ToWide(m_key)] = Utf8ToWide(std::string(text, length));
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
    std::string m_key;
};

}  // namespace

RegionScan ScanRegion(const std::string& jsonText, const std::string& regionName) {
    RegionScan scan;
    // A raw NUL is never valid JSON, and the parser would take it for the end
    // of the text and accept whatever came before.
    const size_t nul = jsonText.find('\0');
    if (nul != std::string::npos) {
        scan.syntaxError = true;
        scan.errorOffset = nul;
        scan.errorCode = rapidjson::kParseErrorValueInvalid;
        return scan;
    }
    // The parser's UTF-8 check reads up to three continuation bytes after a
    // lead byte even when the terminator comes first: spare terminators keep
    // a text that ends in a broken sequence from being read past its end.
    std::string padded;
    padded.reserve(jsonText.size() + 4);
    padded.append(jsonText).append(4, '\0');
    RegionHandler handler(regionName, scan);
    rapidjson::StringStream stream(padded.c_str());
    rapidjson::Reader reader;
    const rapidjson::ParseResult result =
        reader.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag>(stream, handler);
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
    const size_t end = offset < text.size() ? offset : text.size();
    for (size_t i = 0; i < end; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            ++place.line;
            place.column = 1;
        } else if ((c & 0xC0) != 0x80) {  // continuation bytes belong to the character before
            ++place.column;
        }
    }
    const bool known = code >= 0 && code <= static_cast<int>(rapidjson::kParseErrorTermination);
    place.message =
        known ? rapidjson::GetParseError_En(static_cast<rapidjson::ParseErrorCode>(code)) : "Unknown error.";
    return place;
}

}  // namespace grs
