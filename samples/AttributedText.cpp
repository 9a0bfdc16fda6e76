#include "samples/AttributedText.h"

#include <algorithm>
#include <map>
#include <utility>

namespace {

constexpr std::string_view kPlaceholder = "\xEF\xBF\xBC";  // U+FFFC

/// Every character but the continuation bytes is one unit, and those beyond sixteen bits are two.
std::int32_t utf16Length(std::string_view text) {
  std::int32_t length = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    length += (byte & 0xC0) == 0x80 ? 0 : byte >= 0xF0 ? 2 : 1;
  }
  return length;
}

/// The text cut in front of and behind each placeholder.
std::vector<std::string_view> partsOf(std::string_view text) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t placeholder = text.find(kPlaceholder);
    const std::size_t length = placeholder == 0 ? kPlaceholder.size() : std::min(placeholder, text.size());
    parts.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return parts;
}

/// The system names an attachment by the number of the part that it is.
std::string attachmentGuid(std::size_t part, std::string_view guid) {
  return "at_" + std::to_string(part) + "_" + std::string(guid);
}

/// Writes the archive front to back. Strings, classes and objects are written once; later a number stands for
/// them.
class Archiver {
 public:
  explicit Archiver(std::size_t textSize) { bytes_.reserve(200 + textSize); }

  PDXBytes archive(std::string_view text, std::string_view guid) {
    byte_(4);
    string_("streamtyped");
    number_(1000);
    types_("@");
    beginObject_("NSMutableAttributedString");
    types_("@");
    beginObject_("NSMutableString");
    types_("+");
    string_(text);
    byte_(kEnd);
    std::int32_t part = 0;
    for (const std::string_view words : partsOf(text)) addPart_(words, part++, guid);
    byte_(kEnd);
    return std::move(bytes_);
  }

 private:
  static constexpr std::uint8_t kNew = 0x84;
  static constexpr std::uint8_t kNil = 0x85;
  static constexpr std::uint8_t kEnd = 0x86;

  void addPart_(std::string_view words, std::int32_t part, std::string_view guid) {
    const bool isAttachment = words == kPlaceholder;
    types_("iI");
    number_(part + 1);
    number_(utf16Length(words));
    types_("@");
    beginObject_("NSDictionary");
    types_("i");
    number_(isAttachment ? 2 : 1);
    if (isAttachment) {
      addKey_("__kIMFileTransferGUIDAttributeName");
      addText_(attachmentGuid(static_cast<std::size_t>(part), guid));
    }
    addKey_("__kIMMessagePartAttributeName");
    addNumber_(part);
    byte_(kEnd);
  }

  void addKey_(std::string_view key) {
    types_("@");
    if (refersTo_(things_, key)) return;
    newThing_(key);
    textObject_(key);
  }

  void addText_(std::string_view text) {
    types_("@");
    newThing_("");
    textObject_(text);
  }

  void textObject_(std::string_view text) {
    class_("NSString");
    types_("+");
    string_(text);
    byte_(kEnd);
  }

  /// A number tells its own type in a text, which others share.
  void addNumber_(std::int32_t number) {
    types_("@");
    beginObject_("NSNumber");
    types_("*");
    if (!refersTo_(things_, "*i")) {
      newThing_("*i");
      types_("i");
    }
    types_("i");
    number_(number);
    byte_(kEnd);
  }

  void beginObject_(std::string_view name) {
    newThing_("");
    class_(name);
  }

  void class_(std::string_view name) {
    const std::string key = "class " + std::string(name);
    if (refersTo_(things_, key)) return;
    newThing_(key);
    types_(name);
    number_(name == "NSString" || name == "NSMutableString" ? 1 : 0);
    const std::string_view above = superclassOf_(name);
    if (above.empty()) return byte_(kNil);
    class_(above);
  }

  static std::string_view superclassOf_(std::string_view name) {
    if (name == "NSObject") return "";
    if (name == "NSMutableAttributedString") return "NSAttributedString";
    if (name == "NSMutableString") return "NSString";
    return name == "NSNumber" ? "NSValue" : "NSObject";
  }

  /// Descriptions of types, and the names of classes, share one list.
  void types_(std::string_view types) {
    if (refersTo_(strings_, types)) return;
    strings_.emplace(types, static_cast<std::int32_t>(strings_.size()));
    byte_(kNew);
    string_(types);
  }

  /// @param key  by which others may refer to it; "" for one that nobody does.
  void newThing_(std::string_view key) {
    if (!key.empty()) things_.emplace(key, thingCount_);
    ++thingCount_;
    byte_(kNew);
  }

  using Numbers = std::map<std::string, std::int32_t, std::less<>>;

  /// Numbers of what was written before begin with the least that one byte holds.
  bool refersTo_(const Numbers& known, std::string_view key) {
    const auto found = known.find(key);
    if (found != known.end()) number_(found->second - 110);
    return found != known.end();
  }

  void string_(std::string_view text) {
    if (text.size() < 0x80) {
      byte_(static_cast<std::uint8_t>(text.size()));
    } else {
      wide_(static_cast<std::uint32_t>(text.size()), text.size() <= 0xFFFF);
    }
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }

  void number_(std::int32_t value) {
    if (value >= -110 && value <= 127) {
      byte_(static_cast<std::uint8_t>(value & 0xFF));
    } else {
      wide_(static_cast<std::uint32_t>(value), value >= -0x8000 && value <= 0x7FFF);
    }
  }

  void wide_(std::uint32_t value, bool fitsTwoBytes) {
    byte_(fitsTwoBytes ? 0x81 : 0x82);
    for (int i = 0; i < (fitsTwoBytes ? 2 : 4); ++i)
      byte_(static_cast<std::uint8_t>(value >> (8 * i) & 0xFF));
  }

  void byte_(std::uint8_t byte) { bytes_.push_back(byte); }

  PDXBytes bytes_;
  Numbers strings_;
  Numbers things_;
  std::int32_t thingCount_ = 0;
};

}  // namespace

namespace PDXSampleAttributedText {

PDXBytes archived(std::string_view text, std::string_view guid) {
  return Archiver(text.size()).archive(text, guid);
}

std::vector<std::string> attachmentGuids(std::string_view text, std::string_view guid) {
  std::vector<std::string> guids;
  const auto parts = partsOf(text);
  for (std::size_t part = 0; part < parts.size(); ++part) {
    if (parts[part] == kPlaceholder) guids.push_back(attachmentGuid(part, guid));
  }
  return guids;
}

}  // namespace PDXSampleAttributedText
