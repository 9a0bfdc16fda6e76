#include "platform/PropertyListMeasure.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr std::uint32_t kMostLevels = 256;
constexpr std::uint64_t kMostValues = std::uint64_t{4} << 20;
constexpr std::uint64_t kMostRepeatedValues = std::uint64_t{64} << 10;
constexpr std::uint64_t kLongestName = std::uint64_t{64} << 10;
constexpr std::uint64_t kMostRepeatedBytes = std::uint64_t{64} << 20;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char c : bytes) value = (value << 8) | static_cast<unsigned char>(c);
  return value;
}

/// One object of a binary list: the objects that it contains, keys included, or the size of its text or data.
struct Object {
  std::vector<std::uint64_t> children;
  std::uint64_t bytes = 0;
  std::size_t keys = 0;  ///< How many of the children, from the first on, are keys.
  bool isName = false;   ///< A text that may be a key: the parser gives up the process for one with a zero.
};

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

  std::uint64_t size() const { return bytes_.size(); }

  /// Nothing when the object is damaged.
  std::optional<Object> object(std::uint64_t index) const {
    std::size_t position = bigEndian(bytes_.substr(table_ + index * offsetSize_, offsetSize_));
    if (position >= bytes_.size()) return std::nullopt;
    const auto marker = static_cast<unsigned char>(bytes_[position++]);
    const unsigned kind = marker >> 4;
    if (kind < 0x4) return Object();
    std::uint64_t length = marker & 0xF;
    if (length == 0xF && !readLength(position, length)) return std::nullopt;
    if (length > bytes_.size()) return std::nullopt;
    if (kind != 0xA && kind != 0xC && kind != 0xD) {
      const std::size_t width = kind == 0x5 ? 1 : 2;
      const bool isText = kind == 0x5 || kind == 0x6;
      const bool isName = isText && length <= kLongestName && !hasZero(position, length * width, width);
      return Object{.children = {}, .bytes = length, .keys = 0, .isName = isName};
    }
    const bool isDictionary = kind == 0xD;
    auto container = references(position, isDictionary ? 2 * length : length);
    if (container && isDictionary) container->keys = container->children.size() / 2;
    return container;
  }

 private:
  bool isPlausible() const {
    const auto isWidth = [](std::size_t size) { return size >= 1 && size <= 8; };
    if (!isWidth(offsetSize_) || !isWidth(referenceSize_)) return false;
    const std::size_t end = bytes_.size() - kTrailerSize;
    return count_ > 0 && count_ <= kMostValues && root_ < count_ && table_ <= end &&
           count_ <= (end - table_) / offsetSize_;
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

  /// Whether a text holds a character of that width that is zero.
  bool hasZero(std::size_t position, std::size_t size, std::size_t width) const {
    const std::string_view text = bytes_.substr(position, size);
    for (std::size_t at = text.find('\0'); at < text.size(); at = text.find('\0', at + 1)) {
      const std::size_t begin = at / width * width;
      if (text.substr(begin, width).find_first_not_of('\0') == std::string_view::npos) return true;
    }
    return false;
  }

  std::optional<Object> references(std::size_t position, std::uint64_t length) const {
    if (length > kMostValues || length > (bytes_.size() - position) / referenceSize_) return std::nullopt;
    Object result;
    result.children.resize(static_cast<std::size_t>(length));
    for (auto& reference : result.children) {
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

/// What is known of one object: how deep it nests, how many values it stands for and how many bytes of text
/// and data they hold.
struct Measured {
  enum class State : std::uint8_t { unseen, open, done } state = State::unseen;
  std::uint32_t levels = 1;
  std::uint64_t values = 1;
  std::uint64_t bytes = 0;
  bool isName = false;
};

/// One object on the way down from the root.
struct Step {
  std::uint64_t object;
  std::vector<std::uint64_t> children;
  std::size_t keys = 0;
  std::size_t next = 0;
};

/// Measures what the root contains, each object once, along the path that leads to it.
class BinaryMeasure {
 public:
  explicit BinaryMeasure(const BinaryObjects& objects)
      : objects_(objects),
        mostValues_(std::min(kMostValues, 4 * objects.size() + kMostRepeatedValues)),
        measured_(static_cast<std::size_t>(objects.count())) {}

  bool isSafe() {
    if (!enter(objects_.root())) return false;
    while (!path_.empty()) {
      Step& step = path_.back();
      if (step.next == step.children.size()) {
        leave();
      } else if (!visit(step)) {
        return false;
      }
    }
    return true;
  }

 private:
  bool enter(std::uint64_t index) {
    auto object = objects_.object(index);
    if (!object || path_.size() >= kMostLevels) return false;
    // Objects may overlap in the file, so that a short one could name the same millions on every level.
    waiting_ += object->children.size();
    measured_[index].state = Measured::State::open;
    measured_[index].bytes = object->bytes;
    measured_[index].isName = object->isName;
    path_.push_back({.object = index, .children = std::move(object->children), .keys = object->keys});
    return waiting_ <= mostValues_;
  }

  void leave() {
    measured_[path_.back().object].state = Measured::State::done;
    waiting_ -= path_.back().children.size();
    path_.pop_back();
  }

  bool visit(Step& step) {
    const std::uint64_t childObject = step.children[step.next];
    const Measured& child = measured_[childObject];
    if (child.state == Measured::State::open) return false;  // It contains itself.
    if (child.state == Measured::State::unseen) return enter(childObject);
    if (step.next < step.keys && !child.isName) return false;
    ++step.next;
    Measured& whole = measured_[step.object];
    whole.levels = std::max(whole.levels, child.levels + 1);
    whole.values += child.values;
    whole.bytes += child.bytes;
    return whole.levels <= kMostLevels && whole.values <= mostValues_ &&
           whole.bytes <= objects_.size() + kMostRepeatedBytes;
  }

  const BinaryObjects& objects_;
  // A device shares texts and numbers, so it writes a byte or more for every value.
  std::uint64_t mostValues_;
  std::vector<Measured> measured_;
  std::vector<Step> path_;
  std::uint64_t waiting_ = 0;
};

/// Behind the text that begins at `at`, or the end.
std::size_t behind(std::string_view bytes, std::size_t at, std::string_view text) {
  const std::size_t found = bytes.find(text, at);
  return found == std::string_view::npos ? bytes.size() : found + text.size();
}

/// Whether a tag, given without its brackets, is written so that it can be read in one way only. Parsers
/// differ about ">" in quotes and about an inner document type; no device writes either.
bool isUnambiguous(std::string_view tag) {
  return tag.find_first_of("<[") == std::string_view::npos &&
         std::count(tag.begin(), tag.end(), '"') % 2 == 0 &&
         std::count(tag.begin(), tag.end(), '\'') % 2 == 0;
}

/// Follows a tag, given without its brackets. False when it goes too deep or closes what is not open.
bool follow(std::string_view tag, std::vector<std::string_view>& openElements) {
  if (!isUnambiguous(tag)) return false;
  if (tag.starts_with('?')) return tag.size() > 1 && tag.ends_with('?');
  if (tag.starts_with('!') || tag.ends_with('/')) return !tag.starts_with('/');
  if (tag.starts_with('/')) {
    if (openElements.empty() || openElements.back() != tag.substr(1)) return false;
    openElements.pop_back();
    return true;
  }
  openElements.push_back(tag.substr(0, tag.find_first_of(" \t\r\n")));
  return openElements.size() <= kMostLevels;
}

bool isXmlSafe(std::string_view bytes) {
  std::vector<std::string_view> openElements;
  std::uint64_t tags = 0;
  for (std::size_t at = bytes.find('<'); at < bytes.size(); at = bytes.find('<', at)) {
    const std::string_view rest = bytes.substr(at);
    if (rest.starts_with("<!-->") || rest.starts_with("<!--->")) return false;
    if (rest.starts_with("<!--")) {
      at = behind(bytes, at, "-->");
    } else if (rest.starts_with("<![CDATA[")) {
      at = behind(bytes, at, "]]>");
    } else {
      const std::size_t end = rest.find('>');
      if (++tags > 2 * kMostValues || end == std::string_view::npos ||
          !follow(rest.substr(1, end - 1), openElements))
        return false;
      at += end + 1;
    }
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
  return objects && BinaryMeasure(*objects).isSafe();
}

}  // namespace PDXPropertyListMeasure
