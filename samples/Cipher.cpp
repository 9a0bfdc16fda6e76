#include "samples/Cipher.h"

#include <nettle/aes.h>
#include <nettle/base64.h>
#include <nettle/cbc.h>
#include <nettle/nist-keywrap.h>
#include <nettle/pbkdf2.h>
#include <nettle/sha1.h>

#include <algorithm>

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 20;
constexpr std::size_t kWrappedSize = 40;
constexpr std::array<std::uint8_t, 8> kIntegrity = {0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6};
using Block = std::array<std::uint8_t, AES_BLOCK_SIZE>;

/// What every device begins the metadata of a file from.
constexpr Block kAttributesVector = {0xC4, 0xE1, 0x90, 0x7A, 0x2B, 0x5F, 0xD8, 0x36,
                                     0x6E, 0x0A, 0x13, 0xB9, 0xF7, 0x25, 0x4D, 0x81};

const std::uint8_t* bytesOf(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

/// Fills the last block up, or adds one to a whole number of them. The bytes have room for that.
/// @return  the size with the padding.
std::size_t pad(std::uint8_t* bytes, std::size_t size) {
  const std::size_t padding = AES_BLOCK_SIZE - size % AES_BLOCK_SIZE;
  std::fill_n(bytes + size, padding, static_cast<std::uint8_t>(padding));
  return size + padding;
}

}  // namespace

namespace PDXSampleCipher {

PDXSampleKey firstStage(std::string_view password, const PDXBytes& salt, std::uint32_t rounds) {
  PDXSampleKey key;
  pbkdf2_hmac_sha256(password.size(), bytesOf(password), rounds, salt.size(), salt.data(), key.size(),
                     key.data());
  return key;
}

PDXSampleKey lastStage(std::string_view secret, const PDXBytes& salt, std::uint32_t rounds) {
  PDXSampleKey key;
  pbkdf2_hmac_sha1(secret.size(), bytesOf(secret), rounds, salt.size(), salt.data(), key.size(), key.data());
  return key;
}

PDXBytes wrapped(const PDXSampleKey& wrappingKey, const PDXSampleKey& key) {
  aes256_ctx cipher;
  aes256_set_encrypt_key(&cipher, wrappingKey.data());
  PDXBytes bytes(kWrappedSize);
  aes256_keywrap(&cipher, kIntegrity.data(), bytes.size(), bytes.data(), key.data());
  return bytes;
}

PDXBytes encipher(std::istream& plain, const PDXSampleKey& key, PDXAtomicFile& target) {
  aes256_ctx cipher;
  aes256_set_encrypt_key(&cipher, key.data());
  sha1_ctx digest;
  sha1_init(&digest);
  Block vector = {};
  PDXBytes chunk(kChunk + AES_BLOCK_SIZE);
  for (std::size_t size = kChunk; size == kChunk;) {
    auto* characters = reinterpret_cast<char*>(chunk.data());
    plain.read(characters, kChunk);
    size = static_cast<std::size_t>(plain.gcount());
    sha1_update(&digest, size, chunk.data());
    const std::size_t whole = size == kChunk ? size : pad(chunk.data(), size);
    cbc_aes256_encrypt(&cipher, vector.data(), whole, chunk.data(), chunk.data());
    target.append({characters, whole});
  }
  PDXBytes result(SHA1_DIGEST_SIZE);
  sha1_digest(&digest, result.size(), result.data());
  return result;
}

std::string encipheredAttributes(const PDXBytes& attributes, std::string_view password,
                                 const PDXBytes& salt) {
  sha1_ctx digest;
  sha1_init(&digest);
  sha1_update(&digest, password.size(), bytesOf(password));
  sha1_update(&digest, salt.size(), salt.data());
  std::array<std::uint8_t, AES128_KEY_SIZE> key;
  sha1_digest(&digest, key.size(), key.data());

  aes128_ctx cipher;
  aes128_set_encrypt_key(&cipher, key.data());
  Block vector = kAttributesVector;
  PDXBytes bytes = attributes;
  bytes.resize(attributes.size() + AES_BLOCK_SIZE);
  bytes.resize(pad(bytes.data(), attributes.size()));
  cbc_aes128_encrypt(&cipher, vector.data(), bytes.size(), bytes.data(), bytes.data());

  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(), bytes.data());
  return text;
}

}  // namespace PDXSampleCipher
