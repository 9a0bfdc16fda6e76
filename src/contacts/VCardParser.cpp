#include "contacts/VCardParser.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "platform/Text.h"
#include "platform/TextEncoding.h"

namespace {

constexpr std::string_view kBlanks = " \t";

/// More than any card needs. A file made of separators alone would take up many times its size.
constexpr std::size_t kMostProperties = 20'000;
constexpr std::size_t kMostParameters = 100;
constexpr std::size_t kMostParts = 10'000;

/// Names and parameters are ASCII, whatever the file's encoding is.
std::string capitals(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return result;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// The file's lines one after the other; each kind of line end counts.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}

  bool isAtEnd() const { return position_ >= text_.size(); }

  /// The line at the current place, without its end.
  std::string_view peek() const {
    const std::size_t end = text_.find_first_of("\r\n", position_);
    return text_.substr(position_, end == std::string_view::npos ? end : end - position_);
  }

  void skip(std::string_view line) {
    position_ += line.size();
    if (position_ < text_.size() && text_[position_] == '\r') ++position_;
    if (position_ < text_.size() && text_[position_] == '\n') ++position_;
  }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

/// Where the value begins: behind the first ":" outside double quotes. In a line with a quote that nobody
/// closes, behind the first.
std::size_t colonOf(std::string_view line) {
  bool isQuoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"') isQuoted = !isQuoted;
    if (line[i] == ':' && !isQuoted) return i;
  }
  return line.find(':');
}

/// The parts of a line's head, between semicolons outside double quotes.
std::vector<std::string_view> headParts(std::string_view head) {
  std::vector<std::string_view> parts;
  bool isQuoted = false;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < head.size(); ++i) {
    if (head[i] == '"') isQuoted = !isQuoted;
    if (head[i] != ';' || isQuoted || parts.size() > kMostParameters) continue;
    parts.push_back(head.substr(begin, i - begin));
    begin = i + 1;
  }
  parts.push_back(head.substr(begin));
  return parts;
}

PDXVCardProperty::Parameter parameterOf(std::string_view part) {
  const std::size_t sign = part.find('=');
  if (sign == std::string_view::npos) return {"", std::string(PDXText::trimmedOf(part, " \t\""))};
  return {capitals(PDXText::trimmedOf(part.substr(0, sign), kBlanks)),
          std::string(PDXText::trimmedOf(part.substr(sign + 1), " \t\""))};
}

/// A line without its value; nothing for one that is no property.
std::optional<PDXVCardProperty> headOf(std::string_view line) {
  const std::size_t colon = colonOf(line);
  if (colon == std::string_view::npos) return std::nullopt;
  const auto parts = headParts(line.substr(0, colon));
  PDXVCardProperty property;
  std::string name = capitals(PDXText::trimmedOf(parts.front(), kBlanks));
  if (const std::size_t dot = name.find('.'); dot != std::string::npos) {
    property.group = name.substr(0, dot);
    name.erase(0, dot + 1);
  }
  property.name = std::move(name);
  for (std::size_t i = 1; i < std::min(parts.size(), kMostParameters); ++i)
    property.parameters.push_back(parameterOf(parts[i]));
  property.value = line.substr(colon + 1);
  return property;
}

bool isQuotedPrintable(const PDXVCardProperty& property) { return property.hasWord("QUOTED-PRINTABLE"); }

bool isFrame(std::string_view line, std::string_view word) {
  const std::string_view bare = PDXText::trimmedOf(line, kBlanks);
  return bare.size() == word.size() + 6 && capitals(bare) == std::string(word) + ":VCARD";
}

bool isBegin(std::string_view line) { return isFrame(line, "BEGIN"); }
bool isEnd(std::string_view line) { return isFrame(line, "END"); }

class Parser {
 public:
  explicit Parser(std::string_view text) : lines_(text) {}

  void forEachCard(const std::function<void(const PDXVCard&)>& use) {
    while (!lines_.isAtEnd()) {
      const std::string_view line = lines_.peek();
      lines_.skip(line);
      if (isBegin(line)) use(readCard());
    }
  }

 private:
  /// The card whose beginning was just read.
  PDXVCard readCard() {
    PDXVCard card;
    isVersionTwo_ = false;
    while (!lines_.isAtEnd()) {
      const std::string_view line = lines_.peek();
      const bool isAgent = !card.empty() && card.back().name == "AGENT" && card.back().value.empty();
      if (isBegin(line) && !isAgent) break;
      lines_.skip(line);
      if (isEnd(line)) break;
      if (isBegin(line)) {
        skipCard();
        card.back().value = "skipped";
      } else if (auto property = headOf(line)) {
        finish(*property);
        if (card.size() < kMostProperties) card.push_back(std::move(*property));
      }
    }
    for (PDXVCardProperty& property : card) property.isVersionTwo = isVersionTwo_;
    return card;
  }

  /// Past a card inside another one, with all that are inside it.
  void skipCard() {
    for (std::size_t depth = 1; depth > 0 && !lines_.isAtEnd();) {
      const std::string_view line = lines_.peek();
      lines_.skip(line);
      if (isBegin(line)) ++depth;
      if (isEnd(line)) --depth;
    }
  }

  /// Adds the lines that belong to the property's value.
  void finish(PDXVCardProperty& property) {
    if (isQuotedPrintable(property)) joinQuotedPrintable(property.value);
    const bool isBase64 = property.isBase64();
    while (!lines_.isAtEnd()) {
      const std::string_view line = lines_.peek();
      const bool isFolded = !line.empty() && isBlank(line.front());
      if (!isFolded && !(isBase64 && isBareBase64(line))) break;
      // Version 2.1 puts a line break in front of a blank of the text, the later ones add the blank.
      property.value += line.substr(isFolded && !isVersionTwo_ ? 1 : 0);
      lines_.skip(line);
    }
    if (property.name == "VERSION") isVersionTwo_ = property.value.starts_with("2");
  }

  /// A line that ends in "=" goes on in the next one, which need not begin with a blank.
  void joinQuotedPrintable(std::string& value) {
    while (value.ends_with('=') && !lines_.isAtEnd() && !isEnd(lines_.peek())) {
      value.pop_back();
      const std::string_view line = lines_.peek();
      value += line;
      lines_.skip(line);
    }
  }

  /// Some write Base64 in lines that do not begin with a blank.
  static bool isBareBase64(std::string_view line) {
    return !line.empty() && line.find_first_of(":;.") == std::string_view::npos;
  }

  Lines lines_;
  bool isVersionTwo_ = false;
};

/// "=XX" as bytes.
std::string quotedPrintableDecoded(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    const char* digits = text.data() + i + 1;
    const bool isCode = text[i] == '=' && i + 2 < text.size() &&
                        std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2;
    bytes += isCode ? static_cast<char>(value) : text[i];
    if (isCode) i += 2;
  }
  return bytes;
}

std::string inUtf8(std::string_view bytes, const PDXVCardProperty& property) {
  const std::string encoding = capitals(property.parameterNamed("CHARSET"));
  if (encoding.empty() || encoding == "UTF-8" || encoding == "US-ASCII")
    return PDXTextEncoding::guessed(bytes);
  auto text = PDXTextEncoding::decoded(bytes, encoding);
  return text ? std::move(*text) : PDXTextEncoding::guessed(bytes);
}

/// What "\c" stands for; nothing when it is no escape.
std::optional<char> unescaped(char c, bool isVersionTwo) {
  if (c == ';' || c == ',' || c == ':') return c;
  if (isVersionTwo) return std::nullopt;
  if (c == 'n' || c == 'N') return '\n';
  return c == '\\' ? std::optional(c) : std::nullopt;
}

std::string withoutEscapes(std::string_view text, bool isVersionTwo) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto meant =
        text[i] == '\\' && i + 1 < text.size() ? unescaped(text[i + 1], isVersionTwo) : std::nullopt;
    result += meant.value_or(text[i]);
    if (meant) ++i;
  }
  return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == separator && parts.size() + 1 < kMostParts) {
      parts.push_back(text.substr(begin, i - begin));
      begin = i + 1;
    }
  }
  parts.push_back(text.substr(std::min(begin, text.size())));
  return parts;
}

}  // namespace

bool PDXVCardProperty::hasWord(std::string_view word) const {
  return std::any_of(parameters.begin(), parameters.end(), [&](const Parameter& parameter) {
    const auto words = split(parameter.value, ',');
    return std::any_of(words.begin(), words.end(), [&](std::string_view each) {
      return each.size() == word.size() && capitals(each) == capitals(word);
    });
  });
}

std::string PDXVCardProperty::parameterNamed(std::string_view parameter) const {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [&](const Parameter& each) { return each.name == parameter; });
  return found == parameters.end() ? "" : found->value;
}

std::string PDXVCardProperty::text() const {
  const bool isCoded = isQuotedPrintable(*this);
  return withoutEscapes(inUtf8(isCoded ? quotedPrintableDecoded(value) : value, *this), isVersionTwo);
}

std::vector<std::string> PDXVCardProperty::parts(char separator) const {
  // A coded semicolon belongs to the text, a plain one separates: coded values are split before they are
  // decoded. Others are split afterwards, since half of a Japanese letter may look like an escape.
  const bool isCoded = isQuotedPrintable(*this);
  const std::string whole = isCoded ? value : inUtf8(value, *this);
  std::vector<std::string> parts;
  for (const std::string_view part : split(whole, separator)) {
    const std::string decoded = isCoded ? inUtf8(quotedPrintableDecoded(part), *this) : std::string(part);
    parts.push_back(withoutEscapes(decoded, isVersionTwo));
  }
  return parts;
}

bool PDXVCardProperty::isBase64() const {
  return hasWord("BASE64") || capitals(parameterNamed("ENCODING")) == "B";
}

void PDXVCardParser::forEachCard(std::string_view bytes, const std::function<void(const PDXVCard&)>& use) {
  const std::string text = PDXTextEncoding::withoutMark(bytes);
  // A copy that was deciphered ends in padding, which are bytes below 17.
  std::size_t end = text.size();
  while (end > 0 && static_cast<unsigned char>(text[end - 1]) <= 16) --end;
  Parser(std::string_view(text).substr(0, end)).forEachCard(use);
}
