#pragma once

// The support program's small text helpers: bytes as hexadecimal in JSON, and
// JSON read and written as the bundle, the plan and the undo manifest hold it.

#include <json/json.h>

#include <string>

#include "inspect/JsonText.h"

namespace supporttool {

using inspect::JsonText;

// Texts between the program's wide strings and JSON's UTF-8.
std::string Text(const std::wstring& text);
std::wstring Wide(const Json::Value& value);

std::string Hex(const std::string& bytes);
// Bytes from Hex's text; a digit that is none counts as 0.
std::string Unhex(const std::string& hex);

// False when `text` is no JSON object.
bool ParseJsonObject(const std::string& text, Json::Value& value);

}  // namespace supporttool
