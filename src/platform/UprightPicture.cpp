#include "platform/UprightPicture.h"

#include <utility>

#include "platform/Files.h"
#include "platform/ImageLimits.h"
#include "platform/ImageOrientation.h"
#include "platform/ImageTransform.h"
#include "platform/Images.h"
#include "platform/Memory.h"

namespace {

using Why = std::optional<std::string>;

constexpr const char* kDamaged = "the picture is cut or damaged";
constexpr const char* kTooLarge = "the picture is too large or claims to be";

std::string formatOf(const std::string& path) {
  return PDXImages::extensionFor(PDXFiles::readBeginning(path, 256));
}

/// The metadata is small and in front in nearly every file, so most of a file is not read.
std::optional<PDXJpegHead> headOfFile(const std::string& path) {
  std::optional<PDXJpegHead> head;
  for (const std::size_t count : {std::size_t{64} << 10, std::size_t{1} << 20, std::size_t{16} << 20}) {
    const PDXBytes beginning = PDXFiles::readBeginning(path, count);
    head = PDXImageOrientation::headOf(beginning);
    if (!head || head->reachesPixels || beginning.size() < count) break;
  }
  return head;
}

Why writeBytes(const PDXBytes& bytes, const std::string& to) {
  PDXAtomicFile file(to);
  file.append({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  return file.commit() ? Why() : file.error();
}

Why writeUpright(PDXBytes jpeg, const std::string& to) {
  PDXImageOrientation::markUpright(jpeg);
  return writeBytes(jpeg, to);
}

/// Why there is no picture; nothing when there is.
Why failureOf(const PDXRewrittenPicture& picture) {
  using Outcome = PDXRewrittenPicture::Outcome;
  if (picture.outcome == Outcome::done) return std::nullopt;
  return picture.outcome == Outcome::tooLarge ? kTooLarge : kDamaged;
}

Why writeEncoded(const std::string& from, PDXPictureFormat format, int orientation, const std::string& to) {
  auto encoded = PDXImages::turned(from, format, orientation);
  const Why why = failureOf(encoded);
  return why ? why : writeUpright(std::move(encoded.file), to);
}

Why writeTurned(const std::string& from, const PDXJpegHead& head, const std::string& to) {
  using Outcome = PDXImageTransform::Turned::Outcome;
  {
    const auto jpeg = PDXFiles::read(from);
    if (!jpeg) return kDamaged;
    const PDXImageLimits::Claim claim{.fileSize = jpeg->size(),
                                      .width = head.width,
                                      .height = head.height,
                                      .scans = PDXImageLimits::scanCount(*jpeg)};
    if (!PDXImageLimits::isAffordable(claim)) return kTooLarge;
    const auto turn = PDXImageLimits::turnFor(claim.pixels());
    if (!PDXMemory::hasRoomFor(PDXImageLimits::memoryFor(claim))) return kTooLarge;
    auto turned = PDXImageTransform::turned(*jpeg, head.orientation);
    if (turned.outcome == Outcome::done) return writeUpright(std::move(turned.jpeg), to);
    if (turned.outcome == Outcome::damaged) return kDamaged;
  }
  return writeEncoded(from, PDXPictureFormat::jpeg, head.orientation, to);
}

/// @param orientation  that of a picture that does not tell its own.
Why writeJpeg(const std::string& from, const std::string& to, int orientation = 1) {
  auto head = headOfFile(from);
  if (!head || !head->reachesPixels) return kDamaged;
  if (!head->tellsOrientation) head->orientation = orientation;
  if (head->orientation != 1) return writeTurned(from, *head, to);
  const auto result = PDXFiles::copy(from, to);
  return result ? Why() : result.why;
}

/// Through pixels, for every other pair of formats.
Why writeConverted(const std::string& from, PDXPictureFormat format, int orientation, const std::string& to) {
  auto converted = PDXImages::converted(from, format, orientation);
  if (Why why = failureOf(converted)) return why;
  return format == PDXPictureFormat::jpeg ? writeUpright(std::move(converted.file), to)
                                          : writeBytes(converted.file, to);
}

Why copied(const std::string& from, const std::string& to) {
  const auto result = PDXFiles::copy(from, to);
  return result ? Why() : result.why;
}

}  // namespace

namespace PDXUprightPicture {

bool isUpright(const std::string& path) {
  const std::string format = formatOf(path);
  if (format != "jpg") return format == "png" || format == "gif";
  const auto head = headOfFile(path);
  return head && head->reachesPixels && head->orientation == 1;
}

std::optional<std::string> write(const std::string& from, const std::string& to) {
  const std::string format = formatOf(from);
  if (format == "jpg") return writeJpeg(from, to);
  // Decoders of this format turn the pixels by themselves.
  if (format == "heic") return writeEncoded(from, PDXPictureFormat::heic, 1, to);
  return "it is neither a JPEG nor a HEIC picture";
}

bool isPicture(const std::string& path) {
  const std::string format = formatOf(path);
  return !format.empty() && format != "avif";
}

Why writeAs(const std::string& from, PDXPictureFormat format, int orientation, const std::string& to) {
  const std::string stored = formatOf(from);
  const int turn = orientation >= 1 && orientation <= 8 ? orientation : 1;
  if (format == PDXPictureFormat::jpeg && stored == "jpg") return writeJpeg(from, to, turn);
  if (format == PDXPictureFormat::png && stored == "png" && turn == 1) return copied(from, to);
  return writeConverted(from, format, turn, to);
}

}  // namespace PDXUprightPicture
