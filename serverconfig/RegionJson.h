#pragma once

// Reads one region object out of the server address file's JSON text in a
// single streaming pass: no document tree, no recursion, so neither deep
// nesting nor a large file can exhaust the stack.

#include <map>
#include <string>

namespace grs {

struct RegionScan {
    bool syntaxError = false;                      // not well-formed UTF-8 JSON; nothing else is meaningful
    size_t errorOffset = 0;                        // with syntaxError: the byte where the parser stopped
    std::string errorReason;                       // with syntaxError: the parser's reason, in English
    bool found = false;                            // the root's (last) member of that name is an object
    bool nonStringValue = false;                   // that object holds a value that is not a string
    std::map<std::wstring, std::wstring> servers;  // its string members, later duplicates winning
};

RegionScan ScanRegion(const std::string& jsonText, const std::string& regionName);

}  // namespace grs
