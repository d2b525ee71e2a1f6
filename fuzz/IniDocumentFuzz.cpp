// Any bytes as an INI file: it loads, what it renders parses back to the same
// text, and what it saves (in the encoding it was read in) loads back as the
// same document.
#include <cstddef>
#include <cstdint>

#include "core/IniFile.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::File() = {std::string(reinterpret_cast<const char*>(data), size), true};
    CIniFileW first;
    fuzz::Check(first.Load(L"fuzz.ini") == 1, "an existing file loads");
    const std::wstring rendered = first.RenderText();

    CIniFileW reparsed;
    reparsed.ParseText(rendered);
    fuzz::Check(reparsed.RenderText() == rendered, "rendered text parses back to itself");

    fuzz::Check(first.Save(L"fuzz.ini") == 1, "the document saves");
    CIniFileW second;
    fuzz::Check(second.Load(L"fuzz.ini") == 1, "the saved file loads");
    fuzz::Check(second.RenderText() == rendered, "the saved file loads back as the same document");
    return 0;
}
