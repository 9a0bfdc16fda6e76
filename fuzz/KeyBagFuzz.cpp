#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "backup/BackupEncryptionWorker.h"

/// Any bytes as a key bag. Without a password no key is derived, which would take too long for a fuzzer; what
/// a class holds must be no longer than the bag.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PDXBackupEncryptionWorker worker;
  worker.LoadManifestKeybagDataWithPasswordData({data, size}, {});
  for (const auto& [number, info] : worker.classes()) {
    if (info.wrappedKey.size() > size || info.publicKey.size() > size) std::abort();
  }
  if (worker.unlocking() == PDXUnlocking::opened) std::abort();
  return 0;
}
