#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "backup/BackupEncryptionWorker.h"

namespace {

/// The bag with counts of one round, for others take too long for a fuzzer.
PDXBytes withOneRound(PDXByteView bag) {
  PDXBytes changed(bag.begin(), bag.end());
  for (const std::string_view tag : {"ITER", "DPIC"}) {
    for (auto at = changed.begin();;) {
      at = std::search(at, changed.end(), tag.begin(), tag.end());
      if (changed.end() - at < 12) break;
      std::fill_n(at + 8, 3, 0);
      at[11] = 1;
      ++at;
    }
  }
  return changed;
}

}  // namespace

/// Any bytes as a key bag: what a class holds must be no longer than the bag, and no password that was not
/// set opens it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PDXBackupEncryptionWorker worker;
  worker.LoadManifestKeybagDataWithPasswordData({data, size}, {});
  if (worker.unlocking() == PDXUnlocking::opened) std::abort();
  worker.LoadManifestKeybagDataWithPasswordData(withOneRound({data, size}), viewOfText("none of theirs"));
  for (const auto& [number, info] : worker.classes()) {
    if (info.wrappedKey.size() > size || info.publicKey.size() > size) std::abort();
    if (info.unwrappdKey.size() > info.wrappedKey.size()) std::abort();
  }
  if (worker.unlocking() == PDXUnlocking::opened) std::abort();
  const PDXByteView record(data, std::min<std::size_t>(size, 44));
  if (const auto key = worker.fileKey(record).key; !key.empty() && key.size() != 32) std::abort();
  return 0;
}
