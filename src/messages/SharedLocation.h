#pragma once

#include <optional>
#include <string>
#include <string_view>

/// A place that somebody shared in a message.
///
/// Source: a card whose web address is a map's, e.g.
/// "item1.URL;type=pref:https://maps.example.com/?ll=50.26\,-5.05&q=Harbour". Its name is what the address
/// looks for ("q"), unless that is the coordinates again; then it is the card's.
struct PDXSharedLocation {
  std::string label;     ///< May be empty.
  double latitude = 0;   ///< Degrees, north positive, -90 to 90.
  double longitude = 0;  ///< Degrees, east positive, -180 to 180.

  /// The place that a card's bytes name; nothing when they name none.
  static std::optional<PDXSharedLocation> fromVCard(std::string_view bytes);
};
