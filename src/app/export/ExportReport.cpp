#include "app/export/ExportReport.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

#include "platform/OutputGuard.h"
#include "platform/Text.h"

namespace {

/// A file in the scratch folder by its name alone: the folder is another in each run and gone behind it.
std::string withoutScratchFolder(const std::string& where) {
  const bool isScratch = where.starts_with(PDXFiles::joined(PDXFiles::temporary(), "Pocketdex/"));
  return isScratch ? std::string(PDXText::lastPathComponent(where)) : where;
}

}  // namespace

std::int64_t PDXContactRows::unaccounted() const {
  if (!found) return 0;
  return static_cast<std::int64_t>(*found) -
         static_cast<std::int64_t>(written + merged + filtered + empty + unreadable);
}

namespace {

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

std::string PDXEntriesReport::textOf(std::size_t entries) const {
  if (!folders) return counted(entries, one, many);
  return counted(entries - std::min(entries, *folders), one, many) + " in " +
         counted(*folders, "folder", "folders");
}

std::string PDXEntriesReport::leftOutText() const {
  const std::size_t leftOut = rows ? rows->leftOutRows() : 0;
  if (leftOut == 0) return "";
  const std::string what = folders ? counted(leftOut, "entry", "entries") : counted(leftOut, one, many);
  return what + " left out: " + rows->leftOutText();
}

std::string PDXEntriesReport::notCopiedText() const {
  if (notCopied == 0) return "";
  return counted(notCopied, "file of " + many + " is", "files of " + many + " are") +
         " in the backup: --with-files copies " + (notCopied == 1 ? "it" : "them");
}

void PDXKindReport::settleAccounts(const std::vector<PDXProblem>& problems) {
  const std::string one = kind.substr(0, kind.size() - (kind.ends_with('s') ? 1 : 0));
  const auto isDamaged = [&](const PDXStoreAccount& account) {
    const auto isOfStore = [&](const PDXProblem& problem) {
      return problem.where.find(account.store) != std::string::npos ||
             problem.what.find(one) != std::string::npos;
    };
    return std::any_of(problems.begin(), problems.end(), isOfStore) ||
           std::any_of(unreadable.begin(), unreadable.end(), isOfStore);
  };
  std::size_t lost = 0;
  bool hasFigures = true;
  for (PDXStoreAccount& account : accounts) {
    const std::size_t before = account.unreadable;
    if (isDamaged(account)) account.settleDamage();
    lost += account.unreadable - before;
    hasFigures = hasFigures && account.rows.has_value();
  }
  if (!hasFigures) return dropFigures_();
  if (lost == 0) return;
  const auto settle = [lost](PDXRowAccount& sum) {
    const auto gone = static_cast<std::size_t>(std::max<std::int64_t>(sum.unaccounted, 0));
    if (gone == 0) return;
    sum.leftOut.push_back({"unreadable", std::min(lost, gone)});
    sum.unaccounted -= static_cast<std::int64_t>(std::min(lost, gone));
  };
  if (messageRows) settle(*messageRows);
  if (notes && notes->rows) settle(*notes->rows);
  if (entries && entries->rows) settle(*entries->rows);
  if (rows && !accounts.empty()) rows->unreadable = accounts.front().unreadable;
}

/// A sum over stores of which one cannot be counted would be wrong.
void PDXKindReport::dropFigures_() {
  messageRows.reset();
  if (notes) notes->rows.reset();
  if (entries) entries->rows.reset();
  if (rows && !accounts.empty() && !accounts.front().rows) rows->found.reset();
}

std::size_t PDXKindReport::messageCount() const {
  return std::accumulate(written.begin(), written.end(), std::size_t{0},
                         [](std::size_t sum, const PDXExportedItem& item) { return sum + item.messages; });
}

std::size_t PDXKindReport::attachmentCount() const {
  return std::accumulate(written.begin(), written.end(), std::size_t{0},
                         [](std::size_t sum, const PDXExportedItem& item) { return sum + item.attachments; });
}

bool PDXExportReport::isComplete() const {
  const bool allRead = std::all_of(kinds.begin(), kinds.end(), [](const PDXKindReport& kind) {
    return kind.unreadable.empty() && kind.unwritten.empty() &&
           std::all_of(kind.accounts.begin(), kind.accounts.end(),
                       [](const PDXStoreAccount& account) { return account.isComplete(); }) &&
           (!kind.rows || kind.rows->unaccounted() == 0) &&
           (!kind.notes || !kind.notes->rows || kind.notes->rows->unaccounted == 0) &&
           (!kind.entries || !kind.entries->rows || kind.entries->rows->unaccounted == 0);
  });
  return outcome == Outcome::done && allRead && problems.empty() && notHeld.empty();
}

void PDXExportReport::noteUnwritten(PDXKindReport& kind, const std::string& path,
                                    const PDXFiles::CopyResult& failure) {
  using Result = PDXFiles::CopyResult::Outcome;
  if (failure || failure.outcome == Result::stopped) return;
  if (failure.outcome == Result::notMade) {
    const PDXOutputGuard* guard = PDXOutputGuard::of(path);
    const std::string where = guard == nullptr ? path : path.substr(guard->root().size() + 1);
    kind.unwritten.push_back({.what = "file", .where = where, .why = failure.why});
  } else if (goesOn()) {
    outcome = Outcome::unwritable;
    unwritablePath = path;
    why = failure.why;
  }
}

bool PDXExportReport::commit(PDXAtomicFile& file, PDXKindReport& kind) {
  if (file.commit()) return true;
  noteUnwritten(kind, file.path(), file.result());
  return false;
}

PDXProblemCollector::PDXProblemCollector() {
  before_ = PDXLog::listen([this](const PDXProblem& problem) {
    const std::lock_guard guard(lock_);
    problems_.push_back(problem);
    problems_.back().where = withoutScratchFolder(problem.where);
  });
}

PDXProblemCollector::~PDXProblemCollector() { PDXLog::listen(std::move(before_)); }

std::vector<PDXProblem> PDXProblemCollector::problems() const {
  const std::lock_guard guard(lock_);
  auto sorted = problems_;
  std::sort(sorted.begin(), sorted.end(), [](const PDXProblem& a, const PDXProblem& b) {
    return std::tie(a.what, a.where, a.why) < std::tie(b.what, b.where, b.why);
  });
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  return sorted;
}
