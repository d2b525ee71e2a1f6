#pragma once

// The client's own libraries are separate DLLs that this library imports. Their
// implementation defines CLIENTLIBS_EXPORTS when it builds them; everyone else
// (this library, the client, the tests) imports.
#if defined(CLIENTLIBS_EXPORTS)
#define CLIENTLIBS_API __declspec(dllexport)
#else
#define CLIENTLIBS_API __declspec(dllimport)
#endif
