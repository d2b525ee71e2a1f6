#pragma once

// What the fuzz targets share: the one in-memory "file" that the INI
// document's whole-file read and replace go to, a check that stops the run
// with a message, and the record comparison used by the route target.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

// Content of the only file there is; `exists` false makes reads fail.
struct MemoryFile {
    std::string bytes;
    bool exists = false;
};
MemoryFile& File();

[[noreturn]] inline void Fail(const char* what) {
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
}

inline void Check(bool condition, const char* what) {
    if (!condition) Fail(what);
}

}  // namespace fuzz
