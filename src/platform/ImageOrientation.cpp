#include "platform/ImageOrientation.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view kExif("Exif\0\0", 6);
constexpr std::string_view kXmp("http://ns.adobe.com/xap/1.0/\0", 29);

constexpr std::uint8_t kApp1 = 0xE1;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::uint8_t kEndOfImage = 0xD9;

/// A piece of the file between marker and next marker, without its length field.
struct Segment {
  std::uint8_t marker;
  std::size_t begin;
  std::size_t end;
};

bool beginsWith(Bytes bytes, std::string_view text) {
  return bytes.size() >= text.size() &&
         std::equal(text.begin(), text.end(), bytes.begin(),
                    [](char a, auto b) { return static_cast<std::uint8_t>(a) == b; });
}

bool standsAlone(std::uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8); }

bool isFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// The first marker at or behind `at`, which moves behind it; 0 at the end. Some writers leave other bytes
/// or fill bytes in front.
std::uint8_t nextMarker(Bytes jpeg, std::size_t& at) {
  while (at < jpeg.size() && jpeg[at] != 0xFF) ++at;
  while (at < jpeg.size() && jpeg[at] == 0xFF) ++at;
  return at < jpeg.size() ? jpeg[at++] : 0;
}

/// Shows `visit` the whole segments ahead of the pixels. True when the pixels were reached.
template <typename Visit>
bool forEachSegment(Bytes jpeg, Visit visit) {
  std::size_t at = 0;
  while (const std::uint8_t marker = nextMarker(jpeg, at)) {
    if (standsAlone(marker)) continue;
    if (marker == kStartOfScan || marker == kEndOfImage) return marker == kStartOfScan;
    if (at + 2 > jpeg.size()) return false;
    const std::size_t length = jpeg[at] * std::size_t{256} + jpeg[at + 1];
    if (length < 2 || at + length > jpeg.size()) return false;
    visit(Segment{marker, at + 2, at + length});
    at += length;
  }
  return false;
}

/// The directories inside EXIF metadata. Places count from its byte order mark.
class Directories {
 public:
  explicit Directories(Bytes tiff) : tiff_(tiff), isBigEndian_(beginsWith(tiff, "MM")) {
    const bool isKnown = (isBigEndian_ || beginsWith(tiff, "II")) && number(2, 2) == 42;
    first_ = isKnown ? number(4, 4) : tiff.size();
  }

  bool isBigEndian() const { return isBigEndian_; }

  /// Beyond the end reads as 0.
  std::uint32_t number(std::size_t at, std::size_t size) const {
    if (at > tiff_.size() || size > tiff_.size() - at) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      value = value << 8 | tiff_[at + (isBigEndian_ ? i : size - 1 - i)];
    }
    return value;
  }

  /// Where the orientation stands in the first directory, two bytes wide; nothing when it has none.
  std::optional<std::size_t> orientation() const {
    const std::size_t entries = number(first_, 2);
    for (std::size_t i = 0; i < entries; ++i) {
      const std::size_t entry = first_ + 2 + i * 12;
      if (entry + 12 > tiff_.size()) break;
      if (number(entry, 2) == 0x0112 && number(entry + 2, 2) == 3) return entry + 8;
    }
    return std::nullopt;
  }

  /// Where the link to the thumbnail's directory stands, four bytes wide; nothing beyond the end.
  std::optional<std::size_t> thumbnailLink() const {
    const std::size_t link = first_ + 2 + std::size_t{12} * number(first_, 2);
    if (first_ >= tiff_.size() || link + 4 > tiff_.size()) return std::nullopt;
    return link;
  }

 private:
  Bytes tiff_;
  bool isBigEndian_;
  std::size_t first_ = 0;
};

Bytes contentOf(Bytes jpeg, const Segment& segment) {
  return jpeg.subspan(segment.begin, segment.end - segment.begin);
}

bool isExif(Bytes jpeg, const Segment& segment) {
  return segment.marker == kApp1 && beginsWith(contentOf(jpeg, segment), kExif);
}

/// Nothing when the segment does not tell.
std::optional<int> orientationOf(Bytes jpeg, const Segment& segment) {
  if (!isExif(jpeg, segment)) return std::nullopt;
  const Directories directories(contentOf(jpeg, segment).subspan(kExif.size()));
  const auto place = directories.orientation();
  if (!place) return std::nullopt;
  const std::uint32_t value = directories.number(*place, 2);
  return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

void correctExif(std::span<std::uint8_t> tiff) {
  const Directories directories(tiff);
  if (const auto place = directories.orientation()) {
    tiff[*place] = directories.isBigEndian() ? 0 : 1;
    tiff[*place + 1] = directories.isBigEndian() ? 1 : 0;
  }
  if (const auto link = directories.thumbnailLink())
    std::fill_n(tiff.begin() + static_cast<std::ptrdiff_t>(*link), 4, 0);
}

/// The value is one digit, as an attribute (name="6") or an element (<name>6</name>).
void correctXmp(std::span<std::uint8_t> packet) {
  constexpr std::string_view kName = "tiff:Orientation";
  auto at = packet.begin();
  while ((at = std::search(at, packet.end(), kName.begin(), kName.end())) != packet.end()) {
    at += kName.size();
    const auto digit =
        std::find_if(at, packet.end(), [](auto c) { return c != '=' && c != '"' && c != '\'' && c != '>'; });
    if (digit != at && digit != packet.end() && *digit >= '1' && *digit <= '8') *digit = '1';
  }
}

}  // namespace

namespace PDXImageOrientation {

std::optional<PDXJpegHead> headOf(const PDXBytes& jpeg) {
  const Bytes bytes(jpeg);
  if (!beginsWith(bytes, "\xFF\xD8\xFF")) return std::nullopt;
  PDXJpegHead head;
  std::optional<int> orientation;
  head.reachesPixels = forEachSegment(bytes, [&](const Segment& segment) {
    if (!orientation) orientation = orientationOf(bytes, segment);
    if (!isFrame(segment.marker) || segment.end - segment.begin < 5) return;
    const auto number = [&](std::size_t at) { return std::uint32_t{jpeg[at]} * 256 + jpeg[at + 1]; };
    head.height = number(segment.begin + 1);
    head.width = number(segment.begin + 3);
  });
  head.orientation = orientation.value_or(1);
  head.tellsOrientation = orientation.has_value();
  return head;
}

void markUpright(PDXBytes& jpeg) {
  const std::span<std::uint8_t> bytes(jpeg);
  forEachSegment(bytes, [&](const Segment& segment) {
    const auto content = bytes.subspan(segment.begin, segment.end - segment.begin);
    if (isExif(bytes, segment)) correctExif(content.subspan(kExif.size()));
    if (segment.marker == kApp1 && beginsWith(content, kXmp)) correctXmp(content);
  });
}

}  // namespace PDXImageOrientation
