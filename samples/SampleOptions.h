#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// What kind of sample to write.
struct PDXSampleOptions {
  /// The backup folder itself: made when missing, and empty.
  std::string folder;

  /// The same seed and options give the same bytes in every file, pictures in the HEIC format excepted.
  std::uint64_t seed = 1;

  /// Rows of the messages store's table `message`, from 0 up.
  std::int64_t messages = 2000;

  /// What the backup is encrypted with; nothing for a plain one. Not empty.
  std::optional<std::string> password = std::nullopt;

  /// Of the first stage of the key's derivation, from 1 up to ninety million. A device takes as many as
  /// it does here, which is more than a second of work.
  std::int64_t rounds = 10'000'000;

  /// How the manifest and the folder are laid out: as systems from 10 on do it, or as those before did.
  enum class Generation { modern, legacy };
  Generation generation = Generation::modern;

  /// An encrypted backup whose "Manifest.db" is not, as the first systems of the modern layout left it.
  bool plainManifest = false;

  /// An encrypted backup that enciphers each file's metadata too, with a salt in the manifest. The password
  /// must be ASCII.
  bool enciphersAttributes = false;

  /// A key bag from before there was a first stage. All encrypted legacy backups have that kind.
  bool singleStage = false;
};
