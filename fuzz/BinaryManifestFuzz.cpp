#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "backup/BinaryManifest.h"

/// Any bytes as a binary manifest: each record takes up bytes of its own.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PDXBinaryManifest records(PDXByteView(data, size));
  std::size_t texts = 0;
  while (const auto record = records.next()) {
    texts += record->domain.size() + record->path.size() + record->encryptionKey.size() + 1;
  }
  if (texts > size) std::abort();
  return 0;
}
