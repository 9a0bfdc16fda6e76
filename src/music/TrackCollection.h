#pragma once

#include <string>

/// A fixed entry above the playlists.
struct TrackCollection {
  std::string title;       ///< In the user's language.
  std::string identifier;  ///< "songs", "downloaded", "recent".
  std::string symbolName;  ///< Of its picture.
};

/// A playlist of the library.
struct TrackPlaylist {
  std::string containerIdentifier;  ///< A number. Source: container.container_pid.
  std::string name;                 ///< Source: container.name.
  std::string description;          ///< Source: container.description.
};
