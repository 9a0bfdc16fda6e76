#include "app/export/Overview.h"

#include <nlohmann/json.hpp>

#include "app/export/BackupJson.h"
#include "app/export/EarlierExport.h"
#include "backup/BackupInformation.h"
#include "platform/Date.h"
#include "platform/Text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kStyle =
    "body{font-family:system-ui,-apple-system,'Segoe "
    "UI',Roboto,sans-serif;margin:0;background:#f4f5f7;color:#1c1e21}"
    "header{background:#075698;color:#fff;padding:28px 24px}header h1{margin:0 0 4px;font-size:26px}"
    "header p{margin:0;opacity:.85}main{max-width:900px;margin:24px auto;padding:0 16px}"
    "section{background:#fff;border-radius:10px;box-shadow:0 1px 3px rgba(0,0,0,.12);padding:16px 20px;"
    "margin-bottom:20px}h2{margin:0 0 4px;font-size:20px}.note{color:#606770;font-size:14px;margin:4px 0}"
    "table{width:100%;border-collapse:collapse;margin-top:10px;font-size:15px}td{padding:7px 6px;"
    "border-top:1px solid "
    "#e4e6eb;vertical-align:top}td.n{text-align:right;white-space:nowrap;color:#606770;width:1%}"
    "a{color:#075698;text-decoration:none;overflow-wrap:anywhere}a:hover{text-decoration:underline}"
    "details{margin-top:10px;font-size:14px}li{overflow-wrap:anywhere;margin:3px 0}";

constexpr const char* kUnfinished =
    "<section><h2>This export is not complete</h2>\n<p class=\"note\">It is still running, or it was stopped "
    "before its end. The files in the folders are whole, but not all of them are here or listed. Export "
    "again "
    "into this folder to complete it.</p></section>\n";

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string deviceLine(const PDXBackupInformation& information) {
  std::string line = information.productType();
  if (!information.Version().empty())
    line += (line.empty() ? "" : ", ") + ("system " + information.Version());
  if (information.lastBackupDate()) {
    PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
    line += (line.empty() ? "" : ", ") + ("backed up " + formatter.text(*information.lastBackupDate()));
  }
  return line;
}

/// A text of the backup between words of ours, which it must not reorder.
std::string isolated(const std::string& text) {
  const std::string html = PDXText::escapedForHtml(text);
  return PDXText::changesDirection(text) ? "<bdi>" + html + "</bdi>" : html;
}

std::string problemList(const std::string& heading, const std::vector<PDXProblem>& problems) {
  if (problems.empty()) return "";
  std::string html = "<details><summary>" + PDXText::escapedForHtml(heading) + "</summary><ul>\n";
  for (const PDXProblem& problem : problems) {
    html += "<li>" + PDXText::escapedForHtml(problem.what) + ": " + isolated(problem.where);
    if (!problem.why.empty()) html += " (" + isolated(problem.why) + ")";
    html += "</li>\n";
  }
  return html + "</ul></details>\n";
}

std::string itemRow(const PDXExportedItem& item) {
  const std::string attachments =
      item.attachments == 0 ? "" : counted(item.attachments, "attachment", "attachments");
  return "<tr><td><a href=\"" + PDXText::pathForHtmlLink(item.path) + "\">" +
         PDXText::escapedForHtml(item.title) + "</a></td><td class=\"n\">" +
         counted(item.messages, "message", "messages") + "</td><td class=\"n\">" + attachments +
         "</td></tr>\n";
}

/// What became of the messages that stand on no page.
std::string accountNotes(const PDXKindReport& kind) {
  if (!kind.messageRows) return "<p class=\"note\">The messages in the store could not be counted</p>\n";
  std::string html;
  if (const std::size_t leftOut = kind.messageRows->leftOutRows(); leftOut > 0) {
    html += "<p class=\"note\">" + counted(leftOut, "message", "messages") +
            " left out: " + PDXText::escapedForHtml(kind.messageRows->leftOutText()) + "</p>\n";
  }
  if (kind.messageRows->unaccounted != 0) {
    html +=
        "<p class=\"note\">unaccounted messages: " + std::to_string(kind.messageRows->unaccounted) + "</p>\n";
  }
  return html;
}

/// A kind that is written as whole files of entries.
std::string fileSection(const PDXKindReport& kind) {
  std::string html = "<section id=\"" + kind.kind + "\"><h2>" + PDXText::escapedForHtml(kind.title) +
                     "</h2>\n<p class=\"note\">" + counted(kind.rows->written, "contact", "contacts") +
                     "</p>\n";
  if (kind.filtered > 0) {
    html += "<p class=\"note\">" + counted(kind.filtered, "contact", "contacts") +
            " left out: nothing in the chosen search</p>\n";
  }
  if (kind.rows->unaccounted() != 0) {
    html += "<p class=\"note\">" + std::to_string(kind.rows->unaccounted()) + " rows unaccounted for</p>\n";
  }
  html += "<table>\n";
  for (const PDXExportedItem& item : kind.written) {
    html += "<tr><td><a href=\"" + PDXText::pathForHtmlLink(item.path) + "\">" +
            PDXText::escapedForHtml(item.title) + "</a></td></tr>\n";
  }
  html += "</table>\n";
  if (kind.pictures) {
    html += "<p class=\"note\">" + counted(*kind.pictures, "picture", "pictures") +
            " in the folder Contacts/pictures</p>\n";
  }
  return html + "</section>\n";
}

/// What stands below the heading of every kind with pages.
std::string problemLists(const PDXKindReport& kind) {
  const std::string missing = kind.entries ? counted(kind.missing.size(), "file is", "files are")
                                           : counted(kind.missing.size(), "attachment is", "attachments are");
  return problemList(missing + " not in the backup", kind.missing) +
         problemList(counted(kind.unreadable.size(), "item", "items") + " could not be read",
                     kind.unreadable) +
         problemList(counted(kind.savedAsText.size(), "attachment was", "attachments were") +
                         " saved as text: browsers would open " +
                         (kind.savedAsText.size() == 1 ? "it as a page" : "them as pages"),
                     kind.savedAsText) +
         problemList(
             kind.notes
                 ? counted(kind.notTurned.size(), "attachment was", "attachments were") + " copied unchanged"
                 : counted(kind.notTurned.size(), "picture", "pictures") + " could not be turned upright",
             kind.notTurned);
}

std::string leftOutNotes(const PDXNotesReport& notes) {
  if (!notes.rows) return "<p class=\"note\">The notes in the store could not be counted</p>\n";
  std::string html;
  if (const std::size_t leftOut = notes.rows->leftOutRows(); leftOut > 0) {
    html += "<p class=\"note\">" + counted(leftOut, "note", "notes") +
            " left out: " + PDXText::escapedForHtml(notes.rows->leftOutText()) + "</p>\n";
  }
  if (notes.rows->unaccounted != 0)
    html += "<p class=\"note\">unaccounted notes: " + std::to_string(notes.rows->unaccounted) + "</p>\n";
  return html;
}

/// "On My iPhone, Holidays" for a note in these folders.
std::string foldersOf(const PDXExportedItem& item) {
  const std::size_t first = item.path.find('/');
  const std::size_t second = item.path.find('/', first + 1);
  const std::size_t third = item.path.find('/', second + 1);
  if (third == std::string::npos) return "";
  return item.path.substr(first + 1, second - first - 1) + ", " +
         item.path.substr(second + 1, third - second - 1);
}

std::string noteRow(const PDXExportedItem& item) {
  const std::string attachments =
      item.attachments == 0 ? "" : counted(item.attachments, "attachment", "attachments");
  return "<tr><td><a href=\"" + PDXText::pathForHtmlLink(item.path) + "\">" +
         PDXText::escapedForHtml(item.title) + "</a></td><td class=\"n\">" +
         PDXText::escapedForHtml(foldersOf(item)) + "</td><td class=\"n\">" + attachments + "</td></tr>\n";
}

std::string notesSection(const PDXKindReport& kind) {
  std::string html = "<section id=\"" + kind.kind + "\"><h2>" + PDXText::escapedForHtml(kind.title) +
                     "</h2>\n<p class=\"note\">" + counted(kind.written.size(), "note", "notes") + ", " +
                     counted(kind.attachmentCount(), "attachment", "attachments") + "</p>\n" +
                     leftOutNotes(*kind.notes);
  std::vector<PDXProblem> locked;
  for (const std::string& title : kind.notes->locked)
    locked.push_back({.what = "locked", .where = title, .why = ""});
  html += problemList(counted(locked.size(), "note is", "notes are") + " locked by a password", locked);
  html += problemLists(kind);
  html += problemList(counted(kind.notes->unreached.size(), "part", "parts") + " of notes are not shown",
                      kind.notes->unreached);
  html += "<table>\n";
  for (const PDXExportedItem& item : kind.written) html += noteRow(item);
  return html + "</table></section>\n";
}

/// A kind that is written as a few files of many entries.
std::string entriesSection(const PDXKindReport& kind) {
  const PDXEntriesReport& entries = *kind.entries;
  std::string html = "<section id=\"" + kind.kind + "\"><h2>" + PDXText::escapedForHtml(kind.title) +
                     "</h2>\n<p class=\"note\">" + entries.textOf(entries.written) + "</p>\n";
  if (!entries.rows)
    html += "<p class=\"note\">The " + entries.many + " in the store could not be counted</p>\n";
  if (const std::string leftOut = entries.leftOutText(); !leftOut.empty())
    html += "<p class=\"note\">" + PDXText::escapedForHtml(leftOut) + "</p>\n";
  if (entries.rows && entries.rows->unaccounted != 0) {
    html += "<p class=\"note\">unaccounted " + entries.many + ": " +
            std::to_string(entries.rows->unaccounted) + "</p>\n";
  }
  if (const std::string files = entries.notCopiedText(); !files.empty())
    html += "<p class=\"note\">" + PDXText::escapedForHtml(files) + "</p>\n";
  if (entries.files) html += "<p class=\"note\">" + counted(*entries.files, "file", "files") + "</p>\n";
  html += problemLists(kind) + "<table>\n";
  for (const PDXExportedItem& item : kind.written) {
    html += "<tr><td><a href=\"" + PDXText::pathForHtmlLink(item.path) + "\">" +
            PDXText::escapedForHtml(item.title) + "</a></td><td class=\"n\">" + entries.textOf(item.entries) +
            "</td></tr>\n";
  }
  return html + "</table></section>\n";
}

std::string kindSection(const PDXKindReport& kind) {
  if (kind.entries) return entriesSection(kind);
  if (kind.rows) return fileSection(kind);
  if (kind.notes) return notesSection(kind);
  std::string html = "<section id=\"" + kind.kind + "\"><h2>" + PDXText::escapedForHtml(kind.title) +
                     "</h2>\n<p class=\"note\">" +
                     counted(kind.written.size(), "conversation", "conversations") + ", " +
                     counted(kind.messageCount(), "message", "messages") + ", " +
                     counted(kind.attachmentCount(), "attachment", "attachments") + "</p>\n";
  html += accountNotes(kind);
  if (kind.filtered > 0) {
    html += "<p class=\"note\">" + counted(kind.filtered, "conversation", "conversations") +
            " left out: nothing in the chosen range or search</p>\n";
  }
  if (kind.neverDownloaded > 0) {
    html += "<p class=\"note\">" + counted(kind.neverDownloaded, "attachment", "attachments") +
            " never downloaded to the device</p>\n";
  }
  html += problemLists(kind);
  html += "<table>\n";
  for (const PDXExportedItem& item : kind.written) html += itemRow(item);
  return html + "</table></section>\n";
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// The parts of the report that say what became of the store's messages; null for what is not known.
struct AccountJson {
  explicit AccountJson(const std::optional<PDXRowAccount>& account) {
    if (!account) return;
    found = account->rows;
    repeated = account->repeated;
    unaccounted = account->unaccounted;
    for (const PDXRowAccount::Reason& reason : account->leftOut) leftOut[reason.why] = reason.rows;
  }

  Json found;
  Json repeated;
  Json leftOut;
  Json unaccounted;
};

Json fileKindJson(const PDXKindReport& kind) {
  const PDXContactRows& rows = *kind.rows;
  auto files = Json::array();
  for (const PDXExportedItem& item : kind.written)
    files.push_back({{"title", item.title}, {"path", item.path}});
  Json json = {{"kind", kind.kind},
               {"found", {{"contacts", kind.found}, {"rows", rows.found ? Json(*rows.found) : Json()}}},
               {"table", rows.table},
               {"written", {{"contacts", rows.written}}},
               {"merged", {{"rows", rows.merged}}},
               {"filtered", {{"contacts", rows.filtered}}},
               {"withoutContent", {{"rows", rows.empty}}},
               {"unreadableRows", rows.found ? Json(rows.unreadable) : Json()},
               {"unaccounted", {{"rows", rows.found ? Json(rows.unaccounted()) : Json()}}},
               {"files", files}};
  if (kind.pictures) json["written"]["pictures"] = *kind.pictures;
  return json;
}

Json notesKindJson(const PDXKindReport& kind) {
  auto pages = Json::array();
  for (const PDXExportedItem& item : kind.written)
    pages.push_back({{"title", item.title}, {"path", item.path}, {"attachments", item.attachments}});
  const AccountJson account(kind.notes->rows);
  return {{"kind", kind.kind},
          {"found", {{"notes", kind.found}, {"rows", account.found}}},
          {"written", {{"notes", kind.written.size()}, {"attachments", kind.attachmentCount()}}},
          {"repeated", {{"rows", account.repeated}}},
          {"leftOut", {{"rows", account.leftOut}}},
          {"unaccounted", {{"rows", account.unaccounted}}},
          {"filtered", {{"notes", kind.filtered}}},
          {"locked", kind.notes->locked},
          {"notOnPages", PDXBackupJson::problems(kind.notes->unreached)},
          {"attachmentsMissing", PDXBackupJson::problems(kind.missing)},
          {"unreadable", PDXBackupJson::problems(kind.unreadable)},
          {"attachmentsSavedAsText", PDXBackupJson::problems(kind.savedAsText)},
          {"picturesNotTurned", PDXBackupJson::problems(kind.notTurned)},
          {"pages", pages}};
}

Json entriesKindJson(const PDXKindReport& kind) {
  const std::string& many = kind.entries->many;
  auto files = Json::array();
  for (const PDXExportedItem& item : kind.written)
    files.push_back({{"title", item.title}, {"path", item.path}, {many, item.entries}});
  const AccountJson account(kind.entries->rows);
  Json written = {{many, kind.entries->written}};
  if (kind.entries->folders) written["folders"] = *kind.entries->folders;
  if (kind.entries->files) written["files"] = *kind.entries->files;
  Json json = {{"kind", kind.kind},
               {"found", {{many, kind.found}, {"rows", account.found}}},
               {"written", written},
               {"repeated", {{"rows", account.repeated}}},
               {"leftOut", {{"rows", account.leftOut}}},
               {"unaccounted", {{"rows", account.unaccounted}}},
               {"filtered", {{many, kind.filtered}}},
               {"filesMissing", PDXBackupJson::problems(kind.missing)},
               {"unreadable", PDXBackupJson::problems(kind.unreadable)},
               {"files", files}};
  if (kind.entries->notCopied > 0) json["filesNotCopied"] = kind.entries->notCopied;
  return json;
}

Json kindJson(const PDXKindReport& kind) {
  if (kind.entries) return entriesKindJson(kind);
  if (kind.rows) return fileKindJson(kind);
  if (kind.notes) return notesKindJson(kind);
  auto pages = Json::array();
  for (const PDXExportedItem& item : kind.written) {
    pages.push_back({{"title", item.title},
                     {"path", item.path},
                     {"messages", item.messages},
                     {"attachments", item.attachments}});
  }
  const AccountJson account(kind.messageRows);
  return {{"kind", kind.kind},
          {"found", {{"conversations", kind.found}, {"messages", account.found}}},
          {"written",
           {{"conversations", kind.written.size()},
            {"messages", kind.messageCount()},
            {"attachments", kind.attachmentCount()}}},
          {"repeated", {{"messages", account.repeated}}},
          {"leftOut", {{"messages", account.leftOut}}},
          {"unaccounted", {{"messages", account.unaccounted}}},
          {"filtered", {{"conversations", kind.filtered}}},
          {"attachmentsNeverDownloaded", kind.neverDownloaded},
          {"attachmentsMissing", PDXBackupJson::problems(kind.missing)},
          {"unreadable", PDXBackupJson::problems(kind.unreadable)},
          {"attachmentsSavedAsText", PDXBackupJson::problems(kind.savedAsText)},
          {"picturesNotTurned", PDXBackupJson::problems(kind.notTurned)},
          {"pages", pages}};
}

/// Null for figures that are not known, with the reason beside it.
Json accountsJson(const std::vector<PDXStoreAccount>& accounts) {
  auto json = Json::array();
  for (const PDXStoreAccount& account : accounts) {
    if (!account.rows) {
      json.push_back({{"store", account.store}, {"rows", nullptr}, {"why", account.why}});
      continue;
    }
    auto leftOut = Json::object();
    for (const PDXRowAccount::Reason& reason : account.leftOut) leftOut[reason.why] = reason.rows;
    json.push_back({{"store", account.store},
                    {"rows", *account.rows},
                    {"repeated", account.repeated},
                    {"written", account.written},
                    {"leftOut", leftOut},
                    {"unreadable", account.unreadable},
                    {"unaccounted", account.unaccounted()}});
  }
  return json;
}

std::string accountTexts(const PDXExportReport& report) {
  std::string html;
  for (const PDXKindReport& kind : report.kinds) {
    for (const PDXStoreAccount& account : kind.accounts) {
      if (const std::string text = account.text(); !text.empty())
        html += "<p class=\"note\">" + PDXText::escapedForHtml(kind.title + ": " + text) + "</p>\n";
    }
  }
  return html;
}

}  // namespace

namespace PDXOverview {

std::string startPage(const PDXBackupInformation& information, const PDXExportReport& report,
                      const nlohmann::ordered_json& json) {
  const std::string name =
      information.deviceName().empty() ? information.identifier() : information.deviceName();
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
      PDXText::escapedForHtml(name) + "</title>\n<style>" + kStyle + "</style></head><body>\n<header><h1>" +
      PDXText::escapedForHtml(name) + "</h1><p>" + PDXText::escapedForHtml(deviceLine(information)) +
      "</p></header>\n<main>\n";
  if (!report.hasEnded) html += kUnfinished;
  for (const PDXKindReport& kind : report.kinds) {
    constexpr std::string_view kEnd = "</section>\n";
    std::string section = kindSection(kind);
    section.insert(section.size() - kEnd.size(),
                   problemList(counted(kind.unwritten.size(), "file", "files") + " could not be written",
                               kind.unwritten) +
                       PDXEarlierExport::pagesOf(json, kind.kind));
    html += section;
  }
  html += PDXEarlierExport::sectionsOf(json);
  std::string notes;
  if (information.isUnfinished()) {
    notes +=
        "<p class=\"note\">This backup was not finished: some of the device's content may not be in "
        "it.</p>\n";
  }
  if (!report.notConcerned.empty()) {
    notes +=
        "<p class=\"note\">Left out, as the filters say nothing about them: " + joined(report.notConcerned) +
        ".</p>\n";
  }
  if (!report.notBuilt.empty()) {
    notes += "<p class=\"note\">The backup also holds " + joined(report.notBuilt) +
             ", which this version cannot export yet.</p>\n";
  }
  if (!report.inTheWay.empty()) {
    notes +=
        "<p class=\"note\">These files were not written by this program. They stay as they are, and what "
        "would have got their names got others: " +
        PDXText::escapedForHtml(joined(report.inTheWay)) + ".</p>\n";
  }
  notes +=
      problemList(counted(report.problems.size(), "problem", "problems") + " while reading", report.problems);
  notes += accountTexts(report);
  if (!notes.empty()) html += "<section><h2>Notes</h2>\n" + notes + "</section>\n";
  return html + "</main></body></html>\n";
}

Json reportJson(const PDXBackupInformation& information, const PDXExportReport& report) {
  Json document = PDXBackupJson::document("export", information);
  document["backup"]["snapshotState"] = information.snapshotState();
  for (const PDXKindReport& kind : report.kinds) {
    Json& item = document["items"].emplace_back(kindJson(kind));
    item["accounts"] = accountsJson(kind.accounts);
    if (!kind.unwritten.empty()) item["unwritten"] = PDXBackupJson::problems(kind.unwritten);
  }
  document["notHeld"] = report.notHeld;
  document["notConcerned"] = report.notConcerned;
  document["notBuilt"] = report.notBuilt;
  document["problems"] = PDXBackupJson::problems(report.problems);
  document["complete"] = report.hasEnded;
  document["notOurs"] = report.inTheWay;
  return document;
}

}  // namespace PDXOverview
