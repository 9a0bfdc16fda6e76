#include "platform/Localisation.h"

#include <libintl.h>

#include <clocale>

namespace {

constexpr const char* kDomain = "pocketdex";

}  // namespace

void PDXLocalisation::start(const char* catalogueFolder) {
  std::setlocale(LC_MESSAGES, "");
  std::setlocale(LC_CTYPE, "");
  bindtextdomain(kDomain, catalogueFolder);
  bind_textdomain_codeset(kDomain, "UTF-8");
}

const char* PDXLocalised(const char* english) { return dgettext(kDomain, english); }
