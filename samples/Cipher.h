#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/Files.h"

/// A key of AES-256.
using PDXSampleKey = std::array<std::uint8_t, 32>;

/// How a device enciphers a backup. What deciphers one shares no line with this, so that no mistake can
/// cancel itself out.
namespace PDXSampleCipher {

/// PBKDF2 with HMAC-SHA-256, the first stage of a password's key, and with HMAC-SHA-1, the last one.
/// @param rounds  at least 1.
PDXSampleKey firstStage(std::string_view password, const PDXBytes& salt, std::uint32_t rounds);
PDXSampleKey lastStage(std::string_view secret, const PDXBytes& salt, std::uint32_t rounds);

/// `key` wrapped as RFC 3394 has it, standard integrity value included: 40 bytes.
PDXBytes wrapped(const PDXSampleKey& wrappingKey, const PDXSampleKey& key);

/// Reads `plain` to its end and appends it enciphered to `target`: AES-256 in CBC mode from a vector of
/// zeros, padded as PKCS#7 has it. What is in memory does not grow with the file.
/// @return  the SHA-1 of what was read: 20 bytes.
PDXBytes encipher(std::istream& plain, const PDXSampleKey& key, PDXAtomicFile& target);

/// The metadata of one file, enciphered for a manifest that is not: AES-128 in CBC mode from a fixed vector,
/// padded, as Base64.
/// @param password  ASCII.
std::string encipheredAttributes(const PDXBytes& attributes, std::string_view password, const PDXBytes& salt);

}  // namespace PDXSampleCipher
