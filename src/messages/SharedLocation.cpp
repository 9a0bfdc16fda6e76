#include "messages/SharedLocation.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "contacts/VCardParser.h"
#include "platform/Text.h"

namespace {

using Coordinates = std::pair<double, double>;

/// The number at the beginning of `text`, which then begins behind it.
std::optional<double> takeNumber(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" +"), text.size()));
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || !std::isfinite(value)) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return value;
}

/// "50.26,-5.05"; nothing for anything else, and outside of the earth.
std::optional<Coordinates> coordinatesOf(std::string_view text) {
  const auto latitude = takeNumber(text);
  if (!latitude || text.empty() || (text.front() != ',' && text.front() != ';')) return std::nullopt;
  text.remove_prefix(1);
  const auto longitude = takeNumber(text);
  if (!longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180) return std::nullopt;
  return Coordinates(*latitude, *longitude);
}

/// The value of a name in a web address' query, decoded; "" when it is not there.
std::string queryValue(std::string_view address, std::string_view name) {
  std::size_t begin = address.find('?');
  while (begin < address.size()) {
    const std::size_t end = std::min(address.find('&', begin + 1), address.size());
    const std::string_view part = address.substr(begin + 1, end - begin - 1);
    if (part.starts_with(name) && part.substr(name.size()).starts_with('=')) {
      const std::string value(part.substr(name.size() + 1));
      return PDXText::percentDecoded(PDXText::replacedAll(value, "+", " "));
    }
    begin = end;
  }
  return "";
}

/// The place of a map's address. Its coordinates come under one of a few names.
std::optional<PDXSharedLocation> locationOfAddress(std::string_view address) {
  const std::string query = queryValue(address, "q");
  const auto fromQuery = coordinatesOf(query);
  auto coordinates = coordinatesOf(queryValue(address, "ll"));
  if (!coordinates) coordinates = coordinatesOf(queryValue(address, "coordinate"));
  if (!coordinates) coordinates = fromQuery;
  if (!coordinates) return std::nullopt;
  return PDXSharedLocation{fromQuery ? "" : query, coordinates->first, coordinates->second};
}

std::optional<PDXSharedLocation> locationOf(const PDXVCardProperty& property) {
  if (property.name == "URL") return locationOfAddress(property.text());
  if (property.name != "GEO") return std::nullopt;
  std::string text = property.text();
  if (text.starts_with("geo:")) text.erase(0, 4);
  const auto coordinates = coordinatesOf(text);
  if (!coordinates) return std::nullopt;
  return PDXSharedLocation{"", coordinates->first, coordinates->second};
}

std::optional<PDXSharedLocation> locationOf(const PDXVCard& card) {
  std::optional<PDXSharedLocation> location;
  std::string name;
  for (const PDXVCardProperty& property : card) {
    if (!location) location = locationOf(property);
    if (property.name == "FN" && name.empty()) name = property.text();
  }
  if (location && location->label.empty()) location->label = name;
  return location;
}

}  // namespace

std::optional<PDXSharedLocation> PDXSharedLocation::fromVCard(std::string_view bytes) {
  std::optional<PDXSharedLocation> location;
  PDXVCardParser::forEachCard(bytes, [&location](const PDXVCard& card) {
    if (!location) location = locationOf(card);
  });
  return location;
}
