#include "platform/Crypto.h"

#include <nettle/base16.h>
#include <nettle/base64.h>
#include <nettle/sha1.h>

#include <array>

namespace {

const std::uint8_t* bytesOf(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

}  // namespace

std::string sha_1(std::string_view text) {
  sha1_ctx context;
  sha1_init(&context);
  sha1_update(&context, text.size(), bytesOf(text));
  std::array<std::uint8_t, SHA1_DIGEST_SIZE> digest;
  sha1_digest(&context, digest.size(), digest.data());

  std::string hex(BASE16_ENCODE_LENGTH(digest.size()), '\0');
  base16_encode_update(hex.data(), digest.size(), digest.data());
  return hex;
}

std::string base64(std::string_view bytes) {
  std::string encoded(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(encoded.data(), bytes.size(), bytesOf(bytes));
  return encoded;
}
