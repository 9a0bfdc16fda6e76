#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

#include "platform/Files.h"
#include "platform/Secret.h"

/// Deciphers stored files: AES-256 in CBC mode, chained from zeros, in chunks.
namespace PDXFileDeciphering {

/// What becomes of the cipher's padding behind the content.
enum class Tail {
  kept,     ///< It stays, and sixteen zero bytes follow it, as readers of scratch copies know it.
  trimmed,  ///< It goes, where it is one (PKCS #7): for files that are handed to a person.
};

/// Writes the decrypted bytes of `source`, from its beginning on, to `destination`, whole or not at all, in
/// place of an older file.
/// @param key  32 bytes.
/// @return  a source whose size is no whole number of cipher blocks, or a key of another size, is
/// `readFailed`.
PDXFiles::CopyResult decipher(PDXFileReader& source, PDXByteView key, const std::string& destination,
                              Tail tail, const std::stop_token& stop = {});

/// The same of the file at a path.
PDXFiles::CopyResult decipher(const std::string& source, PDXByteView key, const std::string& destination,
                              Tail tail, const std::stop_token& stop = {});

/// One deciphered block of a stored file: 16 bytes, at a byte that is a multiple of 16. Nothing when the file
/// has no whole block there.
/// @param key  32 bytes.
std::optional<PDXSecret> blockAt(PDXFileReader& source, PDXByteView key, std::uint64_t position);

/// How many bytes of padding (PKCS #7) end the last block of a deciphered file; 0 when it is none.
/// @param block  16 bytes.
std::size_t paddingOf(PDXByteView block);

}  // namespace PDXFileDeciphering
