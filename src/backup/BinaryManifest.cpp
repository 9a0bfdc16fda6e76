#include "backup/BinaryManifest.h"

namespace {

constexpr std::uint64_t kHeaderBytes = 6;
constexpr std::uint16_t kNone = 0xFFFF;

/// Three absent texts (target, hash and key) and the fixed fields.
constexpr std::uint64_t kRestOfDomainRecord = 44;

/// Inode, owner, group and three times, between mode and size.
constexpr std::uint64_t kBetweenModeAndSize = 28;

}  // namespace

PDXBinaryManifest::PDXBinaryManifest(const std::string& path) : file_(path) { file_.skipBytes(kHeaderBytes); }

PDXBinaryManifest::PDXBinaryManifest(PDXByteView bytes) : file_(bytes) { file_.skipBytes(kHeaderBytes); }

std::string PDXBinaryManifest::readStringFromFileHandle_() {
  const std::uint16_t length = file_.readUInt16();
  return length == kNone ? "" : file_.readStringOfLength(length);
}

void PDXBinaryManifest::skipProperties_() {
  for (unsigned texts = 2 * pendingProperties_; texts > 0; --texts) {
    const std::uint16_t length = file_.readUInt16();
    if (length != kNone) file_.skipBytes(length);
  }
}

std::optional<PDXBinaryManifestRecord> PDXBinaryManifest::next() {
  skipProperties_();
  pendingProperties_ = 0;
  isCut_ = file_.ranOut();
  if (isCut_ || !file_.hasData()) return std::nullopt;
  PDXBinaryManifestRecord record;
  record.domain = readStringFromFileHandle_();
  record.path = readStringFromFileHandle_();
  if (record.path.empty()) {
    file_.skipBytes(kRestOfDomainRecord);
  } else {
    const std::uint16_t target = file_.readUInt16();
    record.isLink = target != kNone;
    if (record.isLink) file_.skipBytes(target);
    const std::uint16_t hash = file_.readUInt16();
    if (hash != kNone) file_.skipBytes(hash);
    const std::string key = readStringFromFileHandle_();
    record.encryptionKey.assign(key.begin(), key.end());
    record.mode = file_.readUInt16();
    file_.skipBytes(kBetweenModeAndSize);
    const auto high = static_cast<std::uint32_t>(file_.readInt32Swapped());
    record.size = std::uint64_t{high} << 32 | static_cast<std::uint32_t>(file_.readInt32Swapped());
  }
  file_.readUnsignedByte();  // The protection class, which the key repeats.
  pendingProperties_ = file_.readUnsignedByte();
  isCut_ = file_.ranOut();
  return isCut_ ? std::nullopt : std::optional(std::move(record));
}
