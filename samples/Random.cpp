#include "samples/Random.h"

std::string PDXSampleRandom::guid() {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "........-....-4...-A...-............";
  std::uint64_t bits = 0;
  int left = 0;
  for (char& character : text) {
    if (character != '.') continue;
    if (left == 0) {
      bits = engine_();
      left = 16;
    }
    character = kDigits[bits & 15];
    bits >>= 4;
    --left;
  }
  return text;
}
