#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

class PDXSQLiteDatabase;

/// Puts the members of playlists into the table container_item of a copy of a library, wherever the library
/// keeps them, so that one statement serves all libraries.
class PDXPlaylistMembers {
 public:
  /// Answers the path of a readable copy of a file of the device, "" when there is none.
  /// @param path  below the device's media folder.
  using MediaFile = std::function<std::string(const std::string& path)>;

  /// @param database  a copy that may be written to. Must outlive this.
  /// @param store     its path, for the log.
  PDXPlaylistMembers(const PDXSQLiteDatabase& database, std::string store, MediaFile mediaFile);

  /// Whether the members lie elsewhere than in that table.
  bool mustBeFilled() const { return hasBlobs_ || hasFiles_; }

  /// A track that is in the playlist already is not put there again.
  /// @param playlist  a container identifier.
  void fill(const std::string& playlist) const;

 private:
  void fillFromBlobs_(const std::string& playlist) const;
  void fillFromFile_(const std::string& playlist) const;
  void add_(const std::string& playlist, const std::vector<std::int64_t>& tracks) const;

  const PDXSQLiteDatabase& database_;
  std::string store_;
  MediaFile mediaFile_;
  bool hasBlobs_;
  bool hasFiles_;
};
