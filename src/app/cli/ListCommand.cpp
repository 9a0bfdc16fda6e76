#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "app/cli/Command.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"
#include "app/export/ContentKinds.h"
#include "app/export/ExportReport.h"
#include "messages/MessageReader.h"

namespace {

using Json = nlohmann::ordered_json;

Json participantJson(const PDXMessageParticipant& participant) {
  return {{"name", participant.name().empty() ? Json() : Json(participant.name())},
          {"address", participant.address()},
          {"isKnownContact", participant.isKnownContact()}};
}

Json conversationJson(const PDXMessagesConversation& conversation) {
  auto participants = Json::array();
  for (const auto& participant : conversation.participants)
    participants.push_back(participantJson(participant));
  return {{"title", conversation.title()},
          {"conversationId", conversation.conversationId()},
          {"madridHandle", conversation.madridHandle().empty() ? Json() : Json(conversation.madridHandle())},
          {"groupId", conversation.groupId},
          {"messageCount", conversation.messageCount},
          {"participants", participants},
          {"conversationIdArray", conversation.conversationIdArray},
          {"madridHandleArray", conversation.madridHandleArray},
          {"conversationType", static_cast<unsigned>(conversation.conversationType)},
          {"isFromKnownContacts", conversation.isFromKnownContacts()},
          {"lastUpdated", conversation.lastUpdated}};
}

class ListCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option("KIND", kind_, "What to list: messages")->required();
    app.add_flag("--json", json_, "One JSON document");
    range_.addTo(app);
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    auto mistake = kindMistake(kind_);
    if (!mistake) mistake = range_.mistake();
    if (mistake) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    const auto deviceData = found ? found->open(status) : nullptr;
    return deviceData == nullptr ? status : list(context, found->information(), *deviceData);
  }

 private:
  PDXExitStatus list(PDXCommandContext& context, const PDXBackupInformation& information,
                     PDXDeviceData& deviceData) {
    const PDXProblemCollector problems;
    if (!PDXContentKinds::isHeldBy(deviceData, *PDXContentKinds::named(kind_))) {
      PDXConsole::error("the backup holds no " + kind_);
      if (json_) printJson(information, {}, {});
      return PDXExitStatus::incomplete;
    }
    PDXMessageReader reader;
    reader.loadConversationsFromDeviceData(&deviceData);
    std::vector<Listed> listed;
    for (const auto* conversation : reader.standardConversations()) {
      if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
      const std::size_t matching = matchingMessages(*conversation);
      if (matching > 0 || !hasFilter()) listed.push_back({conversation, matching});
    }
    if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
    if (json_) {
      printJson(information, listed, problems.problems());
    } else {
      printText(context.console, listed);
    }
    for (const PDXProblem& problem : problems.problems()) {
      PDXConsole::error(problem.what + " could not be read: " + problem.where +
                        (problem.why.empty() ? "" : ": " + problem.why));
    }
    return problems.problems().empty() ? PDXExitStatus::done : PDXExitStatus::incomplete;
  }

  struct Listed {
    const PDXMessagesConversation* conversation;
    std::size_t matching;
  };

  bool hasFilter() const { return !range_.from.empty() || !range_.until.empty() || !range_.search.empty(); }

  /// The messages that an export with the same filter would write; without a filter, as the store counts
  /// them.
  std::size_t matchingMessages(const PDXMessagesConversation& conversation) const {
    if (!hasFilter()) return conversation.conversationDBReader->storedMessageCount(conversation);
    const auto end = range_.endDate();
    return PDXMessageReader::messagesForExport(
               *conversation.conversationDBReader, conversation, range_.startDate(),
               end ? std::optional(PDXDates::startOfNextDay(*end)) : std::nullopt, range_.search)
        .size();
  }

  void printJson(const PDXBackupInformation& information, const std::vector<Listed>& listed,
                 const std::vector<PDXProblem>& problems) const {
    Json document = PDXBackupJson::document(kind_.c_str(), information);
    for (const Listed& entry : listed) {
      Json item = conversationJson(*entry.conversation);
      item[hasFilter() ? "matchingMessages" : "storedMessages"] = entry.matching;
      document["items"].push_back(std::move(item));
    }
    document["problems"] = PDXBackupJson::problems(problems);
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  void printText(const PDXConsole& console, const std::vector<Listed>& listed) const {
    for (const Listed& entry : listed)
      console.line(fmt::format("{:>9}  {}", entry.matching, entry.conversation->title()));
    console.note(fmt::format("{} {}", listed.size(), listed.size() == 1 ? "conversation" : "conversations"));
  }

  PDXBackupOptions backupOptions_;
  std::string kind_;
  bool json_ = false;
  PDXRangeOptions range_;
};

}  // namespace

std::unique_ptr<PDXCommand> makeListCommand() { return std::make_unique<ListCommand>(); }
