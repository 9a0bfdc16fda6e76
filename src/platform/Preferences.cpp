#include "platform/Preferences.h"

#include <nlohmann/json.hpp>

#include "platform/Files.h"
#include "platform/Text.h"

namespace {

std::string folder() { return PDXFiles::joined(PDXFiles::userSettings(), "pocketdex"); }

std::string path() { return PDXFiles::joined(folder(), "preferences.json"); }

nlohmann::json stored() {
  const auto bytes = PDXFiles::read(path(), std::uint64_t{1} << 20);
  auto values = bytes ? nlohmann::json::parse(*bytes, nullptr, false) : nlohmann::json();
  return values.is_object() ? values : nlohmann::json::object();
}

}  // namespace

std::string PDXPreferences::get(const std::string& name) {
  const auto values = stored();
  const auto found = values.find(name);
  return found != values.end() && found->is_string() ? found->get<std::string>() : "";
}

bool PDXPreferences::set(const std::string& name, const std::string& value) {
  auto values = stored();
  values[name] = PDXText::valid(value);
  if (!PDXFiles::makeFolders(folder())) return false;
  PDXAtomicFile file(path());
  file.append(values.dump(2));
  return file.commit();
}
