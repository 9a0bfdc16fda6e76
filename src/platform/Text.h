#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Operations on UTF-8 text. Case follows Unicode's root rules, never the user's locale, so that the same
/// backup gives the same answers everywhere.
namespace PDXText {

bool isAscii(std::string_view text);

/// `bytes` as valid UTF-8: every byte that belongs to no character becomes U+FFFD, the beginning of a cut-off
/// character one for all its bytes.
std::string valid(std::string bytes);

/// Whether the bytes are UTF-8.
bool isValid(std::string_view bytes);

/// UTF-16 code units as UTF-8; lone surrogates become U+FFFD.
std::string fromUtf16(std::u16string_view text);

std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);

/// `text` made comparable without regard to case (full case folding).
std::string caseFolded(std::string_view text);

/// `text` in normal form C.
std::string composed(std::string_view text);

/// Whether the lower-cased `text` holds the lower-cased `part`.
bool containsIgnoringCase(std::string_view text, std::string_view part);

/// Whether `text` begins with `prefix`, without regard to case.
bool startsWithIgnoringCase(std::string_view text, std::string_view prefix);

/// Negative, zero or positive as `a` sorts before, with or after `b`: case ignored, runs of digits by value.
int compareIgnoringCaseWithNumbers(std::string_view a, std::string_view b);

/// Without white space and line breaks (as Unicode counts them) at both ends.
std::string_view trimmed(std::string_view text);

/// Without any of the ASCII `characters` at both ends.
std::string_view trimmedOf(std::string_view text, std::string_view characters);

std::string replacedAll(std::string text, std::string_view from, std::string_view to);

/// `text` on one line for a terminal: control characters, line separators, and characters that change the
/// direction of writing, as "?".
std::string printable(std::string_view text);

/// `text` with a blank for each character that may end a line or control a program: U+0000 to U+001F, U+007F
/// to U+009F, U+2028 and U+2029. For formats that end a value with its line and have no escape.
std::string onOneLine(std::string text);

/// Whether a character of `text` changes the direction of writing of what follows, on the same line too.
bool changesDirection(std::string_view text);

/// `text` with every "%XX" read as a byte, as web addresses have them; valid UTF-8 afterwards.
std::string percentDecoded(std::string_view text);

/// Number of code points.
std::size_t length(std::string_view text);

/// The last `count` code points; the whole text when it has no more.
std::string_view lastCharacters(std::string_view text, std::size_t count);

/// The whole number at the beginning of `text` after blanks, as far as its digits go; 0 when there is none.
/// Values beyond 32 bits stop at the nearest.
std::int32_t integerValue(std::string_view text);

/// What follows the last "." of the last path component; empty when there is none.
std::string_view pathExtension(std::string_view path);

/// What follows the last "/", trailing slashes aside.
std::string_view lastPathComponent(std::string_view path);

/// `text` as HTML content: "&", double quote, "<" and ">" become entities. U+0000, which no HTML may hold,
/// becomes U+FFFD.
std::string escapedForHtml(std::string_view text);

/// `text` for an attribute in single or double quotes: as above, and the apostrophe becomes "&#39;".
std::string escapedForHtmlAttribute(std::string_view text);

/// A relative path as the value of a link in an attribute: escaped as above, and the characters that end a
/// path in an address ("#", "?") or begin an escape ("%") percent-encoded. Everything else stays readable.
std::string pathForHtmlLink(std::string_view relativePath);

}  // namespace PDXText
