#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "contacts/ContactSummary.h"
#include "platform/FacePicture.h"

class PDXDeviceData;
struct PDXContactEntry;

/// Finds a face for every person: the profile picture of the chat, else the picture in the address book, else
/// the initials of the name, drawn. Faces are round, 48 pixels wide and high, and kept as PNG files in the
/// temporary folder.
///
/// Errors: none leave it. A picture that cannot be read counts as none.
/// Threads: safe on any. `setDeviceData` and loads of the contacts store must not run beside the others.
class PDXContactImageRetriever {
 public:
  /// The one that the application shares.
  static PDXContactImageRetriever& defaultRetriever();

  /// Where faces are kept: "pocketdex/message_temp/cache" in the temporary folder. Each person has a folder
  /// named after the address ("0" without one), and in it a file named after the initials, "A L.png".
  static std::string cachePath();

  /// The backup that profile pictures come from; null for none. Must outlive its use here. Empties the cache.
  void setDeviceData(PDXDeviceData* deviceData);

  /// The person's face. Whoever has the same address and initials gets the face that was found first.
  PDXFacePicture imageForContact(const PDXContactSummary& contact);

  /// The path of that face; "" when it cannot be written.
  std::string imagePathForContact(const PDXContactSummary& contact);

  /// Forgets all faces and removes their files.
  void clearCache();

  /// Writes the face as a PNG file, whole or not at all. False when it is empty or cannot be written.
  static bool saveImageAsPngToPath(const PDXFacePicture& image, const std::string& path);

  /// The person's face for an export, as a PNG file's bytes. There each name and profile picture has a face
  /// of its own, and the same people have the same faces, whoever was asked for before. The log says which
  /// pictures could not be read.
  std::optional<PDXBytes> pngOfFace(const PDXContactSummary& contact);

  /// The face of somebody in the address book; the picture may be one that the store does not hold. The log
  /// says when it cannot be read.
  static PDXFacePicture faceOfEntry(const PDXContactEntry& contact);

  /// "A L" for "Ann Lee", "A" for "Ann", "#" for what begins with a digit or "+", "?" for nothing. A
  /// character is what a reader sees as one.
  static std::string createInitialsFromName_(const std::string& name);

  /// "<address>:<initials>", "?" for what there is none of.
  static std::string createIdentifierForContact_(const PDXContactSummary& contact);

  /// `name` with "_" for the characters that file names may not hold, trimmed.
  static std::string cleanFileName_(const std::string& name);

 private:
  /// How profile pictures are read: both give the same bytes.
  enum class Reading { throughScratch, aside };

  PDXFacePicture lookUp_(const PDXContactSummary& contact, Reading reading) const;
  PDXFacePicture drawn_(const PDXContactSummary& contact) const;
  PDXBytes profileImage_(const PDXContactSummary& contact, const char* extension, Reading reading) const;
  std::string pathFor_(const std::string& identifier, const PDXContactSummary& contact);

  PDXDeviceData* deviceData_ = nullptr;
  std::mutex lock_;
  std::unordered_map<std::string, std::string> paths_;  ///< Of cached faces, by identifier.
  std::unordered_set<std::string> taken_;               ///< Those paths, without regard to case.
  std::unordered_map<std::string, PDXBytes> exported_;  ///< Faces of exports, by person.
};
