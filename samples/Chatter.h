#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>
#include <vector>

#include "samples/Conversations.h"
#include "samples/Random.h"

/// Everyday messages: people exchange a few lines and fall silent again, spread over some seven years that
/// end with the sample's day. However many there are, they need no memory.
class PDXSampleChatter {
 public:
  struct Line {
    std::size_t conversation = 0;
    int sender = 0;         ///< Place among the conversation's addresses; -1 for the device's owner.
    std::string_view text;  ///< Lives as long as the program.
    std::chrono::sys_seconds time = {};
    std::chrono::seconds pause{0};  ///< Until the next line, at least.
  };

  /// @param conversations  must outlive this object.
  PDXSampleChatter(const std::vector<PDXSampleConversation>& conversations, std::int64_t count,
                   std::uint64_t seed);

  bool isOver() const { return said_ == count_; }

  /// The line that comes next, not before the one before it. Only while it is not over.
  const Line& current() const { return line_; }
  void advance();

 private:
  void beginConversation_();
  void beginDialogue_();
  PDXSampleTexts::Texts dialogues_() const;
  std::size_t nextConversation_();
  bool canChat_(std::size_t conversation) const;

  const std::vector<PDXSampleConversation>* conversations_;
  std::int64_t count_;
  std::int64_t said_ = -1;
  std::chrono::seconds longestPause_;
  PDXSampleRandom random_;
  std::size_t turn_;
  std::size_t dialogue_ = 0;
  int dialoguesLeft_ = 0;
  bool isMyTurn_ = false;
  std::string_view rest_;
  Line line_;
};
