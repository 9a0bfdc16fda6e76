#include "platform/PropertyListMeasure.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr std::uint32_t kMostLevels = 256;
constexpr std::uint64_t kMostValues = std::uint64_t{4} << 20;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char c : bytes) value = (value << 8) | static_cast<unsigned char>(c);
  return value;
}

/// The object table of a binary list. Every read is checked: nothing about the bytes is trusted.
class BinaryObjects {
 public:
  static std::optional<BinaryObjects> of(std::string_view bytes) {
    if (!bytes.starts_with(kBinaryMagic) || bytes.size() < kBinaryMagic.size() + kTrailerSize)
      return std::nullopt;
    BinaryObjects objects;
    objects.bytes_ = bytes;
    const std::string_view trailer = bytes.substr(bytes.size() - kTrailerSize);
    objects.offsetSize_ = static_cast<unsigned char>(trailer[6]);
    objects.referenceSize_ = static_cast<unsigned char>(trailer[7]);
    objects.count_ = bigEndian(trailer.substr(8, 8));
    objects.root_ = bigEndian(trailer.substr(16, 8));
    objects.table_ = bigEndian(trailer.substr(24, 8));
    if (!objects.isPlausible()) return std::nullopt;
    return objects;
  }

  std::uint64_t count() const { return count_; }
  std::uint64_t root() const { return root_; }

  /// The objects that an object contains, keys included; empty for a scalar, nothing when damaged.
  std::optional<std::vector<std::uint64_t>> children(std::uint64_t object) const {
    std::size_t position = bigEndian(bytes_.substr(table_ + object * offsetSize_, offsetSize_));
    if (position >= bytes_.size()) return std::nullopt;
    const auto marker = static_cast<unsigned char>(bytes_[position++]);
    const unsigned kind = marker >> 4;
    if (kind != 0xA && kind != 0xC && kind != 0xD) return std::vector<std::uint64_t>();
    std::uint64_t length = marker & 0xF;
    if (length == 0xF && !readLength(position, length)) return std::nullopt;
    if (length > bytes_.size()) return std::nullopt;
    if (kind == 0xD) length *= 2;
    return references(position, length);
  }

 private:
  bool isPlausible() const {
    const auto isWidth = [](std::size_t size) { return size >= 1 && size <= 8; };
    if (!isWidth(offsetSize_) || !isWidth(referenceSize_)) return false;
    const std::size_t end = bytes_.size() - kTrailerSize;
    return count_ > 0 && root_ < count_ && table_ <= end && count_ <= (end - table_) / offsetSize_;
  }

  bool readLength(std::size_t& position, std::uint64_t& length) const {
    if (position >= bytes_.size()) return false;
    const auto marker = static_cast<unsigned char>(bytes_[position++]);
    const std::size_t size = std::size_t{1} << (marker & 0xF);
    if ((marker >> 4) != 1 || size > 8 || size > bytes_.size() - position) return false;
    length = bigEndian(bytes_.substr(position, size));
    position += size;
    return true;
  }

  std::optional<std::vector<std::uint64_t>> references(std::size_t position, std::uint64_t length) const {
    if (length > (bytes_.size() - position) / referenceSize_) return std::nullopt;
    std::vector<std::uint64_t> result(static_cast<std::size_t>(length));
    for (auto& reference : result) {
      reference = bigEndian(bytes_.substr(position, referenceSize_));
      position += referenceSize_;
      if (reference >= count_) return std::nullopt;
    }
    return result;
  }

  std::string_view bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t root_ = 0;
  std::uint64_t table_ = 0;
};

/// What is known of one object: how deep it nests and how many values it stands for.
struct Measured {
  enum class State : std::uint8_t { unseen, open, done } state = State::unseen;
  std::uint32_t levels = 1;
  std::uint64_t values = 1;
};

/// One object on the way down from the root.
struct Step {
  std::uint64_t object;
  std::vector<std::uint64_t> children;
  std::size_t next = 0;
};

bool isBinarySafe(const BinaryObjects& objects) {
  std::vector<Measured> measured(static_cast<std::size_t>(objects.count()));
  std::vector<Step> path;
  const auto enter = [&](std::uint64_t object) {
    auto children = objects.children(object);
    if (!children || path.size() >= kMostLevels) return false;
    measured[object].state = Measured::State::open;
    path.push_back({object, std::move(*children)});
    return true;
  };
  if (!enter(objects.root())) return false;
  while (!path.empty()) {
    Step& step = path.back();
    Measured& current = measured[step.object];
    if (step.next == step.children.size()) {
      current.state = Measured::State::done;
      path.pop_back();
      continue;
    }
    const std::uint64_t childObject = step.children[step.next];
    const Measured& child = measured[childObject];
    if (child.state == Measured::State::open) return false;  // It contains itself.
    if (child.state == Measured::State::unseen) {
      if (!enter(childObject)) return false;
      continue;
    }
    ++step.next;
    current.levels = std::max(current.levels, child.levels + 1);
    current.values += child.values;
    if (current.levels > kMostLevels || current.values > kMostValues) return false;
  }
  return true;
}

/// Behind the text that begins at `at`, or the end.
std::size_t behind(std::string_view bytes, std::size_t at, std::string_view text) {
  const std::size_t found = bytes.find(text, at);
  return found == std::string_view::npos ? bytes.size() : found + text.size();
}

bool isXmlSafe(std::string_view bytes) {
  std::uint32_t levels = 0;
  std::size_t at = bytes.find('<');
  while (at < bytes.size()) {
    const std::string_view rest = bytes.substr(at);
    if (rest.starts_with("<!--")) {
      at = behind(bytes, at, "-->");
    } else if (rest.starts_with("<![CDATA[")) {
      at = behind(bytes, at, "]]>");
    } else {
      const std::size_t end = behind(bytes, at, ">");
      const bool closes = rest.starts_with("</");
      const bool isElement = !closes && !rest.starts_with("<?") && !rest.starts_with("<!");
      const bool isWhole = end >= at + 2 && bytes[end - 2] == '/';
      if (closes && levels > 0) --levels;
      if (isElement && !isWhole && ++levels > kMostLevels) return false;
      at = end;
    }
    at = bytes.find('<', at);
  }
  return true;
}

}  // namespace

namespace PDXPropertyListMeasure {

std::string_view withoutTail(std::string_view bytes) {
  if (!bytes.starts_with(kBinaryMagic)) {
    const std::size_t end = bytes.rfind("</plist>");
    return end == std::string_view::npos ? bytes : bytes.substr(0, end + std::string_view("</plist>").size());
  }
  // A binary list never ends in sixteen zero bytes: its last eight say where its offsets begin.
  constexpr std::size_t kZeros = 16;
  const std::size_t last = bytes.find_last_not_of('\0');
  if (last == std::string_view::npos || bytes.size() - last - 1 < kZeros) return bytes;
  const std::size_t padded = bytes.size() - kZeros;
  const auto padding = static_cast<unsigned char>(bytes[padded - 1]);
  if (padding < 1 || padding > 16 || padding > padded) return bytes;
  const std::string_view run = bytes.substr(padded - padding, padding);
  const bool isPadding = run.find_first_not_of(static_cast<char>(padding)) == std::string_view::npos;
  return isPadding ? bytes.substr(0, padded - padding) : bytes;
}

bool isSafe(std::string_view bytes) {
  if (!bytes.starts_with("bplist")) return isXmlSafe(bytes);
  const auto objects = BinaryObjects::of(bytes);
  return objects && isBinarySafe(*objects);
}

}  // namespace PDXPropertyListMeasure
