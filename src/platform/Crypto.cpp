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

std::optional<PDXBytes> base64Decoded(std::string_view text) {
  base64_decode_ctx context;
  base64_decode_init(&context);
  PDXBytes decoded(BASE64_DECODE_LENGTH(text.size()));
  std::size_t size = decoded.size();
  const bool isBase64 = base64_decode_update(&context, &size, decoded.data(), text.size(), text.data()) == 1;
  if (!isBase64 || base64_decode_final(&context) != 1) return std::nullopt;
  decoded.resize(size);
  return decoded;
}
