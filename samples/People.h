#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "samples/SampleTexts.h"

/// A telephone number, e-mail address or postal address with its label.
struct PDXSampleValue {
  std::string label;  ///< As the device keeps it, e.g. "_$!<Mobile>!$_".
  std::string value;  ///< As its owner typed it.
};

struct PDXSampleAddress {
  std::string label;
  std::string street;  ///< May have several lines.
  std::string city;
  std::string state;
  std::string zip;
  std::string country;
  std::string countryCode;
};

/// One card of the sample's address book. Empty texts are what nobody filled in.
struct PDXSamplePerson {
  std::string first;
  std::string last;
  std::string middle;
  std::string prefix;
  std::string suffix;
  std::string nickname;
  std::string organisation;
  std::string department;
  std::string jobTitle;
  std::string note;
  std::string birthday;  ///< Seconds since 2001-01-01, noon UTC, with six decimals.
  std::string url;
  std::vector<PDXSampleValue> phones;
  std::vector<PDXSampleValue> emails;
  std::vector<PDXSampleAddress> addresses;

  /// The account that holds the card: 1 or 2.
  int store = 1;

  /// Cards that the device shows as one have the same number from 1; 0 for the others.
  int link = 0;

  bool hasPicture = false;

  /// What this person writes.
  PDXSampleTexts::Language language = PDXSampleTexts::Language::english;
};

/// The people of a sample: the first ones are written by hand, among them the ones that conversations need.
namespace PDXSamplePeople {

/// In the order of the address book: about 200, of whom 25 have a second card in the other account.
std::vector<PDXSamplePerson> all(std::uint64_t seed);

/// The ones that are written by hand.
std::vector<PDXSamplePerson> handWritten();

/// A number as the network writes it, e.g. "+447700900123", from the ways in which people type it.
std::string networkNumber(const std::string& typed);

}  // namespace PDXSamplePeople
