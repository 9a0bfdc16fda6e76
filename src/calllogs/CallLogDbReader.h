#pragma once

#include "calllogs/CallLogReader.h"

/// Reads the older call history, which the systems before 8 have.
///
/// Source: a local copy of "Library/CallHistory/call_history.db", table call.
class PDXCallLogDbReader : public PDXCallLogReader {
 public:
  /// Local copies; need not exist.
  PDXCallLogDbReader(std::string callLogDbPath, std::string contactsDbPath, std::string mobileSMSPlistPath)
      : PDXCallLogReader(std::move(callLogDbPath), std::move(contactsDbPath), std::move(mobileSMSPlistPath)) {
  }

  std::vector<PDXCallLogParticipantGroup> getCallLogParticipantList() override;
  std::vector<PDXCallLogEntry> getCallLogForParticipantGroup(
      const PDXCallLogParticipantGroup& group) override;
  std::vector<PDXCallLog> getCallLogs() override;
  std::optional<std::size_t> storedCallCount() const override;

 private:
  std::vector<PDXCallLogParticipant> getParticipants_(const PDXSQLiteDatabase& store);
  static std::vector<PDXCallLogParticipant> GroupParticipantsFromDictionary(
      const std::vector<PDXCallLogParticipant>& participants);
};
