#pragma once

#include <string>
#include <vector>

#include "platform/Date.h"
#include "samples/SampleOptions.h"

/// The moment at which every sample backup says it was made: 2024-03-10 09:30:00 UTC. Nothing in a sample
/// depends on the clock.
inline constexpr PDXDate kSampleNow = std::chrono::sys_days(std::chrono::year(2024) / 3 / 10) +
                                      std::chrono::hours(9) + std::chrono::minutes(30);

/// What a sample backup says about its device. All of it is invented.
struct PDXSampleDevice {
  /// As newer devices have it: eight characters, a dash, sixteen more, all upper-case hexadecimal. Older
  /// ones have forty lower-case characters.
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

  /// Of "Manifest.plist".
  std::string manifestVersion = "10.0";
  std::string systemDomainsVersion = "24.0";

  PDXDate backupDate = kSampleNow;

  /// Bundle identifiers of the applications from elsewhere, in order.
  std::vector<std::string> applications = {};

  /// The phone whose backups are laid out so. The older one is what the same person had years before.
  static PDXSampleDevice of(PDXSampleOptions::Generation generation) {
    if (generation == PDXSampleOptions::Generation::modern) return {};
    return {.identifier = "5d3f8a0c1e7b92463a6f0d4c8b1e5a7f90c2d3e4",
            .productName = "iPhone 6",
            .productType = "iPhone7,2",
            .productVersion = "9.3.5",
            .buildVersion = "13G36",
            .backupVersion = "2.4",
            .manifestVersion = "9.1",
            .systemDomainsVersion = "20.0"};
  }
};
