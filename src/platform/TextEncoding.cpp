#include "platform/TextEncoding.h"

#include <unicode/ucnv.h>

#include <memory>

#include "platform/Characters.h"
#include "platform/Text.h"

namespace {

/// How much is turned at once, so that the need for memory does not follow what a file says of itself.
constexpr std::size_t kUnits = 4096;

bool isUtf8(std::string_view bytes) {
  for (std::size_t position = 0; position < bytes.size();) {
    if (PDXCharacters::nextOrError(bytes, position) < 0) return false;
  }
  return true;
}

std::u16string unitsOf(std::string_view bytes, UConverter& converter) {
  std::u16string units;
  const char* source = bytes.data();
  const char* const end = source + bytes.size();
  UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
  while (status == U_BUFFER_OVERFLOW_ERROR) {
    char16_t buffer[kUnits];
    char16_t* target = buffer;
    status = U_ZERO_ERROR;
    ucnv_toUnicode(&converter, &target, buffer + kUnits, &source, end, nullptr, 1, &status);
    units.append(buffer, target);
  }
  return units;
}

}  // namespace

namespace PDXTextEncoding {

std::optional<std::string> decoded(std::string_view bytes, const std::string& encoding) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open(encoding.c_str(), &status),
                                                                     ucnv_close);
  if (encoding.empty() || U_FAILURE(status)) return std::nullopt;
  return PDXText::fromUtf16(unitsOf(bytes, *converter));
}

std::string withoutMark(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) return std::string(bytes.substr(3));
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"))
    return decoded(bytes, "UTF-16").value_or("");
  if (bytes.size() < 2) return std::string(bytes);
  if (bytes[0] == '\0' && bytes[1] != '\0') return decoded(bytes, "UTF-16BE").value_or("");
  if (bytes[0] != '\0' && bytes[1] == '\0') return decoded(bytes, "UTF-16LE").value_or("");
  return std::string(bytes);
}

std::string guessed(std::string_view bytes) {
  if (isUtf8(bytes)) return std::string(bytes);
  return decoded(bytes, "windows-1252").value_or(std::string(bytes));
}

}  // namespace PDXTextEncoding
