#include "app/export/ExportJob.h"

#include <algorithm>
#include <utility>

#include "app/export/BackupJson.h"
#include "app/export/BookmarksExport.h"
#include "app/export/CalendarsExport.h"
#include "app/export/CallsExport.h"
#include "app/export/ContactsExport.h"
#include "app/export/ContentKinds.h"
#include "app/export/EarlierExport.h"
#include "app/export/MessagesExport.h"
#include "app/export/MusicExport.h"
#include "app/export/NearestNames.h"
#include "app/export/NotesExport.h"
#include "app/export/OutputFolder.h"
#include "app/export/Overview.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactImageRetriever.h"
#include "messages/MessageReader.h"
#include "platform/Files.h"

namespace {

/// Writes one file of the overview; the first that fails decides the outcome. Whether it is there.
bool writeFile(const std::string& path, const std::string& text, PDXExportReport& report) {
  PDXAtomicFile file(path);
  file.append(text);
  if (file.commit()) return true;
  if (!report.goesOn()) return false;
  report.outcome = PDXExportReport::Outcome::unwritable;
  report.unwritablePath = path;
  report.why = file.error();
  return false;
}

/// While it lives, faces come from this backup.
class FacesOfBackup {
 public:
  explicit FacesOfBackup(PDXDeviceData& deviceData) {
    PDXContactImageRetriever::defaultRetriever().setDeviceData(&deviceData);
  }
  ~FacesOfBackup() { PDXContactImageRetriever::defaultRetriever().setDeviceData(nullptr); }
  FacesOfBackup(const FacesOfBackup&) = delete;
  FacesOfBackup& operator=(const FacesOfBackup&) = delete;
};

}  // namespace

PDXExportJob::PDXExportJob(PDXDeviceData& deviceData, const PDXBackupInformation& information,
                           PDXExportOptions options)
    : deviceData_(deviceData), information_(information), options_(std::move(options)) {
  options_.outputFolder = PDXFiles::absolute(options_.outputFolder);
  output_ = std::make_unique<PDXOutputFolder>(options_.outputFolder, information.deviceIdentifier(),
                                              options_.isForced);
}

PDXExportJob::~PDXExportJob() = default;

std::optional<std::string> PDXExportJob::prepare() {
  if (auto mistake = output_->mistake()) return mistake;
  for (const auto& list : information_.unreadableLists()) {
    PDXLog::report({.what = "property list", .where = list.name, .why = "it " + list.why});
  }
  deviceData_.hasReadableManifest();  // Says in the log when not: the report names it.
  if (!takes_("messages")) return std::nullopt;
  messages_ = std::make_unique<PDXMessageReader>();
  hasMessages_ = messages_->loadConversationsFromDeviceData(&deviceData_);
  std::vector<std::string> titles;
  for (const auto* conversation : messages_->allConversations()) titles.push_back(conversation->title());
  for (const std::string& wanted : options_.conversations) {
    if (std::find(titles.begin(), titles.end(), wanted) == titles.end()) {
      return "there is no conversation \"" + wanted + "\"" + nearestNamesHint(wanted, titles) +
             " (`pocketdex list BACKUP messages` names them all)";
    }
  }
  return std::nullopt;
}

PDXExportReport PDXExportJob::run(const PDXProgressSink& progress, const std::stop_token& stop) {
  PDXExportReport report;
  if (stop.stop_requested()) {
    report.outcome = PDXExportReport::Outcome::stopped;
    return report;
  }
  if (const auto refusal = output_->open()) {
    report.outcome =
        refusal->isMistake ? PDXExportReport::Outcome::refused : PDXExportReport::Outcome::unwritable;
    report.unwritablePath = options_.outputFolder;
    report.why = refusal->why;
    return report;
  }
  PDXFiles::removeAbandonedParts(options_.outputFolder);
  // Whoever finds the folder of an export that was killed is to see what it is.
  if (writeOverview_(report)) exportKinds_(report, progress, stop);
  if (stop.stop_requested() && report.goesOn()) report.outcome = PDXExportReport::Outcome::stopped;
  report.hasEnded = report.goesOn();
  output_->close(writeOverview_(report));
  return report;
}

void PDXExportJob::exportKinds_(PDXExportReport& report, const PDXProgressSink& progress,
                                const std::stop_token& stop) {
  const FacesOfBackup faces(deviceData_);
  if (hasMessages_) {
    PDXKindReport kind = PDXMessagesExport::run(deviceData_, messages_->standardConversations(), options_,
                                                "Messages", report, progress, stop);
    kind.kind = "messages";
    kind.title = "Messages";
    if (report.outcome == PDXExportReport::Outcome::done && !stop.stop_requested()) {
      countRows_(kind);
      kind.accounts = {PDXStoreAccount::of("sms.db", kind.messageRows, kind.messageCount())};
    }
    report.kinds.push_back(std::move(kind));
  }
  // Between kinds, what is there so far is written down.
  const auto goesOn = [&] {
    return report.goesOn() && !stop.stop_requested() && (report.kinds.empty() || writeOverview_(report));
  };
  if (takesWholeKind_("contacts") && goesOn()) {
    report.kinds.push_back(PDXContactsExport::run(deviceData_, options_, report, progress, stop));
  }
  if (takesWholeKind_("calendars") && goesOn())
    report.kinds.push_back(PDXCalendarsExport::run(deviceData_, options_, report, progress, stop));
  if (takesWholeKind_("notes") && goesOn())
    report.kinds.push_back(PDXNotesExport::run(deviceData_, options_, report, progress, stop));
  if (takesWholeKind_("calls") && goesOn())
    report.kinds.push_back(PDXCallsExport::run(deviceData_, options_, report, stop));
  if (takesWholeKind_("bookmarks") && goesOn())
    report.kinds.push_back(PDXBookmarksExport::run(deviceData_, options_, report, stop));
  if (takesWholeKind_("music") && goesOn())
    report.kinds.push_back(PDXMusicExport::run(deviceData_, options_, report, progress, stop));
  for (const PDXContentKind& kind : PDXContentKinds::all()) sayIfLeftOut_(kind, report);
  report.problems = problems_.problems();
  for (PDXKindReport& kind : report.kinds) kind.settleAccounts(report.problems);
}

void PDXExportJob::countRows_(PDXKindReport& kind) const {
  const auto leftOut = PDXMessagesExport::leftOut(messages_->standardConversations(), options_);
  using Bodies = PDXMessageRowCounts::Bodies;
  for (const Bodies bodies : {Bodies::believed, Bodies::read}) {
    const auto counts = messages_->rowCounts(EConversationTypeStandard, leftOut, bodies);
    if (counts) kind.messageRows = PDXRowAccount::of(*counts, kind.messageCount(), options_.hasFilter());
    if (!kind.messageRows || kind.messageRows->unaccounted == 0) return;
  }
}

/// What becomes known of a kind that was not exported, or only in part.
void PDXExportJob::sayIfLeftOut_(const PDXContentKind& kind, PDXExportReport& report) const {
  const bool isHeld = isThere_(kind.name);
  const bool isNamed = !options_.kinds.empty() && takes_(kind.name);
  const bool isConcerned = isNamed || isConcerned_(kind);
  if (takes_(kind.name) && isConcerned && kind.isBuilt && !kind.isListOnly) {
    const bool isElsewhere = kind.name == "music" && !options_.libraryFile.empty();
    const bool isLost = !isElsewhere && PDXContentKinds::reportLostFiles(deviceData_, kind);
    if (isNamed && !isHeld && !isLost) report.notHeld.push_back(kind.name);
  }
  if (!options_.kinds.empty() || !isHeld || kind.isListOnly) return;
  if (!kind.isBuilt) {
    report.notBuilt.push_back(kind.name);
  } else if (!isConcerned) {
    report.notConcerned.push_back(kind.name);
  }
}

/// Whether the filters say anything about a kind that nobody named: who asks for a part of what the backup
/// holds does not hand on the whole of everything else.
bool PDXExportJob::isConcerned_(const PDXContentKind& kind) const {
  if (!options_.conversations.empty()) return kind.name == "messages";
  return (kind.takesSearch || options_.searchTerm.empty()) &&
         (kind.takesRange || (!options_.startDate && !options_.endDate));
}

/// Whether the options take a kind that has no conversations.
bool PDXExportJob::takesWholeKind_(const std::string& kind) const {
  const bool isConcerned = !options_.kinds.empty() || isConcerned_(*PDXContentKinds::named(kind));
  return takes_(kind) && isConcerned && isThere_(kind);
}

/// Whether the backup holds the kind, or the options say where else it is.
bool PDXExportJob::isThere_(const std::string& kind) const {
  if (kind == "music" && !options_.libraryFile.empty()) return true;
  return PDXContentKinds::isHeldBy(deviceData_, *PDXContentKinds::named(kind));
}

bool PDXExportJob::takes_(const std::string& kind) const {
  return options_.kinds.empty() ||
         std::find(options_.kinds.begin(), options_.kinds.end(), kind) != options_.kinds.end();
}

/// Whether the report is there. The start page is written first: what it says has to be in the report then.
bool PDXExportJob::writeOverview_(PDXExportReport& report) const {
  report.problems = problems_.problems();
  report.inTheWay = output_->inTheWay();
  const std::string startPage = report.startPage = output_->startPagePath();
  const std::string reportPath = output_->reportPath();
  auto json = PDXOverview::reportJson(information_, report);
  const auto files = output_->files();
  PDXEarlierExport::addTo(json, output_->earlier(), files);
  json["device"] = output_->device();
  json["files"] = files;
  return writeFile(startPage, PDXOverview::startPage(information_, report, json), report) &&
         writeFile(reportPath, PDXBackupJson::text(json), report);
}
