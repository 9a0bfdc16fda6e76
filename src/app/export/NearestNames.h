#pragma once

#include <string>
#include <vector>

/// The names that come nearest to a mistyped one, at most `most` of them, the nearest first: those that hold
/// it or differ in few characters, case ignored. Empty when none comes near.
std::vector<std::string> nearestNames(const std::string& wanted, const std::vector<std::string>& names,
                                      std::size_t most = 3);

/// "; the nearest are “a”, “b”" for the end of an error line; "" when no name comes near.
std::string nearestNamesHint(const std::string& wanted, const std::vector<std::string>& names);
