#include "samples/ExtendedAttributes.h"

#include "platform/PropertyList.h"

namespace {

/// Lowest byte first.
PDXBytes bytesOf(std::int64_t number, std::size_t count) {
  PDXBytes bytes(count);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(number);
    number >>= 8;
  }
  return bytes;
}

PDXBytes identifierFor(const PDXSampleEntry& entry) {
  PDXBytes bytes(16, 0xA0);
  bytes.front() = static_cast<std::uint8_t>(entry.inode);
  return bytes;
}

/// Seconds and the billionths of one, eight bytes each.
PDXBytes timeOf(PDXDate date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date.time_since_epoch());
  PDXBytes bytes = bytesOf(seconds.count(), 8);
  bytes.resize(16);
  return bytes;
}

}  // namespace

namespace PDXSampleExtendedAttributes {

std::vector<std::pair<std::string, PDXBytes>> of(const PDXSampleEntry& entry) {
  if (entry.kind != PDXSampleEntryKind::file) return {};
  if (entry.domain == "CameraRollDomain") {
    return {{"com.apple.assetsd.UUID", identifierFor(entry)},
            {"com.apple.assetsd.favorite", bytesOf(entry.inode % 2, 2)},
            {"com.apple.assetsd.addedDate", PDXPropertyList(entry.lastModified).binary()}};
  }
  if (entry.relativePath.starts_with("Library/SMS/Attachments/")) {
    return {{"com.apple.lastuseddate#PS", timeOf(entry.lastModified)}};
  }
  return {};
}

}  // namespace PDXSampleExtendedAttributes
