#pragma once

#include <string>
#include <utility>

class PDXParticipantNames;

/// One other party of a conversation. Setting its address finds its name.
class PDXMessageParticipant {
 public:
  /// @param contactsDatabasePath  local copy of the address book, asked when no contact list is loaded; ""
  /// for none.
  /// @param mobileSMSPlistPath    local copy of the messages preferences, asked last; "" for none.
  PDXMessageParticipant(std::string contactsDatabasePath, std::string mobileSMSPlistPath)
      : contactsDatabasePath_(std::move(contactsDatabasePath)),
        mobileSMSPlistPath_(std::move(mobileSMSPlistPath)) {}

  /// Stores the phone number, e-mail address or other identifier as the store gives it, and looks for the
  /// name it belongs to: in the loaded contacts, then in the address book's search table, then in the
  /// preferences.
  void setAddress(const std::string& address);

  /// The same for one of many participants, whose names come from the same sources.
  void setAddress(const std::string& address, PDXParticipantNames& names);

  const std::string& address() const { return address_; }

  /// "" when no source knows the address.
  const std::string& name() const { return name_; }

  /// Whether a name was found.
  bool isKnownContact() const { return isKnownContact_; }

  /// Where in the backup the participant's picture lies; "" when the store names none.
  std::string profileImagePath;
  std::string profileImageDomain;

 private:
  std::string contactsDatabasePath_;
  std::string mobileSMSPlistPath_;
  std::string name_;
  std::string address_;
  bool isKnownContact_ = false;
};
