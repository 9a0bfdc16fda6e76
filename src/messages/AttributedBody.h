#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Newer systems write a message's text only into an attributed string, which they archive as a "typed
/// stream": values behind descriptions of their types, with classes, strings and objects that are written
/// once and referred to by number afterwards.
namespace PDXAttributedBody {

/// The text of an archived attributed string, as valid UTF-8; each attachment is one U+FFFC in it.
/// Nothing for bytes of another form, or that end, nest too deep or contradict themselves before the text is
/// known; what follows the text is not looked at. Takes time and memory in proportion to the bytes, whatever
/// they say.
/// Source: message.attributedBody.
std::optional<std::string> text(std::span<const std::uint8_t> archive);

}  // namespace PDXAttributedBody
