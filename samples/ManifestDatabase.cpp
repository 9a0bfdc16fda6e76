#include "samples/ManifestDatabase.h"

#include "platform/Crypto.h"
#include "platform/Sqlite.h"
#include "samples/Cipher.h"
#include "samples/FileArchive.h"
#include "samples_embedded.h"

namespace {

using Secret = PDXSampleManifestDatabase::Secret;

PDXBytes metadataOf(const PDXSampleEntry& entry, const std::optional<Secret>& secret) {
  PDXBytes archive = PDXSampleFileArchive::archive(entry);
  if (!secret) return archive;
  const std::string text = PDXSampleCipher::encipheredAttributes(archive, secret->password, secret->salt);
  return {text.begin(), text.end()};
}

bool insertSalt(const PDXSQLiteDatabase& database, const PDXBytes& salt) {
  auto row = database.prepare("INSERT INTO Properties (key, value) VALUES ('salt', ?)");
  row.bind(1, salt);
  row.step();
  return row.isValid() && !row.failed();
}

bool insert(const PDXSQLiteDatabase& database, const std::vector<PDXSampleEntry>& entries,
            const std::optional<Secret>& secret) {
  auto row =
      database.prepare("INSERT INTO Files (fileID, domain, relativePath, flags, file) VALUES (?,?,?,?,?)");
  for (const PDXSampleEntry& entry : entries) {
    row.bind(1, std::string_view(sha_1(entry.domain + "-" + entry.relativePath)));
    row.bind(2, std::string_view(entry.domain));
    row.bind(3, std::string_view(entry.relativePath));
    row.bind(4, static_cast<std::int64_t>(entry.kind));
    row.bind(5, metadataOf(entry, secret));
    row.step();
    if (row.failed() || !row.isValid()) return false;
    row.reset();
  }
  return true;
}

}  // namespace

namespace PDXSampleManifestDatabase {

std::string write(const std::string& path, const std::vector<PDXSampleEntry>& entries,
                  const std::optional<Secret>& secret) {
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  const bool written = database.run(std::string(PDXSampleStores::manifest_sql)) &&
                       database.run("PRAGMA synchronous=OFF; BEGIN") && insert(database, entries, secret) &&
                       (!secret || insertSalt(database, secret->salt)) && database.run("COMMIT");
  return written ? "" : database.error();
}

}  // namespace PDXSampleManifestDatabase
