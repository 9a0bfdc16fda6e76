#include "samples/FileArchive.h"

#include <utility>

#include "platform/PropertyList.h"

namespace {

using List = PDXPropertyList;

int modeOf(PDXSampleEntryKind kind) {
  switch (kind) {
    case PDXSampleEntryKind::folder:
      return 0040755;
    case PDXSampleEntryKind::link:
      return 0120755;
    case PDXSampleEntryKind::file:
      break;
  }
  return 0100644;
}

std::int64_t unixSeconds(PDXDate date) {
  return std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch()).count();
}

List::Dictionary classNamed(const char* name) {
  return {{"$classname", name}, {"$classes", List::Array{name, "NSObject"}}};
}

/// The archived object; its texts and its class are further objects of the archive.
List::Dictionary objectOf(const PDXSampleEntry& entry) {
  const std::int64_t modified = unixSeconds(entry.lastModified);
  List::Dictionary object = {{"$class", List::Uid{3}},
                             {"Birth", modified},
                             {"Flags", 0},
                             {"GroupID", 501},
                             {"InodeNumber", entry.inode},
                             {"LastModified", modified},
                             {"LastStatusChange", modified},
                             {"Mode", modeOf(entry.kind)},
                             {"ProtectionClass", entry.protectionClass},
                             {"RelativePath", List::Uid{2}},
                             {"Size", entry.size},
                             {"UserID", 501}};
  if (!entry.target.empty()) object.emplace_back("Target", List::Uid{4});
  return object;
}

}  // namespace

namespace PDXSampleFileArchive {

PDXBytes archive(const PDXSampleEntry& entry) {
  List::Array objects = {"$null", objectOf(entry), entry.relativePath, classNamed("MBFile")};
  if (!entry.target.empty()) objects.emplace_back(entry.target);
  return List(List::Dictionary{{"$version", 100000},
                               {"$archiver", "NSKeyedArchiver"},
                               {"$top", List::Dictionary{{"root", List::Uid{1}}}},
                               {"$objects", std::move(objects)}})
      .binary();
}

}  // namespace PDXSampleFileArchive
