#include <gmock/gmock.h>

#include <sstream>

#include "backup/BackupEncryptionWorker.h"
#include "backup/DeviceDataEncryption.h"
#include "backup/FileDeciphering.h"
#include "backup/KeyWrapping.h"
#include "samples/Cipher.h"
#include "samples/KeyBag.h"
#include "tests/support/TestFolder.h"

namespace {

PDXBytes fromHex(const std::string& hex) {
  PDXBytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

template <typename Bytes>
std::string hex(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789ABCDEF"[byte >> 4];
    text += "0123456789ABCDEF"[byte & 15];
  }
  return text;
}

TEST(KeyWrapping, UnwrapsThePublishedExamples) {
  const char* const data = "00112233445566778899AABBCCDDEEFF";
  const struct {
    const char* key;
    const char* wrapped;
  } cases[] = {
      {"000102030405060708090A0B0C0D0E0F", "1FA68B0A8112B447AEF34BD8FB5A7B829D3E862371D2CFE5"},
      {"000102030405060708090A0B0C0D0E0F1011121314151617",
       "96778B25AE6CA435F92B5B97C050AED2468AB8A17AD84E5D"},
      {"000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F",
       "64E8C3F9CE0F5BA263E9777905818A2A93C8191E7D6E8AE7"},
  };
  for (const auto& [key, wrapped] : cases) {
    const auto unwrapped = PDXKeyWrapping(fromHex(key)).unwrap(fromHex(wrapped));
    EXPECT_EQ(hex(unwrapped->key), data);
    EXPECT_TRUE(unwrapped->isIntact);
  }
  const PDXBytes key = fromHex(cases[2].key);
  PDXBytes wrapped = fromHex(cases[2].wrapped);
  wrapped.back() ^= 1;
  EXPECT_FALSE(PDXKeyWrapping(key).unwrap(wrapped)->isIntact);
  EXPECT_EQ(PDXKeyWrapping::UnwrapKeyWithCipher(key, wrapped)->size(), 16U) << "wrong bytes, and no error";
  for (const std::size_t size : {0U, 8U, 15U, 20U}) {
    EXPECT_FALSE(PDXKeyWrapping(key).unwrap(PDXBytes(size))) << size;
  }
  EXPECT_FALSE(PDXKeyWrapping(PDXBytes(20)).unwrap(wrapped)) << "no size of a key";
}

/// A key bag of a sample, and changes to it by tag.
class KeyBag : public testing::Test {
 protected:
  /// Where the value of the first record of that tag begins.
  std::size_t valueOf(const std::string& tag) const {
    const auto found = std::search(bag_.begin(), bag_.end(), tag.begin(), tag.end());
    return static_cast<std::size_t>(found - bag_.begin()) + 8;
  }

  PDXBytes with(const std::string& tag, const PDXBytes& value) const {
    PDXBytes changed = bag_;
    std::copy(value.begin(), value.end(), changed.begin() + static_cast<std::ptrdiff_t>(valueOf(tag)));
    return changed;
  }

  PDXBytes upTo(std::size_t size) const {
    return {bag_.begin(), bag_.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  /// With wrapped keys of another size.
  PDXBytes withKeysOf(std::uint8_t size) const {
    const std::string tag = std::string("WPKY") + std::string(3, '\0');
    PDXBytes changed = bag_;
    for (auto at = changed.begin(); true;) {
      at = std::search(at, changed.end(), tag.begin(), tag.end());
      if (at == changed.end()) return changed;
      at[7] = size;
      at = size < 40 ? changed.erase(at + 8, at + 48 - size) : changed.insert(at + 8, size - 40U, 0);
    }
  }

  PDXBackupEncryptionWorker loaded(const PDXBytes& bag, std::string_view password) {
    PDXBackupEncryptionWorker worker;
    didLoad_ = worker.LoadManifestKeybagDataWithPasswordData(bag, viewOfText(password));
    return worker;
  }

  PDXSampleKeyBag keys_{1};
  PDXBytes bag_ = keys_.lockedWith("right", 2);
  bool didLoad_ = false;
};

TEST_F(KeyBag, TellsApartWhyItDoesNotOpen) {
  const auto worker = loaded(bag_, "right");
  EXPECT_TRUE(didLoad_);
  EXPECT_EQ(worker.unlocking(), PDXUnlocking::opened);
  EXPECT_TRUE(worker.classes().at("4").isIntact);
  EXPECT_FALSE(worker.classes().at("9").isIntact) << "wrapped with the device's own key too";

  EXPECT_EQ(loaded(bag_, "wrong").unlocking(), PDXUnlocking::wrongPassword);
  EXPECT_TRUE(didLoad_) << "a wrong password shows in what it opens only";
  EXPECT_EQ(loaded(bag_, "").unlocking(), PDXUnlocking::noPassword);
  EXPECT_FALSE(didLoad_);

  const struct {
    const char* damage;
    PDXBytes bag;
  } damaged[] = {
      {"its count of rounds is none", with("DPIC", {0, 0, 0, 0})},
      {"its count of rounds is none", with("ITER", {0, 0, 0, 0})},
      {"it asks for 1000000003 rounds, far more than a device takes", with("ITER", {0x3B, 0x9A, 0xCA, 0x01})},
      {"it asks for 100000001 rounds, far more than a device takes", with("DPIC", {0x05, 0xF5, 0xB9, 0xF1})},
      {"its count of rounds is none", with("DPIC", {0xFF, 0xFF, 0xFF, 0xFF})},
      {"it has no salt", {}},
      {"it has no salt", PDXBytes(100, 0xFF)},
      {"it has no salt", upTo(3)},
      {"it holds no key that a password opens", upTo(valueOf("CLAS") - 32)},
      {"it holds no key that a password opens", withKeysOf(16)},
      {"it holds no key that a password opens", withKeysOf(41)},
  };
  for (const auto& [damage, bag] : damaged) {
    const auto broken = loaded(bag, "right");
    EXPECT_EQ(broken.unlocking(), PDXUnlocking::damagedKeybag) << damage;
    EXPECT_EQ(broken.damage(), damage);
  }
}

TEST_F(KeyBag, LosesNoClassToAHeaderWithoutIdentifier) {
  PDXBytes bag = bag_;
  const auto begin = bag.begin() + static_cast<std::ptrdiff_t>(valueOf("UUID"));
  bag.erase(begin, begin + 16);
  bag[valueOf("UUID") - 1] = 0;
  EXPECT_EQ(loaded(bag, "right").classes().size(), loaded(bag_, "right").classes().size());
}

TEST_F(KeyBag, OpensWithTheClassesThatACutOneStillHas) {
  const std::size_t tail = bag_.size() - 5;
  EXPECT_EQ(loaded(upTo(tail), "right").unlocking(), PDXUnlocking::opened);
  EXPECT_EQ(loaded(upTo(tail), "wrong").unlocking(), PDXUnlocking::damagedKeybag) << "who can tell?";
  for (std::size_t size = 0; size < bag_.size(); size += 7) loaded(upTo(size), "right");
  PDXBytes lying = bag_;
  lying[valueOf("SALT") - 4] = 0xFF;  // A length of four thousand million.
  EXPECT_EQ(loaded(lying, "right").unlocking(), PDXUnlocking::damagedKeybag);
}

TEST_F(KeyBag, FilesKeysSayWhatIsWrongWithThem) {
  const PDXSampleKey key = keys_.newKey();
  const auto worker = loaded(bag_, "right");
  PDXBytes record = keys_.record(4, key);
  EXPECT_EQ(hex(worker.fileKey(record).key), hex(key));
  record[0] = 77;
  EXPECT_EQ(worker.fileKey(record).why, "the key bag has no key for its protection class 77");
  record[0] = 3;
  EXPECT_EQ(worker.fileKey(record).why, "its key is damaged") << "of another class";
  record.pop_back();
  EXPECT_EQ(worker.fileKey(record).why, "its key record has a wrong size");
}

// Made with: openssl enc -aes-128-cbc -K 000102030405060708090a0b0c0d0e0f -iv
// 0f0e0d0c0b0a09080706050403020100
TEST(Deciphering, OfBuffersTakesThePaddingOff) {
  const PDXBytes key = fromHex("000102030405060708090A0B0C0D0E0F");
  const PDXBytes seed = fromHex("0F0E0D0C0B0A09080706050403020100");
  const PDXBytes data = fromHex("181547CE6A5438CB22241856B35CC489");
  const auto deciphered = [&](const PDXBytes& bytes, const PDXBytes& with) {
    return PDXBackupEncryptionWorker::DecryptAESDataWithKeyAndSeed(bytes, with, seed);
  };
  EXPECT_EQ(hex(*deciphered(data, key)), "68656C6C6F");
  EXPECT_FALSE(deciphered(PDXBytes(15), key));
  EXPECT_FALSE(deciphered({}, key));
  EXPECT_FALSE(deciphered(data, PDXBytes(5)));
  EXPECT_EQ(PDXFileDeciphering::paddingOf(fromHex("00112233445566778899AABBCC030303")), 3U);
  EXPECT_EQ(PDXFileDeciphering::paddingOf(PDXBytes(16, 16)), 16U);
  for (const char* none : {"00112233445566778899AABBCC030203", "00112233445566778899AABBCCDDEE00",
                           "00112233445566778899AABBCCDDEE11"}) {
    EXPECT_EQ(PDXFileDeciphering::paddingOf(fromHex(none)), 0U) << none;
  }
}

// Sizes around those at which a file is read in more than one piece, or ahead on a thread.
TEST(Deciphering, OfFilesGivesBackEverySize) {
  using Tail = PDXFileDeciphering::Tail;
  const PDXTestFolder folder;
  const std::string enciphered = folder / "enciphered";
  const std::string plain = folder / "plain";
  PDXSampleKey key{};
  key.fill(7);
  for (const std::size_t size : {0U, 15U, 16U, 16'384U, 262'144U, 2'097'136U, 2'097'152U, 2'900'001U}) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * i >> 3 & 127);
    std::istringstream source(content);
    PDXAtomicFile target(enciphered);
    PDXSampleCipher::encipher(source, key, target);
    ASSERT_TRUE(target.commit());
    EXPECT_TRUE(PDXFileDeciphering::decipher(enciphered, key, plain, Tail::trimmed));
    EXPECT_TRUE(fileText(plain) == content) << size;
    EXPECT_TRUE(PDXFileDeciphering::decipher(enciphered, key, plain, Tail::kept));
    const std::size_t padding = 16 - size % 16;
    EXPECT_TRUE(fileText(plain) ==
                content + std::string(padding, static_cast<char>(padding)) + std::string(16, '\0'))
        << size;
  }
  std::stop_source stopped;
  stopped.request_stop();
  const std::string other = folder / "other";
  const auto result =
      PDXFileDeciphering::decipher(enciphered, key, other, Tail::trimmed, stopped.get_token());
  EXPECT_EQ(result.outcome, PDXFiles::CopyResult::Outcome::stopped);
  EXPECT_FALSE(PDXFiles::exists(other));
}

TEST(DeviceDataEncryption, FindsTheKeyBehindOtherDataOfTheArchive) {
  using List = PDXPropertyList;
  const auto archive = [](List::Array objects) {
    return List(List::Dictionary{{"$objects", std::move(objects)}}).binary();
  };
  const auto data = [](std::size_t size, std::uint8_t byte) {
    return List::Dictionary{{"NS.data", PDXBytes(size, byte)}};
  };
  const List::Dictionary file = {{"EncryptionKey", List::Uid{3}}};
  const auto found = [&](List::Array objects) {
    const auto key = PDXDeviceDataEncryption::keyRecordOf(archive(std::move(objects)));
    return key ? std::to_string(key->size()) + " of " + std::to_string(key->empty() ? 0 : key->front())
               : "none";
  };
  EXPECT_EQ(found({"$null", file, data(44, 1), data(44, 2)}), "44 of 1") << "the first one";
  EXPECT_EQ(found({"$null", file, data(80, 1), data(44, 2)}), "44 of 2") << "attributes come first";
  EXPECT_EQ(found({"$null", data(80, 1)}), "80 of 1") << "nothing refers to a key";
  EXPECT_EQ(found({"$null", file, data(80, 1)}), "80 of 1") << "a reference to nothing";
  EXPECT_EQ(found({"$null", file}), "none");
  EXPECT_FALSE(PDXDeviceDataEncryption::keyRecordOf({1, 2, 3}));
  EXPECT_FALSE(PDXDeviceDataEncryption::keyRecordOf({}));
}

}  // namespace
