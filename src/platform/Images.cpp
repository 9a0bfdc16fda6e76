#include "platform/Images.h"

#include <vips/vips8>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

bool start() {
  // The library keeps its own threads and cache; our pictures come one at a time.
  static const bool started = [] {
    if (vips_init("pocketdex") != 0) return false;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    return true;
  }();
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

bool hasAt(const PDXBytes& bytes, std::size_t at, std::string_view text) {
  return bytes.size() >= at + text.size() &&
         std::equal(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
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
    const std::unique_ptr<void, void (*)(void*)> owned(buffer, g_free);
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    return PDXBytes(bytes, bytes + size);
  } catch (const vips::VError&) {
    vips_error_clear();
    return std::nullopt;
  }
}

std::string extensionFor(const PDXBytes& picture) {
  if (hasAt(picture, 0, "\xFF\xD8\xFF")) return "jpg";
  if (hasAt(picture, 0, "\x89PNG")) return "png";
  if (hasAt(picture, 0, "GIF8")) return "gif";
  if (hasAt(picture, 4, "ftyp")) return "heic";
  return "";
}

bool isReady() { return start(); }

}  // namespace PDXImages
