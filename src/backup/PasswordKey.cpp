#include "backup/PasswordKey.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/Crypto.h"

namespace {

constexpr std::size_t kKeyLength = 32;
constexpr std::size_t kKept = 4;

/// One derivation's inputs, owned by the thread that runs it.
struct Inputs {
  PDXSecret password;
  PDXSecret firstSalt;
  PDXSecret secondSalt;
  std::int32_t firstRounds = 0;  ///< 0: there is no first stage.
  std::int32_t secondRounds = 0;

  bool operator==(const Inputs&) const = default;
};

std::optional<PDXSecret> derived(const Inputs& inputs) {
  using PDXCrypto::Hash;
  const auto rounds = [](std::int32_t count) { return static_cast<std::uint32_t>(count); };
  if (inputs.firstRounds == 0) {
    return PDXCrypto::passwordBasedKey(Hash::sha1, inputs.password, inputs.secondSalt,
                                       rounds(inputs.secondRounds), kKeyLength);
  }
  const auto first = PDXCrypto::passwordBasedKey(Hash::sha256, inputs.password, inputs.firstSalt,
                                                 rounds(inputs.firstRounds), kKeyLength);
  if (!first) return std::nullopt;
  return PDXCrypto::passwordBasedKey(Hash::sha1, *first, inputs.secondSalt, rounds(inputs.secondRounds),
                                     kKeyLength);
}

/// A derivation under way or done. Shared with the thread that runs it, which may outlive the asking.
struct Derivation {
  Inputs inputs;
  std::mutex lock;
  std::condition_variable_any isDoneOrStopped;
  bool isDone = false;
  std::optional<PDXSecret> key;
  std::exception_ptr failure;  ///< What the thread could not go on for.
};

std::mutex keptLock;

std::vector<std::shared_ptr<Derivation>>& kept() {
  static std::vector<std::shared_ptr<Derivation>> derivations;
  return derivations;
}

void run(const std::shared_ptr<Derivation>& derivation) noexcept {
  std::optional<PDXSecret> key;
  std::exception_ptr failure;
  try {
    key = derived(derivation->inputs);
  } catch (...) {
    failure = std::current_exception();
  }
  const std::lock_guard guard(derivation->lock);
  derivation->key = std::move(key);
  derivation->failure = failure;
  derivation->isDone = true;
  derivation->isDoneOrStopped.notify_all();
}

/// The derivation of those inputs: one that was begun before, or a new one.
std::shared_ptr<Derivation> begun(Inputs inputs) {
  const std::lock_guard guard(keptLock);
  const auto same = [&](const std::shared_ptr<Derivation>& each) { return each->inputs == inputs; };
  const auto found = std::find_if(kept().begin(), kept().end(), same);
  if (found != kept().end()) return *found;
  if (kept().size() == kKept) kept().erase(kept().begin());
  auto derivation = std::make_shared<Derivation>();
  derivation->inputs = std::move(inputs);
  kept().push_back(derivation);
  try {
    std::thread(run, derivation).detach();
  } catch (const std::exception&) {  // No more threads: this one derives it, and cannot be stopped.
    run(derivation);
  }
  return derivation;
}

bool hasFirstStage(const PDXPasswordKey::Parameters& parameters) {
  return parameters.firstRounds && !parameters.firstSalt.empty();
}

}  // namespace

namespace PDXPasswordKey {

std::int64_t roundsOf(const Parameters& parameters) {
  const std::int64_t first = hasFirstStage(parameters) ? *parameters.firstRounds : 0;
  return first + parameters.secondRounds;
}

std::optional<PDXSecret> derive(PDXByteView password, const Parameters& parameters,
                                const std::stop_token& stop) {
  const bool hasFirst = hasFirstStage(parameters);
  if (password.empty() || parameters.secondSalt.empty() || parameters.secondRounds <= 0) return std::nullopt;
  if (hasFirst && *parameters.firstRounds <= 0) return std::nullopt;
  if (roundsOf(parameters) > kMostRounds) return std::nullopt;
  const auto derivation = begun({.password = secretOf(password),
                                 .firstSalt = hasFirst ? secretOf(parameters.firstSalt) : PDXSecret(),
                                 .secondSalt = secretOf(parameters.secondSalt),
                                 .firstRounds = hasFirst ? *parameters.firstRounds : 0,
                                 .secondRounds = parameters.secondRounds});
  std::unique_lock guard(derivation->lock);
  derivation->isDoneOrStopped.wait(guard, stop, [&] { return derivation->isDone; });
  if (derivation->failure != nullptr) std::rethrow_exception(derivation->failure);
  return derivation->key;
}

void forget() {
  const std::lock_guard guard(keptLock);
  kept().clear();
}

}  // namespace PDXPasswordKey
