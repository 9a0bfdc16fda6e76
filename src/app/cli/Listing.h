#pragma once

#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <vector>

struct PDXRangeOptions;
class PDXDeviceData;

/// What a list is made from.
struct PDXListRequest {
  PDXDeviceData& deviceData;
  const PDXRangeOptions& range;
  std::stop_token stop;
  std::string library;     ///< See PDXMusicOptions.
  bool wantsItems = true;  ///< Items for a program; else lines for people. Only large lists ask.
};

/// What there is of one content kind, in list order.
struct PDXListing {
  nlohmann::ordered_json items = nlohmann::ordered_json::array();  ///< Keys are the records' field names.
  std::string itemsText;           ///< The same as text, commas between them, of lists that may be very long.
  nlohmann::ordered_json more;     ///< Further members of the document, an object; null for none.
  std::vector<std::string> lines;  ///< The same for people, a line each.
  std::string summary;             ///< "3 contacts".
};

/// One content kind that can be listed.
struct PDXListedKind {
  const char* name;
  PDXListing (*list)(const PDXListRequest& request);
};

/// Each in a source of its own, ListMessages.cpp and so on.
PDXListing listMessages(const PDXListRequest& request);
PDXListing listBookmarks(const PDXListRequest& request);
PDXListing listCalendars(const PDXListRequest& request);
PDXListing listCalls(const PDXListRequest& request);
PDXListing listContacts(const PDXListRequest& request);
PDXListing listMusic(const PDXListRequest& request);
PDXListing listNotes(const PDXListRequest& request);
PDXListing listBlocked(const PDXListRequest& request);

/// "1 contact", "2 contacts".
std::string countedEntries(std::size_t count, const char* one, const char* many);

/// A text that may be missing.
template <typename Value>
nlohmann::ordered_json jsonOf(const std::optional<Value>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}
