#pragma once

#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Steps through UTF-8 one code point at a time. For the sources of this folder: it shows ICU's macros.
namespace PDXCharacters {

/// Whether the code point ends a line for some reader of text, or is a control character.
constexpr bool endsLine(UChar32 c) {
  return (c >= 0 && c < 0x20) || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

/// Whether the code point shows nothing but changes the direction of writing of what follows.
constexpr bool changesDirection(UChar32 c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"

/// The code point at `position`, which moves behind it; negative for a byte that belongs to none.
inline UChar32 nextOrError(std::string_view text, std::size_t& position) {
  UChar32 c = 0;
  U8_NEXT(text.data(), position, text.size(), c);
  return c;
}

/// The code point before `position`, which moves in front of it; negative as above.
inline UChar32 previousOrError(std::string_view text, std::size_t& position) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  auto index = static_cast<std::int32_t>(position);
  UChar32 c = 0;
  U8_PREV(bytes, 0, index, c);
  position = static_cast<std::size_t>(index);
  return c;
}

#pragma GCC diagnostic pop

}  // namespace PDXCharacters
