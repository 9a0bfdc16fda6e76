#include "platform/UprightPicture.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>
#include <zlib.h>

#include "platform/FacePicture.h"
#include "platform/ImageOrientation.h"
#include "platform/ImageTransform.h"
#include "platform/Images.h"
#include "samples/Pictures.h"
#include "tests/support/TestFolder.h"

namespace {

/// Upright pictures have a red, a green, a blue and a white quarter, in this order.
PDXRaster quarters(int width, int height) {
  PDXRaster raster{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    const bool isRight = i % width >= width / 2;
    const bool isLower = i / width >= height / 2;
    for (const bool isLit : {isLower == isRight, isRight, isLower}) {
      raster.pixels.push_back(isLit ? 255 : 0);
    }
  }
  return raster;
}

std::string text(const PDXBytes& bytes) { return {bytes.begin(), bytes.end()}; }
PDXBytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

/// Size of a JPEG and the colours in its corners, where blocks may be cut, e.g. "48x32 RGBW".
std::string seen(const std::string& jpeg) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(jpeg.data());
  void* decoder = tjInitDecompress();
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  tjDecompressHeader3(decoder, bytes, jpeg.size(), &width, &height, &sampling, &colours);
  PDXBytes pixels(static_cast<std::size_t>(width * height * 3));
  tjDecompress2(decoder, bytes, jpeg.size(), pixels.data(), width, 0, height, TJPF_RGB, 0);
  tjDestroy(decoder);
  std::string result = std::to_string(width) + "x" + std::to_string(height) + " ";
  for (int i = 0; i < 4 && !pixels.empty(); ++i) {
    const int x = i % 2 * (width - 1);
    const int y = i / 2 * (height - 1);
    const std::uint8_t* pixel = &pixels[static_cast<std::size_t>((y * width + x) * 3)];
    const int lit = (pixel[0] > 220 ? 1 : 0) + (pixel[1] > 220 ? 2 : 0) + (pixel[2] > 220 ? 4 : 0);
    result += "?RG?B??W"[lit];
  }
  return result;
}

/// Writes numbers of camera metadata in one byte order.
struct Exif {
  bool isBigEndian;
  std::string bytes;
  Exif& number(unsigned value, int size) {
    for (int i = 0; i < size; ++i) {
      bytes += static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - i : i) & 0xFF);
    }
    return *this;
  }
  Exif& entry(unsigned tag, unsigned type, unsigned count, unsigned value, int size = 4) {
    return number(tag, 2).number(type, 2).number(count, 4).number(value, size).number(0, 4 - size);
  }
};

/// The first box of a HEIC file or a film: its brand, a version, and the brands that it is compatible with.
std::string typeBox(const std::string& brand, const std::string& others) {
  const auto size = static_cast<unsigned>(16 + others.size());
  return Exif{true, ""}.number(size, 4).bytes + "ftyp" + brand + std::string(4, '\0') + others;
}

/// Metadata with nothing but one entry, of how many it claims.
std::string oneEntry(unsigned claimed, unsigned type, unsigned value) {
  return Exif{true, "MM"}.number(42, 2).number(8, 4).number(claimed, 2).entry(0x112, type, 1, value, 2).bytes;
}

/// Orientation, date, place, and a thumbnail's directory that says 6.
std::string exif(bool isBigEndian, unsigned orientation) {
  Exif exif{isBigEndian, isBigEndian ? "MM" : "II"};
  exif.number(42, 2).number(8, 4).number(3, 2);
  exif.entry(0x0112, 3, 1, orientation, 2).entry(0x0132, 2, 20, 50).entry(0x8825, 4, 1, 70).number(95, 4);
  exif.bytes += std::string("2023:08:12 17:40:00\0", 20);
  exif.number(1, 2).entry(0x0012, 2, 7, 88).number(0, 4);
  exif.bytes += std::string("WGS-84\0", 7);
  exif.number(1, 2).entry(0x0112, 3, 1, 6, 2).number(0, 4);
  return exif.bytes;
}

/// `tiff` as the metadata of a picture.
std::string withExif(const std::string& jpeg, const std::string& tiff) {
  const auto length = static_cast<unsigned>(tiff.size() + 8);
  const std::string segment =
      Exif{true, "\xFF\xE1"}.number(length, 2).bytes + std::string("Exif\0\0", 6) + tiff;
  return "\xFF\xD8" + segment + jpeg.substr(2);
}

/// The picture of quarters as stored in that orientation, without metadata.
std::string stored(int width, int height, int orientation) {
  const PDXRaster raster = PDXSamplePictures::heldAs(quarters(width, height), orientation);
  const PDXBytes marked = PDXSamplePictures::markedAs(*PDXImages::encoded(raster, PDXPictureFormat::jpeg), 1);
  return "\xFF\xD8" + text(marked).substr(2 + 36);
}

TEST(UprightPicture, EveryOrientationComesOutTheSame) {
  const PDXTestFolder folder;
  const std::string padding = std::string(16, '\x10') + std::string(16, '\0');
  for (int i = 0; i < 32; ++i) {
    const int orientation = i % 8 + 1;
    const bool isOnGrid = i < 16;
    const std::string file = stored(isOnGrid ? 48 : 52, isOnGrid ? 32 : 35, orientation);
    const std::string metadata = exif(i % 16 < 8, static_cast<unsigned>(orientation));
    const std::string from = folder.write("from.jpg", withExif(file, metadata) + padding);
    SCOPED_TRACE(i);
    EXPECT_EQ(PDXUprightPicture::isUpright(from), orientation == 1);
    EXPECT_EQ(PDXUprightPicture::write(from, folder / "to.jpg"), std::nullopt);
    const std::string upright = fileText(folder / "to.jpg");
    EXPECT_EQ(seen(upright), isOnGrid ? "48x32 RGBW" : "52x35 RGBW");
    EXPECT_EQ(PDXImageOrientation::headOf(bytesOf(upright))->orientation, 1);
    EXPECT_NE(upright.find("2023:08:12 17:40:00"), std::string::npos);
    EXPECT_NE(upright.find("WGS-84"), std::string::npos);
    EXPECT_EQ(upright == fileText(from), orientation == 1);
  }
}

TEST(ImageTransform, TurningThereAndBackLosesNothing) {
  const auto scene = PDXSamplePictures::scene(PDXSamplePictures::Scene::city, 96, 64, 1);
  const PDXBytes jpeg = *PDXImages::encoded(scene, PDXPictureFormat::jpeg, 40);
  const PDXBytes once = PDXImageTransform::turned(PDXImageTransform::turned(jpeg, 6).jpeg, 8).jpeg;
  EXPECT_FALSE(once.empty());
  EXPECT_EQ(PDXImageTransform::turned(PDXImageTransform::turned(jpeg, 7).jpeg, 7).jpeg, once);
}

TEST(ImageOrientation, TellsWhatIsThere) {
  const std::string file = stored(48, 32, 1);
  std::string loop = exif(true, 6);
  loop.replace(46, 4, std::string("\0\0\0\x08", 4));
  const struct {
    const char* fault;
    std::string jpeg;
    int expected;
  } cases[] = {
      {"no metadata", file, 1},
      {"orientation 0", withExif(file, exif(true, 0)), 1},
      {"orientation 9", withExif(file, exif(false, 9)), 1},
      {"no short number", withExif(file, oneEntry(1, 4, 6)), 1},
      {"more entries than bytes", withExif(file, oneEntry(65535, 3, 8)), 8},
      {"directory beyond the end", withExif(file, std::string("II*\0\xF0\xFF\xFF\xFF", 8)), 1},
      {"directories in a circle", withExif(file, loop), 6},
      {"other byte order mark", withExif(file, "XX" + exif(true, 6).substr(2)), 1},
      {"metadata behind fill bytes", "\xFF\xD8\xFF\xFF" + withExif(file, exif(true, 3)).substr(2), 3},
  };
  for (const auto& c : cases) {
    PDXBytes jpeg = bytesOf(c.jpeg);
    EXPECT_EQ(PDXImageOrientation::headOf(jpeg)->orientation, c.expected) << c.fault;
    PDXImageOrientation::markUpright(jpeg);
    EXPECT_EQ(PDXImageOrientation::headOf(jpeg)->orientation, 1) << c.fault;
    EXPECT_EQ(seen(text(jpeg)), "48x32 RGBW") << c.fault;
  }
}

TEST(ImageOrientation, CorrectsOtherMetadataAndUnlinksTheThumbnail) {
  const std::string xmp =
      std::string("http://ns.adobe.com/xap/1.0/\0", 29) +
      "<x tiff:Orientation=\"6\" tiff:OrientationNote=\"8\"/><tiff:Orientation>3</tiff:Orientation>";
  const auto length = static_cast<unsigned>(xmp.size() + 2);
  const std::string file = stored(48, 32, 1);
  PDXBytes jpeg = bytesOf(withExif(
      Exif{true, "\xFF\xD8\xFF\xE1"}.number(length, 2).bytes + xmp + file.substr(2), exif(false, 6)));
  PDXImageOrientation::markUpright(jpeg);
  EXPECT_NE(
      text(jpeg).find("<x tiff:Orientation=\"1\" tiff:OrientationNote=\"8\"/><tiff:Orientation>1</tiff"),
      std::string::npos);
  EXPECT_EQ(text(jpeg).substr(12 + 46, 4), std::string(4, '\0'));
}

TEST(UprightPicture, PicturesThatCannotBeReadGiveNoFile) {
  const PDXTestFolder folder;
  constexpr const char* kOther = "it is neither a JPEG nor a HEIC picture";
  constexpr const char* kDamaged = "the picture is cut or damaged";
  std::vector<std::pair<std::string, std::string>> cases = {{"", kOther},
                                                            {"Dear Ann", kOther},
                                                            {typeBox("isom", "mp42"), kOther},
                                                            {typeBox("heic", "mif1heic"), kDamaged}};
  for (const int width : {48, 52}) {
    std::string sideways = withExif(stored(width, width - 16, 3), exif(true, 3));
    for (std::size_t size = 3; size < sideways.size() - 1; size += 23) {
      cases.emplace_back(sideways.substr(0, size), kDamaged);
    }
    sideways.replace(sideways.find("\xFF\xC0") + 5, 4, "\xFF\xDC\xFF\xDC");
    cases.emplace_back(sideways, "the picture is too large or claims to be");
  }
  for (const auto& [bytes, why] : cases) {
    const std::string from = folder.write("from", bytes);
    EXPECT_FALSE(PDXUprightPicture::isUpright(from)) << bytes.size();
    EXPECT_EQ(PDXUprightPicture::write(from, folder / "to.jpg"), why) << bytes.size();
    EXPECT_FALSE(PDXFiles::exists(folder / "to.jpg")) << bytes.size();
  }
}

std::string little(unsigned value, int size) { return Exif{false, ""}.number(value, size).bytes; }
std::string big(unsigned value, int size) { return Exif{true, ""}.number(value, size).bytes; }

/// A picture of one colour, whose pixels cost nothing: every code has a single symbol.
std::string webp(unsigned width, unsigned height) {
  std::string pixels = "\x2F" + little((width - 1) | (height - 1) << 14, 4);
  pixels += std::string("\x88\x88\x08\0", 4);  // No transforms, no cache, five codes of four bits.
  const std::string chunk = "VP8L" + little(static_cast<unsigned>(pixels.size()), 4) + pixels + '\0';
  return "RIFF" + little(static_cast<unsigned>(chunk.size() + 4), 4) + "WEBP" + chunk;
}

std::string png(unsigned width, unsigned height) {
  const std::string head = "IHDR" + big(width, 4) + big(height, 4) + std::string("\x08\x02\0\0\0", 5);
  const auto check = static_cast<unsigned>(crc32(0, reinterpret_cast<const Bytef*>(head.data()), 17));
  return "\x89PNG\r\n\x1A\n" + big(13, 4) + head + big(check, 4) + big(99, 4) + "IDAT\x78\x9C";
}

std::string gif(unsigned side, int frames) {
  const std::string size = little(side, 2) + little(side, 2);
  std::string bytes = "GIF89a" + size + std::string("\x80\0\0\xFF\0\0\0\0\0", 9);
  for (int i = 0; i < frames; ++i)
    bytes += std::string(",\0\0\0\0", 5) + size + std::string("\0\2\2\x44\1\0", 6);
  return bytes + ';';
}

TEST(UprightPicture, BombsAreNotDecoded) {
  std::string claimed = stored(48, 32, 1);
  claimed.replace(claimed.find("\xFF\xC0") + 5, 4, "\xFF\xDC\xFF\xDC");
  const struct {
    const char* fault;
    std::string file;
    const char* why;
  } cases[] = {
      {"a small picture of one colour", webp(100, 100), ""},
      {"the same with 196 million pixels", webp(14'000, 14'000), "the picture is too large or claims to be"},
      {"a large claim without pixels", png(14'000, 14'000), "the picture is too large or claims to be"},
      {"the same of another format", claimed, "the picture is too large or claims to be"},
      {"an animation of which the first frame is shown", gif(1, 9), ""},
      {"more frames than a day has", gif(1, 90'000), "the picture is too large or claims to be"},
      {"a canvas of 4.3 thousand million pixels", gif(65'500, 1), "the picture is too large or claims to be"},
      {"pages that follow themselves", std::string("II*\0\x08\0\0\0\0\0\x08\0\0\0", 14),
       "the picture is too large or claims to be"},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    const std::string from = folder.write("from", c.file);
    const auto why = PDXUprightPicture::writeAs(from, PDXPictureFormat::png, 6, folder / "to");
    EXPECT_EQ(why.value_or(""), c.why) << c.fault;
    EXPECT_EQ(PDXFiles::exists(folder / "to"), why == std::nullopt) << c.fault;
    PDXFiles::remove(folder / "to");
    const bool hasFace = PDXFaces::fromPicture(bytesOf(c.file), 1).has_value();
    EXPECT_EQ(hasFace, why == std::nullopt) << c.fault;
  }
}

TEST(UprightPicture, HeicBecomesJpeg) {
  const auto heic = PDXImages::encoded(quarters(64, 48), PDXPictureFormat::heic);
  if (!heic) GTEST_SKIP() << "this system's library cannot write HEIC";
  const PDXTestFolder folder;
  for (const char* padding : {"", "\x05\x05\x05\x05\x05"}) {
    const std::string from = folder.write("from.heic", text(*heic) + padding);
    EXPECT_FALSE(PDXUprightPicture::isUpright(from));
    EXPECT_EQ(PDXUprightPicture::write(from, from), std::nullopt);
    EXPECT_EQ(seen(fileText(from)), "64x48 RGBW");
  }
}

TEST(Images, FirstBytesTellTheFormat) {
  const std::pair<std::string, const char*> cases[] = {
      {typeBox("heic", "mif1heic"), "heic"},  {typeBox("mif1", "mif1heix"), "heic"},
      {typeBox("mif1", "mif1avif"), "avif"},  {typeBox("isom", "isommp42"), ""},
      {typeBox("qt  ", "qt  ") + "heic", ""},
  };
  for (const auto& [bytes, expected] : cases)
    EXPECT_EQ(PDXImages::extensionFor(bytesOf(bytes)), expected) << bytes;
}

}  // namespace
