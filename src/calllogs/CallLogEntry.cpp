#include "calllogs/CallLogEntry.h"

#include "calllogs/CallLogProvider.h"

namespace {

constexpr std::int64_t kTelephone = 1;
constexpr std::int64_t kFaceTimeVideo = 8;
constexpr std::int64_t kFaceTimeAudio = 16;

}  // namespace

std::string PDXCallLogEntry::kindText() const {
  const PDXCallLogProvider service(provider);
  const bool isFaceTime = service.callLogProviderType() == PDXCallLogProvider::FaceTime;
  if (!provider.empty() && !isFaceTime) return service.callLogProviderTypeString();
  if (callType == kFaceTimeVideo) return "FaceTime video";
  if (callType == kFaceTimeAudio) return "FaceTime audio";
  if (isFaceTime || (flags & faceTime) != 0) return "FaceTime";
  return callType == kTelephone || !callType ? "Phone" : "";
}

std::string PDXCallLogEntry::locationText() const {
  return location == "<<RecentsNumberLocationNotFound>>" ? "" : location;
}
