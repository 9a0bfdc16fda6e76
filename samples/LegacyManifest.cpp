#include "samples/LegacyManifest.h"

#include <string_view>

#include "platform/Files.h"

namespace {

constexpr std::string_view kHeader{"mbdb\x05\x00", 6};
constexpr std::string_view kAbsent = "\xFF\xFF";
constexpr std::uint64_t kMobileUser = 501;

/// Highest byte first.
void appendNumber(std::string& record, std::uint64_t number, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
    record += static_cast<char>(number >> shift & 0xFF);
}

void appendNumber(std::string& record, std::int64_t number, int bytes) {
  appendNumber(record, static_cast<std::uint64_t>(number), bytes);
}

void appendText(std::string& record, std::string_view text) {
  appendNumber(record, std::uint64_t{text.size()}, 2);
  record += text;
}

void appendText(std::string& record, const PDXBytes& bytes) {
  appendText(record, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// What is not there has no text, not an empty one.
template <typename Text>
void appendIfAny(std::string& record, const Text& text) {
  if (text.empty()) {
    record += kAbsent;
  } else {
    appendText(record, text);
  }
}

std::int64_t unixSeconds(PDXDate date) {
  return std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch()).count();
}

std::string recordOf(const PDXSampleEntry& entry) {
  std::string record;
  appendText(record, entry.domain);
  appendText(record, entry.relativePath);
  appendIfAny(record, entry.target);
  appendIfAny(record, entry.digest);
  appendIfAny(record, entry.encryptionKey);
  appendNumber(record, std::int64_t{entry.mode}, 2);
  appendNumber(record, entry.inode, 8);
  appendNumber(record, kMobileUser, 4);
  appendNumber(record, kMobileUser, 4);
  // Modified, read and changed.
  for (int i = 0; i < 3; ++i) appendNumber(record, unixSeconds(entry.lastModified), 4);
  appendNumber(record, entry.size, 8);
  appendNumber(record, std::int64_t{entry.protectionClass}, 1);
  appendNumber(record, std::uint64_t{entry.attributes.size()}, 1);
  for (const auto& [name, value] : entry.attributes) {
    appendText(record, name);
    appendText(record, value);
  }
  return record;
}

}  // namespace

namespace PDXSampleLegacyManifest {

std::string write(const std::string& path, const std::vector<PDXSampleEntry>& entries) {
  PDXAtomicFile file(path);
  file.append(kHeader);
  for (const PDXSampleEntry& entry : entries) file.append(recordOf(entry));
  return file.commit() ? "" : file.error();
}

}  // namespace PDXSampleLegacyManifest
