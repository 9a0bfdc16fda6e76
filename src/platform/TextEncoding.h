#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Text in encodings other than UTF-8, as files from elsewhere bring it.
namespace PDXTextEncoding {

/// `bytes` as UTF-8. Bytes that the encoding does not know become U+FFFD. Nothing when the system knows no
/// encoding of that name.
/// @param encoding  as files name it, e.g. "ISO-8859-1", "Shift_JIS"; case does not matter.
std::optional<std::string> decoded(std::string_view bytes, const std::string& encoding);

/// A whole file's text as UTF-8 when its first bytes show UTF-16 (a mark, or an ASCII letter beside a zero)
/// or a mark of UTF-8, which is dropped. Everything else comes back as it is.
std::string withoutMark(std::string_view bytes);

/// `bytes` when they are UTF-8, else read as Windows-1252, of which ISO-8859-1's letters are a part.
std::string guessed(std::string_view bytes);

}  // namespace PDXTextEncoding
