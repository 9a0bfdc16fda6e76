#include "platform/FacePicture.h"

#include <fmt/format.h>
#include <libdeflate.h>
#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>
#include <vips/vips8>

#include "platform/ImageFrames.h"
#include "platform/ImageLimits.h"
#include "platform/ImageOrientation.h"
#include "platform/Images.h"
#include "platform/Memory.h"
#include "platform/Text.h"

namespace {

struct Colour {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

/// White stands out from each of them at 4.5 to 1 or more, which is what most people can read.
constexpr std::array<Colour, 18> kDiscs = {{{0xC6, 0x28, 0x28},
                                            {0xAD, 0x14, 0x57},
                                            {0x7B, 0x1F, 0xA2},
                                            {0x45, 0x27, 0xA0},
                                            {0x28, 0x35, 0x93},
                                            {0x15, 0x65, 0xC0},
                                            {0x01, 0x57, 0x9B},
                                            {0x00, 0x69, 0x5C},
                                            {0x2E, 0x7D, 0x32},
                                            {0x33, 0x69, 0x1E},
                                            {0x5D, 0x40, 0x37},
                                            {0x37, 0x47, 0x4F},
                                            {0xBF, 0x36, 0x0C},
                                            {0x88, 0x0E, 0x4F},
                                            {0x1B, 0x5E, 0x20},
                                            {0x6A, 0x1B, 0x9A},
                                            {0x00, 0x60, 0x64},
                                            {0x8A, 0x5A, 0x00}}};

/// Behind pictures that can be seen through.
constexpr double kBehind = 0xEC;

/// Pictures that are decoded to more pixels a side are left to the library that goes through them in strips.
constexpr int kMostSide = 2048;

Colour discFor(const std::string& colourOf) {
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a: the same on every system and for ever.
  for (const char c : PDXText::caseFolded(PDXText::composed(colourOf))) {
    hash = (hash ^ static_cast<std::uint8_t>(c)) * 1099511628211U;
  }
  return kDiscs.at((hash ^ hash >> 32) % kDiscs.size());
}

/// How much of a pixel the disc covers, 0 to 255.
std::uint8_t coverOf(int column, int row, int size) {
  const double middle = size / 2.0;
  const double acrossBy = column + 0.5 - middle;
  const double downBy = row + 0.5 - middle;
  const double squared = acrossBy * acrossBy + downBy * downBy;
  if (squared <= (middle - 0.5) * (middle - 0.5)) return 255;
  if (squared >= (middle + 0.5) * (middle + 0.5)) return 0;
  return static_cast<std::uint8_t>(std::lround(255 * (middle - std::sqrt(squared) + 0.5)));
}

PDXFacePicture emptyFace(int size) {
  const auto side = static_cast<std::size_t>(size);
  return {.width = size, .height = size, .pixels = PDXBytes(side * side * 4)};
}

std::uint8_t* pixelOf(PDXFacePicture& face, int column, int row) {
  const int at = (row * face.width + column) * 4;
  return face.pixels.data() + at;
}

template <typename ColourAt>
PDXFacePicture disc(int size, ColourAt colourAt) {
  PDXFacePicture face = emptyFace(size);
  for (int row = 0; row < size; ++row) {
    for (int column = 0; column < size; ++column) {
      const Colour colour = colourAt(column, row);
      std::uint8_t* pixel = pixelOf(face, column, row);
      pixel[0] = colour.red;
      pixel[1] = colour.green;
      pixel[2] = colour.blue;
      pixel[3] = coverOf(column, row, size);
    }
  }
  return face;
}

/// Rows from the top, `bands` bytes a pixel.
struct View {
  const std::uint8_t* at(int column, int row) const {
    const std::int64_t place = (std::int64_t{row} * width + column) * bands;
    return bytes + place;
  }

  int width = 0;
  int height = 0;
  int bands = 0;
  const std::uint8_t* bytes = nullptr;
};

/// The pixels of a picture, decoded. Shared, so that copies cost nothing.
struct Pixels : View {
  explicit Pixels(const vips::VImage& picture) : image(picture.copy_memory()) {
    width = image.width();
    height = image.height();
    bands = image.bands();
    bytes = static_cast<const std::uint8_t*>(image.data());
  }

  vips::VImage image;
};

/// The part of a drawn text that is not empty.
struct Ink {
  explicit Ink(const Pixels& pixels) : left(pixels.width), top(pixels.height) {
    for (int row = 0; row < pixels.height; ++row) {
      for (int column = 0; column < pixels.width; ++column) {
        if (pixels.at(column, row)[3] == 0) continue;
        left = std::min(left, column);
        right = std::max(right, column + 1);
        top = std::min(top, row);
        bottom = std::max(bottom, row + 1);
      }
    }
  }

  int width() const { return std::max(0, right - left); }
  int height() const { return std::max(0, bottom - top); }

  int left;
  int top;
  int right = 0;
  int bottom = 0;
};

Pixels drawn(const std::string& letters, double fontSize) {
  PDXMemory::requireRoomFor(PDXImageLimits::kMemoryForText);
  const std::string markup = "<span foreground=\"white\">" + PDXText::escapedForHtml(letters) + "</span>";
  vips::VImage image =
      vips::VImage::text(markup.c_str(), vips::VImage::option()
                                             ->set("font", fmt::format("sans bold {:.2f}", fontSize).c_str())
                                             ->set("dpi", 72)
                                             ->set("rgba", true));
  return Pixels(image);
}

/// As large as the disc allows, up to the size that short texts have.
Pixels drawnToFit(const std::string& letters, int size) {
  const double fontSize = size * 0.42;
  const double most = size * 0.66;
  Pixels pixels = drawn(letters, fontSize);
  const Ink ink(pixels);
  const int longest = std::max(ink.width(), ink.height());
  return longest <= most ? std::move(pixels) : drawn(letters, fontSize * most / longest);
}

/// The same, kept: drawing takes a hundred times as long as a look-up, and many people share initials.
Pixels keptDrawing(const std::string& letters, int size) {
  constexpr std::size_t kMost = 1000;
  static std::mutex lock;
  static std::unordered_map<std::string, Pixels> kept;
  const std::string key = std::to_string(size) + " " + letters;
  {
    const std::lock_guard guard(lock);
    if (const auto known = kept.find(key); known != kept.end()) return known->second;
  }
  Pixels pixels = drawnToFit(letters, size);
  const std::lock_guard guard(lock);
  if (kept.size() >= kMost) kept.clear();
  kept.try_emplace(key, pixels);
  return pixels;
}

void blend(std::uint8_t& pixel, int colour, int share) {
  pixel = static_cast<std::uint8_t>((pixel * (255 - share) + colour * share + 127) / 255);
}

void writeInTheMiddle(PDXFacePicture& face, const Pixels& text) {
  const Ink ink(text);
  const int left = (face.width - ink.width()) / 2;
  const int top = (face.height - ink.height()) / 2;
  for (int row = std::max(0, -top); row < std::min(ink.height(), face.height - top); ++row) {
    for (int column = std::max(0, -left); column < std::min(ink.width(), face.width - left); ++column) {
      const std::uint8_t* from = text.at(ink.left + column, ink.top + row);
      std::uint8_t* to = pixelOf(face, left + column, top + row);
      for (int band = 0; band < 3; ++band) blend(to[band], from[band], from[3]);
    }
  }
}

PDXImageLimits::Claim claimOf(const PDXBytes& file, int width, int height, std::uint64_t pixelSize = 3) {
  const std::string format = PDXImages::extensionFor(file);
  return {.fileSize = file.size(),
          .width = static_cast<std::uint64_t>(std::max(width, 0)),
          .height = static_cast<std::uint64_t>(std::max(height, 0)),
          .pixelSize = pixelSize,
          .pages = 1,
          .scans = format == "jpg" ? PDXImageLimits::scanCount(file) : 1,
          .isTiled = format == "heic"};
}

vips::VImage opened(const PDXBytes& file, vips::VOption* options) {
  return vips::VImage::new_from_buffer(
      file.data(), file.size(), "",
      options->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_WARNING));
}

/// Goes through all of the picture, and throws where it is cut or damaged: the library's thumbnails are black
/// there.
void requireWhole(const PDXBytes& file) {
  vips::VOption* options = vips::VImage::option();
  if (PDXImages::extensionFor(file) == "jpg") options->set("shrink", 8);  // Enough to see the file's end.
  opened(file, options).avg();
}

vips::VImage thumbnail(const PDXBytes& file, int size) {
  const std::unique_ptr<VipsBlob, void (*)(VipsBlob*)> blob(
      vips_blob_new(nullptr, file.data(), file.size()),
      [](VipsBlob* area) { vips_area_unref(VIPS_AREA(area)); });
  return vips::VImage::thumbnail_buffer(blob.get(), size,
                                        vips::VImage::option()
                                            ->set("height", size)
                                            ->set("crop", VIPS_INTERESTING_CENTRE)
                                            ->set("fail_on", VIPS_FAIL_ON_WARNING));
}

/// Red, green and blue of each pixel.
Pixels opaque(const vips::VImage& picture) {
  vips::VImage image = picture.colourspace(VIPS_INTERPRETATION_sRGB);
  if (image.has_alpha())
    image = image.flatten(vips::VImage::option()->set("background", std::vector<double>{kBehind}));
  return Pixels(image.cast(VIPS_FORMAT_UCHAR));
}

/// How much the pixels of a row or column have of one that is smaller: `first` and those behind it.
struct Shares {
  int first;
  std::vector<float> parts;
};

/// @param start  where the part begins that is made smaller, `length` pixels long.
std::vector<Shares> sharesFor(int start, int length, int size) {
  std::vector<Shares> all;
  all.reserve(static_cast<std::size_t>(size));
  const double scale = static_cast<double>(length) / size;
  for (int i = 0; i < size; ++i) {
    const double from = i * scale;
    const double to = std::min<double>(length, from + scale);
    Shares shares{.first = start + static_cast<int>(from), .parts = {}};
    for (int at = static_cast<int>(from); at < to; ++at) {
      const double part = std::min<double>(at + 1, to) - std::max<double>(at, from);
      shares.parts.push_back(static_cast<float>(part / (to - from)));
    }
    all.push_back(std::move(shares));
  }
  return all;
}

/// The mean of rows, byte by byte from a column on.
void addUp(std::vector<float>& sums, const View& picture, int column, const Shares& rows) {
  std::fill(sums.begin(), sums.end(), 0.0F);
  for (std::size_t i = 0; i < rows.parts.size(); ++i) {
    const std::uint8_t* bytes = picture.at(column, rows.first + static_cast<int>(i));
    const float part = rows.parts[i];
    for (std::size_t at = 0; at < sums.size(); ++at) sums[at] += part * bytes[at];
  }
}

/// The mean of the pixels of such a row that belong together.
Colour meanOf(const std::vector<float>& row, const Shares& columns) {
  std::array<float, 3> sums{0.5F, 0.5F, 0.5F};
  const float* pixel = row.data() + std::ptrdiff_t{3} * columns.first;
  for (const float part : columns.parts) {
    for (std::size_t band = 0; band < 3; ++band) sums[band] += part * pixel[band];
    pixel += 3;
  }
  const auto whole = [](float sum) { return static_cast<std::uint8_t>(std::min(sum, 255.0F)); };
  return {whole(sums[0]), whole(sums[1]), whole(sums[2])};
}

/// Where a pixel of an upright square lies in the stored one.
/// @param orientation  how the stored one has to be turned, 1 to 8 as EXIF counts.
std::pair<int, int> storedPlace(int column, int row, int size, int orientation) {
  const int last = size - 1;
  switch (orientation) {
    case 2:
      return {last - column, row};
    case 3:
      return {last - column, last - row};
    case 4:
      return {column, last - row};
    case 5:
      return {row, column};
    case 6:
      return {row, last - column};
    case 7:
      return {last - row, last - column};
    case 8:
      return {last - row, column};
    default:
      return {column, row};
  }
}

/// The middle of a picture, upright, made smaller by the mean of its pixels.
/// @param picture  with three bytes a pixel.
PDXFacePicture smaller(const View& picture, int size, int orientation) {
  const int side = std::min(picture.width, picture.height);
  const int left = (picture.width - side) / 2;
  const auto across = sharesFor(0, side, size);
  const auto down = sharesFor((picture.height - side) / 2, side, size);
  std::vector<Colour> square;
  square.reserve(across.size() * down.size());
  std::vector<float> row(static_cast<std::size_t>(side) * 3);
  for (const Shares& rows : down) {
    addUp(row, picture, left, rows);
    for (const Shares& columns : across) square.push_back(meanOf(row, columns));
  }
  return disc(size, [&](int column, int line) {
    const auto [x, y] = storedPlace(column, line, size, orientation);
    return square[static_cast<std::size_t>(y) * across.size() + static_cast<std::size_t>(x)];
  });
}

/// The smallest of the decoder's sizes that leaves two pixels or more for each of the face's.
tjscalingfactor scaleFor(int side, int size) {
  tjscalingfactor scale{1, 1};
  while (scale.denom < 8 && side / (scale.denom * 2) >= size * 2) scale.denom *= 2;
  return scale;
}

/// An ordinary JPEG, decoded by its own library: most pictures of people are small ones, and what the other
/// library sets up for each takes ten times as long. Nothing for one that has other colours, is too small or
/// large for it, cut or damaged; the other one decides then.
std::optional<PDXFacePicture> ordinaryJpeg(const PDXBytes& file, int size) {
  const auto head = PDXImageOrientation::headOf(file);
  if (!head || !head->reachesPixels) return std::nullopt;
  const std::unique_ptr<void, int (*)(void*)> decoder(tjInitDecompress(), tjDestroy);
  const auto bytes = static_cast<unsigned long>(file.size());
  View picture;
  int sampling = 0;
  int colours = 0;
  if (decoder == nullptr || tjDecompressHeader3(decoder.get(), file.data(), bytes, &picture.width,
                                                &picture.height, &sampling, &colours) != 0)
    return std::nullopt;
  const PDXImageLimits::Claim claim = claimOf(file, picture.width, picture.height);
  const int side = std::min(picture.width, picture.height);
  if (side < size || colours == TJCS_CMYK || colours == TJCS_YCCK || !PDXImageLimits::isAffordable(claim))
    return std::nullopt;
  const tjscalingfactor scale = scaleFor(side, size);
  picture.width = TJSCALED(picture.width, scale);
  picture.height = TJSCALED(picture.height, scale);
  picture.bands = 3;
  if (std::max(picture.width, picture.height) > kMostSide) return std::nullopt;
  const auto turn = PDXImageLimits::turnFor(claim.pixels());
  if (!PDXMemory::hasRoomFor(PDXImageLimits::memoryFor(claim))) return std::nullopt;
  PDXBytes decoded(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 3);
  picture.bytes = decoded.data();
  if (tjDecompress2(decoder.get(), file.data(), bytes, decoded.data(), picture.width, 0, picture.height,
                    TJPF_RGB, TJFLAG_STOPONWARNING) != 0)
    return std::nullopt;
  return smaller(picture, size, head->orientation);
}

/// Whether a PNG has metadata that may say how it has to be turned.
bool mayBeTurned(const PDXBytes& png) {
  constexpr std::string_view kMetadata = "eXIf";
  return std::search(png.begin(), png.end(), kMetadata.begin(), kMetadata.end()) != png.end();
}

/// The same for a PNG by its own library. Nothing for one that may have to be turned, is too small or large
/// for it, cut or damaged.
std::optional<PDXFacePicture> ordinaryPng(const PDXBytes& file, int size) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::unique_ptr<png_image, void (*)(png_image*)> freed(&image, png_image_free);
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) return std::nullopt;
  const png_uint_32 least = std::min(image.width, image.height);
  const png_uint_32 most = std::max(image.width, image.height);
  if (least < static_cast<png_uint_32>(size) || most > kMostSide || mayBeTurned(file)) return std::nullopt;
  const auto claim = claimOf(file, static_cast<int>(image.width), static_cast<int>(image.height));
  if (!PDXImageLimits::isAffordable(claim)) return std::nullopt;
  if (!PDXMemory::hasRoomFor(PDXImageLimits::memoryFor(claim))) return std::nullopt;
  image.format = PNG_FORMAT_RGB;
  constexpr auto kLevel = static_cast<png_byte>(kBehind);
  const png_color behind{kLevel, kLevel, kLevel};
  PDXBytes decoded(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, &behind, decoded.data(), 0, nullptr) == 0) return std::nullopt;
  View picture;
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  picture.bands = 3;
  picture.bytes = decoded.data();
  return smaller(picture, size, 1);
}

std::optional<PDXFacePicture> ordinaryPicture(const PDXBytes& file, const std::string& format, int size) {
  if (format == "jpg") return ordinaryJpeg(file, size);
  return format == "png" ? ordinaryPng(file, size) : std::nullopt;
}

void appendNumber(PDXBytes& bytes, std::uint32_t number) {
  for (const int shift : {24, 16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

/// A part of a PNG file: the length of its bytes, what it is, the bytes and their checksum.
void appendPart(PDXBytes& png, std::string_view kind, const PDXBytes& bytes) {
  appendNumber(png, static_cast<std::uint32_t>(bytes.size()));
  const std::size_t start = png.size();
  png.insert(png.end(), kind.begin(), kind.end());
  png.insert(png.end(), bytes.begin(), bytes.end());
  appendNumber(png, libdeflate_crc32(0, png.data() + start, png.size() - start));
}

/// The rows as they stand in a PNG file, a byte ahead of each that says that it stands for itself. They are
/// not made smaller: a face takes nine kilobytes, and to save half of them takes as long as to draw it.
std::optional<PDXBytes> rowsOfPng(const PDXFacePicture& face) {
  struct Release {
    void operator()(libdeflate_compressor* compressor) const noexcept {
      libdeflate_free_compressor(compressor);
    }
  };
  constexpr int kAsTheyAre = 0;
  thread_local const std::unique_ptr<libdeflate_compressor, Release> compressor(
      libdeflate_alloc_compressor(kAsTheyAre));
  if (compressor == nullptr) return std::nullopt;
  const std::size_t rowSize = static_cast<std::size_t>(face.width) * 4;
  PDXBytes rows;
  rows.reserve((rowSize + 1) * static_cast<std::size_t>(face.height));
  for (auto row = face.pixels.begin(); row < face.pixels.end(); row += static_cast<std::ptrdiff_t>(rowSize)) {
    rows.push_back(0);
    rows.insert(rows.end(), row, row + static_cast<std::ptrdiff_t>(rowSize));
  }
  PDXBytes framed(libdeflate_zlib_compress_bound(compressor.get(), rows.size()));
  framed.resize(
      libdeflate_zlib_compress(compressor.get(), rows.data(), rows.size(), framed.data(), framed.size()));
  return framed.empty() ? std::nullopt : std::optional(std::move(framed));
}

}  // namespace

namespace PDXFaces {

std::optional<PDXFacePicture> fromPicture(const PDXBytes& file, int size) {
  const std::string format = PDXImages::extensionFor(file);
  if (size <= 0 || format.empty()) return std::nullopt;
  if (auto face = ordinaryPicture(file, format, size)) return face;
  constexpr std::uint64_t kMost = PDXImageLimits::kMostPages;
  if (PDXImageFrames::count(file, format, kMost + 1) > kMost) return std::nullopt;
  if (!PDXImages::isReady()) return std::nullopt;
  try {
    const vips::VImage header = opened(file, vips::VImage::option());
    const auto claim =
        claimOf(file, header.width(), header.height(), VIPS_IMAGE_SIZEOF_PEL(header.get_image()));
    if (!PDXImageLimits::isAffordable(claim)) return std::nullopt;
    const auto turn = PDXImageLimits::turnFor(claim.pixels());
    if (!PDXMemory::hasRoomFor(PDXImageLimits::memoryFor(claim))) return std::nullopt;
    requireWhole(file);
    const Pixels square = opaque(thumbnail(file, size));
    if (square.width < size || square.height < size || square.bands < 3) return std::nullopt;
    return disc(size, [&](int column, int row) {
      const std::uint8_t* pixel = square.at(column, row);
      return Colour{pixel[0], pixel[1], pixel[2]};
    });
  } catch (const vips::VError&) {
    vips_error_clear();
    return std::nullopt;
  }
}

PDXFacePicture fromLetters(const std::string& letters, const std::string& colourOf, int size) {
  const Colour colour = discFor(colourOf);
  PDXFacePicture face = disc(size, [&](int, int) { return colour; });
  if (letters.empty() || !PDXImages::isReady()) return face;
  try {
    const Pixels text = keptDrawing(letters, size);
    if (text.bands == 4) writeInTheMiddle(face, text);
  } catch (const vips::VError&) {
    vips_error_clear();
  }
  return face;
}

std::optional<PDXBytes> asPng(const PDXFacePicture& face) {
  if (face.empty()) return std::nullopt;
  const auto rows = rowsOfPng(face);
  if (!rows) return std::nullopt;
  PDXBytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  PDXBytes head;
  appendNumber(head, static_cast<std::uint32_t>(face.width));
  appendNumber(head, static_cast<std::uint32_t>(face.height));
  head.insert(head.end(), {8, 6, 0, 0, 0});  // Eight bits each of red, green, blue and opacity.
  appendPart(png, "IHDR", head);
  appendPart(png, "IDAT", *rows);
  appendPart(png, "IEND", {});
  return png;
}

std::optional<PDXFacePicture> fromPng(const PDXBytes& file) {
  constexpr int kMostPixels = 1 << 16;
  if (PDXImages::extensionFor(file) != "png" || !PDXImages::isReady()) return std::nullopt;
  try {
    const vips::VImage image = vips::VImage::new_from_buffer(file.data(), file.size(), "");
    if (image.bands() != 4 || image.width() > kMostPixels / image.height()) return std::nullopt;
    if (image.format() != VIPS_FORMAT_UCHAR) return std::nullopt;
    const Pixels pixels(image);
    const int count = pixels.width * pixels.height * pixels.bands;
    return PDXFacePicture{.width = pixels.width,
                          .height = pixels.height,
                          .pixels = PDXBytes(pixels.bytes, pixels.bytes + count)};
  } catch (const vips::VError&) {
    vips_error_clear();
    return std::nullopt;
  }
}

}  // namespace PDXFaces
