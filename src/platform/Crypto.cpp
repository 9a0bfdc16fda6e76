#include "platform/Crypto.h"

#include <nettle/aes.h>
#include <nettle/base16.h>
#include <nettle/base64.h>
#include <nettle/cbc.h>
#include <nettle/pbkdf2.h>
#include <nettle/sha1.h>
#include <string.h>

#include <algorithm>

void wipe(void* memory, std::size_t size) noexcept {
  if (size > 0) ::explicit_bzero(memory, size);
}

std::string sha_1(std::string_view text) {
  const auto digest = PDXCrypto::sha1(viewOfText(text));
  std::string hex(BASE16_ENCODE_LENGTH(digest.size()), '\0');
  base16_encode_update(hex.data(), digest.size(), digest.data());
  return hex;
}

std::string base64(std::string_view bytes) {
  std::string encoded(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(encoded.data(), bytes.size(), viewOfText(bytes).data());
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

namespace PDXCrypto {

std::array<std::uint8_t, 20> sha1(PDXByteView first, PDXByteView second) {
  sha1_ctx context;
  sha1_init(&context);
  sha1_update(&context, first.size(), first.data());
  sha1_update(&context, second.size(), second.data());
  std::array<std::uint8_t, SHA1_DIGEST_SIZE> digest{};
  sha1_digest(&context, digest.size(), digest.data());
  return digest;
}

std::optional<PDXSecret> passwordBasedKey(Hash hash, PDXByteView password, PDXByteView salt,
                                          std::uint32_t rounds, std::size_t length) {
  if (rounds == 0 || password.empty() || salt.empty()) return std::nullopt;
  PDXSecret derived(length);
  const auto derive = hash == Hash::sha1 ? pbkdf2_hmac_sha1 : pbkdf2_hmac_sha256;
  derive(password.size(), password.data(), rounds, salt.size(), salt.data(), length, derived.data());
  return derived;
}

}  // namespace PDXCrypto

struct PDXAesDecipher::Context {
  union {
    aes128_ctx short_;
    aes192_ctx middle;
    aes256_ctx long_;
  } key;
  nettle_cipher_func* decipher = nullptr;
  std::array<std::uint8_t, kBlock> vector{};

  bool setKey(PDXByteView bytes) {
    switch (bytes.size()) {
      case AES128_KEY_SIZE:
        aes128_set_decrypt_key(&key.short_, bytes.data());
        decipher = nettle_aes128.decrypt;
        return true;
      case AES192_KEY_SIZE:
        aes192_set_decrypt_key(&key.middle, bytes.data());
        decipher = nettle_aes192.decrypt;
        return true;
      case AES256_KEY_SIZE:
        aes256_set_decrypt_key(&key.long_, bytes.data());
        decipher = nettle_aes256.decrypt;
        return true;
      default:
        return false;
    }
  }
};

PDXAesDecipher::PDXAesDecipher(PDXByteView key, PDXByteView vector) : context_(std::make_unique<Context>()) {
  const bool isUsable = context_->setKey(key) && (vector.empty() || vector.size() == kBlock);
  std::copy(vector.begin(), vector.begin() + (isUsable ? static_cast<std::ptrdiff_t>(vector.size()) : 0),
            context_->vector.begin());
  if (!isUsable) {
    wipe(context_.get(), sizeof(Context));
    context_.reset();
  }
}

PDXAesDecipher::~PDXAesDecipher() {
  if (context_ != nullptr) wipe(context_.get(), sizeof(Context));
}

void PDXAesDecipher::decipherBlock(std::uint8_t* block) const {
  context_->decipher(&context_->key, kBlock, block, block);
}

void PDXAesDecipher::decipherChained(const std::uint8_t* from, std::uint8_t* to, std::size_t size) {
  cbc_decrypt(&context_->key, context_->decipher, kBlock, context_->vector.data(), size, to, from);
}
