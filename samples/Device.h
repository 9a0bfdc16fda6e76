#pragma once

#include <string>
#include <vector>

#include "platform/Date.h"

/// The moment at which every sample backup says it was made: 2024-03-10 09:30:00 UTC. Nothing in a sample
/// depends on the clock.
inline constexpr PDXDate kSampleNow = std::chrono::sys_days(std::chrono::year(2024) / 3 / 10) +
                                      std::chrono::hours(9) + std::chrono::minutes(30);

/// What a sample backup says about its device. All of it is invented.
struct PDXSampleDevice {
  /// As newer devices have it: eight characters, a dash, sixteen more, all upper-case hexadecimal.
  std::string identifier = "00008120-001A2B3C4D5E6F70";

  std::string name = "Ann's iPhone";
  std::string productName = "iPhone 14 Pro";
  std::string productType = "iPhone15,2";
  std::string productVersion = "17.3.1";
  std::string buildVersion = "21D61";
  std::string serialNumber = "PDX0SAMPLE01";
  std::string phoneNumber = "+44 7700 900000";

  /// Of "Status.plist": its part before the dot tells readers which manifest the backup has.
  std::string backupVersion = "3.3";

  PDXDate backupDate = kSampleNow;

  /// Bundle identifiers of the applications from elsewhere, in order.
  std::vector<std::string> applications;
};
