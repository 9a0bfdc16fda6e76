#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "samples/People.h"

/// Writes the two address-book databases of a sample, in the layout of the system's versions 16 and 17.
/// Both operations answer "" on success, else why; the file must not exist.
namespace PDXSampleAddressBook {

std::string write(const std::string& path, const std::vector<PDXSamplePerson>& people, std::uint64_t seed);

/// Pictures of the people who have one. The row of a person is the place in the list, from 1.
/// A stop request counts as a failure.
std::string writePictures(const std::string& path, const std::vector<PDXSamplePerson>& people,
                          std::uint64_t seed, const std::stop_token& stop);

}  // namespace PDXSampleAddressBook
