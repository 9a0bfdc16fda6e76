#include <cstdio>
#include <cstdlib>

#include "backup/FileDeciphering.h"

/// Deciphers a file with the key of 32 zero bytes, to time that alone. Usage: decipher_file FROM TO
int main(int count, char** arguments) {
  if (count != 3) return EXIT_FAILURE;
  const auto result = PDXFileDeciphering::decipher(arguments[1], PDXSecret(32), arguments[2],
                                                   PDXFileDeciphering::Tail::trimmed);
  if (result) return EXIT_SUCCESS;
  std::fprintf(stderr, "%s\n", result.why.c_str());
  return EXIT_FAILURE;
}
