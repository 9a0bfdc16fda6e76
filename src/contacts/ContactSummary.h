#pragma once

#include <string>

/// A light reference to a person, for whoever shows a name with a picture beside it. A text that is unknown
/// is empty.
struct PDXContactSummary {
  std::string name = {};

  /// A phone number or an e-mail address.
  std::string address = {};

  /// Where the person's profile picture lies in the backup, without its file extension.
  std::string profileImagePath = {};
  std::string profileImageDomain = {};
};
