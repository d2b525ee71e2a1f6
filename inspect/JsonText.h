#pragma once

// JSON as the inspection's reports, the bundle, the plan and the undo manifest
// write it: UTF-8 as it is, indented by `indentation` (empty: one line), and
// a line end after an indented document.

#include <json/json.h>

#include <string>

namespace inspect {

std::string JsonText(const Json::Value& value, const char* indentation = "  ");

}  // namespace inspect
