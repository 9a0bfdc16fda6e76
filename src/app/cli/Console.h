#pragma once

#include <cstddef>
#include <string>

struct PDXProblem;

/// What the command says: results on standard output, errors and progress on standard error.
class PDXConsole {
 public:
  bool quiet = false;
  bool noProgress = false;

  /// A line of the result.
  void line(const std::string& text) const;

  /// A line beside the result, not said when quiet.
  void note(const std::string& text) const;

  /// One line, "pocketdex: …". Control characters in it are shown as "?", so that a name from a backup cannot
  /// write on the terminal.
  static void error(const std::string& text);

  /// The same for something that could not be read.
  static void problem(const PDXProblem& problem);

  /// Shows how far the work has come, when standard error is a terminal.
  void progress(const std::string& what, std::size_t done, std::size_t total);

  /// The same for work whose end is not known.
  void progressText(const std::string& text);

  /// Whether everything said on standard output has arrived. A reader that went away counts as content.
  static bool outputArrived();

  /// Removes the progress line.
  void endProgress();

 private:
  bool isHidden_() const;

  bool isShowing_ = false;
  int lastShown_ = -1;
};
