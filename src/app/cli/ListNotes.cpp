#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/NotesExport.h"

namespace {

using Json = nlohmann::ordered_json;

Json dateJson(const std::optional<PDXDate>& date) { return date ? Json(PDXDates::isoText(*date)) : Json(); }

Json accountJson(const std::optional<PDXNoteAccountDetail>& account) {
  if (!account) return {};
  return {{"accountId", account->accountId}, {"name", account->name}, {"identifier", account->identifier}};
}

Json folderJson(const std::optional<PDXNoteFolderDetail>& folder) {
  if (!folder) return {};
  return {{"folderId", folder->folderId}, {"name", folder->name}, {"identifier", folder->identifier}};
}

template <typename Note>
Json noteJson(const Note& note) {
  Json json = {{"noteId", note.noteId},
               {"title", note.title},
               {"summary", note.summary},
               {"creationDate", dateJson(note.creationDate)},
               {"lastModified", dateJson(note.lastModified)},
               {"accountDetail", accountJson(note.accountDetail)},
               {"folderDetail", folderJson(note.folderDetail)}};
  if constexpr (std::is_same_v<Note, PDXLegacyNoteDetail>) json["text"] = note.text;
  return json;
}

/// "Packing list (On My iPhone, Holidays)".
template <typename Note>
std::string lineOf(const Note& note) {
  std::string place = note.accountDetail ? note.accountDetail->name : "";
  if (note.folderDetail) place += (place.empty() ? "" : ", ") + note.folderDetail->name;
  return place.empty() ? note.title : note.title + " (" + place + ")";
}

}  // namespace

PDXListing listNotes(const PDXListRequest& request) {
  const PDXNoteList list = PDXNotesExport::read(request.deviceData);
  PDXListing listing;
  for (const PDXAnyNote& note : list.notes) {
    if (!PDXNotesExport::matches(note, request.range.search)) continue;
    listing.items.push_back(std::visit([](const auto& of) { return noteJson(of); }, note));
    listing.lines.push_back(std::visit([](const auto& of) { return lineOf(of); }, note));
  }
  listing.summary = countedEntries(listing.lines.size(), "note", "notes");
  const std::size_t locked = list.counts ? list.counts->locked.size() : 0;
  if (locked > 0) listing.summary += ", and " + std::to_string(locked) + " locked";
  return listing;
}
