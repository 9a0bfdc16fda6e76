#include "platform/Localisation.h"

#include <libintl.h>

#include <clocale>
#include <string_view>

namespace {

constexpr const char* kDomain = "pocketdex";

/// Length of the place for a value at the beginning of `text`; 0 when there is none.
std::size_t placeLength(std::string_view text) {
  if (text.starts_with("%@")) return 2;
  return text.starts_with("%lu") ? 3 : 0;
}

}  // namespace

void PDXLocalisation::start(const char* catalogueFolder) {
  std::setlocale(LC_MESSAGES, "");
  std::setlocale(LC_CTYPE, "");
  bindtextdomain(kDomain, catalogueFolder);
  bind_textdomain_codeset(kDomain, "UTF-8");
}

std::string PDXLocalised(const char* english) { return dgettext(kDomain, english); }

std::string PDXLocalised(const char* english, const std::vector<std::string>& values) {
  const std::string text = PDXLocalised(english);
  std::string result;
  std::size_t next = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t place = placeLength(std::string_view(text).substr(i));
    if (place == 0 || next == values.size()) {
      result += text[i];
    } else {
      result += values[next++];
      i += place - 1;
    }
  }
  return result;
}
