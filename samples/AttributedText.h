#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

namespace PDXSampleAttributedText {

/// A text as newer systems archive it beside, or in place of, the plain one: an attributed string of parts,
/// where each U+FFFC is an attachment and a part of its own.
/// @param guid  the message's; its attachments are named after it, see `attachmentGuids`.
PDXBytes archived(std::string_view text, std::string_view guid);

/// The identifiers of the attachments that the text has places for, in its order.
std::vector<std::string> attachmentGuids(std::string_view text, std::string_view guid);

}  // namespace PDXSampleAttributedText
