#pragma once

#include <string>
#include <string_view>

/// Tables as text: cells between commas, lines ended by "\r\n".
namespace PDXCsv {

/// Appends a cell for content. It is quoted where it must be. One that a spreadsheet would take for a formula
/// (it begins with "=", "+", "-", "@", a tab or a line break) gets an apostrophe in front, which a
/// spreadsheet takes for "this is text"; plain numbers with a sign ("+44 7700 900123") stay as they are.
void appendCell(std::string& line, std::string_view text);

/// `text` with that apostrophe where a cell would get one. For tables that quote in a way of their own.
std::string withoutFormula(std::string text);

}  // namespace PDXCsv
