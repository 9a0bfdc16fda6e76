#include "platform/ImageTransform.h"

#include <turbojpeg.h>

#include <array>
#include <cassert>
#include <memory>
#include <string_view>

namespace {

struct Destroy {
  void operator()(void* handle) const noexcept { tjDestroy(handle); }
};

struct Free {
  void operator()(unsigned char* buffer) const noexcept { tjFree(buffer); }
};

tjtransform operationFor(int orientation) {
  constexpr std::array<int, 7> kOperations = {TJXOP_HFLIP, TJXOP_ROT180,     TJXOP_VFLIP, TJXOP_TRANSPOSE,
                                              TJXOP_ROT90, TJXOP_TRANSVERSE, TJXOP_ROT270};
  assert(orientation >= 2 && orientation <= 8);
  tjtransform operation = {};
  operation.op = kOperations.at(static_cast<std::size_t>(orientation - 2));
  operation.options = TJXOPT_PERFECT;
  return operation;
}

}  // namespace

namespace PDXImageTransform {

Turned turned(const PDXBytes& jpeg, int orientation) {
  const std::unique_ptr<void, Destroy> handle(tjInitTransform());
  if (handle == nullptr) return {};
  tjtransform operation = operationFor(orientation);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  const int failed = tjTransform(handle.get(), jpeg.data(), static_cast<unsigned long>(jpeg.size()), 1,
                                 &buffer, &size, &operation, 0);
  const std::unique_ptr<unsigned char, Free> owned(buffer);
  if (failed == 0) return {Turned::Outcome::done, PDXBytes(buffer, buffer + size)};
  const std::string_view why = tjGetErrorStr2(handle.get());
  const bool isOffGrid = why.find("not perfect") != std::string_view::npos;
  return {isOffGrid ? Turned::Outcome::offGrid : Turned::Outcome::damaged, {}};
}

}  // namespace PDXImageTransform
