#pragma once

#include <array>
#include <chrono>
#include <string_view>
#include <vector>

#include "samples/Conversations.h"

/// One message that a sample holds whatever its seed, because somebody must be able to see what becomes of
/// it.
struct PDXSampleScriptLine {
  enum class Kind {
    message,
    notSent,
    liked,    ///< A reaction to the conversation's message before it.
    renamed,  ///< The group got the name in `text`.
    added,    ///< Somebody joined the group.
    left,     ///< The sender left the group.
    orphan,   ///< A message that no conversation holds.
    deleted   ///< In the device's "recently deleted".
  };

  std::chrono::sys_seconds time = {};
  PDXSampleRole where = PDXSampleRole::ann;
  int sender = 0;  ///< Place among the conversation's addresses; `kMe` for the device's owner.
  const char* text = nullptr;
  Kind kind = Kind::message;
  std::array<std::string_view, 8> attachments = {};  ///< Their keys; "" for none.
  const char* subject = "";

  static constexpr int kMe = -1;
};

/// The lines in the order of their time: the first `limit` of them in order of importance, when there are
/// more.
std::vector<PDXSampleScriptLine> sampleScript(std::size_t limit);
