#pragma once

#include <stop_token>
#include <string>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "contacts/ContactEntry.h"

class PDXDeviceData;

/// People of the address book, for lists and exports.
struct PDXContactList {
  /// In list order. Those behind have neither name nor organisation; see
  /// PDXContactsDatabaseReader::readContactsWithoutName.
  std::vector<PDXContactEntry> contacts;

  std::size_t filtered = 0;  ///< Contacts that the search did not find.
  /// Of the pictures: how many people the store has one of, nothing when they cannot be counted.
  std::optional<std::size_t> pictured;
  bool hasPictureStore = false;
  std::string whyNotCounted;  ///< Why `rows` tells no number of rows; "" when it does.
  PDXContactRows rows;        ///< What became of the rows of ABPerson; nothing is written yet.
};

namespace PDXContactsExport {

/// Reads the address book of a backup, and loads the contacts store with it.
/// @param search  only who has it, in any case, in name, organisation, nickname, number, address, e-mail
/// address
///                or note; a number matches in every spelling. Empty for everybody.
PDXContactList read(PDXDeviceData& deviceData, const std::string& search);

/// Writes "Contacts/Contacts.vcf" and "Contacts/Contacts.csv" below the output folder, unless there is
/// nobody; and a face for everybody into "Contacts/pictures" when the options ask for it.
/// @param report  receives the failure when they cannot be written.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const PDXProgressSink& progress, const std::stop_token& stop);

}  // namespace PDXContactsExport
