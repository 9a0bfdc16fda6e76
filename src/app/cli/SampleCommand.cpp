#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdint>
#include <string>

#include "app/cli/Command.h"
#include "backup/BackupInformation.h"
#include "platform/Files.h"
#include "platform/Terminal.h"
#include "samples/SampleBackup.h"

namespace {

/// The library would take a number that is negative or too large for another one.
std::string seedMistake(const std::string& text) {
  std::uint64_t seed = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
  const bool isSeed = error == std::errc() && end == text.data() + text.size();
  return isSeed ? "" : "\"" + text + "\" is no whole number from 0 to 18446744073709551615";
}

class SampleCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    app.add_option("DIR", options_.folder, "A new or empty folder for the backup")->required();
    app.add_option("--messages", options_.messages, "How many messages")->check(CLI::Range(0, 20'000'000));
    app.add_option("--seed", options_.seed, "The same seed gives the same bytes")->check(seedMistake);
    auto* encrypted = app.add_option("--encrypted", passwordFile_,
                                     "Encrypt it; the first line of this file is the password (- is standard "
                                     "input)");
    app.add_option("--rounds", options_.rounds, "Rounds of the first stage of the password's key")
        ->check(CLI::Range(1, 90'000'000))
        ->needs(encrypted);
    app.add_option("--generation", generation_, "modern, or legacy: as systems before 10 made it")
        ->check(CLI::IsMember({"modern", "legacy"}));
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    const std::string around =
        PDXBackupInformation::backupAround(PDXFiles::folderOf(PDXFiles::absolute(options_.folder)));
    if (!around.empty()) {
      PDXConsole::error("cannot write to " + options_.folder + ": it lies in the backup " + around +
                        ", which is never changed; choose another folder");
      return PDXExitStatus::usage;
    }
    if (!passwordFile_.empty()) {
      const auto password = PDXTerminal::firstLineOf(passwordFile_, context.stop);
      if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
      if (!password) {
        PDXConsole::error("the password file " + passwordFile_ +
                          " cannot be read: give a file that begins with one");
        return PDXExitStatus::usage;
      }
      options_.password.emplace(password->begin(), password->end());
      if (options_.password->empty()) {
        PDXConsole::error("there is no password in the first line of " + passwordFile_ +
                          ": give a file that begins with one");
        return PDXExitStatus::usage;
      }
    }
    if (generation_ == "legacy") options_.generation = PDXSampleOptions::Generation::legacy;
    if (const auto why = PDXSampleBackup::write(options_, context.stop)) {
      if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
      PDXConsole::error(*why);
      return PDXExitStatus::unwritable;
    }
    context.console.note("A sample backup is in " + options_.folder);
    return PDXExitStatus::done;
  }

 private:
  PDXSampleOptions options_;
  std::string passwordFile_;
  std::string generation_ = "modern";
};

}  // namespace

std::unique_ptr<PDXCommand> makeSampleCommand() { return std::make_unique<SampleCommand>(); }
