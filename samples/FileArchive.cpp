#include "samples/FileArchive.h"

#include <optional>
#include <utility>

#include "platform/PropertyList.h"

namespace {

using List = PDXPropertyList;

std::int64_t unixSeconds(PDXDate date) {
  return std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch()).count();
}

List::Dictionary classNamed(const char* name, List::Array parents = {}) {
  parents.emplace(parents.begin(), name);
  parents.emplace_back("NSObject");
  return {{"$classname", name}, {"$classes", std::move(parents)}};
}

/// The objects of a keyed archive, which refer to each other by their places.
class Objects {
 public:
  List::Uid add(List object) {
    objects_.push_back(std::move(object));
    return {objects_.size() - 1};
  }

  /// As what the device calls mutable data; all of it shares one class.
  List::Uid addData(const PDXBytes& bytes) {
    const List::Uid place = add(List());
    if (!dataClass_) dataClass_ = add(classNamed("NSMutableData", {"NSData"}));
    objects_[place.index] = List::Dictionary{{"NS.data", bytes}, {"$class", *dataClass_}};
    return place;
  }

  List::Array& all() { return objects_; }

 private:
  List::Array objects_ = {"$null", List()};
  std::optional<List::Uid> dataClass_;
};

List::Dictionary plainFields(const PDXSampleEntry& entry) {
  const std::int64_t modified = unixSeconds(entry.lastModified);
  return {{"Birth", modified},        {"Flags", 0},
          {"GroupID", 501},           {"InodeNumber", entry.inode},
          {"LastModified", modified}, {"LastStatusChange", modified},
          {"Mode", entry.mode},       {"ProtectionClass", entry.protectionClass},
          {"Size", entry.size},       {"UserID", 501}};
}

PDXBytes listOf(const std::vector<std::pair<std::string, PDXBytes>>& attributes) {
  List::Dictionary list;
  for (const auto& [name, value] : attributes) list.emplace_back(name, value);
  return List(list).binary();
}

/// A device orders the objects as it likes; half of the files have their attributes first.
void addProtectedData(Objects& objects, List::Dictionary& object, const PDXSampleEntry& entry) {
  const bool areAttributesFirst = entry.inode % 2 == 0;
  const auto addAttributes = [&] {
    if (entry.attributes.empty()) return;
    object.emplace_back("ExtendedAttributes", objects.addData(listOf(entry.attributes)));
  };
  if (areAttributesFirst) addAttributes();
  if (!entry.encryptionKey.empty()) {
    object.emplace_back("EncryptionKey", objects.addData(entry.encryptionKey));
  }
  if (!areAttributesFirst) addAttributes();
}

}  // namespace

namespace PDXSampleFileArchive {

PDXBytes archive(const PDXSampleEntry& entry) {
  Objects objects;
  List::Dictionary object = plainFields(entry);
  object.emplace_back("RelativePath", objects.add(entry.relativePath));
  addProtectedData(objects, object, entry);
  if (!entry.digest.empty()) object.emplace_back("Digest", objects.add(entry.digest));
  if (!entry.target.empty()) object.emplace_back("Target", objects.add(entry.target));
  object.emplace_back("$class", objects.add(classNamed("MBFile")));
  objects.all()[1] = std::move(object);
  return List(List::Dictionary{{"$version", 100000},
                               {"$archiver", "NSKeyedArchiver"},
                               {"$top", List::Dictionary{{"root", List::Uid{1}}}},
                               {"$objects", std::move(objects.all())}})
      .binary();
}

}  // namespace PDXSampleFileArchive
