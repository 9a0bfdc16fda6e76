#pragma once

#include <string_view>
#include <vector>

#include "platform/Bytes.h"

/// What stands in the place of one U+FFFC of a note's text.
struct PDXSampleNoteReference {
  std::string_view identifier;
  std::string_view type;  ///< A type identifier, e.g. "public.jpeg".
};

/// Bodies of notes as the newer note store keeps them.
namespace PDXSampleNoteBody {

/// The record: text, then a run of attributes for the words and one for each attachment.
PDXBytes record(std::string_view text, const std::vector<PDXSampleNoteReference>& references = {});

/// The bytes as a gzip file.
PDXBytes packed(const PDXBytes& bytes);

}  // namespace PDXSampleNoteBody
