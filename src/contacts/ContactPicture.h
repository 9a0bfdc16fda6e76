#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "platform/Bytes.h"

/// The picture of a person: its bytes, or where the address book keeps them. Hundreds of megabytes of
/// pictures would otherwise be held for the one that somebody looks at.
class PDXContactPicture {
 public:
  /// Where a database keeps pictures.
  struct Store {
    std::string databasePath;  ///< A local copy.
    std::string query;         ///< Gives the bytes of the picture in the row whose number is bound.
  };

  /// No picture.
  PDXContactPicture() = default;

  /// The file's bytes, as a card holds them; empty for no picture.
  PDXContactPicture(PDXBytes bytes) : bytes_(std::move(bytes)) {}

  /// A picture of at least one byte.
  PDXContactPicture(std::shared_ptr<const Store> store, std::int64_t row)
      : store_(std::move(store)), row_(row) {}

  bool empty() const { return bytes_.empty() && store_ == nullptr; }

  /// The picture's file as stored, read anew each time from a database; empty when that is damaged or gone.
  /// Safe on any thread.
  PDXBytes bytes() const;

 private:
  PDXBytes bytes_;
  std::shared_ptr<const Store> store_;
  std::int64_t row_ = 0;
};
