#pragma once

// The one way the library includes RapidJSON. Its assertions guard the
// parser's own invariants; a broken one must never abort the client, so it
// throws instead and the operation that parses catches and logs it. Every
// translation unit that uses RapidJSON includes this header first, so the
// library sees one definition of the parser's inline code.

#include <stdexcept>
#include <string>

namespace grs::json {

[[noreturn]] inline void FailAssertion(const char* expression) {
    throw std::logic_error(std::string("JSON parser check failed: ") + expression);
}

}  // namespace grs::json

#ifdef RAPIDJSON_ASSERT
#error "Include serverconfig/JsonConfig.h before any RapidJSON header"
#endif
#define RAPIDJSON_ASSERT(x) ((x) ? static_cast<void>(0) : ::grs::json::FailAssertion(#x))

#include "rapidjson/error/error.h"
#include "rapidjson/reader.h"
