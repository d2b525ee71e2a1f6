// The route record in the form this library writes it, read in one streaming
// pass straight into record fields. The route cache is read at every start,
// and jsoncpp's document tree costs more than the record itself; the general
// reader stays for everything this one is not certain to read the same way.
#include <climits>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "core/TextUtil.h"
#include "route/RouteDetail.h"
#include "serverconfig/JsonConfig.h"

namespace grs::route {

namespace {

enum class Field { Other, CurrentTime, EffectivePeriod, CountryCode, IsSuccess, Services };

Field FieldNamed(const char* name, size_t length) {
    const std::string_view text(name, length);
    if (text == "currentTime") return Field::CurrentTime;
    if (text == "effectivePeriod") return Field::EffectivePeriod;
    if (text == "countryCode") return Field::CountryCode;
    if (text == "isSuccess") return Field::IsSuccess;
    if (text == "services") return Field::Services;
    return Field::Other;
}

// Names of ASCII only convert one to one and keep their order, so a later
// duplicate replaces an earlier one exactly as in jsoncpp's tree.
bool IsAscii(const char* text, size_t length) {
    for (size_t i = 0; i < length; ++i)
        if (static_cast<unsigned char>(text[i]) >= 0x80) return false;
    return true;
}

// Depth counts open objects: record members at 1, group names at 2, service
// keys at 3. Returning false stops the parse: the text is left to jsoncpp.
// Refused on purpose: a root that is not an object, names that are not ASCII,
// numbers that are not integers (their text-to-double rules differ between
// the two libraries), and any value of a type the record field does not take
// as it stands.
class RecordHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RecordHandler> {
public:
    explicit RecordHandler(RouteRecordText& fields) : m_fields(fields) {}

    bool Null() { return Scalar(Kind::Null, 0); }
    bool Bool(bool) { return Scalar(Kind::Other, 0); }
    bool Int(int value) { return Scalar(Kind::Int, value); }
    bool Uint(unsigned value) {
        return value <= INT_MAX ? Scalar(Kind::Int, static_cast<int>(value)) : Scalar(Kind::Other, 0);
    }
    bool Int64(int64_t) { return Scalar(Kind::Other, 0); }
    bool Uint64(uint64_t) { return Scalar(Kind::Other, 0); }
    bool Double(double) { return false; }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (m_skipUntil != 0) return true;
        if (m_depth == 1) {
            std::string* target = TextField();
            if (target == nullptr) return m_field == Field::Other;
            target->assign(text, length);
            return true;
        }
        if (m_depth == 3) {
            std::wstring& address = m_entries[m_key];
            address.clear();
            AppendUtf8AsWide(text, length, address);
            return true;
        }
        return false;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (m_skipUntil != 0) return true;
        if (m_depth == 1) {
            m_field = FieldNamed(text, length);
            return true;
        }
        if (!IsAscii(text, length)) return false;
        std::wstring& name = m_depth == 2 ? m_group : m_key;
        name.assign(text, text + length);
        return true;
    }
    bool StartObject() {
        if (m_skipUntil != 0 || (m_depth == 1 && m_field == Field::Other)) return Enter();
        if (m_depth == 0 || m_depth == 2) {
            m_entries.clear();
            ++m_depth;
            return true;
        }
        if (m_depth == 1 && m_field == Field::Services) {
            m_fields.services.clear();  // a later "services" replaces an earlier one
            ++m_depth;
            return true;
        }
        return false;
    }
    bool EndObject(rapidjson::SizeType) {
        if (m_skipUntil != 0) return Leave();
        if (m_depth == 3) EndGroup();
        --m_depth;
        return true;
    }
    bool StartArray() { return (m_skipUntil != 0 || (m_depth == 1 && m_field == Field::Other)) && Enter(); }
    bool EndArray(rapidjson::SizeType) { return Leave(); }

private:
    enum class Kind { Null, Int, Other };

    bool Scalar(Kind kind, int value) {
        if (m_skipUntil != 0) return true;
        switch (m_depth) {
            case 1:
                if (m_field == Field::Other) return true;
                if (m_field == Field::IsSuccess && kind != Kind::Other) {
                    m_fields.isSuccess = value;  // null reads as 0
                    return true;
                }
                if (kind != Kind::Null) return false;
                if (m_field == Field::Services) {
                    m_fields.services.clear();
                } else {
                    TextField()->clear();
                }
                return true;
            case 2:  // a null group has no entries
                if (kind != Kind::Null) return false;
                m_entries.clear();
                EndGroup();
                return true;
            case 3:  // a null address reads as empty text
                if (kind != Kind::Null) return false;
                m_entries[m_key].clear();
                return true;
            default:
                return false;
        }
    }

    std::string* TextField() {
        switch (m_field) {
            case Field::CurrentTime:
                return &m_fields.currentTime;
            case Field::EffectivePeriod:
                return &m_fields.effectivePeriod;
            case Field::CountryCode:
                return &m_fields.countryCode;
            default:
                return nullptr;
        }
    }

    // A group replaces an earlier one of the same name; without entries it
    // is no group at all.
    void EndGroup() {
        if (m_entries.empty()) {
            m_fields.services.erase(m_group);
        } else {
            m_fields.services[m_group].swap(m_entries);
            m_entries.clear();
        }
    }

    // A member the record does not use: read, checked and passed over.
    bool Enter() {
        if (m_skipUntil == 0) m_skipUntil = m_depth;
        ++m_depth;
        return true;
    }
    bool Leave() {
        if (--m_depth == m_skipUntil) m_skipUntil = 0;
        return true;
    }

    RouteRecordText& m_fields;
    size_t m_depth = 0;
    size_t m_skipUntil = 0;  // non-zero: inside an unused member opened at that depth
    Field m_field = Field::Other;
    std::wstring m_group;
    std::wstring m_key;
    std::map<std::wstring, std::wstring> m_entries;
};

}  // namespace

bool ReadWrittenRouteRecord(const std::string& json, RouteRecordText& fields) {
    try {
        RouteRecordText read;
        RecordHandler handler(read);
        // The text ends at a NUL for this reader only; jsoncpp ignores what
        // follows a complete root too, and a NUL inside it fails here.
        rapidjson::StringStream stream(json.c_str());
        rapidjson::Reader reader;
        // Recursion is bounded: callers refuse text nested deeper than
        // kMaxJsonNesting before it gets here.
        if (reader.Parse<rapidjson::kParseStopWhenDoneFlag>(stream, handler).IsError()) return false;
        fields = std::move(read);
        return true;
    } catch (...) {
        return false;  // the general reader decides, and reports
    }
}

}  // namespace grs::route
