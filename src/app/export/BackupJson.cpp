#include "app/export/BackupJson.h"

#include <nlohmann/json.hpp>

#include "backup/BackupInformation.h"
#include "platform/JsonText.h"

namespace PDXBackupJson {

nlohmann::ordered_json document(const char* kind, const PDXBackupInformation& information) {
  return {{"schema", 1},
          {"kind", kind},
          {"backup", backup(information)},
          {"items", nlohmann::ordered_json::array()},
          {"problems", nlohmann::ordered_json::array()}};
}

nlohmann::ordered_json backup(const PDXBackupInformation& information) {
  return {{"identifier", information.identifier()},
          {"deviceName", information.deviceName()},
          {"productVersion", information.Version()},
          {"encrypted", information.IsEncrypted()}};
}

nlohmann::ordered_json problems(const std::vector<PDXProblem>& problems) {
  auto list = nlohmann::ordered_json::array();
  for (const PDXProblem& problem : problems) {
    list.push_back({{"what", problem.what}, {"where", problem.where}, {"why", problem.why}});
  }
  return list;
}

std::string text(const nlohmann::ordered_json& document) {
  return PDXJsonText::withoutHidden(
             document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) +
         "\n";
}

}  // namespace PDXBackupJson
