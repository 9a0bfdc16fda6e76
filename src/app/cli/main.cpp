#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

#include "app/cli/Command.h"
#include "app/cli/Interrupt.h"
#include "app/cli/OutOfMemory.h"
#include "app/export/NearestNames.h"
#include "platform/Files.h"
#include "platform/Localisation.h"
#include "platform/Log.h"
#include "platform/Process.h"
#include "platform/Sqlite.h"

namespace {

const PDXCommandEntry kCommands[] = {
    {"backups", "Lists the backups in the places where they are kept", makeBackupsCommand},
    {"info", "Says what a backup is and what it holds", makeInfoCommand},
    {"check", "Compares a backup's manifest with its stored files", makeCheckCommand},
    {"domains", "Lists the domains of a backup", makeDomainsCommand},
    {"files", "Lists the files of a backup", makeFilesCommand},
    {"get", "Copies files out of a backup", makeGetCommand},
    {"list", "Lists content without writing files", makeListCommand},
    {"export", "Writes content as files that open for ever", makeExportCommand},
    {"make", "Has a backup made of a connected device", makeMakeCommand},
    {"sample", "Writes a sample backup to try everything on", makeSampleCommand},
};

struct Parsed {
  bool quiet = false;
  bool verbose = false;
  bool noProgress = false;
  std::vector<std::pair<CLI::App*, std::unique_ptr<PDXCommand>>> commands;
};

void addEverything(CLI::App& app, Parsed& parsed) {
  app.require_subcommand(1);
  app.set_version_flag("--version", "pocketdex " POCKETDEX_VERSION);
  app.add_flag("--quiet", parsed.quiet, "Only errors and what was asked for");
  app.add_flag("--verbose", parsed.verbose, "Say every problem as it comes");
  app.add_flag("--no-progress", parsed.noProgress, "No progress bar");
  for (const PDXCommandEntry& entry : kCommands) {
    CLI::App* subcommand = app.add_subcommand(entry.name, entry.help);
    subcommand->fallthrough();
    auto command = entry.make();
    command->addOptions(*subcommand);
    parsed.commands.emplace_back(subcommand, std::move(command));
  }
}

/// The first option on the command line that neither the program nor the command knows; "" when all are
/// known. CLI11 names a missing argument first, of which the mistyped option may be the reason.
std::string unknownOption(const CLI::App& app, const CLI::App* command, int count, char** arguments) {
  for (int i = 1; i < count && std::string_view(arguments[i]) != "--"; ++i) {
    std::string name = arguments[i];
    name.resize(std::min(name.find('='), name.size()));
    const bool isOption = name.size() > 2 && name.starts_with("--");
    const bool isKnown = app.get_option_no_throw(name) != nullptr ||
                         (command != nullptr && command->get_option_no_throw(name) != nullptr);
    if (isOption && !isKnown) return name;
  }
  return "";
}

std::vector<std::string> optionNames(const CLI::App& app, const CLI::App* command) {
  std::vector<std::string> names;
  for (const CLI::App* each : {&app, command}) {
    if (each == nullptr) continue;
    for (const CLI::Option* option : each->get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

/// A mistake in the command line as one line; CLI11 gives several for some.
PDXExitStatus saysMistake(const CLI::App& app, const CLI::ParseError& error, int count, char** arguments) {
  if (error.get_exit_code() == 0) {
    app.exit(error);
    return PDXExitStatus::done;
  }
  const std::string first = count > 1 ? arguments[1] : "";
  std::vector<std::string> names;
  for (const PDXCommandEntry& entry : kCommands) names.emplace_back(entry.name);
  const bool isCommand = std::find(names.begin(), names.end(), first) != names.end();
  if (first.empty()) {
    PDXConsole::error("a command is missing; `pocketdex --help` lists them");
  } else if (!isCommand && !first.starts_with('-')) {
    PDXConsole::error("there is no command \"" + first + "\"" + nearestNamesHint(first, names) +
                      "; `pocketdex --help` lists them");
  } else {
    const CLI::App* command = isCommand ? app.get_subcommand(first) : nullptr;
    const std::string unknown = unknownOption(app, command, count, arguments);
    const std::string text = error.what();
    const std::string mistake = unknown.empty() ? text.substr(0, text.find('\n'))
                                                : "there is no option " + unknown +
                                                      nearestNamesHint(unknown, optionNames(app, command));
    PDXConsole::error(mistake + " (`pocketdex " + (isCommand ? first + " " : "") + "--help` explains)");
  }
  return PDXExitStatus::usage;
}

PDXExitStatus runParsed(Parsed& parsed) {
  PDXInterrupt interrupt;
  const PDXTemporaryRun scratch;
  if (scratch.path().empty()) {
    PDXConsole::error("cannot make a scratch folder in " + PDXFiles::temporary() +
                      ": make room there, or set TMPDIR");
    return PDXExitStatus::unwritable;
  }
  const PDXOutOfMemory::ScratchFolder removed(scratch.path());
  interrupt.watch(scratch.path());
  PDXSQLiteDatabase::interruptWith(interrupt.token());
  PDXLog::setVerbose(parsed.verbose);
  PDXConsole console;
  console.quiet = parsed.quiet;
  console.noProgress = parsed.noProgress;
  PDXCommandContext context{.console = console, .stop = interrupt.token()};
  PDXExitStatus status = PDXExitStatus::usage;
  for (auto& [app, command] : parsed.commands) {
    if (app->parsed()) status = command->run(context);
  }
  console.endProgress();
  if (status == PDXExitStatus::interrupted) PDXConsole::error("stopped");
  if (!PDXConsole::outputArrived()) {
    PDXConsole::error("cannot write to standard output: it is full or closed");
    return PDXExitStatus::unwritable;
  }
  return status;
}

int run(int count, char** arguments) {
  PDXLocalisation::start(POCKETDEX_LOCALE_FOLDER);
  CLI::App app("Opens a phone's backup folder and exports what is in it, offline.", "pocketdex");
  Parsed parsed;
  addEverything(app, parsed);
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    return static_cast<int>(saysMistake(app, error, count, arguments));
  }
  return static_cast<int>(runParsed(parsed));
}

}  // namespace

int main(int count, char** arguments) {
  PDXProcess::prepare();
  PDXOutOfMemory::watch();
  try {
    return run(count, arguments);
  } catch (const std::bad_alloc&) {  // Files that were begun have been taken back.
    return static_cast<int>(PDXOutOfMemory::say());
  } catch (const std::system_error& error) {  // No thread, for which memory is missing as a rule.
    if (error.code() == std::errc::resource_unavailable_try_again)
      return static_cast<int>(PDXOutOfMemory::say());
    std::fprintf(stderr, "pocketdex: cannot go on: %s\n", error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "pocketdex: cannot go on: %s\n", error.what());
  }
  return static_cast<int>(PDXExitStatus::incomplete);
}
