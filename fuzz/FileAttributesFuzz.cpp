#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "backup/DeviceDataEncryption.h"

/// Any bytes as a file's metadata record, plain and in the enciphered form.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const PDXByteView bytes(data, size);
  const auto keyRecord = PDXDeviceDataEncryption::keyRecordOf(PDXBytes(bytes.begin(), bytes.end()));
  if (keyRecord && keyRecord->size() > size) std::abort();
  const PDXByteView salt = bytes.first(size / 4);
  const auto deciphered = PDXDeviceDataEncryption::DecryptFileAttributeDataWithSaltAndPassword(
      bytes, salt, salt.first(salt.size() / 2));
  if (deciphered && deciphered->size() >= size) std::abort();
  return 0;
}
