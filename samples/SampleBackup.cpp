#include "samples/SampleBackup.h"

#include "platform/Crypto.h"
#include "platform/Files.h"
#include "samples/AddressBook.h"
#include "samples/BackupFolder.h"
#include "samples/Bookmarks.h"
#include "samples/Calendars.h"
#include "samples/Calls.h"
#include "samples/Messages.h"
#include "samples/Music.h"
#include "samples/Notes.h"
#include "samples/OtherFiles.h"
#include "samples/People.h"
#include "samples/Random.h"

namespace {

PDXSampleDevice deviceOf(const PDXSampleOptions& options) {
  PDXSampleRandom random(options.seed, 6);
  PDXSampleDevice device = PDXSampleDevice::of(options.generation);
  const std::string guid = random.guid();
  if (options.generation == PDXSampleOptions::Generation::legacy) {
    device.identifier = sha_1(guid);
  } else {
    // Sixteen characters follow what all devices of the newer kinds share.
    device.identifier = "00008120-" + guid.substr(0, 8) + guid.substr(24, 8);
  }
  device.applications = PDXSampleOtherFiles::applications();
  return device;
}

std::string addAddressBook(PDXSampleBackupFolder& folder, const std::vector<PDXSamplePerson>& people,
                           std::uint64_t seed, const std::stop_token& stop) {
  const std::string book = PDXFiles::joined(folder.workFolder(), "AddressBook.sqlitedb");
  const std::string pictures = PDXFiles::joined(folder.workFolder(), "AddressBookImages.sqlitedb");
  std::string why = PDXSampleAddressBook::write(book, people, seed);
  if (why.empty()) why = PDXSampleAddressBook::writePictures(pictures, people, seed, stop);
  if (!why.empty()) return why;
  folder.takeFile("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb", book);
  folder.takeFile("HomeDomain", "Library/AddressBook/AddressBookImages.sqlitedb", pictures);
  return "";
}

/// The system's version, for what the system of one form keeps in another layout than that of the other.
int versionOf(PDXSampleOptions::Generation generation) {
  return generation == PDXSampleOptions::Generation::modern ? 17 : 9;
}

std::string addContent(PDXSampleBackupFolder& folder, const PDXSampleOptions& options,
                       const std::stop_token& stop) {
  const auto people = PDXSamplePeople::all(options.seed);
  std::string why = addAddressBook(folder, people, options.seed, stop);
  if (why.empty()) why = PDXSampleMessages::write(folder, people, options.messages, options.seed, stop);
  if (!why.empty()) return why;
  PDXSampleOtherFiles::addPreferences(folder);
  PDXSampleOtherFiles::addPhotographs(folder, options.seed, stop);
  PDXSampleOtherFiles::addApplications(folder);
  why = PDXSampleNotes::write(folder, options.seed, stop);
  if (why.empty()) why = PDXSampleCalls::write(folder, options.seed, versionOf(options.generation));
  if (why.empty()) why = PDXSampleCalendars::write(folder, versionOf(options.generation));
  if (why.empty()) why = PDXSampleBookmarks::write(folder, versionOf(options.generation));
  if (why.empty()) why = PDXSampleMusic::write(folder, versionOf(options.generation));
  if (!why.empty()) return why;
  folder.addFoldersAbove();
  return "";
}

}  // namespace

namespace PDXSampleBackup {

std::optional<std::string> write(const PDXSampleOptions& options, const std::stop_token& stop) {
  if (options.messages < 0) return "the number of messages is negative";
  PDXSampleBackupFolder folder(options, deviceOf(options));
  if (!folder.error().empty()) return folder.error();
  std::string why = addContent(folder, options, stop);
  if (stop.stop_requested()) return "stopped";
  if (!why.empty()) return why;
  if (!folder.finish()) return folder.error();
  return std::nullopt;
}

}  // namespace PDXSampleBackup
