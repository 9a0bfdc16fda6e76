#pragma once

#include <string>
#include <vector>

class PDXDeviceData;

/// A content kind, as commands and reports name it.
struct PDXContentKind {
  std::string name;           ///< E.g. "messages".
  std::string title;          ///< E.g. "Messages".
  std::vector<int> features;  ///< The main files of which one at least makes the backup hold the kind; none
                              ///< for music, whose library has no number.
  bool isBuilt;               ///< Whether this version can read it.
  bool takesRange = false;    ///< Whether a first and a last day say anything to it.
  bool takesSearch = false;   ///< Whether a text to search for does.
  bool isListOnly = false;    ///< Whether it can be listed but makes no files.
};

namespace PDXContentKinds {

/// Every kind, in the order of exports and overviews.
const std::vector<PDXContentKind>& all();

/// Null for a name that is none.
const PDXContentKind* named(const std::string& name);

/// Whether the backup stores a main file of the kind.
bool isHeldBy(PDXDeviceData& deviceData, const PDXContentKind& kind);

/// Says in the log which of the kind's main files the manifest lists and the folder does not hold. Answers
/// whether there is one.
bool reportLostFiles(PDXDeviceData& deviceData, const PDXContentKind& kind);

}  // namespace PDXContentKinds
