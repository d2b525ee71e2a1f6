#pragma once
// Forced into every source of the fuzz build: Windows' export and import
// markers mean nothing in a static Linux build.
#define __declspec(x)
