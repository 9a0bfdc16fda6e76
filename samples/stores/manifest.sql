-- The manifest of the newer backups. flags: 1 file, 2 folder, 4 link.
CREATE TABLE Files (fileID TEXT PRIMARY KEY, domain TEXT, relativePath TEXT, flags INTEGER, file BLOB);
CREATE TABLE Properties (key TEXT PRIMARY KEY, value BLOB);
CREATE INDEX FilesDomainIdx ON Files (domain);
CREATE INDEX FilesRelativePathIdx ON Files (relativePath);
CREATE INDEX FilesFlagsIdx ON Files (flags);
