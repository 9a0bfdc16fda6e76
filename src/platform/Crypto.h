#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

/// The lower-case hexadecimal SHA-1 of the text's UTF-8 bytes: 40 characters. A backup names its files so.
std::string sha_1(std::string_view text);

/// `bytes` in Base64 (RFC 4648, padded), without line breaks.
std::string base64(std::string_view bytes);

/// The bytes that a Base64 text stands for; white space and line breaks in it do not matter. Nothing when it
/// is none.
std::optional<PDXBytes> base64Decoded(std::string_view text);
