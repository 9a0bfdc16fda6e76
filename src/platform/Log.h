#pragma once

#include <cstddef>
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

/// Reports problems of one kind, of which a damaged store can have one in each of its rows: the first hundred
/// by themselves, and when it goes out of scope how many more there were.
class PDXProblemSeries {
 public:
  /// @param what   what failed, e.g. "date of a call".
  /// @param store  what the others are in, e.g. the path of a database.
  PDXProblemSeries(std::string what, std::string store);
  ~PDXProblemSeries();
  PDXProblemSeries(const PDXProblemSeries&) = delete;
  PDXProblemSeries& operator=(const PDXProblemSeries&) = delete;

  void add(const std::string& where, const std::string& why);

 private:
  static constexpr std::size_t kMost = 100;

  std::string what_;
  std::string store_;
  std::size_t count_ = 0;
};
