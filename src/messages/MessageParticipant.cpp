#include "messages/MessageParticipant.h"

#include "messages/ParticipantNames.h"

void PDXMessageParticipant::setAddress(const std::string& address) {
  PDXParticipantNames names(contactsDatabasePath_, mobileSMSPlistPath_);
  setAddress(address, names);
}

void PDXMessageParticipant::setAddress(const std::string& address, PDXParticipantNames& names) {
  address_ = address;
  name_ = names.nameOf(address);
  isKnownContact_ = !name_.empty();
}
