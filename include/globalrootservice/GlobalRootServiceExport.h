#pragma once

// One macro marks the library's exported surface. The DLL build defines
// GLOBALROOTSERVICE_EXPORTS; code linked straight into the library's objects
// (its own unit tests) defines GLOBALROOTSERVICE_STATIC; a client gets imports.
#if defined(GLOBALROOTSERVICE_STATIC)
#define GLOBALROOTSERVICE_API
#elif defined(GLOBALROOTSERVICE_EXPORTS)
#define GLOBALROOTSERVICE_API __declspec(dllexport)
#else
#define GLOBALROOTSERVICE_API __declspec(dllimport)
#endif
