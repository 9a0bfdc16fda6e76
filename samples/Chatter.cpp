#include "samples/Chatter.h"

#include <algorithm>

#include "samples/Device.h"

namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

constexpr sys_seconds kBegin = std::chrono::sys_days(std::chrono::year(2016) / 9 / 1);
constexpr seconds kSpan = std::chrono::floor<seconds>(kSampleNow) - kBegin;

/// Shares no factor with the number of dialogues in any language, so that none comes twice in a row.
constexpr std::size_t kDialogueStep = 7;

}  // namespace

PDXSampleChatter::PDXSampleChatter(const std::vector<PDXSampleConversation>& conversations,
                                   std::int64_t count, std::uint64_t seed)
    : conversations_(&conversations),
      count_(count),
      longestPause_(std::clamp<std::int64_t>(kSpan.count() / std::max<std::int64_t>(count, 1) / 2, 2, 90)),
      random_(seed, 4),
      turn_(static_cast<std::size_t>(PDXSampleRole::others)) {
  line_.time = kBegin;
  advance();
}

void PDXSampleChatter::advance() {
  if (++said_ == count_) return;
  line_.time += line_.pause;
  if (rest_.empty() && dialoguesLeft_ == 0) beginConversation_();
  if (rest_.empty()) beginDialogue_();
  const auto bar = std::min(rest_.find('|'), rest_.size());
  line_.text = rest_.substr(0, bar);
  rest_.remove_prefix(std::min(bar + 1, rest_.size()));
  const std::size_t others = (*conversations_)[line_.conversation].addresses.size();
  line_.sender = isMyTurn_ ? -1 : static_cast<int>(random_.below(others));
  isMyTurn_ = !isMyTurn_;
  line_.pause = seconds(1 + random_.below(static_cast<std::uint64_t>(longestPause_.count())));
}

void PDXSampleChatter::beginConversation_() {
  line_.conversation = nextConversation_();
  const std::size_t dialogues = dialogues_().size();
  dialogue_ = random_.below(dialogues);
  dialoguesLeft_ = random_.between(1, static_cast<int>(std::min<std::size_t>(dialogues, 5)));
  const auto planned = kBegin + seconds(kSpan.count() / count_ * said_);
  // People talk in waking hours. Where days are full of messages there is no room to choose.
  const bool isSparse = kSpan / count_ > std::chrono::hours(6);
  const auto hour = std::chrono::minutes(random_.between(7 * 60, 22 * 60));
  line_.time =
      std::max(line_.time, isSparse ? std::chrono::floor<std::chrono::days>(planned) + hour : planned);
}

void PDXSampleChatter::beginDialogue_() {
  --dialoguesLeft_;
  dialogue_ = (dialogue_ + kDialogueStep) % dialogues_().size();
  rest_ = dialogues_()[dialogue_];
  isMyTurn_ = random_.isOneIn(2);
}

PDXSampleTexts::Texts PDXSampleChatter::dialogues_() const {
  return PDXSampleTexts::dialogues((*conversations_)[line_.conversation].language);
}

std::size_t PDXSampleChatter::nextConversation_() {
  const std::size_t count = conversations_->size();
  std::size_t chosen = 0;
  // Half of the time it is somebody's turn, so that nobody is left out; else the first ones are favoured.
  if (random_.isOneIn(2)) {
    chosen = turn_++ % count;
  } else {
    chosen = random_.below(random_.below(count) + 1);
  }
  return canChat_(chosen) ? chosen : 0;
}

bool PDXSampleChatter::canChat_(std::size_t conversation) const {
  const auto role =
      static_cast<PDXSampleRole>(std::min(conversation, static_cast<std::size_t>(PDXSampleRole::others)));
  return role != PDXSampleRole::shortCode && role != PDXSampleRole::mailStranger &&
         role != PDXSampleRole::empty;
}
