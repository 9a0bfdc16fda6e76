#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "app/cli/Console.h"
#include "app/cli/ExitStatus.h"

namespace CLI {
class App;
}

/// What a subcommand works with.
struct PDXCommandContext {
  PDXConsole& console;
  std::stop_token stop;
};

/// One subcommand: adds its options to the parser, and does its work once they are parsed.
class PDXCommand {
 public:
  virtual ~PDXCommand() = default;
  virtual void addOptions(CLI::App& app) = 0;
  virtual PDXExitStatus run(PDXCommandContext& context) = 0;
};

/// An entry of the table of subcommands.
struct PDXCommandEntry {
  const char* name;
  const char* help;
  std::unique_ptr<PDXCommand> (*make)();
};

std::unique_ptr<PDXCommand> makeBackupsCommand();
std::unique_ptr<PDXCommand> makeInfoCommand();
std::unique_ptr<PDXCommand> makeCheckCommand();
std::unique_ptr<PDXCommand> makeDomainsCommand();
std::unique_ptr<PDXCommand> makeFilesCommand();
std::unique_ptr<PDXCommand> makeGetCommand();
std::unique_ptr<PDXCommand> makeListCommand();
std::unique_ptr<PDXCommand> makeExportCommand();
std::unique_ptr<PDXCommand> makeMakeCommand();
std::unique_ptr<PDXCommand> makeSampleCommand();
