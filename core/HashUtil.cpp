#include "core/HashUtil.h"

#include <openssl/sha.h>

#include <cstddef>
#include <cstdio>

#include "core/TextUtil.h"

// The one-call SHA256_* sequence is deprecated in OpenSSL 3 in favour of EVP,
// but it is the simplest exact form of what the callers need.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#elif defined(_MSC_VER)
#pragma warning(disable : 4996)
#endif

namespace grs {

std::string Sha256Hex(const std::string& data) {
    unsigned char digest[SHA256_DIGEST_LENGTH] = {};
    SHA256_CTX context;
    SHA256_Init(&context);
    SHA256_Update(&context, data.data(), data.size());
    SHA256_Final(digest, &context);

    std::string hex;
    hex.reserve(std::size_t{2} * SHA256_DIGEST_LENGTH);
    for (unsigned char byte : digest) {
        char pair[3] = {};
        std::snprintf(pair, sizeof pair, "%02x", byte);
        hex.append(pair, 2);
    }
    return hex;
}

std::wstring UserIdHash(const std::wstring& userId) {
    const std::string hash = Sha256Hex(WideToUtf8(userId));
    return std::wstring(hash.begin(), hash.end());  // hexadecimal digits only
}

}  // namespace grs
