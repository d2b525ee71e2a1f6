#pragma once

// Seeded generators of hostile text for the robustness tests: pieces are
// drawn from small alphabets rich in the characters each parser treats
// specially, so that thousands of cases reach the interesting branches.

#include <random>
#include <string>
#include <vector>

namespace grs::test {

using Random = std::mt19937;

inline size_t Below(Random& random, size_t bound) {
    return bound == 0 ? 0 : static_cast<size_t>(random() % bound);
}

inline bool OneIn(Random& random, unsigned n) {
    return random() % n == 0;
}

// Up to `maxPieces` pieces of `alphabet`, concatenated. A piece may be more
// than one code unit (a surrogate pair stays whole).
template <typename String>
String Pieces(Random& random, const std::vector<String>& alphabet, size_t maxPieces) {
    String text;
    const size_t count = Below(random, maxPieces + 1);
    for (size_t i = 0; i < count; ++i) text += alphabet[Below(random, alphabet.size())];
    return text;
}

// Valid UTF-16 only: every file encoding the library writes can carry it.
inline const std::vector<std::wstring>& WideAlphabet() {
    // clang-format off
    static const std::vector<std::wstring> alphabet = {
        L"a", L"Z", L"0", L"9", L" ", L"\t", L"\r", L"\n", L"[", L"]", L"=", L"#", L";", L"\"", L"\\", L"/",
        L"{", L"}", L":", L",", L".", L"\x00e9", L"\x4e2d", L"\x00ff", L"\x20ac", L"\xD83D\xDE00", L"\x0001", L"\x7f"};
    // clang-format on
    return alphabet;
}

inline std::wstring WideText(Random& random, size_t maxPieces) {
    return Pieces(random, WideAlphabet(), maxPieces);
}

// Random bytes, biased towards ASCII punctuation and broken UTF-8.
inline std::string Bytes(Random& random, size_t maxBytes) {
    static const std::vector<std::string> alphabet = {
        "{", "}", "[", "]",  "\"",   ":",    ",",    "\\",           "u",
        "0", "a", " ", "\n", "\xC3", "\xA9", "\xFF", "\xED\xA0\x80", std::string(1, '\0')};
    std::string bytes;
    const size_t count = Below(random, maxBytes + 1);
    for (size_t i = 0; i < count; ++i)
        bytes +=
            OneIn(random, 4) ? std::string(1, static_cast<char>(random())) : alphabet[Below(random, alphabet.size())];
    return bytes;
}

// `text` with a few bytes replaced, inserted or removed, or cut short.
inline std::string Mutate(Random& random, std::string text) {
    const size_t edits = 1 + Below(random, 4);
    for (size_t e = 0; e < edits && !text.empty(); ++e) {
        const size_t at = Below(random, text.size());
        switch (random() % 4) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.insert(at, 1, "{}[]\",:\\"[Below(random, 8)]);
                break;
            case 2:
                text.erase(at, 1 + Below(random, 8));
                break;
            default:
                text.resize(at);
                break;
        }
    }
    return text;
}

}  // namespace grs::test
