#include "platform/Images.h"

#include <vips/vips8>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/ImageFrames.h"
#include "platform/ImageLimits.h"
#include "platform/Memory.h"

namespace {

/// Of pictures that are encoded again; high enough that no difference shows.
constexpr int kQuality = 92;

/// Failures are told by our own answers; the library would write each to standard error as well.
void swallow(const char*, GLogLevelFlags, const char*, void*) {}

/// The library below it ends the process when it is refused memory.
void endInOrder(const char*, GLogLevelFlags, const char*, void*) { PDXMemory::gone(); }

bool startLibrary() {
  // With the libraries of all formats, which it loads itself and passes over where there is no room for them.
  constexpr std::uint64_t kLibraries = std::uint64_t{160} << 20;
  PDXMemory::requireRoomFor(kLibraries);
  if (vips_init("pocketdex") != 0) return false;
  // The library keeps its own threads and cache; our pictures come one at a time.
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  vips_block_untrusted_set(1);
  g_log_set_handler("VIPS", G_LOG_LEVEL_WARNING, swallow, nullptr);
  g_log_set_handler("GLib", static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL), endInOrder,
                    nullptr);
  return true;
}

/// Throws std::bad_alloc, now as later, where there is no memory for it.
bool start() {
  static const bool started = startLibrary();
  return started;
}

const char* suffixFor(PDXPictureFormat format) {
  switch (format) {
    case PDXPictureFormat::jpeg:
      return ".jpg";
    case PDXPictureFormat::png:
      return ".png";
    case PDXPictureFormat::heic:
      break;
  }
  return ".heic";
}

vips::VOption* optionsFor(PDXPictureFormat format, int quality) {
  vips::VOption* options = vips::VImage::option();
  return format == PDXPictureFormat::png ? options : options->set("Q", quality);
}

/// What a `write_to_buffer` gave; the buffer goes back to the library.
PDXBytes takenFrom(void* buffer, std::size_t size) {
  const std::unique_ptr<void, void (*)(void*)> owned(buffer, g_free);
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  return PDXBytes(bytes, bytes + size);
}

vips::VImage opened(const std::string& path, PDXPictureFormat format) {
  vips::VOption* options =
      vips::VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_WARNING);
  return format == PDXPictureFormat::heic ? vips::VImage::heifload(path.c_str(), options)
                                          : vips::VImage::jpegload(path.c_str(), options);
}

/// Cameras store colours at half the width and height. Writing more of them doubles a file and shows nothing.
VipsForeignSubsample coloursOf(const vips::VImage& image, PDXPictureFormat format) {
  constexpr const char* kField = "jpeg-chroma-subsample";
  const bool isHalf =
      format == PDXPictureFormat::heic ||
      (image.get_typeof(kField) != 0 && std::string_view(image.get_string(kField)) == "4:2:0");
  return isHalf ? VIPS_FOREIGN_SUBSAMPLE_ON : VIPS_FOREIGN_SUBSAMPLE_OFF;
}

/// Held in memory for it: the library would otherwise put the pixels into a file that others might read.
vips::VImage turnedImage(const vips::VImage& picture, int orientation) {
  vips::VImage image = orientation == 1 ? picture : picture.copy_memory();
  switch (orientation) {
    case 2:
      return image.fliphor();
    case 3:
      return image.rot180();
    case 4:
      return image.flipver();
    case 5:
      return image.rot90().fliphor();
    case 6:
      return image.rot90();
    case 7:
      return image.rot270().fliphor();
    case 8:
      return image.rot270();
    default:
      return image;
  }
}

/// How the picture says that it has to be turned; nothing when it does not. Decoders of one format turn the
/// pixels by themselves and keep the mark.
std::optional<int> ownOrientation(const std::string& path, const vips::VImage& image) {
  if (PDXImages::extensionFor(PDXFiles::readBeginning(path, 256)) == "heic") return 1;
  if (image.get_typeof(VIPS_META_ORIENTATION) == 0) return std::nullopt;
  const int orientation = image.get_int(VIPS_META_ORIENTATION);
  return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

bool isHeic(const vips::VImage& image) {
  return image.get_typeof(VIPS_META_LOADER) != 0 &&
         std::string_view(image.get_string(VIPS_META_LOADER)).starts_with("heif");
}

/// Thrown by `requireAffordable`.
struct TooLarge {};

/// Throws unless decoding the picture, of which only the header was read, stays within what a picture may
/// cost. What it answers is held while the pixels are in memory.
std::unique_lock<std::mutex> requireAffordable(const vips::VImage& image, const std::string& path,
                                               std::uint64_t scans) {
  const PDXImageLimits::Claim claim{.fileSize = PDXFileReader(path).size(),
                                    .width = static_cast<std::uint64_t>(image.width()),
                                    .height = static_cast<std::uint64_t>(image.height()),
                                    .pixelSize = VIPS_IMAGE_SIZEOF_PEL(image.get_image()),
                                    .pages = 1,
                                    .scans = scans,
                                    .isTiled = isHeic(image)};
  if (!PDXImageLimits::isAffordable(claim)) throw TooLarge();
  auto turn = PDXImageLimits::turnFor(claim.pixels());
  PDXMemory::requireRoomFor(PDXImageLimits::memoryFor(claim));
  return turn;
}

/// Starts the library, looks at what can be told without it, and runs `rewrite`, which gives the bytes of a
/// file.
/// @param format  of the file, as `extensionFor` tells it.
template <typename Rewrite>
PDXRewrittenPicture rewritten(const std::string& path, const std::string& format, Rewrite rewrite) {
  using Outcome = PDXRewrittenPicture::Outcome;
  std::uint64_t scans = 1;
  if (format == "jpg" || format == "gif" || format == "webp" || format == "tiff") {
    const auto file = PDXFiles::read(path);
    if (!file) return {};
    constexpr std::uint64_t kMost = PDXImageLimits::kMostPages;
    if (PDXImageFrames::count(*file, format, kMost + 1) > kMost) return {Outcome::tooLarge, {}};
    if (format == "jpg") scans = PDXImageLimits::scanCount(*file);
  }
  try {
    if (!start()) return {};
    return {Outcome::done, rewrite(scans)};
  } catch (const TooLarge&) {
    return {Outcome::tooLarge, {}};
  } catch (const std::bad_alloc&) {
    return {Outcome::tooLarge, {}};
  } catch (const vips::VError&) {
    vips_error_clear();
    return {};
  }
}

/// On white, since the format knows nothing that can be seen through.
vips::VImage withoutHoles(const vips::VImage& image) {
  if (!image.has_alpha()) return image;
  return image.flatten(vips::VImage::option()->set("background", std::vector<double>{255}));
}

bool hasAt(const PDXBytes& bytes, std::size_t at, std::string_view text) {
  return bytes.size() >= at + text.size() &&
         std::equal(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

/// Whether the file's type box, whose size its first four bytes tell, names one of the brands: its own at 8,
/// then those it is compatible with from 16 on.
bool hasBrand(const PDXBytes& file, std::initializer_list<std::string_view> brands) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < 4; ++i) size = size << 8 | file[i];
  for (std::size_t at = 8; at + 4 <= std::min(size, file.size()); at += at == 8 ? 8 : 4) {
    for (const std::string_view brand : brands) {
      if (hasAt(file, at, brand)) return true;
    }
  }
  return false;
}

/// Films begin with the same kind of box.
std::string extensionOfBoxes(const PDXBytes& file) {
  if (hasBrand(file, {"avif", "avis"})) return "avif";
  return hasBrand(file, {"heic", "heix", "heim", "heis", "hevc", "hevx", "mif1", "msf1"}) ? "heic" : "";
}

}  // namespace

namespace PDXImages {

std::optional<PDXBytes> encoded(const PDXRaster& raster, PDXPictureFormat format, int quality) {
  const auto expected = static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.height) * 3;
  if (raster.width <= 0 || raster.height <= 0 || raster.pixels.size() != expected || !start())
    return std::nullopt;
  try {
    const vips::VImage image =
        vips::VImage::new_from_memory(const_cast<std::uint8_t*>(raster.pixels.data()), raster.pixels.size(),
                                      raster.width, raster.height, 3, VIPS_FORMAT_UCHAR);
    void* buffer = nullptr;
    std::size_t size = 0;
    image.copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
        .write_to_buffer(suffixFor(format), &buffer, &size, optionsFor(format, quality));
    return takenFrom(buffer, size);
  } catch (const vips::VError&) {
    vips_error_clear();
    return std::nullopt;
  }
}

PDXRewrittenPicture turned(const std::string& path, PDXPictureFormat format, int orientation) {
  const std::string name = format == PDXPictureFormat::heic ? "heic" : "jpg";
  return rewritten(path, name, [&](std::uint64_t scans) {
    const vips::VImage image = opened(path, format);
    const auto turn = requireAffordable(image, path, scans);
    void* buffer = nullptr;
    std::size_t size = 0;
    turnedImage(image, orientation)
        .write_to_buffer(
            ".jpg", &buffer, &size,
            vips::VImage::option()->set("Q", kQuality)->set("subsample_mode", coloursOf(image, format)));
    return takenFrom(buffer, size);
  });
}

PDXRewrittenPicture converted(const std::string& path, PDXPictureFormat format, int orientation) {
  return rewritten(path, extensionFor(PDXFiles::readBeginning(path, 256)), [&](std::uint64_t scans) {
    vips::VImage image = vips::VImage::new_from_file(
        path.c_str(),
        vips::VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_WARNING));
    const auto turn = requireAffordable(image, path, scans);
    image = turnedImage(image, ownOrientation(path, image).value_or(orientation));
    if (format == PDXPictureFormat::jpeg) image = withoutHoles(image);
    image = image.copy();
    for (const char* mark : {VIPS_META_ORIENTATION, "exif-ifd0-Orientation"}) image.remove(mark);
    void* buffer = nullptr;
    std::size_t size = 0;
    vips::VOption* options = vips::VImage::option();
    if (format == PDXPictureFormat::jpeg)
      options->set("Q", 100)->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF);
    image.write_to_buffer(suffixFor(format), &buffer, &size, options);
    return takenFrom(buffer, size);
  });
}

std::string extensionFor(const PDXBytes& picture) {
  if (hasAt(picture, 0, "\xFF\xD8\xFF")) return "jpg";
  if (hasAt(picture, 0, "\x89PNG")) return "png";
  if (hasAt(picture, 0, "GIF8")) return "gif";
  if (hasAt(picture, 0, std::string_view("II*\0", 4)) || hasAt(picture, 0, std::string_view("MM\0*", 4)))
    return "tiff";
  if (hasAt(picture, 0, "RIFF") && hasAt(picture, 8, "WEBP")) return "webp";
  if (hasAt(picture, 4, "ftyp")) return extensionOfBoxes(picture);
  return "";
}

bool isReady() { return start(); }

}  // namespace PDXImages
