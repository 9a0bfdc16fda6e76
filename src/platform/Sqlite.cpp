#include "platform/Sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Memory.h"
#include "platform/SqliteGuard.h"
#include "platform/Text.h"

namespace {

std::mutex stopLock;

std::stop_token& processStop() {
  static std::stop_token token;
  return token;
}

std::stop_token currentStop() {
  const std::lock_guard guard(stopLock);
  return processStop();
}

std::uint64_t bigEndian(const PDXBytes& bytes, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value = (value << 8) | bytes[at + i];
  return value;
}

/// What a database's header says of its length, and how long the file is.
struct Extent {
  std::uint64_t pageSize;
  std::uint64_t pages;
  std::uint64_t size;

  std::uint64_t counted() const { return pages * pageSize; }
};

/// Nothing for a file that is no database, or whose header does not count its pages.
std::optional<Extent> extentOf(const std::string& path) {
  const PDXBytes header = PDXFiles::readBeginning(path, 100);
  if (header.size() < 100 || std::memcmp(header.data(), "SQLite format 3", 16) != 0) return std::nullopt;
  const Extent extent{.pageSize = bigEndian(header, 16, 2) == 1 ? 65536 : bigEndian(header, 16, 2),
                      .pages = bigEndian(header, 28, 4),
                      .size = PDXFiles::sizeOf(path).value_or(0)};
  // The count may be an older writer's.
  const bool isCurrent = bigEndian(header, 24, 4) == bigEndian(header, 92, 4);
  return isCurrent && extent.pageSize >= 512 ? std::optional(extent) : std::nullopt;
}

/// The pages that a cut file is completed to. What SQLite needs is that none are missing of those that the
/// header counts: a page that is not there reads as damaged whether it is empty or behind the end. So nothing
/// is lost where a header counts more than a copy that was broken off comes short of, and the room and the
/// time that a file may take stay in proportion to what is there.
std::uint64_t mostPages(const Extent& extent) {
  constexpr std::uint64_t kTimes = 16;
  constexpr std::uint64_t kLeast = std::uint64_t{16} << 20;
  return std::max(extent.size * kTimes, kLeast) / extent.pageSize;
}

bool writePageCount(const std::string& path, std::uint64_t pages) {
  constexpr int kAt = 28;
  std::string count;
  for (int shift = 24; shift >= 0; shift -= 8) count += static_cast<char>(pages >> shift & 0xFF);
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  return file.seekp(kAt).write(count.data(), 4).flush().good();
}

/// SQLite parses an entry of the schema within a few steps, which take longer than others. Genuine stores
/// have some hundred entries; pages that lead to each other could have them without end.
constexpr std::uint64_t kMostLooksAtSchema = 200;

constexpr int kStepsBetweenLooks = 10'000;  // Some hundred microseconds.

int flagsFor(PDXSQLiteAccess access) {
  switch (access) {
    case PDXSQLiteAccess::immutable:
      return SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    case PDXSQLiteAccess::create:
      return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    case PDXSQLiteAccess::scratch:
      break;
  }
  return SQLITE_OPEN_READWRITE;
}

/// A path as a "file:" address, in which "?", "#" and "%" would have a meaning of their own.
std::string immutableAddress(const std::string& path) {
  std::string encoded = PDXText::replacedAll(path, "%", "%25");
  encoded = PDXText::replacedAll(std::move(encoded), "?", "%3f");
  encoded = PDXText::replacedAll(std::move(encoded), "#", "%23");
  // Without an empty host a path that begins with two slashes would name one.
  return (encoded.starts_with('/') ? "file://" : "file:") + encoded + "?immutable=1";
}

/// No value is longer than the file that holds it, but for a text that is stored as UTF-16; the longest of
/// genuine stores, pictures and bodies of notes, have some dozens of megabytes.
void limitLengths(sqlite3* handle, std::uint64_t size) {
  constexpr std::uint64_t kLeast = std::uint64_t{1} << 20;
  constexpr std::uint64_t kMost = std::uint64_t{128} << 20;
  constexpr int kLongestSql = 1 << 20;
  constexpr int kLongestPattern = 2000;  // Addresses are taken for patterns, too.
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, static_cast<int>(std::clamp(2 * size, kLeast, kMost)));
  sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, kLongestSql);
  sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, kLongestPattern);
  sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
}

void harden(sqlite3* handle) {
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0,
                    nullptr);  // One could run for ever under a table's name.
}

/// What does no harm before the schema is known to do none: some of these read it.
void tune(sqlite3* handle) {
  sqlite3_exec(handle, "PRAGMA cell_size_check=ON", nullptr, nullptr, nullptr);
  // A quick check would evaluate them.
  sqlite3_exec(handle, "PRAGMA ignore_check_constraints=ON", nullptr, nullptr, nullptr);
  // In KiB. What belongs together lies close in a phone's stores, but not within the usual two megabytes:
  // this spares a third of the reads of a large messages store.
  sqlite3_exec(handle, "PRAGMA cache_size=-16000", nullptr, nullptr, nullptr);
}

/// What could not be read for want of memory is no damage of the store.
void throwWithoutMemory(int result) {
  if (result == SQLITE_NOMEM || result == SQLITE_IOERR_NOMEM) PDXMemory::throwIfLimited();
}

}  // namespace

/// Ends statements on a stop request, and those that a damaged or crafted file would keep going for ever.
struct PDXSQLiteWatch {
  std::stop_token stop;
  std::uint64_t mostRows = UINT64_MAX;
  std::uint64_t mostLooks = UINT64_MAX;  ///< Within one step.
  std::uint64_t looks = 0;               ///< Within the step at hand.

  std::uint64_t mostBytes = UINT64_MAX;
  std::uint64_t bytes = 0;  ///< Of texts handed out since a statement was last prepared.

  std::string path;
  bool isDamageKnown = false;  ///< Whether somebody asked why a statement failed, or the log said it.

  std::optional<PDXSQLiteGuard> guard;  ///< None for databases of our own.

  sqlite3_stmt* compile(sqlite3* handle, std::string_view sql, std::string_view* rest = nullptr) {
    looks = 0;
    bytes = 0;
    return guard ? guard->compile(sql, rest) : PDXSQLiteGuard::compileAny(handle, sql, rest);
  }

  bool isRefused() const { return guard && !guard->refusal().empty(); }

  /// Why the last call failed.
  std::string errorOf(sqlite3* handle) const {
    return isRefused() ? guard->refusal() : PDXSQLiteGuard::errorOf(handle);
  }

  bool isExhausted() const { return looks > mostLooks; }

  /// Even the smallest row takes four bytes, what goes over each of them takes some dozens of steps, and its
  /// texts are its own. The limits lie far beyond that: tables are joined, and a sound file must never meet
  /// them.
  void setLimits(std::uint64_t fileSize) {
    constexpr std::uint64_t kRows = 300'000;
    constexpr std::uint64_t kSteps = 300'000'000;  // Some seconds.
    constexpr std::uint64_t kStepsForAByte = 1000;
    constexpr std::uint64_t kBytes = std::uint64_t{256} << 20;
    constexpr std::uint64_t kTimes = 64;
    mostRows = kRows + fileSize / 4;
    mostBytes = kBytes + fileSize * kTimes;
    mostLooks = (kSteps + fileSize * kStepsForAByte) / kStepsBetweenLooks;
  }

  static int look(void* watch) {
    auto& seen = *static_cast<PDXSQLiteWatch*>(watch);
    ++seen.looks;
    return seen.isExhausted() || seen.stop.stop_requested() ? 1 : 0;
  }
};

void PDXSQLiteDatabase::Close::operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }

PDXSQLiteDatabase::PDXSQLiteDatabase() = default;
PDXSQLiteDatabase::~PDXSQLiteDatabase() = default;
PDXSQLiteDatabase::PDXSQLiteDatabase(PDXSQLiteDatabase&&) noexcept = default;
PDXSQLiteDatabase& PDXSQLiteDatabase::operator=(PDXSQLiteDatabase&&) noexcept = default;

PDXSQLiteDatabase::PDXSQLiteDatabase(const std::string& path, PDXSQLiteAccess access) {
  if (path.empty()) return;
  sqlite3* handle = nullptr;
  const std::string name = access == PDXSQLiteAccess::immutable ? immutableAddress(path) : path;
  // Each handle stays on one thread, so SQLite's own locks are not needed.
  const int result = sqlite3_open_v2(name.c_str(), &handle, flagsFor(access) | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(handle);
  if (result != SQLITE_OK) {
    handle_.reset();
    return;
  }
  sqlite3_extended_result_codes(handle, 1);
  sqlite3_busy_timeout(handle, 2000);
  watch_ = std::make_shared<PDXSQLiteWatch>();
  watch_->stop = currentStop();
  watch_->path = path;
  sqlite3_progress_handler(handle, kStepsBetweenLooks, PDXSQLiteWatch::look, watch_.get());
  if (access == PDXSQLiteAccess::create) return;
  const std::uint64_t size = PDXFiles::sizeOf(path).value_or(0) + PDXFiles::sizeOf(path + "-wal").value_or(0);
  limitLengths(handle, size);
  harden(handle);
  watch_->mostLooks = kMostLooksAtSchema;
  watch_->guard.emplace(handle, path);
  watch_->setLimits(size);
  if (!watch_->guard->refusesEverything()) tune(handle);
}

std::string PDXSQLiteDatabase::completeCutFile(const std::string& path) {
  const auto extent = extentOf(path);
  if (!extent || extent->size >= extent->counted()) return "";
  const std::uint64_t pages = std::min(extent->pages, mostPages(*extent));
  if (pages < extent->pages && !writePageCount(path, pages)) return "";
  if (!PDXFiles::lengthen(path, pages * extent->pageSize)) return "";
  return "the file is cut short: " + std::to_string(extent->size / extent->pageSize) + " of " +
         std::to_string(extent->pages) + " pages are there";
}

bool PDXSQLiteDatabase::isWholeFile(const std::string& path) {
  const auto extent = extentOf(path);
  return extent && extent->size >= extent->counted();
}

void PDXSQLiteDatabase::interruptWith(std::stop_token stop) {
  const std::lock_guard guard(stopLock);
  processStop() = std::move(stop);
}

std::string PDXSQLiteDatabase::error() const {
  return handle_ == nullptr ? "cannot be opened" : watch_->errorOf(handle_.get());
}

std::string PDXSQLiteDatabase::schemaDamage() const {
  return handle_ != nullptr && watch_->guard ? watch_->guard->schemaDamage() : "";
}

std::string PDXSQLiteDatabase::whyUnreadable() const {
  // Opening reads nothing; only the first look at the schema finds out what the file is.
  return prepare("SELECT 1 FROM sqlite_master").isValid() ? "" : error();
}

PDXSQLiteStatement PDXSQLiteDatabase::prepare(std::string_view sql) const {
  return {handle_.get(), sql, watch_};
}

bool PDXSQLiteDatabase::run(const std::string& sql) const {
  if (handle_ == nullptr) return false;
  for (std::string_view rest = sql; !rest.empty();) {
    const std::unique_ptr<sqlite3_stmt, PDXSQLiteStatement::Finalize> statement(
        watch_->compile(handle_.get(), rest, &rest));
    const bool isBlank = !statement && sqlite3_errcode(handle_.get()) == SQLITE_OK && !watch_->isRefused();
    if (isBlank) continue;
    int result = SQLITE_ROW;
    while (result == SQLITE_ROW) result = sqlite3_step(statement.get());
    if (result != SQLITE_DONE) return false;
  }
  return true;
}

void PDXSQLiteStatement::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);
}

PDXSQLiteStatement::PDXSQLiteStatement(sqlite3* database, std::string_view sql,
                                       std::shared_ptr<PDXSQLiteWatch> watch)
    : watch_(std::move(watch)) {
  if (database == nullptr) {
    error_ = "cannot be opened";
    return;
  }
  statement_.reset(watch_->compile(database, sql));
  throwWithoutMemory(sqlite3_extended_errcode(database));
  if (statement_ != nullptr) return;
  error_ = watch_->errorOf(database);
  failed_ = watch_->isRefused();  // There is something to read, so that its reader or the log must say it.
  wasInterrupted_ = failed_ && watch_->stop.stop_requested();
  if (watch_->guard && !watch_->guard->schemaDamage().empty())
    error_ += " (" + watch_->guard->schemaDamage() + ")";
}

PDXSQLiteStatement::PDXSQLiteStatement(PDXSQLiteStatement&&) noexcept = default;

PDXSQLiteStatement& PDXSQLiteStatement::operator=(PDXSQLiteStatement&& other) noexcept {
  PDXSQLiteStatement former = std::move(*this);
  statement_ = std::move(other.statement_);
  watch_ = std::move(other.watch_);
  rows_ = other.rows_;
  failed_ = other.failed_;
  wasInterrupted_ = other.wasInterrupted_;
  error_ = std::move(other.error_);
  return *this;
}

PDXSQLiteStatement::~PDXSQLiteStatement() { reportUnlessAsked_(); }

bool PDXSQLiteStatement::failed() const {
  if (failed_ && watch_ != nullptr) watch_->isDamageKnown = true;
  return failed_;
}

const std::string& PDXSQLiteStatement::error() const {
  if (failed_ && watch_ != nullptr) watch_->isDamageKnown = true;
  return error_;
}

/// A store with damage may be asked thousands of times, so once for a handle is enough.
void PDXSQLiteStatement::reportUnlessAsked_() {
  if (!failed_ || wasInterrupted_ || watch_ == nullptr || watch_->isDamageKnown) return;
  watch_->isDamageKnown = true;
  PDXLog::report({.what = "part of a database", .where = watch_->path, .why = error_});
}

bool PDXSQLiteStatement::step() {
  if (statement_ == nullptr || failed_) return false;
  watch_->looks = 0;
  const int result = sqlite3_step(statement_.get());
  throwWithoutMemory(result);
  const bool isEndless = result == SQLITE_ROW
                             ? ++rows_ > watch_->mostRows || watch_->bytes > watch_->mostBytes
                             : result == SQLITE_INTERRUPT && watch_->isExhausted();
  failed_ = isEndless || (result != SQLITE_ROW && result != SQLITE_DONE);
  wasInterrupted_ = result == SQLITE_INTERRUPT && !isEndless;
  if (failed_) error_ = PDXSQLiteGuard::errorOf(sqlite3_db_handle(statement_.get()));
  if (isEndless) error_ = "the file is damaged: its rows do not come to an end";
  return result == SQLITE_ROW && !isEndless;
}

void PDXSQLiteStatement::reset() {
  reportUnlessAsked_();
  if (statement_ != nullptr) sqlite3_reset(statement_.get());
  failed_ = false;
  rows_ = 0;
}

void PDXSQLiteStatement::bind(int parameter, std::int64_t value) {
  if (statement_ != nullptr) sqlite3_bind_int64(statement_.get(), parameter, value);
}

void PDXSQLiteStatement::bind(int parameter, double value) {
  if (statement_ != nullptr) sqlite3_bind_double(statement_.get(), parameter, value);
}

void PDXSQLiteStatement::bind(int parameter, std::string_view value) {
  if (statement_ == nullptr) return;
  sqlite3_bind_text64(statement_.get(), parameter, value.data() == nullptr ? "" : value.data(), value.size(),
                      SQLITE_TRANSIENT, SQLITE_UTF8);
}

void PDXSQLiteStatement::bind(int parameter, const PDXBytes& value) {
  if (statement_ == nullptr) return;
  sqlite3_bind_blob64(statement_.get(), parameter,
                      value.empty() ? static_cast<const void*>("") : value.data(), value.size(),
                      SQLITE_TRANSIENT);
}

void PDXSQLiteStatement::bindNull(int parameter) {
  if (statement_ != nullptr) sqlite3_bind_null(statement_.get(), parameter);
}

int PDXSQLiteStatement::columnCount() const {
  return statement_ == nullptr ? 0 : sqlite3_column_count(statement_.get());
}

std::string PDXSQLiteStatement::columnName(int column) const {
  const char* name = column < columnCount() ? sqlite3_column_name(statement_.get(), column) : nullptr;
  return name == nullptr ? "" : name;
}

bool PDXSQLiteStatement::isNull(int column) const {
  return !has_(column) || sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::int64_t PDXSQLiteStatement::int64(int column) const {
  return has_(column) ? sqlite3_column_int64(statement_.get(), column) : 0;
}

double PDXSQLiteStatement::real(int column) const {
  return has_(column) ? sqlite3_column_double(statement_.get(), column) : 0;
}

bool PDXSQLiteStatement::isNumber(int column) const {
  if (!has_(column)) return false;
  const int type = sqlite3_column_type(statement_.get(), column);
  return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

std::string PDXSQLiteStatement::text(int column) const {
  return PDXText::valid(std::string(textInPlace(column)));
}

PDXBytes PDXSQLiteStatement::blob(int column) const {
  const auto bytes = blobInPlace(column);
  return {bytes.begin(), bytes.end()};
}

std::string_view PDXSQLiteStatement::textInPlace(int column) const {
  if (!has_(column)) return {};
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (text == nullptr) return {};
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  watch_->bytes += size;
  return {text, size};
}

std::span<const std::uint8_t> PDXSQLiteStatement::blobInPlace(int column) const {
  if (!has_(column)) return {};
  const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_.get(), column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

bool PDXSQLiteStatement::isBlob(int column) const {
  return has_(column) && sqlite3_column_type(statement_.get(), column) == SQLITE_BLOB;
}

bool PDXSQLiteStatement::has_(int column) const {
  // Without a check against the data count a column read before the first row would be undefined.
  return statement_ != nullptr && column >= 0 && column < sqlite3_data_count(statement_.get());
}
