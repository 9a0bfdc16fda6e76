#pragma once

#include <cstddef>
#include <string_view>

/// Looks at a property list's bytes before a recursive parser gets them.
namespace PDXPropertyListMeasure {

/// The beginning of `bytes` that is the list itself: without the cipher's padding (up to sixteen equal bytes)
/// and sixteen zero bytes that a deciphered copy carries behind a binary list, and without whatever follows
/// "</plist>" in an XML one.
std::string_view withoutTail(std::string_view bytes);

/// Whether the list can be parsed safely: its objects nest at most 256 levels and none contains itself.
/// Written out they are at most four million values, and not far more than the file has bytes (a few hundred
/// bytes can stand for billions, by containing one object many times). Keys are texts of at most 65,536
/// characters, none of them zero. An XML list's elements must close in
/// order. Needs no recursion and time in proportion to the bytes.
bool isSafe(std::string_view bytes);

}  // namespace PDXPropertyListMeasure
