#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// One line of a card, folded lines joined: "item1.TEL;TYPE=cell:+44 7700 900123".
struct PDXVCardProperty {
  /// Whether a parameter has the word, among others or alone ("TYPE=cell,voice", "TYPE=cell", "CELL"); case
  /// does not matter.
  bool hasWord(std::string_view word) const;

  /// The first value of a parameter as written, without quotes; "" when it is not given.
  /// @param parameter  in capitals, e.g. "CHARSET".
  std::string parameterNamed(std::string_view parameter) const;

  /// The value as UTF-8, with the card's escapes undone.
  std::string text() const;

  /// The same for each part between semicolons ("N", "ADR", "ORG") or commas ("NICKNAME", "CATEGORIES") that
  /// are not escaped; one part at least, 10,000 at most.
  std::vector<std::string> parts(char separator) const;

  /// Whether the value is in Base64.
  bool isBase64() const;

  struct Parameter {
    std::string name;  ///< In capitals; "" for a bare word, as cards of version 2.1 have them.
    std::string value;
  };

  std::string group;  ///< "ITEM1", in capitals; "" without one.
  std::string name;   ///< In capitals, e.g. "TEL".
  std::vector<Parameter> parameters;
  std::string value;          ///< As it stands in the file: encoded, escaped, in the file's encoding.
  bool isVersionTwo = false;  ///< Of a card of version 2.1, which knows fewer escapes.
};

/// What stands between BEGIN:VCARD and END:VCARD, in order.
using PDXVCard = std::vector<PDXVCardProperty>;

/// Takes files of cards apart, as versions 2.1, 3.0 and 4.0 write them, and as programs write them that know
/// none of these well.
///
/// Folded lines (each version's way) and quoted-printable line ends are joined. A card inside another, as an
/// agent of the person, is skipped. A card without an end goes to the next beginning or the end of the file.
/// Whatever is between and behind cards is skipped. Time and memory follow the size of the text.
namespace PDXVCardParser {

/// Calls `use` with each card in turn. Of a card's lines the first 20,000 count, of a line's parameters 100.
/// @param bytes  a whole file: UTF-8, UTF-16 or any encoding that its lines name.
void forEachCard(std::string_view bytes, const std::function<void(const PDXVCard&)>& use);

}  // namespace PDXVCardParser
