#include "platform/PropertyList.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "platform/Files.h"
#include "platform/PropertyListMeasure.h"
#include "platform/Text.h"

namespace {

struct FreeNode {
  void operator()(void* node) const noexcept { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

struct FreeMemory {
  void operator()(void* memory) const noexcept { std::free(memory); }
};
using Memory = std::unique_ptr<void, FreeMemory>;

PDXPropertyList valueOf(plist_t node);

PDXPropertyList dictionaryOf(plist_t node) {
  PDXPropertyList::Dictionary entries;
  entries.reserve(plist_dict_get_size(node));
  plist_dict_iter iterator = nullptr;
  plist_dict_new_iter(node, &iterator);
  const Memory owned(iterator);
  while (iterator != nullptr) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(node, iterator, &key, &value);
    const Memory ownedKey(key);
    if (value == nullptr) break;
    entries.emplace_back(PDXText::valid(key == nullptr ? "" : key), valueOf(value));
  }
  return entries;
}

PDXPropertyList arrayOf(plist_t node) {
  PDXPropertyList::Array elements;
  elements.reserve(plist_array_get_size(node));
  plist_array_iter iterator = nullptr;
  plist_array_new_iter(node, &iterator);
  const Memory owned(iterator);
  while (iterator != nullptr) {
    plist_t element = nullptr;
    plist_array_next_item(node, iterator, &element);
    if (element == nullptr) break;
    elements.push_back(valueOf(element));
  }
  return elements;
}

PDXPropertyList dateOf(plist_t node) {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  return PDXDates::fromReferenceSeconds(seconds) + std::chrono::microseconds(microseconds);
}

PDXPropertyList bytesOf(plist_t node) {
  std::uint64_t size = 0;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &size));
  return bytes == nullptr ? PDXBytes() : PDXBytes(bytes, bytes + size);
}

PDXPropertyList textOf(plist_t node) {
  std::uint64_t size = 0;
  const char* text = plist_get_string_ptr(node, &size);
  return text == nullptr ? std::string() : PDXText::valid({text, static_cast<std::size_t>(size)});
}

template <typename Value, typename Get>
Value scalarOf(plist_t node, Get get) {
  Value value{};
  get(node, &value);
  return value;
}

PDXPropertyList valueOf(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      return scalarOf<std::uint8_t>(node, plist_get_bool_val) != 0;
    case PLIST_UINT:
      return static_cast<std::int64_t>(scalarOf<std::uint64_t>(node, plist_get_uint_val));
    case PLIST_REAL:
      return scalarOf<double>(node, plist_get_real_val);
    case PLIST_STRING:
      return textOf(node);
    case PLIST_ARRAY:
      return arrayOf(node);
    case PLIST_DICT:
      return dictionaryOf(node);
    case PLIST_DATE:
      return dateOf(node);
    case PLIST_DATA:
      return bytesOf(node);
    case PLIST_UID:
      return PDXPropertyList::Uid{scalarOf<std::uint64_t>(node, plist_get_uid_val)};
    default:
      return {};
  }
}

plist_t nodeOf(const PDXPropertyList& value);

plist_t containerOf(const PDXPropertyList& value) {
  if (const auto* elements = value.array()) {
    plist_t node = plist_new_array();
    for (const auto& element : *elements) plist_array_append_item(node, nodeOf(element));
    return node;
  }
  plist_t node = plist_new_dict();
  if (const auto* entries = value.dictionary()) {
    for (const auto& [key, entry] : *entries) plist_dict_set_item(node, key.c_str(), nodeOf(entry));
  }
  return node;
}

plist_t dateNodeOf(PDXDate date) {
  const auto seconds = static_cast<std::int32_t>(PDXDates::referenceSeconds(date));
  return plist_new_date(seconds, 0);
}

plist_t nodeOf(const PDXPropertyList& value) {
  if (const bool* flag = value.boolean()) return plist_new_bool(*flag ? 1 : 0);
  if (const auto* number = value.integer()) return plist_new_uint(static_cast<std::uint64_t>(*number));
  if (const double* number = value.real()) return plist_new_real(*number);
  if (const auto* text = value.string()) return plist_new_string(text->c_str());
  if (const auto* date = value.date()) return dateNodeOf(*date);
  if (const auto* uid = value.uid()) return plist_new_uid(uid->index);
  if (const auto* bytes = value.data()) {
    return plist_new_data(reinterpret_cast<const char*>(bytes->data()), bytes->size());
  }
  return containerOf(value);
}

template <typename Write>
PDXBytes written(const PDXPropertyList& value, Write write) {
  const Node node(nodeOf(value));
  char* text = nullptr;
  std::uint32_t size = 0;
  write(node.get(), &text, &size);
  const Memory owned(text);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text);
  return bytes == nullptr ? PDXBytes() : PDXBytes(bytes, bytes + size);
}

}  // namespace

std::optional<PDXPropertyList> PDXPropertyList::parse(const PDXBytes& bytes) {
  const std::string_view list =
      PDXPropertyListMeasure::withoutTail({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (list.empty() || list.size() > INT32_MAX || !PDXPropertyListMeasure::isSafe(list)) return std::nullopt;
  plist_t parsed = nullptr;
  plist_from_memory(list.data(), static_cast<std::uint32_t>(list.size()), &parsed);
  if (parsed == nullptr) return std::nullopt;
  const Node node(parsed);
  return valueOf(parsed);
}

std::optional<PDXPropertyList> PDXPropertyList::parseFile(const std::string& path) {
  const auto bytes = PDXFileReader(path).all();
  return bytes ? parse(*bytes) : std::nullopt;
}

PDXBytes PDXPropertyList::binary() const { return written(*this, plist_to_bin); }

PDXBytes PDXPropertyList::xml() const { return written(*this, plist_to_xml); }

const PDXPropertyList* PDXPropertyList::find(std::string_view key) const {
  const Dictionary* entries = dictionary();
  if (entries == nullptr) return nullptr;
  for (const auto& [name, value] : *entries) {
    if (name == key) return &value;
  }
  return nullptr;
}

const PDXPropertyList* PDXPropertyList::at(std::size_t index) const {
  const Array* elements = array();
  return elements == nullptr || index >= elements->size() ? nullptr : &(*elements)[index];
}

std::string PDXPropertyList::text(std::string_view key) const {
  const PDXPropertyList* value = find(key);
  return value == nullptr || value->string() == nullptr ? "" : *value->string();
}

bool PDXPropertyList::flag(std::string_view key) const {
  const PDXPropertyList* value = find(key);
  if (value == nullptr) return false;
  if (const bool* flag = value->boolean()) return *flag;
  return value->integer() != nullptr && *value->integer() != 0;
}
