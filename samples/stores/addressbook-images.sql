-- Pictures of the people in the address book; record_id is the row of a person there.
CREATE TABLE ABFullSizeImage (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, record_id INTEGER, crop_x INTEGER, crop_y INTEGER,
  crop_width INTEGER, data BLOB, UNIQUE(record_id));
CREATE TABLE ABThumbnailImage (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, record_id INTEGER, format INTEGER,
  derived_from_format INTEGER, data BLOB, UNIQUE(record_id, format));
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
