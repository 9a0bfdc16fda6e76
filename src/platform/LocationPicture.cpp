#include "platform/LocationPicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>
#include <vips/vips8>

#include "platform/ImageLimits.h"
#include "platform/Images.h"
#include "platform/Memory.h"
#include "platform/Text.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 400;
constexpr int kStripTop = 300;  ///< Below it stand the texts.
constexpr int kMargin = 28;

struct Colour {
  int red;
  int green;
  int blue;
};

constexpr Colour kGround{241, 244, 236};
constexpr Colour kLine{226, 232, 218};
constexpr Colour kHeavyLine{206, 217, 196};
constexpr Colour kShadow{196, 203, 188};
constexpr Colour kPin{208, 58, 52};
constexpr Colour kWhite{255, 255, 255};
constexpr Colour kLabel{28, 30, 33};
constexpr Colour kCoordinates{96, 103, 112};

bool isWithin(double x, double y, double radius) { return x * x + y * y <= radius * radius; }

/// Whether a point lies on the pin: a disc, and the two tangents from it to the tip.
bool isOnPin(double x, double y) {
  constexpr double kRadius = 38;
  constexpr double kTip = 96;  ///< Below the disc's centre.
  if (isWithin(x, y, kRadius)) return true;
  const double tangent = kRadius * kRadius / kTip;
  const double halfWidth = kRadius * std::sqrt(1 - kRadius * kRadius / (kTip * kTip));
  return y >= tangent && y <= kTip && std::abs(x) <= halfWidth * (kTip - y) / (kTip - tangent);
}

/// @param x, y  from the upper left corner, not negative.
Colour gridAt(double x, double y) {
  const auto isOnLine = [](double position, double spacing, double width) {
    return position - spacing * static_cast<int>(position / spacing) < width;
  };
  if (isOnLine(x, 160, 3) || isOnLine(y, 160, 3)) return kHeavyLine;
  return isOnLine(x, 40, 1.5) || isOnLine(y, 40, 1.5) ? kLine : kGround;
}

Colour colourAt(double x, double y) {
  constexpr double kPinX = 320;
  constexpr double kPinY = 110;
  if (y >= kStripTop) return y < kStripTop + 2 ? kHeavyLine : kWhite;
  if (isOnPin(x - kPinX, y - kPinY)) return isWithin(x - kPinX, y - kPinY, 15) ? kWhite : kPin;
  if (isWithin(x - kPinX, (y - kPinY - 97) * 3, 24)) return kShadow;
  return gridAt(x, y);
}

/// The mean of a few points of the pixel, so that edges are smooth.
void drawPixel(PDXRaster& raster, int column, int row) {
  constexpr int kSteps = 3;
  const auto within = [](int step) { return (step + 0.5) / kSteps; };
  Colour sum{0, 0, 0};
  for (int i = 0; i < kSteps * kSteps; ++i) {
    const int stepDown = i / kSteps;
    const Colour colour = colourAt(column + within(i % kSteps), row + within(stepDown));
    sum = {sum.red + colour.red, sum.green + colour.green, sum.blue + colour.blue};
  }
  for (const int part : {sum.red, sum.green, sum.blue}) {
    raster.pixels.push_back(static_cast<std::uint8_t>(part / (kSteps * kSteps)));
  }
}

PDXRaster drawnWithoutTexts() {
  PDXRaster raster{.width = kWidth, .height = kHeight, .pixels = {}};
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column) drawPixel(raster, column, row);
  }
  return raster;
}

void blend(std::uint8_t& pixel, int colour, int share) {
  pixel = static_cast<std::uint8_t>((pixel * (255 - share) + colour * share) / 255);
}

/// How much of each pixel a text covers, 0 to 255, one byte each.
struct Mask {
  int width = 0;
  int height = 0;
  PDXBytes shares;
};

Mask maskOf(const std::string& text, const char* font) {
  PDXMemory::requireRoomFor(PDXImageLimits::kMemoryForText);
  try {
    const vips::VImage image = vips::VImage::text(PDXText::escapedForHtml(text).c_str(),
                                                  vips::VImage::option()->set("font", font)->set("dpi", 72));
    std::size_t size = 0;
    const std::unique_ptr<void, void (*)(void*)> bytes(image.write_to_memory(&size), g_free);
    const auto* shares = static_cast<const std::uint8_t*>(bytes.get());
    return {image.width(), image.height(), PDXBytes(shares, shares + size)};
  } catch (const vips::VError&) {
    vips_error_clear();
    return {};
  }
}

/// Writes one line of text, cut at the right margin.
/// @param middle  the row around which it stands.
void write(PDXRaster& raster, const std::string& text, const char* font, const Colour& colour, int middle) {
  const Mask mask = maskOf(text, font);
  const int top = std::max(kStripTop, middle - mask.height / 2);
  const int width = std::min(mask.width, kWidth - 2 * kMargin);
  const int height = std::min(mask.height, kHeight - top);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const int pixel = (top + row) * kWidth + kMargin + column;
      const int place = row * mask.width + column;
      const std::size_t at = static_cast<std::size_t>(pixel) * 3;
      const int share = mask.shares[static_cast<std::size_t>(place)];
      blend(raster.pixels[at], colour.red, share);
      blend(raster.pixels[at + 1], colour.green, share);
      blend(raster.pixels[at + 2], colour.blue, share);
    }
  }
}

/// The label as one line of a length that fits, without characters that markup may not hold.
std::string oneLine(const std::string& label) {
  constexpr std::size_t kMostBytes = 120;
  std::string line = PDXText::valid(label.substr(0, kMostBytes));
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  return line;
}

std::string degrees(double value, char positive, char negative) {
  return fmt::format("{:.5f}° {}", std::abs(value), value < 0 ? negative : positive);
}

}  // namespace

namespace PDXImages {

std::optional<PDXBytes> locationPicture(const std::string& label, double latitude, double longitude) {
  if (!isReady()) return std::nullopt;
  static const PDXRaster everyPlace = drawnWithoutTexts();
  PDXRaster raster = everyPlace;
  const std::string line = oneLine(label);
  if (!line.empty()) write(raster, line, "sans bold 24", kLabel, kStripTop + 36);
  write(raster, degrees(latitude, 'N', 'S') + ", " + degrees(longitude, 'E', 'W'), "sans 18", kCoordinates,
        line.empty() ? kStripTop + 50 : kStripTop + 70);
  return encoded(raster, PDXPictureFormat::png);
}

}  // namespace PDXImages
