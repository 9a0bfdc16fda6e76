#include <cstddef>
#include <cstdlib>

#include "messages/AttributedBody.h"
#include "platform/Text.h"

/// Whatever the bytes are, an answer is valid text and no longer than they are, U+FFFD for single bytes
/// aside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = PDXAttributedBody::text({data, size});
  if (text && (text->size() > 3 * size || PDXText::valid(*text) != *text)) std::abort();
  return 0;
}
