#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>

#include "platform/Secret.h"

/// Derives the key that opens a key bag from the backup's password. It is made slow on purpose (seconds), so
/// the process keeps what it derived last: opening, testing and opening again derive once.
namespace PDXPasswordKey {

/// What the key bag says of the derivation.
struct Parameters {
  PDXByteView firstSalt;  ///< Missing, with `firstRounds`, before system 10.2.
  std::optional<std::int32_t> firstRounds;
  PDXByteView secondSalt;
  std::int32_t secondRounds = 0;
};

/// More rounds in all are no device's, which takes ten million: a crafted keybag would keep us for years.
constexpr std::int64_t kMostRounds = 100'000'000;

/// The rounds of both stages together.
std::int64_t roundsOf(const Parameters& parameters);

/// 32 bytes. Nothing when a stage has no rounds, both have more than `kMostRounds`, a salt is missing, the
/// password is empty, or a stop was asked for: the derivation runs aside and is abandoned, for it cannot be
/// stopped. Threads: any; the second to ask for the same key waits for the first.
std::optional<PDXSecret> derive(PDXByteView password, const Parameters& parameters,
                                const std::stop_token& stop);

/// Forgets every key derived so far.
void forget();

}  // namespace PDXPasswordKey
