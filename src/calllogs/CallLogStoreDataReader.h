#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calllogs/CallLogReader.h"

/// Reads the newer call history, which the systems from 8 on have.
///
/// Source: a local copy of "Library/CallHistoryDB/CallHistory.storedata", tables ZCALLRECORD and, from 12 on,
/// ZHANDLE with a table that joins both. The reader adds a column to the copy.
class PDXCallLogStoreDataReader : public PDXCallLogReader {
 public:
  /// Local copies; need not exist.
  PDXCallLogStoreDataReader(std::string callStoreDataPath, std::string contactsDbPath,
                            std::string mobileSMSPlistPath);

  std::vector<PDXCallLogParticipantGroup> getCallLogParticipantList() override;
  std::vector<PDXCallLogEntry> getCallLogForParticipantGroup(
      const PDXCallLogParticipantGroup& group) override;
  std::vector<PDXCallLog> getCallLogs() override;
  std::optional<std::size_t> storedCallCount() const override;

 private:
  struct Record;
  class Grouping;

  void addExtractedAddressColumn_() const;
  std::vector<Record> readRecords_(const PDXSQLiteDatabase& store) const;
  void addParticipants_(const PDXSQLiteDatabase& store, std::vector<Record>& records, Grouping& grouping);
};
