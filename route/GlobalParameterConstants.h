#pragma once

// The table behind GlobalParameter's path constants, for its constructor and
// its tests.

#include <cstddef>
#include <string>

#include "globalrootservice/GlobalParameter.h"

namespace grs {

struct PathConstant {
    std::wstring GlobalParameter::*member;
    const wchar_t* value;
};

extern const PathConstant kGlobalParameterPaths[];
extern const size_t kGlobalParameterPathCount;

}  // namespace grs
