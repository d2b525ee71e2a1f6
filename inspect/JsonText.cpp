#include "inspect/JsonText.h"

namespace inspect {

std::string JsonText(const Json::Value& value, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    builder["emitUTF8"] = true;
    const std::string text = Json::writeString(builder, value);
    return *indentation ? text + "\n" : text;
}

}  // namespace inspect
