#include "messages/AttributedBody.h"

#include <charconv>
#include <string_view>
#include <vector>

#include "platform/Text.h"

namespace {

constexpr std::uint8_t kTwoBytes = 0x81;
constexpr std::uint8_t kFourBytes = 0x82;
constexpr std::uint8_t kFloating = 0x83;
constexpr std::uint8_t kNew = 0x84;
constexpr std::uint8_t kNil = 0x85;
constexpr std::uint8_t kEnd = 0x86;
constexpr std::uint8_t kFirstNumber = 0x92;  ///< Lesser bytes from 0x80 on are marks like those above.

/// References count up from the least number that fits into one byte.
constexpr std::int64_t kFirstReference = -110;

constexpr std::uint8_t kVersion = 4;
constexpr std::int64_t kSystem = 1000;
constexpr int kDeepest = 256;

/// Takes bytes, numbers and strings off the front of an archive. Everything fails at its end.
class Bytes {
 public:
  explicit Bytes(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  void setBigEndian(bool isBigEndian) { isBigEndian_ = isBigEndian; }
  std::size_t left() const { return rest_.size(); }
  bool nextIs(std::uint8_t byte) const { return !rest_.empty() && rest_.front() == byte; }

  bool skip(std::size_t count) {
    if (count > rest_.size()) return false;
    rest_ = rest_.subspan(count);
    return true;
  }

  std::optional<std::uint8_t> byte() {
    if (rest_.empty()) return std::nullopt;
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

  /// A signed number, of which `first` is the first byte.
  std::optional<std::int64_t> number(std::uint8_t first) {
    if (first == kTwoBytes || first == kFourBytes) {
      const auto value = wide_(first);
      if (!value) return std::nullopt;
      return first == kTwoBytes ? std::int64_t{static_cast<std::int16_t>(*value)}
                                : std::int64_t{static_cast<std::int32_t>(*value)};
    }
    if (first >= 0x80 && first < kFirstNumber) return std::nullopt;
    return std::int64_t{static_cast<std::int8_t>(first)};
  }

  std::optional<std::int64_t> number() {
    const auto first = byte();
    return first ? number(*first) : std::nullopt;
  }

  /// Bytes behind their count.
  std::optional<std::string_view> string() {
    const auto first = byte();
    if (!first) return std::nullopt;
    const bool isWide = *first == kTwoBytes || *first == kFourBytes;
    if (!isWide && *first >= 0x80) return std::nullopt;
    const auto length = isWide ? wide_(*first) : std::optional<std::uint32_t>(*first);
    if (!length || *length > rest_.size()) return std::nullopt;
    const std::string_view text(reinterpret_cast<const char*>(rest_.data()), *length);
    rest_ = rest_.subspan(*length);
    return text;
  }

 private:
  std::optional<std::uint32_t> wide_(std::uint8_t mark) {
    const std::size_t size = mark == kTwoBytes ? 2 : 4;
    if (rest_.size() < size) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8 | rest_[isBigEndian_ ? i : size - 1 - i];
    rest_ = rest_.subspan(size);
    return value;
  }

  std::span<const std::uint8_t> rest_;
  bool isBigEndian_ = false;
};

/// Walks through an archive until the text of its first object, an attributed string, is known. Every step
/// answers whether to go on: no after a mistake in the archive, and no when the text has been found.
class Walk {
 public:
  explicit Walk(std::span<const std::uint8_t> archive)
      : bytes_(archive), stepsLeft_(kStepsPerByte * archive.size() + kStepsPerByte) {
    constexpr std::size_t kUsual = 16;  // A message's text lies behind a handful of names and objects.
    strings_.reserve(kUsual);
    things_.reserve(kUsual);
  }

  std::optional<std::string_view> text() {
    if (!readHeader()) return std::nullopt;
    while (bytes_.left() > 0 && readGroup(kNone)) {
    }
    return textObject_ == kNone ? std::nullopt : things_[textObject_].text;
  }

 private:
  /// What a number in the archive may refer to.
  struct Thing {
    enum class Kind : std::uint8_t { object, unfinishedClass, finishedClass, text } kind = Kind::object;
    bool isString = false;            ///< The class or the object's class is a string.
    bool isAttributedString = false;  ///< Likewise an attributed string.
    std::optional<std::string_view> text;
  };

  /// Counts how deep values lie in each other.
  class Level {
   public:
    explicit Level(int& depth) : depth_(depth) { ++depth_; }
    ~Level() { --depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
    bool isTooDeep() const { return depth_ > kDeepest; }

   private:
    int& depth_;
  };

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// A description may be long and used often, and describe values that take no bytes at all. Those of real
  /// archives have a few characters for each byte that they describe.
  static constexpr std::size_t kStepsPerByte = 64;

  bool readHeader() {
    if (bytes_.byte() != kVersion) return false;
    const auto signature = bytes_.string();
    bytes_.setBigEndian(signature == "typedstream");
    return (signature == "typedstream" || signature == "streamtyped") && bytes_.number() == kSystem;
  }

  bool takeSteps(std::size_t count) {
    if (count > stepsLeft_) return false;
    stepsLeft_ -= count;
    return true;
  }

  /// A description of types, and the values behind it.
  /// @param owner  the number of the object that they are part of; `kNone` outside of any.
  bool readGroup(std::size_t owner) {
    const auto types = readSharedString();
    if (!types) return false;
    std::string_view rest = *types;
    while (!rest.empty()) {
      if (!readValue(rest, owner)) return false;
    }
    return true;
  }

  /// Takes one type off `types` and reads a value of it.
  bool readValue(std::string_view& types, std::size_t owner) {
    if (types.empty() || !takeSteps(1)) return false;
    const char type = types.front();
    types.remove_prefix(1);
    switch (type) {
      case 'c':
      case 'C':
      case 'B':
        return bytes_.skip(1);
      case 'f':
        return readFloating(4);
      case 'd':
        return readFloating(8);
      case '@':
        return readObject(owner);
      case '#':
        return readClass().has_value();
      case '*':
        return readText();
      case ':':
      case '%':
        return readSharedString().has_value();
      case '+':
        return readBytes(owner);
      case '[':
        return readArray(types, owner);
      case '{':
        return readStructure(types, owner);
      default:
        return std::string_view("sSiIlLqQ").find(type) != std::string_view::npos &&
               bytes_.number().has_value();
    }
  }

  bool readFloating(std::size_t size) {
    const auto first = bytes_.byte();
    if (!first) return false;
    return *first == kFloating ? bytes_.skip(size) : bytes_.number(*first).has_value();
  }

  /// The characters of a string object are bytes of it.
  bool readBytes(std::size_t owner) {
    const auto bytes = bytes_.string();
    if (!bytes) return false;
    if (owner == kNone || !things_[owner].isString || things_[owner].text) return true;
    things_[owner].text = *bytes;
    return owner != textObject_;
  }

  /// "[" stands before; the number of elements, their type and "]" follow.
  bool readArray(std::string_view& types, std::size_t owner) {
    const Level level(depth_);
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(types.data(), types.data() + types.size(), count);
    const auto digits = static_cast<std::size_t>(end - types.data());
    if (level.isTooDeep() || error != std::errc() || !takeSteps(digits)) return false;
    types.remove_prefix(digits);
    const std::string_view element = types;
    for (std::size_t i = 0; i < count; ++i) {
      types = element;
      if (!readValue(types, owner)) return false;
    }
    if (count == 0 || !types.starts_with(']')) return false;
    types.remove_prefix(1);
    return true;
  }

  /// "{" stands before; a name, "=", the types of the fields and "}" follow.
  bool readStructure(std::string_view& types, std::size_t owner) {
    const Level level(depth_);
    const std::size_t equals = types.find('=');
    if (level.isTooDeep() || equals == std::string_view::npos || !takeSteps(equals)) return false;
    types.remove_prefix(equals + 1);
    while (!types.starts_with('}')) {
      if (!readValue(types, owner)) return false;
    }
    types.remove_prefix(1);
    return true;
  }

  std::optional<std::string_view> readSharedString() {
    const auto first = bytes_.byte();
    if (!first) return std::nullopt;
    if (*first == kNil) return "";
    if (*first == kNew) {
      const auto text = bytes_.string();
      if (text) strings_.push_back(*text);
      return text;
    }
    const auto index = reference(*first, strings_.size());
    return index ? std::optional(strings_[*index]) : std::nullopt;
  }

  /// The index that a reference stands for, of `count` things seen so far.
  std::optional<std::size_t> reference(std::uint8_t first, std::size_t count) {
    const auto value = bytes_.number(first);
    if (!value || *value < kFirstReference) return std::nullopt;
    const auto index = static_cast<std::size_t>(*value - kFirstReference);
    return index < count ? std::optional(index) : std::nullopt;
  }

  /// A text that others may refer to, as they do to an object.
  bool readText() {
    const auto first = bytes_.byte();
    if (!first || *first == kNil) return first.has_value();
    if (*first == kNew) {
      things_.push_back({.kind = Thing::Kind::text, .text = {}});
      return readSharedString().has_value();
    }
    const auto index = reference(*first, things_.size());
    return index && things_[*index].kind == Thing::Kind::text;
  }

  bool readObject(std::size_t owner) {
    const auto first = bytes_.byte();
    if (!first || *first == kNil) return first.has_value();
    if (*first == kNew) return readNewObject(owner);
    const auto index = reference(*first, things_.size());
    if (!index || things_[*index].kind != Thing::Kind::object) return false;
    chooseText(*index, owner);
    return *index != textObject_ || !things_[*index].text;
  }

  bool readNewObject(std::size_t owner) {
    const Level level(depth_);
    const std::size_t number = things_.size();
    things_.emplace_back();
    const auto itsClass = level.isTooDeep() ? std::nullopt : readClass();
    if (!itsClass) return false;
    things_[number].isString = itsClass->isString;
    things_[number].isAttributedString = itsClass->isAttributedString;
    // Whatever else comes first, it is no message.
    if (root_ == kNone) root_ = number;
    if (!things_[root_].isAttributedString) return false;
    chooseText(number, owner);
    while (!bytes_.nextIs(kEnd)) {
      if (!readGroup(number)) return false;
    }
    return bytes_.skip(1);
  }

  /// The first string that belongs to the attributed string itself holds its text.
  void chooseText(std::size_t number, std::size_t owner) {
    const bool isFirst = textObject_ == kNone && owner == root_ && number != root_;
    if (isFirst && things_[number].isString) textObject_ = number;
  }

  /// What is known of a class; `Thing()` for nil, which ends a chain of superclasses.
  std::optional<Thing> readClass() {
    const auto first = bytes_.byte();
    if (!first) return std::nullopt;
    if (*first == kNil) return Thing();
    if (*first == kNew) return readNewClass();
    const auto index = reference(*first, things_.size());
    if (!index || things_[*index].kind != Thing::Kind::finishedClass) return std::nullopt;
    return things_[*index];
  }

  std::optional<Thing> readNewClass() {
    const Level level(depth_);
    const std::size_t number = things_.size();
    things_.push_back({.kind = Thing::Kind::unfinishedClass, .text = {}});
    const auto name = level.isTooDeep() ? std::nullopt : readSharedString();
    if (!name || !bytes_.number()) return std::nullopt;
    const auto above = readClass();
    if (!above) return std::nullopt;
    things_[number] = {.kind = Thing::Kind::finishedClass,
                       .isString = above->isString || *name == "NSString",
                       .isAttributedString = above->isAttributedString || *name == "NSAttributedString",
                       .text = {}};
    return things_[number];
  }

  Bytes bytes_;
  std::vector<std::string_view> strings_;
  std::vector<Thing> things_;
  std::size_t stepsLeft_;
  std::size_t root_ = kNone;
  std::size_t textObject_ = kNone;
  int depth_ = 0;
};

}  // namespace

std::optional<std::string> PDXAttributedBody::text(std::span<const std::uint8_t> archive) {
  const auto found = Walk(archive).text();
  return found ? std::optional(PDXText::valid(std::string(*found))) : std::nullopt;
}
