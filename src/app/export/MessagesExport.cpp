#include "app/export/MessagesExport.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <utility>

#include "app/export/FreeSpace.h"
#include "backup/DeviceData.h"
#include "messages/ConversationHTMLExporter.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Workers.h"

namespace {

constexpr std::string_view kMediaSuffix = " Media";

/// One conversation and the name of its page, without extension.
struct Task {
  const PDXMessagesConversation* conversation;
  std::string title;
  std::string name;
};

struct Result {
  bool isFiltered = false;
  PDXConversationExportResult page;
};

bool isNamed(const std::string& title, const PDXExportOptions& options) {
  return std::find(options.conversations.begin(), options.conversations.end(), title) !=
         options.conversations.end();
}

bool isTaken(const std::string& title, const PDXExportOptions& options) {
  return options.conversations.empty() || isNamed(title, options);
}

std::string pageOf(const std::string& folder, const std::string& name) {
  return PDXFiles::joined(folder, name + ".html");
}

std::string mediaOf(const std::string& folder, const std::string& name) {
  return PDXFiles::joined(folder, name + std::string(kMediaSuffix));
}

/// The conversations to write. Names are given to all of them, so that a filter does not change them.
std::vector<Task> tasksFor(const std::vector<PDXMessagesConversation*>& conversations,
                           const PDXExportOptions& options, const std::string& folder) {
  PDXUniqueFileNames names(kMediaSuffix.size(), [&](const std::string& name) {
    return PDXFiles::isTaken(pageOf(folder, name)) || PDXFiles::isTaken(mediaOf(folder, name));
  });
  std::vector<Task> tasks;
  for (const PDXMessagesConversation* conversation : conversations) {
    std::string title = conversation->title();
    std::string name = names.nameFor(title);
    if (!isTaken(title, options)) continue;
    tasks.push_back({conversation, std::move(title), std::move(name)});
  }
  return tasks;
}

/// Takes the tasks in order, each worker with a reader and so a database connection of its own.
class Workers {
 public:
  Workers(PDXDeviceData& deviceData, const PDXExportOptions& options, const std::string& folder,
          const PDXProgressSink& progress, const std::stop_token& stop)
      : deviceData_(deviceData),
        options_(options),
        folder_(folder),
        space_(deviceData, options, "MediaDomain"),
        progress_(progress),
        stopWithUser_(stop, [this] { stop_.request_stop(); }) {}

  std::vector<Result> run(const std::vector<Task>& tasks) {
    results_.resize(tasks.size());
    const auto count = static_cast<unsigned>(std::min<std::size_t>(options_.jobs, tasks.size()));
    PDXWorkers::run(
        count, [&](unsigned) { work(tasks); }, [this] { stop_.request_stop(); });
    return std::move(results_);
  }

 private:
  void work(const std::vector<Task>& tasks) {
    std::unique_ptr<PDXMessagesReader> reader;
    for (std::size_t i = next_++; i < tasks.size() && !stop_.stop_requested(); i = next_++) {
      if (reader == nullptr) reader = tasks[i].conversation->conversationDBReader->forAnotherThread();
      results_[i] = exportTask(tasks[i], *reader);
      if (results_[i].page.outcome == PDXConversationExportResult::Outcome::unwritable) stop_.request_stop();
      const std::lock_guard guard(progressLock_);
      if (progress_) progress_("Messages", ++done_, tasks.size());
    }
  }

  Result exportTask(const Task& task, PDXMessagesReader& reader) {
    const auto messages = PDXMessageReader::messagesForExport(reader, *task.conversation, options_.startDate,
                                                              options_.behindEnd(), options_.searchTerm);
    if (messages.empty() && options_.hasFilter() && !isNamed(task.title, options_))
      return {.isFiltered = true, .page = {}};
    if (const auto room = roomFor(messages, mediaOf(folder_, task.name)); !room) {
      Result full;
      full.page.outcome = PDXConversationExportResult::Outcome::unwritable;
      full.page.unwritten.emplace_back(pageOf(folder_, task.name), room);
      return full;
    }
    PDXConversationHTMLExporter exporter(deviceData_, deviceData_.systemVersion());
    const std::stop_callback terminate(stop_.get_token(), [&exporter] { exporter.terminate(); });
    return {.isFiltered = false,
            .page = exporter.exportConversationMessagesWithOptions(*task.conversation, messages,
                                                                   pageOptions(task))};
  }

  /// Whether the attachments fit, before the first of them is copied.
  PDXFiles::CopyResult roomFor(const std::vector<PDXMessageDetail>& messages,
                               const std::string& media) const {
    std::vector<std::string> paths;
    for (const PDXMessageDetail& message : messages) {
      for (const PDXMessagePiece& piece : message.messagePieces) {
        if (piece.isFile)
          paths.push_back(
              PDXConversationExporterUtilities::getBackupPathForStandardLocation(piece.contentLocation));
      }
    }
    return paths.empty() ? PDXFiles::CopyResult() : space_.roomFor(paths, media);
  }

  PDXConversationExportOptions pageOptions(const Task& task) const {
    PDXConversationExportOptions page = options_.page;
    page.path = pageOf(folder_, task.name);
    page.mediaPath = mediaOf(folder_, task.name);
    page.startDate = options_.startDate;
    page.endDate = options_.endDate;
    page.searchTerm = options_.searchTerm;
    page.savesPagesAsText = true;
    return page;
  }

  PDXDeviceData& deviceData_;
  const PDXExportOptions& options_;
  std::string folder_;
  const PDXFreeSpace space_;
  const PDXProgressSink& progress_;
  std::stop_source stop_;
  std::stop_callback<std::function<void()>> stopWithUser_;
  std::vector<Result> results_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex progressLock_;
  std::size_t done_ = 0;
};

/// The problem with the page's title in front of the place, since a store's path alone tells nobody much.
void append(std::vector<PDXProblem>& target, const std::vector<PDXProblem>& problems,
            const std::string& title) {
  for (PDXProblem problem : problems) {
    problem.where = title + ": " + problem.where;
    target.push_back(std::move(problem));
  }
}

void addTo(PDXKindReport& kind, PDXExportReport& report, const Task& task, const Result& result,
           const PDXExportOptions& options) {
  using Outcome = PDXConversationExportResult::Outcome;
  const PDXConversationExportResult& page = result.page;
  if (result.isFiltered) {
    ++kind.filtered;
    return;
  }
  for (const auto& [path, failure] : page.unwritten) report.noteUnwritten(kind, path, failure);
  if (page.outcome != Outcome::written || page.pagePath.empty()) return;
  kind.written.push_back({.title = task.title,
                          .path = options.relative(page.pagePath),
                          .messages = page.messages,
                          .attachments = page.attachments});
  kind.neverDownloaded += page.neverDownloaded;
  append(kind.missing, page.missing, task.title);
  append(kind.unreadable, page.unreadable, task.title);
  append(kind.savedAsText, page.savedAsText, task.title);
  append(kind.notTurned, page.notTurned, task.title);
}

}  // namespace

PDXKindReport PDXMessagesExport::run(PDXDeviceData& deviceData,
                                     const std::vector<PDXMessagesConversation*>& conversations,
                                     const PDXExportOptions& options, const std::string& folder,
                                     PDXExportReport& report, const PDXProgressSink& progress,
                                     const std::stop_token& stop) {
  PDXKindReport kind;
  kind.found = conversations.size();
  const std::string place = PDXFiles::freeFolder(PDXFiles::joined(options.outputFolder, folder));
  const auto tasks = tasksFor(conversations, options, place);
  const auto results = Workers(deviceData, options, place, progress, stop).run(tasks);
  for (std::size_t i = 0; i < tasks.size(); ++i) addTo(kind, report, tasks[i], results[i], options);
  return kind;
}

std::vector<const PDXMessagesConversation*> PDXMessagesExport::leftOut(
    const std::vector<PDXMessagesConversation*>& conversations, const PDXExportOptions& options) {
  std::vector<const PDXMessagesConversation*> others;
  std::copy_if(conversations.begin(), conversations.end(), std::back_inserter(others),
               [&](const auto* conversation) { return !isTaken(conversation->title(), options); });
  return others;
}
