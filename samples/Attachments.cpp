#include "samples/Attachments.h"

#include <algorithm>
#include <cassert>

#include "samples/Documents.h"
#include "samples/Pictures.h"

namespace {

using PDXSamplePictures::Scene;
using Kept = PDXSampleAttachment::Kept;
using Path = PDXSampleAttachment::Path;

template <Scene kScene, int kWidth, int kHeight, PDXPictureFormat kFormat>
PDXBytes picture(std::uint64_t seed) {
  const PDXRaster raster = PDXSamplePictures::scene(kScene, kWidth, kHeight, seed);
  return PDXImages::encoded(raster, kFormat).value_or(PDXBytes());
}

PDXBytes heldAs(const PDXRaster& raster, int orientation) {
  const auto file =
      PDXImages::encoded(PDXSamplePictures::heldAs(raster, orientation), PDXPictureFormat::jpeg);
  return file ? PDXSamplePictures::markedAs(*file, orientation) : PDXBytes();
}

PDXBytes uprightPicture(std::uint64_t seed) {
  return heldAs(PDXSamplePictures::scene(Scene::garden, 600, 800, seed), 6);
}

template <int kOrientation>
PDXBytes turnedSign(std::uint64_t) {
  // Half of them do not end where a JPEG's blocks end, so that both ways to turn one are needed.
  const int width = kOrientation % 2 == 0 ? 240 : 236;
  return heldAs(PDXSamplePictures::signpost(width, 160), kOrientation);
}

template <PDXBytes (*kMake)()>
PDXBytes document(std::uint64_t) {
  return kMake();
}

constexpr auto kJpeg = PDXPictureFormat::jpeg;
constexpr auto kPng = PDXPictureFormat::png;
constexpr auto kHeic = PDXPictureFormat::heic;

constexpr PDXSampleAttachment kAttachments[] = {
    {"harbour", "IMG_2041.jpeg", "image/jpeg", "public.jpeg", picture<Scene::harbour, 1024, 768, kJpeg>},
    {"upright", "IMG_2042.jpeg", "image/jpeg", "public.jpeg", uprightPicture},
    {"hills", "IMG_2043.HEIC", "image/heic", "public.heic", picture<Scene::hills, 800, 600, kHeic>},
    {"screen", "Screenshot 2023-08-14 at 20.15.png", "image/png", "public.png",
     picture<Scene::screen, 390, 844, kPng>},
    {"large", "IMG_2077.jpeg", "image/jpeg", "public.jpeg", picture<Scene::city, 2000, 1500, kJpeg>,
     Kept::stored, Path::absolute},
    {"apostrophe", "Ann's photo.jpg", "image/jpeg", "public.jpeg", picture<Scene::garden, 640, 480, kJpeg>},
    {"accents", "Café en été (à la plage).jpg", "image/jpeg", "public.jpeg",
     picture<Scene::harbour, 480, 640, kJpeg>},
    {"signs", "100% #1 & more.png", "image/png", "public.png", picture<Scene::hills, 320, 240, kPng>,
     Kept::stored, Path::absolute},
    {"clip", "IMG_2050.mp4", "video/mp4", "public.mpeg-4", document<PDXSampleDocuments::clip>},
    {"pdf", "Saturday.pdf", "application/pdf", "com.adobe.pdf", document<PDXSampleDocuments::pdf>},
    {"card", "Siobhán O'Connell.vcf", "text/vcard", "public.vcard", document<PDXSampleDocuments::card>},
    {"location", "CL.loc.vcf", "text/x-vlocation", "public.vlocation",
     document<PDXSampleDocuments::location>},
    {"text", "Shopping list.txt", "text/plain", "public.plain-text", document<PDXSampleDocuments::text>},
    {"cloud", "IMG_1987.jpeg", "image/jpeg", "public.jpeg", nullptr, Kept::notListed},
    {"cloudClip", "IMG_1988.MOV", "video/quicktime", "com.apple.quicktime-movie", nullptr, Kept::notListed},
    {"lost", "IMG_1990.jpeg", "image/jpeg", "public.jpeg", nullptr, Kept::notStored},
    {"pending", "IMG_2101.jpeg", "image/jpeg", "public.jpeg", nullptr, Kept::notDownloaded},
    {"turned1", "IMG_3001.jpeg", "image/jpeg", "public.jpeg", turnedSign<1>},
    {"turned2", "IMG_3002.jpeg", "image/jpeg", "public.jpeg", turnedSign<2>},
    {"turned3", "IMG_3003.jpeg", "image/jpeg", "public.jpeg", turnedSign<3>},
    {"turned4", "IMG_3004.jpeg", "image/jpeg", "public.jpeg", turnedSign<4>},
    {"turned5", "IMG_3005.jpeg", "image/jpeg", "public.jpeg", turnedSign<5>},
    {"turned6", "IMG_3006.jpeg", "image/jpeg", "public.jpeg", turnedSign<6>},
    {"turned7", "IMG_3007.jpeg", "image/jpeg", "public.jpeg", turnedSign<7>},
    {"turned8", "IMG_3008.jpeg", "image/jpeg", "public.jpeg", turnedSign<8>},
    {"untyped", "backup.dat", "", "", document<PDXSampleDocuments::text>},
};

}  // namespace

namespace PDXSampleAttachments {

const PDXSampleAttachment& named(std::string_view key) {
  const auto* found =
      std::find_if(std::begin(kAttachments), std::end(kAttachments),
                   [&](const PDXSampleAttachment& attachment) { return attachment.key == key; });
  assert(found != std::end(kAttachments));
  return *found;
}

}  // namespace PDXSampleAttachments
