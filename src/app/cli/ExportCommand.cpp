#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

#include "app/cli/Command.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/ContentKinds.h"
#include "app/export/ExportJob.h"
#include "platform/Files.h"

namespace {

/// "1 page", "2 pages".
std::string counted(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

/// Adds an option whose value is one of some words; `target` receives the word's place among them.
void addChoice(CLI::App& app, const std::string& name, std::int32_t& target,
               const std::vector<std::string>& words, const std::string& help) {
  const std::string list = fmt::format("{}", fmt::join(words, ", "));
  app.add_option_function<std::string>(
         name,
         [&target, words](const std::string& word) {
           target = static_cast<std::int32_t>(std::find(words.begin(), words.end(), word) - words.begin());
         },
         help + ": " + list)
      ->type_name("WORD")
      ->check([words, list](const std::string& word) {
        return std::find(words.begin(), words.end(), word) != words.end()
                   ? ""
                   : "\"" + word + "\" is none of " + list;
      });
}

class ExportCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option(
        "KIND", options_.kinds,
        "What to export: messages, contacts, calendars, notes, calls, bookmarks, music. Everything that the "
        "backup holds when left out");
    app.add_option("--to", options_.outputFolder, "The folder to write into; made when missing")->required();
    app.add_flag("--force", options_.isForced,
                 "Write into a folder that has other files in it, none of which is replaced");
    range_.addTo(app);
    app.add_option("--conversation", options_.conversations,
                   "Only the conversation of this title (repeatable)")
        ->take_all()
        ->expected(1);
    app.add_option("--format", formats_, "html, text or both, separated by a comma; text for notes only")
        ->delimiter(',');
    addPageOptions(app);
    music_.addTo(app);
    app.add_flag("--with-files", options_.withFiles, "Copy the files of tracks too; for music");
    app.add_option("--jobs", options_.jobs, "Worker threads")->check(CLI::Range(1U, 256U));
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    if (const auto mistake = mistakeInOptions()) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    if (found && found->refusesOutput(options_.outputFolder)) return PDXExitStatus::usage;
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    if (deviceData != nullptr) found->warnOfState();
    return deviceData == nullptr ? status : exportTo(context, found->information(), *deviceData);
  }

 private:
  void addPageOptions(CLI::App& app) {
    addChoice(app, "--layout", options_.page.exportLayout, {"bubble", "compact"}, "How messages look");
    addChoice(app, "--order", options_.page.messageOrder, {"oldest", "newest"}, "Which messages come first");
    addChoice(app, "--font", options_.page.fontSizeStyle, {"small", "medium", "large", "extra-large"},
              "Size of text");
    app.add_flag("--contact-numbers", options_.page.includeMessageContactNumber,
                 "Senders' numbers beside their names, where they begin with a digit");
    app.add_flag("--contact-pictures", options_.page.includeContactImages,
                 "Senders' pictures, or their initials");
    app.add_flag("--pictures", options_.writesContactPictures,
                 "A picture of each contact beside the cards, or the initials");
  }

  std::optional<std::string> mistakeInOptions() const {
    for (const std::string& kind : options_.kinds) {
      if (auto mistake = exportKindMistake(kind)) return mistake;
      if (auto mistake = range_.mistakeFor(*PDXContentKinds::named(kind))) return mistake;
    }
    if (options_.outputFolder.empty()) return "--to names no folder";
    if (auto mistake = formatMistake()) return mistake;
    if (!options_.conversations.empty() && !takes("messages"))
      return "--conversation is for messages: name them, or leave it out";
    if (auto mistake = music_.mistake(takes("music"))) return mistake;
    if (options_.withFiles && !takes("music")) return "--with-files is for music: name it, or leave it out";
    return range_.mistake();
  }

  bool takes(const std::string& kind) const {
    return options_.kinds.empty() ||
           std::find(options_.kinds.begin(), options_.kinds.end(), kind) != options_.kinds.end();
  }

  bool hasFormat(const std::string& format) const {
    return std::find(formats_.begin(), formats_.end(), format) != formats_.end();
  }

  std::optional<std::string> formatMistake() const {
    for (const std::string& format : formats_) {
      if (format != "html" && format != "text")
        return "there is no format \"" + format + "\": say html, text or html,text";
    }
    const bool isOnlyNotes = options_.kinds == std::vector<std::string>{"notes"};
    if (hasFormat("text") && !isOnlyNotes)
      return "the format \"text\" is not built yet for other kinds than notes: name notes alone, or leave "
             "out "
             "--format";
    return std::nullopt;
  }

  PDXExitStatus exportTo(PDXCommandContext& context, const PDXBackupInformation& information,
                         PDXDeviceData& deviceData) {
    options_.startDate = range_.startDate();
    options_.endDate = range_.endDate();
    options_.searchTerm = range_.search;
    options_.libraryFile = music_.library;
    options_.writesHtml = hasFormat("html");
    options_.writesText = hasFormat("text");
    options_.outputFolder = PDXFiles::absolute(options_.outputFolder);
    const std::stop_callback close(context.stop, [&deviceData] { deviceData.setAppIsClosing(true); });
    PDXExportJob job(deviceData, information, options_);
    if (const auto mistake = job.prepare(); mistake && !context.stop.stop_requested()) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    const auto progress = [&context](const std::string& what, std::size_t done, std::size_t total) {
      context.console.progress(what, done, total);
    };
    const PDXExportReport report = job.run(progress, context.stop);
    context.console.endProgress();
    return summarised(context.console, report);
  }

  PDXExitStatus summarised(const PDXConsole& console, const PDXExportReport& report) const {
    if (report.outcome == PDXExportReport::Outcome::stopped) return PDXExitStatus::interrupted;
    if (report.outcome == PDXExportReport::Outcome::refused) {
      PDXConsole::error(report.why);
      return PDXExitStatus::usage;
    }
    if (report.outcome == PDXExportReport::Outcome::unwritable) {
      return saysUnwritable(report.unwritablePath, report.why);
    }
    for (const PDXKindReport& kind : report.kinds) {
      summarise(console, kind);
      for (const PDXStoreAccount& account : kind.accounts) {
        if (const std::string text = account.text(); !text.empty()) PDXConsole::error(text);
      }
    }
    for (const std::string& kind : report.notHeld) PDXConsole::error("the backup holds no " + kind);
    for (const PDXProblem& problem : report.problems) PDXConsole::problem(problem);
    for (const PDXKindReport& kind : report.kinds) {
      for (const PDXProblem& problem : kind.unwritten)
        PDXConsole::error("cannot write " + problem.where + ": " + problem.why);
    }
    if (!report.inTheWay.empty()) {
      console.note(
          fmt::format("{} as they are, and ours got other names: export.json names them",
                      counted(report.inTheWay.size(), "file of others stays", "files of others stay")));
    }
    if (!report.notConcerned.empty()) {
      console.note(fmt::format("Left out, as the filters say nothing about them: {}",
                               fmt::join(report.notConcerned, ", ")));
    }
    if (!report.notBuilt.empty()) {
      console.note(fmt::format("Not built yet, and left out: {}", fmt::join(report.notBuilt, ", ")));
    }
    console.note("Open " + report.startPage);
    return report.isComplete() ? PDXExitStatus::done : PDXExitStatus::incomplete;
  }

  static void summariseFiles(const PDXConsole& console, const PDXKindReport& kind) {
    console.note(fmt::format("{}: {}", kind.title, counted(kind.rows->written, "contact", "contacts")));
    if (kind.pictures) console.note("  " + counted(*kind.pictures, "picture", "pictures"));
    if (kind.filtered > 0) {
      console.note(
          fmt::format("  {} left out: nothing matches", counted(kind.filtered, "contact", "contacts")));
    }
    if (kind.rows->unaccounted() != 0) {
      PDXConsole::error(fmt::format("{} rows of {} are unaccounted for: export.json has the figures",
                                    kind.rows->unaccounted(), kind.rows->table));
    }
  }

  static void summariseNotes(const PDXConsole& console, const PDXKindReport& kind) {
    const PDXNotesReport& notes = *kind.notes;
    console.note(fmt::format("{}: {}, {}", kind.title, counted(kind.written.size(), "note", "notes"),
                             counted(kind.attachmentCount(), "attachment", "attachments")));
    if (notes.rows && notes.rows->leftOutRows() > 0) {
      console.note(fmt::format("  {} left out: {}", counted(notes.rows->leftOutRows(), "note", "notes"),
                               notes.rows->leftOutText()));
    }
    if (notes.rows && notes.rows->unaccounted != 0) {
      PDXConsole::error(
          fmt::format("{} notes are unaccounted for: export.json has the figures", notes.rows->unaccounted));
    }
    if (!notes.unreached.empty()) {
      console.note(fmt::format("  {} not shown: export.json names them",
                               counted(notes.unreached.size(), "part of a note is", "parts of notes are")));
    }
    summariseProblems(console, kind);
  }

  static void summariseEntries(const PDXConsole& console, const PDXKindReport& kind) {
    const PDXEntriesReport& entries = *kind.entries;
    const std::string files = entries.files ? ", " + counted(*entries.files, "file", "files") : "";
    console.note(fmt::format("{}: {}{}", kind.title, entries.textOf(entries.written), files));
    if (const std::string leftOut = entries.leftOutText(); !leftOut.empty()) console.note("  " + leftOut);
    if (const std::string held = entries.notCopiedText(); !held.empty()) console.note("  " + held);
    if (entries.rows && entries.rows->unaccounted != 0) {
      PDXConsole::error(fmt::format("{} {} are unaccounted for: export.json has the figures",
                                    entries.rows->unaccounted, entries.many));
    }
    summariseProblems(console, kind);
  }

  static void summarise(const PDXConsole& console, const PDXKindReport& kind) {
    if (kind.entries) return summariseEntries(console, kind);
    if (kind.rows) return summariseFiles(console, kind);
    if (kind.notes) return summariseNotes(console, kind);
    console.note(fmt::format("{}: {}, {}, {}", kind.title,
                             counted(kind.written.size(), "conversation", "conversations"),
                             counted(kind.messageCount(), "message", "messages"),
                             counted(kind.attachmentCount(), "attachment", "attachments")));
    summariseRows(console, kind);
    if (kind.filtered > 0) {
      console.note(fmt::format("  {} left out: nothing in them matches",
                               counted(kind.filtered, "conversation", "conversations")));
    }
    if (kind.neverDownloaded > 0) {
      console.note(fmt::format("  {} never downloaded to the device",
                               counted(kind.neverDownloaded, "attachment was", "attachments were")));
    }
    summariseProblems(console, kind);
  }

  static void summariseProblems(const PDXConsole& console, const PDXKindReport& kind) {
    if (!kind.missing.empty()) {
      const std::string missing = kind.entries
                                      ? counted(kind.missing.size(), "file is", "files are")
                                      : counted(kind.missing.size(), "attachment is", "attachments are");
      console.note(fmt::format("  {} not in the backup: export.json names them", missing));
    }
    if (!kind.savedAsText.empty()) {
      console.note(fmt::format("  {} saved as text, since browsers would open {}: export.json names them",
                               counted(kind.savedAsText.size(), "attachment was", "attachments were"),
                               kind.savedAsText.size() == 1 ? "it as a page" : "them as pages"));
    }
    if (!kind.notTurned.empty()) {
      // Of notes these may be files of any kind, where a picture was said to be.
      console.note(kind.notes
                       ? fmt::format("  {} copied unchanged: export.json names them",
                                     counted(kind.notTurned.size(), "attachment was", "attachments were"))
                       : fmt::format("  {} not be turned upright: export.json names them",
                                     counted(kind.notTurned.size(), "picture could", "pictures could")));
    }
    for (const PDXProblem& problem : kind.unreadable) PDXConsole::problem(problem);
  }

  static void summariseRows(const PDXConsole& console, const PDXKindReport& kind) {
    if (!kind.messageRows) return;
    if (const std::size_t leftOut = kind.messageRows->leftOutRows(); leftOut > 0) {
      console.note(fmt::format("  {} left out: {}", counted(leftOut, "message", "messages"),
                               kind.messageRows->leftOutText()));
    }
    if (kind.messageRows->unaccounted != 0) {
      console.note(fmt::format("  unaccounted messages: {}", kind.messageRows->unaccounted));
    }
  }

  static PDXExitStatus saysUnwritable(const std::string& path, const std::string& why) {
    PDXConsole::error("cannot write " + path + ": " + why + "; choose another folder, or make room");
    return PDXExitStatus::unwritable;
  }

  PDXBackupOptions backupOptions_;
  std::vector<std::string> formats_ = {"html"};
  PDXRangeOptions range_;
  PDXMusicOptions music_;
  PDXExportOptions options_ = [] {
    PDXExportOptions options;
    options.jobs = std::max(1U, std::thread::hardware_concurrency());
    return options;
  }();
};

}  // namespace

std::unique_ptr<PDXCommand> makeExportCommand() { return std::make_unique<ExportCommand>(); }
