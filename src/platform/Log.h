#pragma once

#include <functional>
#include <string>

/// Something that could not be read or written. Each text fits on one line.
struct PDXProblem {
  std::string what;   ///< What failed, e.g. "messages".
  std::string where;  ///< On what: a file, a row, a conversation.
  std::string why;    ///< Why, as far as it is known; may be empty.

  friend bool operator==(const PDXProblem&, const PDXProblem&) = default;
};

/// Where quiet code says what failed. Readers answer empty and say why here, once; whoever makes a
/// report (the export job) listens. Safe on any thread.
class PDXLog {
 public:
  using Listener = std::function<void(const PDXProblem&)>;

  /// Hands `problem` to the listener and, when verbose, writes it to standard error.
  static void report(const PDXProblem& problem);

  /// Replaces the process's one listener; an empty one stops listening. Returns the one before.
  /// The listener is called on the reporting thread, one call at a time, and must not report.
  static Listener listen(Listener listener);

  /// Whether reports also go to standard error as they come; off at start.
  static void setVerbose(bool verbose);
};
