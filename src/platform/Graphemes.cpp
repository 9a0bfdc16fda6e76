#include "platform/Graphemes.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

#include "platform/Characters.h"
#include "platform/Text.h"

namespace {

constexpr std::int32_t kMostCodePoints = 24;

/// Names are short; what follows is not looked at.
constexpr std::size_t kMostBytes = 1024;

bool isInvisible(UChar32 c) {
  return c < 0 || u_iscntrl(c) || u_isUWhiteSpace(c) ||
         u_hasBinaryProperty(c, UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

std::string_view withoutInvisibleFront(std::string_view text) {
  std::size_t start = 0;
  for (std::size_t next = 0; next < text.size(); start = next) {
    if (!isInvisible(PDXCharacters::nextOrError(text, next))) break;
  }
  return text.substr(start);
}

/// Costly to make, and for one thread.
icu::BreakIterator* characterBreaks() {
  thread_local const std::unique_ptr<icu::BreakIterator> breaks = [] {
    UErrorCode status = U_ZERO_ERROR;
    return std::unique_ptr<icu::BreakIterator>(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  }();
  return breaks.get();
}

}  // namespace

namespace PDXGraphemes {

std::string first(std::string_view text) {
  const std::string name = PDXText::valid(std::string(text.substr(0, kMostBytes)));
  const std::string_view visible = withoutInvisibleFront(name);
  if (visible.empty()) return "";
  const auto characters =
      icu::UnicodeString::fromUTF8({visible.data(), static_cast<std::int32_t>(visible.size())});
  icu::BreakIterator* breaks = characterBreaks();
  std::int32_t end = characters.moveIndex32(0, 1);
  if (breaks != nullptr) {
    breaks->setText(characters);
    end = breaks->following(0);
  }
  end = std::min(end, characters.moveIndex32(0, kMostCodePoints));
  std::string result;
  characters.tempSubStringBetween(0, end).toUTF8String(result);
  return result;
}

bool isDigit(std::string_view character) {
  std::size_t next = 0;
  const UChar32 c = character.empty() ? -1 : PDXCharacters::nextOrError(character, next);
  return c >= 0 && next == character.size() && u_isdigit(c);
}

}  // namespace PDXGraphemes
