#pragma once

#include <optional>

#include "platform/Bytes.h"

/// Turns JPEG files by moving and flipping their blocks. Nothing is decoded, so nothing is lost.
namespace PDXImageTransform {

struct Turned {
  enum class Outcome {
    done,
    offGrid,  ///< The picture's edges cut through blocks that would have to lie inside it afterwards.
    damaged   ///< The file is cut or its pixels are damaged.
  } outcome = Outcome::damaged;
  PDXBytes jpeg;  ///< With all metadata as it was; empty unless done.
};

/// @param orientation  2 to 8, as EXIF counts them: how the stored pixels have to be turned.
Turned turned(const PDXBytes& jpeg, int orientation);

}  // namespace PDXImageTransform
