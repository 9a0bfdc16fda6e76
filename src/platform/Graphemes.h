#pragma once

#include <string>
#include <string_view>

/// Characters as a reader sees them: a letter with its accents, a flag, a family of one emoji.
namespace PDXGraphemes {

/// The first of the text that shows something: marks that only steer the direction of writing, and control
/// characters, in front of it are passed over. "" when there is none. At most some 24 code points: more
/// accents on one letter are for no name.
std::string first(std::string_view text);

/// Whether `character` is one decimal digit of any script, and nothing more.
bool isDigit(std::string_view character);

}  // namespace PDXGraphemes
