#pragma once

#include <string>
#include <string_view>

/// The bodies of the older store, which are pieces of HTML.
namespace PDXLegacyNoteBody {

/// The body as text: a "\r\n" for each line, no markup, no white space at both ends. Entities other than that
/// of "&" and the blank that does not break stay as they are.
std::string plainText(std::string html);

/// Without anything between "<" and ">", and without "&nbsp;" if asked so.
std::string withoutTags(std::string_view html, bool alsoBlanks = false);

/// Whether a picture or a file is part of the body, which its text cannot show.
bool holdsAttachment(std::string_view html);

}  // namespace PDXLegacyNoteBody
