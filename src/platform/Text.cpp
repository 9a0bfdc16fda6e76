#include "platform/Text.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/Characters.h"

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The bytes that cannot stand in HTML as they are. A table, since this looks at every byte of a store's
/// texts.
constexpr auto kIsSpecialInHtml = [] {
  std::array<bool, 256> isSpecial{};
  for (const char c : {'&', '"', '<', '>', '\0'}) isSpecial[static_cast<unsigned char>(c)] = true;
  return isSpecial;
}();

std::string_view htmlFor(char special) {
  switch (special) {
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return kReplacement;
  }
}

icu::StringPiece piece(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(std::min<std::size_t>(text.size(), INT32_MAX))};
}

template <typename Map>
std::string mapped(std::string_view text, Map map) {
  std::string result;
  result.reserve(text.size());
  icu::StringByteSink<std::string> sink(&result);
  UErrorCode status = U_ZERO_ERROR;
  map(sink, status);
  return U_SUCCESS(status) ? result : std::string(text);
}

/// Compares two runs of ASCII digits by value, leading zeros aside.
int compareDigitRuns(std::string_view a, std::string_view b) {
  a.remove_prefix(std::min(a.find_first_not_of('0'), a.size()));
  b.remove_prefix(std::min(b.find_first_not_of('0'), b.size()));
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b);
}

std::string_view digitRun(std::string_view text, std::size_t position) {
  const std::size_t end = text.find_first_not_of("0123456789", position);
  return text.substr(position, end == std::string_view::npos ? end : end - position);
}

/// With the letters from `first` to `last` in the other case, whose first one is `other`.
std::string inOtherCase(std::string_view ascii, char first, char last, char other) {
  std::string result(ascii);
  for (char& c : result) {
    if (c >= first && c <= last) c = static_cast<char>(c - first + other);
  }
  return result;
}

}  // namespace

namespace PDXText {

bool isAscii(std::string_view text) {
  // Eight bytes at a time: every text that is read passes through here.
  constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
  std::uint64_t word = 0;
  for (; text.size() >= sizeof(word); text.remove_prefix(sizeof(word))) {
    std::memcpy(&word, text.data(), sizeof(word));
    if ((word & kHighBits) != 0) return false;
  }
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string valid(std::string bytes) {
  if (isAscii(bytes)) return bytes;
  std::size_t position = 0;
  std::string repaired;
  std::size_t copied = 0;
  while (position < bytes.size()) {
    if (static_cast<unsigned char>(bytes[position]) < 0x80) {
      ++position;
      continue;
    }
    const std::size_t start = position;
    if (PDXCharacters::nextOrError(bytes, position) >= 0) continue;
    repaired.append(bytes, copied, start - copied).append(kReplacement);
    copied = position;
  }
  if (copied == 0) return bytes;
  return repaired.append(bytes, copied);
}

bool isValid(std::string_view bytes) {
  std::size_t position = 0;
  while (position < bytes.size()) {
    // Most text is ASCII for the most part: eight bytes at a time, then one by one.
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    std::uint64_t eight = kHighBits;
    if (bytes.size() - position >= sizeof eight) std::memcpy(&eight, bytes.data() + position, sizeof eight);
    if ((eight & kHighBits) == 0) {
      position += sizeof eight;
      continue;
    }
    if (static_cast<unsigned char>(bytes[position]) < 0x80) {
      ++position;
    } else if (PDXCharacters::nextOrError(bytes, position) < 0) {
      return false;
    }
  }
  return true;
}

std::string fromUtf16(std::u16string_view text) {
  std::string result;
  icu::UnicodeString(false, text.data(), static_cast<std::int32_t>(text.size())).toUTF8String(result);
  return result;
}

std::string lowercased(std::string_view text) {
  if (isAscii(text)) return inOtherCase(text, 'A', 'Z', 'a');
  return mapped(text, [text](icu::ByteSink& sink, UErrorCode& status) {
    icu::CaseMap::utf8ToLower("", 0, piece(text), sink, nullptr, status);
  });
}

std::string uppercased(std::string_view text) {
  if (isAscii(text)) return inOtherCase(text, 'a', 'z', 'A');
  return mapped(text, [text](icu::ByteSink& sink, UErrorCode& status) {
    icu::CaseMap::utf8ToUpper("", 0, piece(text), sink, nullptr, status);
  });
}

std::string caseFolded(std::string_view text) {
  if (isAscii(text)) return lowercased(text);
  return mapped(text, [text](icu::ByteSink& sink, UErrorCode& status) {
    icu::CaseMap::utf8Fold(0, piece(text), sink, nullptr, status);
  });
}

std::string composed(std::string_view text) {
  if (isAscii(text)) return std::string(text);
  return mapped(text, [text](icu::ByteSink& sink, UErrorCode& status) {
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFCInstance(status);
    if (normalizer != nullptr) normalizer->normalizeUTF8(0, piece(text), sink, nullptr, status);
  });
}

bool containsIgnoringCase(std::string_view text, std::string_view part) {
  return lowercased(text).find(lowercased(part)) != std::string::npos;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return caseFolded(text).starts_with(caseFolded(prefix));
}

int compareIgnoringCaseWithNumbers(std::string_view a, std::string_view b) {
  const std::string foldedA = caseFolded(a);
  const std::string foldedB = caseFolded(b);
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < foldedA.size() && j < foldedB.size()) {
    const std::string_view digitsA = digitRun(foldedA, i);
    const std::string_view digitsB = digitRun(foldedB, j);
    if (!digitsA.empty() && !digitsB.empty()) {
      if (const int order = compareDigitRuns(digitsA, digitsB); order != 0) return order;
      i += digitsA.size();
      j += digitsB.size();
      continue;
    }
    const UChar32 characterA = PDXCharacters::nextOrError(foldedA, i);
    const UChar32 characterB = PDXCharacters::nextOrError(foldedB, j);
    if (characterA != characterB) return characterA < characterB ? -1 : 1;
  }
  return static_cast<int>(i < foldedA.size()) - static_cast<int>(j < foldedB.size());
}

std::string_view trimmed(std::string_view text) {
  std::size_t begin = 0;
  for (std::size_t next = 0;
       begin < text.size() && u_isUWhiteSpace(PDXCharacters::nextOrError(text, next)) != 0;)
    begin = next;
  std::size_t end = text.size();
  for (std::size_t previous = end;
       end > begin && u_isUWhiteSpace(PDXCharacters::previousOrError(text, previous)) != 0;) {
    end = previous;
  }
  return text.substr(begin, end - begin);
}

std::string_view trimmedOf(std::string_view text, std::string_view characters) {
  const std::size_t begin = text.find_first_not_of(characters);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(characters) - begin + 1);
}

std::string replacedAll(std::string text, std::string_view from, std::string_view to) {
  if (text.find(from) == std::string::npos) return text;
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, copied)) {
    result.append(text, copied, at - copied).append(to);
    copied = at + from.size();
  }
  return result.append(text, copied);
}

std::string printable(std::string_view text) {
  const auto isPlain = [&](std::size_t at) {
    constexpr char kFirst = ' ';
    constexpr char kLast = '~';
    return text[at] >= kFirst && text[at] <= kLast;
  };
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    while (position < text.size() && isPlain(position)) ++position;
    if (position > start) {
      result += text.substr(start, position - start);
      continue;
    }
    const UChar32 c = PDXCharacters::nextOrError(text, position);
    const bool shows = c >= 0 && !PDXCharacters::endsLine(c) && !PDXCharacters::changesDirection(c);
    result += shows ? text.substr(start, position - start) : "?";
  }
  return result;
}

std::string onOneLine(std::string text) {
  const auto mayEndLine = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ' ' || byte == 0x7F || byte == 0xC2 || byte == 0xE2;
  };
  if (std::none_of(text.begin(), text.end(), mayEndLine)) return text;
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    const bool ends = PDXCharacters::endsLine(PDXCharacters::nextOrError(text, position));
    ends ? result.append(1, ' ') : result.append(text, start, position - start);
  }
  return result;
}

bool changesDirection(std::string_view text) {
  if (isAscii(text)) return false;
  for (std::size_t position = 0; position < text.size();) {
    if (PDXCharacters::changesDirection(PDXCharacters::nextOrError(text, position))) return true;
  }
  return false;
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    const char* digits = text.data() + i + 1;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
      result += static_cast<char>(value);
      i += 2;
    } else {
      result += text[i];
    }
  }
  return valid(std::move(result));
}

std::size_t length(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
  std::size_t begin = text.size();
  for (; begin > 0 && count > 0; --count) PDXCharacters::previousOrError(text, begin);
  return text.substr(begin);
}

std::int32_t integerValue(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  std::int32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  using Limits = std::numeric_limits<std::int32_t>;
  return text.starts_with('-') ? Limits::min() : Limits::max();
}

std::string_view lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

std::string_view pathExtension(std::string_view path) {
  const std::string_view name = lastPathComponent(path);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string escapedForHtml(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  std::size_t copied = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!kIsSpecialInHtml[static_cast<unsigned char>(text[i])]) continue;
    result.append(text.substr(copied, i - copied)).append(htmlFor(text[i]));
    copied = i + 1;
  }
  return result.append(text.substr(copied));
}

std::string escapedForHtmlAttribute(std::string_view text) {
  return replacedAll(escapedForHtml(text), "'", "&#39;");
}

std::string pathForHtmlLink(std::string_view relativePath) {
  std::string encoded = replacedAll(std::string(relativePath), "%", "%25");
  encoded = replacedAll(std::move(encoded), "#", "%23");
  encoded = replacedAll(std::move(encoded), "?", "%3F");
  return escapedForHtmlAttribute(encoded);
}

}  // namespace PDXText
