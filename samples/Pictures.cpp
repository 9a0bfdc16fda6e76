#include "samples/Pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include "samples/Canvas.h"
#include "samples/Random.h"

namespace {

using Colour = PDXSampleColour;

constexpr Colour kWhite = {1, 1, 1};
constexpr Colour kDark = {0.12, 0.13, 0.2};
constexpr Colour kWood = {0.45, 0.27, 0.16};

double share(PDXSampleRandom& random) { return static_cast<double>(random.below(1000)) / 1000; }

void boat(PDXSampleCanvas& canvas, double x, double y, double size) {
  canvas.triangle(x, y - size, x, y - size * 0.12, x + size * 0.55, y - size * 0.12, kWhite);
  canvas.triangle(x - size * 0.04, y - size * 0.85, x - size * 0.04, y - size * 0.12, x - size * 0.4,
                  y - size * 0.12, {0.95, 0.9, 0.82});
  canvas.triangle(x - size * 0.55, y - size * 0.06, x + size * 0.65, y - size * 0.06, x + size * 0.4,
                  y + size * 0.14, kWood);
  canvas.triangle(x - size * 0.55, y - size * 0.06, x + size * 0.4, y + size * 0.14, x - size * 0.35,
                  y + size * 0.14, kWood);
}

/// A sailing boat before the setting sun.
void drawHarbour(PDXSampleCanvas& canvas, PDXSampleRandom& random) {
  canvas.gradient({0.2 + 0.2 * share(random), 0.3, 0.6}, {1, 0.72, 0.45});
  const double sun = canvas.width() * (0.25 + 0.5 * share(random));
  canvas.disc(sun, 0.58, 0.2, {1, 0.9, 0.6}, 0.35);
  canvas.disc(sun, 0.58, 0.13, {1, 0.93, 0.7});
  canvas.below([](double) { return 0.62; }, {0.16, 0.35, 0.5});
  for (int i = 0; i < 9; ++i) {
    const double y = 0.65 + i * 0.038;
    const double half = 0.14 - i * 0.01 + 0.05 * share(random);
    canvas.rectangle(sun - half, y, half * 2, 0.008, {0.98, 0.82, 0.6});
  }
  boat(canvas, canvas.width() * (0.2 + 0.55 * share(random)), 0.75, 0.34);
  canvas.below([&](double x) { return 0.93 + 0.02 * std::sin(x * 9); }, {0.1, 0.22, 0.34});
}

void tree(PDXSampleCanvas& canvas, double x, double y, double size) {
  canvas.rectangle(x - size * 0.06, y - size * 0.3, size * 0.12, size * 0.3, kWood);
  for (int i = 0; i < 3; ++i) {
    const double top = y - size * (1.0 - i * 0.22);
    const double half = size * (0.2 + i * 0.09);
    canvas.triangle(x, top, x + half, top + size * 0.36, x - half, top + size * 0.36,
                    {0.13, 0.4 + i * 0.04, 0.25});
  }
}

/// Fir trees on hills below clouds.
void drawHills(PDXSampleCanvas& canvas, PDXSampleRandom& random) {
  canvas.gradient({0.35, 0.62, 0.92}, {0.86, 0.94, 1});
  canvas.disc(canvas.width() * 0.82, 0.2, 0.09, {1, 0.9, 0.45});
  for (int i = 0; i < 2; ++i) {
    const double x = canvas.width() * (0.15 + 0.35 * i + 0.1 * share(random));
    canvas.ellipse(x, 0.2 + 0.1 * i, 0.16, 0.05, kWhite);
    canvas.disc(x - 0.04, 0.17 + 0.1 * i, 0.06, kWhite);
    canvas.disc(x + 0.05, 0.18 + 0.1 * i, 0.05, kWhite);
  }
  const double phase = 6 * share(random);
  canvas.below([&](double x) { return 0.5 + 0.1 * std::sin(x * 3 + phase); }, {0.5, 0.68, 0.62});
  canvas.below([&](double x) { return 0.64 + 0.07 * std::sin(x * 4 + phase * 2); }, {0.42, 0.7, 0.38});
  for (int i = 0; i < 6; ++i) {
    tree(canvas, canvas.width() * (0.08 + 0.16 * i + 0.06 * share(random)), 0.8 + 0.08 * share(random), 0.26);
  }
  canvas.below([&](double x) { return 0.84 + 0.04 * std::sin(x * 5 - phase); }, {0.3, 0.58, 0.3});
}

void house(PDXSampleCanvas& canvas, double left, double width, double top, PDXSampleRandom& random) {
  canvas.rectangle(left, top, width, 1 - top, {0.1 + 0.08 * share(random), 0.12, 0.24});
  for (double y = top + 0.04; y < 0.88; y += 0.07) {
    for (double x = left + 0.03; x < left + width - 0.04; x += 0.06) {
      if (!random.isOneIn(3)) canvas.rectangle(x, y, 0.025, 0.035, {1, 0.86, 0.5});
    }
  }
}

/// A town at night.
void drawCity(PDXSampleCanvas& canvas, PDXSampleRandom& random) {
  canvas.gradient({0.04, 0.05, 0.18}, {0.35, 0.25, 0.45});
  for (int i = 0; i < 40; ++i)
    canvas.disc(canvas.width() * share(random), 0.55 * share(random), 0.003, kWhite);
  canvas.disc(canvas.width() * 0.78, 0.2, 0.1, {0.98, 0.96, 0.86});
  canvas.disc(canvas.width() * 0.78 + 0.045, 0.18, 0.088, {0.09, 0.08, 0.22});
  for (double x = 0; x < canvas.width();) {
    const double width = 0.14 + 0.12 * share(random);
    house(canvas, x, width - 0.01, 0.42 + 0.3 * share(random), random);
    x += width;
  }
  canvas.below([](double) { return 0.93; }, kDark);
}

void flower(PDXSampleCanvas& canvas, double x, double y, double size, const Colour& petals) {
  canvas.rectangle(x - size * 0.05, y, size * 0.1, 1 - y, {0.25, 0.5, 0.22});
  canvas.ellipse(x + size * 0.35, y + size * 1.4, size * 0.35, size * 0.12, {0.3, 0.58, 0.26});
  for (int i = 0; i < 8; ++i) {
    const double angle = i * 0.7853981634;
    canvas.disc(x + std::cos(angle) * size * 0.55, y + std::sin(angle) * size * 0.55, size * 0.3, petals);
  }
  canvas.disc(x, y, size * 0.36, {0.98, 0.78, 0.2});
}

/// Flowers in front of a wall.
void drawGarden(PDXSampleCanvas& canvas, PDXSampleRandom& random) {
  static constexpr std::array<Colour, 4> kPetals = {
      Colour{0.93, 0.35, 0.45}, {0.98, 0.98, 0.98}, {0.7, 0.45, 0.85}, {1, 0.6, 0.25}};
  canvas.gradient({0.95, 0.92, 0.82}, {0.85, 0.8, 0.66});
  canvas.below([](double x) { return 0.86 + 0.015 * std::sin(x * 40); }, {0.38, 0.6, 0.3});
  for (int i = 0; i < 5; ++i) {
    const double x = canvas.width() * (0.12 + 0.19 * i);
    flower(canvas, x, 0.3 + 0.25 * share(random), 0.09 + 0.03 * share(random), random.pick(kPetals));
  }
}

/// The phone's own screen, with rows of application icons.
void drawScreen(PDXSampleCanvas& canvas, PDXSampleRandom& random) {
  canvas.gradient({0.3 + 0.4 * share(random), 0.45, 0.8}, {0.85, 0.55, 0.6});
  const double cell = canvas.width() / 4;
  for (int i = 0; i < 20; ++i) {
    const double size = cell * 0.62;
    const double left = cell * (i % 4) + cell * 0.19;
    const int row = i / 4;
    const double top = 0.1 + row * cell * 1.2;
    const Colour colour = {0.3 + 0.7 * share(random), 0.3 + 0.7 * share(random), 0.3 + 0.7 * share(random)};
    canvas.rectangle(left, top, size, size, colour);
    canvas.disc(left + size / 2, top + size / 2, size * 0.28, kWhite, 0.85);
    canvas.rectangle(left + size * 0.15, top + size * 1.1, size * 0.7, size * 0.1, kWhite);
  }
  canvas.rectangle(0.04, 0.03, 0.09, 0.016, kWhite);
  canvas.rectangle(canvas.width() - 0.12, 0.03, 0.07, 0.016, kWhite);
}

/// Where the metadata ends that the image library gave a file of its own accord.
std::ptrdiff_t endOfMetadata(const PDXBytes& jpeg) {
  const bool hasMetadata = jpeg.size() > 6 && jpeg[2] == 0xFF && jpeg[3] == 0xE1;
  return hasMetadata ? 4 + jpeg[4] * 256 + jpeg[5] : 2;
}

}  // namespace

namespace PDXSamplePictures {

PDXRaster scene(Scene scene, int width, int height, std::uint64_t variety) {
  using Draw = void (*)(PDXSampleCanvas&, PDXSampleRandom&);
  static constexpr Draw kDraw[] = {drawHarbour, drawHills, drawCity, drawGarden, drawScreen};
  PDXSampleCanvas canvas(width, height);
  PDXSampleRandom random(variety, 10);
  kDraw[static_cast<std::size_t>(scene)](canvas, random);
  return canvas.take();
}

PDXRaster portrait(int size, std::uint64_t variety) {
  static constexpr std::array<Colour, 4> kSkin = {
      Colour{0.98, 0.84, 0.72}, {0.9, 0.7, 0.52}, {0.72, 0.5, 0.35}, {0.46, 0.3, 0.2}};
  static constexpr std::array<Colour, 5> kHair = {
      Colour{0.15, 0.1, 0.08}, {0.4, 0.24, 0.12}, {0.88, 0.7, 0.38}, {0.7, 0.3, 0.12}, {0.8, 0.8, 0.82}};
  PDXSampleCanvas canvas(size, size);
  PDXSampleRandom random(variety, 11);
  const Colour skin = random.pick(kSkin);
  const Colour hair = random.pick(kHair);
  canvas.gradient({0.4 + 0.5 * share(random), 0.75, 0.85}, {0.9, 0.85, 0.6 + 0.4 * share(random)});
  if (random.isOneIn(2)) canvas.ellipse(0.5, 0.52, 0.27, 0.34, hair);
  canvas.ellipse(0.5, 1.02, 0.4, 0.3, {share(random), 0.3 + 0.4 * share(random), share(random)});
  canvas.rectangle(0.43, 0.58, 0.14, 0.2, skin);
  canvas.ellipse(0.5, 0.36, 0.235, 0.22, hair);
  canvas.ellipse(0.5, 0.45, 0.2, 0.24, skin);
  canvas.disc(0.43, 0.43, 0.022, kDark);
  canvas.disc(0.57, 0.43, 0.022, kDark);
  canvas.ellipse(0.5, 0.57, 0.07, 0.03, {0.75, 0.3, 0.3});
  canvas.ellipse(0.5, 0.558, 0.07, 0.022, skin);
  return canvas.take();
}

PDXRaster signpost(int width, int height) {
  PDXSampleCanvas canvas(width, height);
  const double middle = canvas.width() / 2;
  canvas.gradient({0.75, 0.88, 1}, {0.98, 0.95, 0.85});
  canvas.triangle(middle - 0.3, 0.08, middle - 0.08, 0.42, middle - 0.52, 0.42, {0.8, 0.2, 0.15});
  canvas.rectangle(middle - 0.37, 0.4, 0.14, 0.5, {0.8, 0.2, 0.15});
  canvas.rectangle(middle + 0.1, 0.12, 0.12, 0.78, kDark);
  canvas.rectangle(middle + 0.1, 0.12, 0.45, 0.12, kDark);
  canvas.rectangle(middle + 0.1, 0.44, 0.34, 0.12, kDark);
  return canvas.take();
}

PDXRaster heldAs(const PDXRaster& picture, int orientation) {
  const bool isOnSide = orientation > 4;
  const bool fromRight = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
  const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
  PDXRaster held = picture;
  if (isOnSide) std::swap(held.width, held.height);
  auto target = held.pixels.begin();
  for (int row = 0; row < held.height; ++row) {
    for (int column = 0; column < held.width; ++column) {
      const int across = isOnSide ? row : column;
      const int down = isOnSide ? column : row;
      const int x = fromRight ? picture.width - 1 - across : across;
      const int y = fromBottom ? picture.height - 1 - down : down;
      target = std::copy_n(picture.pixels.begin() + (std::ptrdiff_t{y} * picture.width + x) * 3, 3, target);
    }
  }
  return held;
}

PDXBytes markedAs(const PDXBytes& jpeg, int orientation) {
  // Camera metadata with one entry: orientation (tag 0x112, a short).
  static constexpr std::string_view kMetadata(
      "\xFF\xE1\x00\x22"
      "Exif\0\0"
      "MM\0\x2A\0\0\0\x08"
      "\0\x01"
      "\x01\x12\0\x03\0\0\0\x01\0\x01\0\0"
      "\0\0\0\0",
      36);
  constexpr std::ptrdiff_t kOrientation = 2 + 29;
  PDXBytes marked = jpeg;
  marked.erase(marked.begin() + 2, marked.begin() + endOfMetadata(jpeg));
  marked.insert(marked.begin() + 2, kMetadata.begin(), kMetadata.end());
  marked[kOrientation] = static_cast<std::uint8_t>(orientation);
  return marked;
}

}  // namespace PDXSamplePictures
