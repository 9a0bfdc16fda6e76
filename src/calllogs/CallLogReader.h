#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backup/ReachableRows.h"
#include "calllogs/CallLogNames.h"
#include "calllogs/CallLogParticipantGroup.h"
#include "platform/Sqlite.h"

class PDXDeviceData;

/// Reads a call history in either generation of its store.
///
/// Names come from the loaded contacts and the preferences of the messages application.
/// Errors: none leave the reader. A store that is missing, damaged or of another kind gives an empty list;
/// calls read before the damage are kept, and a value that makes no sense costs itself alone. The log says
/// so.
/// Threads: one reader, one thread.
class PDXCallLogReader {
 public:
  virtual ~PDXCallLogReader() = default;

  /// The reader for what the backup holds: of the newer store, else of the older database. Loads the contacts
  /// unless they are. Null when the backup holds neither.
  static std::unique_ptr<PDXCallLogReader> forDeviceData(PDXDeviceData& deviceData);

  /// Whether there is a call history to read.
  bool loadCallLog() const;

  /// Who called and was called, in the order in which the store has them; of the older database by name.
  virtual std::vector<PDXCallLogParticipantGroup> getCallLogParticipantList() = 0;

  /// The calls of a group by date. Of the newer store only those by the group's own provider, of the older
  /// database none when the group has several addresses; `getCallLogs` has them all.
  virtual std::vector<PDXCallLogEntry> getCallLogForParticipantGroup(
      const PDXCallLogParticipantGroup& group) = 0;

  /// Every call of the store in its group, by date. Groups are those of the list above, in its order, and
  /// behind them callers without an address where the list leaves them out.
  virtual std::vector<PDXCallLog> getCallLogs() = 0;

  /// The calls in the store, counted apart from what reads them; nothing when that fails.
  virtual std::optional<std::size_t> storedCallCount() const = 0;

  const std::string& callLogDbPath() const { return callLogDbPath_; }

 protected:
  PDXCallLogReader(std::string callLogDbPath, std::string contactsDbPath, std::string mobileSMSPlistPath)
      : callLogDbPath_(std::move(callLogDbPath)),
        contactsDbPath_(std::move(contactsDbPath)),
        mobileSMSPlistPath_(std::move(mobileSMSPlistPath)),
        names_(contactsDbPath_, mobileSMSPlistPath_) {}

  /// Says in the log why no statement can be made.
  void reportUnreadable_(const PDXSQLiteDatabase& store) const;

  /// Says in the log when the rows ended in damage.
  void reportEnd_(const PDXSQLiteStatement& rows) const;
  void reportEnd_(const PDXReachableRows::Outcome& outcome) const;

  std::string callLogDbPath_;
  std::string contactsDbPath_;
  std::string mobileSMSPlistPath_;
  PDXCallLogNames names_;
};
