#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class PDXDeviceData;

/// The paths of all files of the notes' domain, listed once and found by what they belong to.
/// Threads: once made, any number.
class PDXNoteFiles {
 public:
  /// Where the newer store and its files lie.
  static constexpr const char* kDomain = "AppDomainGroup-group.com.apple.notes";

  explicit PDXNoteFiles(std::vector<std::string> paths);

  static PDXNoteFiles of(PDXDeviceData& deviceData);

  bool holds(const std::string& path) const { return paths_.contains(path); }

  /// The paths with "FallbackImages/" or "Previews/" and the identifier behind it, sorted. Empty for an
  /// identifier that does not have 36 bytes.
  const std::vector<std::string>& fallbackImages(std::string_view identifier) const;
  const std::vector<std::string>& previews(std::string_view identifier) const;

  /// The paths of files in the folder "Media/<identifier>/", at any depth, sorted.
  const std::vector<std::string>& media(std::string_view identifier) const;

 private:
  using Index = std::unordered_map<std::string, std::vector<std::string>>;

  std::unordered_set<std::string> paths_;
  Index fallbackImages_;
  Index previews_;
  Index media_;
};
