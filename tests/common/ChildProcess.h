#pragma once

// Crash tests run part of themselves in a second process that the parent kills
// at a moment of its choosing. The child is this same test executable, started
// with a gtest filter naming one (disabled) test and an environment variable
// that tells that test it is the child and what to work on.

#include <windows.h>

#include <string>

#include "core/UniqueResource.h"

namespace grs::test {

// Starts `command` with inheritable standard output and error handles, in a
// job that ends it when this process ends.
// Null when the process could not be started.
UniqueHandle StartProcess(std::wstring command, HANDLE output, HANDLE error);

// Starts the child running only `test` ("Suite.DISABLED_Name") with
// `variable` = `value` in its environment; its output goes to NUL. Null when
// the process could not be started.
UniqueHandle StartChildTest(const std::string& test, const wchar_t* variable, const std::wstring& value);

// The value a parent passed to this process, empty when it is not a child.
std::wstring ChildParameter(const wchar_t* variable);

// Terminates the child and waits (bounded) until it is gone.
bool KillChild(const UniqueHandle& child);

}  // namespace grs::test
