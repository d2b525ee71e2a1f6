#pragma once

// Reads one region object out of the server address file's JSON text in a
// single streaming pass: no document tree, no recursion, so neither deep
// nesting nor a large file can exhaust the stack.

#include <cstddef>
#include <map>
#include <string>

namespace grs {

struct RegionScan {
    bool syntaxError = false;                      // not well-formed JSON; only the error fields are meaningful
    size_t errorOffset = 0;                        // byte offset of the syntax error
    int errorCode = 0;                             // RapidJSON's ParseErrorCode
    bool found = false;                            // the root's (last) member of that name is an object
    bool nonStringValue = false;                   // that object holds a value that is not a string
    std::map<std::wstring, std::wstring> servers;  // its string members, later duplicates winning
};

// The text is JSON as a C string: it ends at its first NUL byte, so a file
// padded with NULs reads as its JSON. Bytes are not checked as UTF-8: names
// and values go through the system's converter (Utf8ToWide), which replaces
// invalid sequences with U+FFFD.
RegionScan ScanRegion(const std::string& jsonText, const std::string& regionName);

// Where a syntax error sits, for whoever edits the file by hand.
struct ParseErrorPlace {
    size_t line = 1;      // from 1; lines end at each line feed
    size_t column = 1;    // from 1, in characters: a UTF-8 sequence counts once
    std::string message;  // RapidJSON's English text for the code
};

// `offset` and `code` as RegionScan reports them (RapidJSON's error offset and
// ParseErrorCode); an offset past the text counts as its end.
ParseErrorPlace DescribeParseError(const std::string& text, size_t offset, int code);

}  // namespace grs
