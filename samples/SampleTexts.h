#pragma once

#include <span>
#include <string_view>

/// The names and texts that a sample is put together from. All of them are invented.
namespace PDXSampleTexts {

using Texts = std::span<const std::string_view>;

/// The languages in which people of a sample write.
enum class Language {
  english,
  german,
  french,
  greek,
  russian,
  arabic,
  hebrew,
  hindi,
  thai,
  chinese,
  japanese,
  korean
};
inline constexpr int kLanguageCount = 12;

Texts givenNames();
Texts familyNames();
Texts organisations();
Texts jobTitles();
Texts streets();
Texts cities();
Texts notes();

/// Short conversations: lines that two people send in turn, separated by "|".
Texts dialogues(Language language);

}  // namespace PDXSampleTexts
