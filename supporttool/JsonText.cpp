#include "supporttool/JsonText.h"

#include <memory>

#include "core/TextUtil.h"

namespace supporttool {

std::string Text(const std::wstring& text) {
    return grs::WideToUtf8(text);
}

std::wstring Wide(const Json::Value& value) {
    return grs::Utf8ToWide(value.asString());
}

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned char c : bytes) hex += {digits[c >> 4], digits[c & 15]};
    return hex;
}

std::string Unhex(const std::string& hex) {
    const auto value = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 0; };
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) bytes += static_cast<char>(value(hex[i]) * 16 + value(hex[i + 1]));
    return bytes;
}

bool ParseJsonObject(const std::string& text, Json::Value& value) {
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &value, &errors) && value.isObject();
}

}  // namespace supporttool
