#pragma once

// The support program's command line. Scripts and support notes rely on it:
//   grs-support inspect --appdata DIR [--exe-dir DIR] [--route-cache FILE] [--country XX] [--user ID] [--json]
// Options may come in any order after the command.

#include <string>

#include "inspect/Inspect.h"

namespace support {

enum class Command { Help, Inspect };

struct Options {
    Command command = Command::Help;
    inspect::Request request;
};

// False (with `error` set) when the command line is not understood.
bool ParseOptions(int argc, const wchar_t* const* argv, Options& options, std::string& error);
const char* UsageText();

}  // namespace support
