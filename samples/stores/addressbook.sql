-- The address book, system versions 16 and 17. The full-text index is a shadow table without its virtual
-- table, whose tokenizer only the device has.
CREATE TABLE ABPerson (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, First TEXT, Last TEXT, Middle TEXT, FirstPhonetic TEXT,
  MiddlePhonetic TEXT, LastPhonetic TEXT, Organization TEXT, Department TEXT, Note TEXT, Kind INTEGER,
  Birthday TEXT, JobTitle TEXT, Nickname TEXT, Prefix TEXT, Suffix TEXT, FirstSort TEXT,
  LastSort TEXT, CreationDate INTEGER, ModificationDate INTEGER, CompositeNameFallback TEXT,
  ExternalIdentifier TEXT, ExternalModificationTag TEXT, ExternalUUID TEXT, StoreID INTEGER,
  DisplayName TEXT, ExternalRepresentation BLOB, FirstSortSection TEXT, LastSortSection TEXT,
  FirstSortLanguageIndex INTEGER DEFAULT 2147483647, LastSortLanguageIndex INTEGER DEFAULT 2147483647,
  PersonLink INTEGER DEFAULT -1, ImageURI TEXT, IsPreferredName INTEGER DEFAULT 1,
  guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))), PhonemeData TEXT, AlternateBirthday TEXT,
  MapsData TEXT, FirstPronunciation TEXT, MiddlePronunciation TEXT, LastPronunciation TEXT,
  OrganizationPhonetic TEXT, OrganizationPronunciation TEXT, PreviousFamilyName TEXT,
  PreferredLikenessSource TEXT, PreferredPersonaIdentifier TEXT, PreferredChannel TEXT,
  DowntimeWhitelist TEXT, ImageType TEXT, ImageHash BLOB, MemojiMetadata BLOB, Wallpaper BLOB,
  DisplayFlags INTEGER, WatchWallpaperImageData BLOB, WallpaperMetadata BLOB,
  ImageBackgroundColorsData BLOB, SensitiveContentConfiguration BLOB, WallpaperURI TEXT, UNIQUE(guid));
CREATE TABLE ABMultiValue (
  UID INTEGER PRIMARY KEY, record_id INTEGER, property INTEGER, identifier INTEGER, label INTEGER,
  value TEXT, guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))));
CREATE TABLE ABMultiValueLabel (value TEXT, UNIQUE(value));
CREATE TABLE ABMultiValueEntry (parent_id INTEGER, key INTEGER, value TEXT, UNIQUE(parent_id, key));
CREATE TABLE ABMultiValueEntryKey (value TEXT, UNIQUE(value));
CREATE TABLE ABStore (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, Name TEXT, ExternalIdentifier TEXT, Type INTEGER,
  ConstraintsPath TEXT, ExternalModificationTag TEXT, ExternalSyncTag TEXT,
  StoreInternalIdentifier TEXT, AccountID INTEGER DEFAULT -1, Enabled INTEGER DEFAULT 1,
  SyncData BLOB, MeIdentifier INTEGER DEFAULT -1, Capabilities INTEGER DEFAULT 0,
  guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))), LastSyncDate TEXT, ProviderIdentifier TEXT,
  ProviderMetadata BLOB, UNIQUE(StoreInternalIdentifier), UNIQUE(guid));
CREATE TABLE ABAccount (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, AccountIdentifier TEXT, Flags INTEGER,
  DefaultSourceID INTEGER, guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))), UNIQUE(guid));
CREATE TABLE ABGroup (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, Name TEXT, ExternalIdentifier TEXT, StoreID INTEGER,
  ExternalModificationTag TEXT, ExternalRepresentation BLOB, ExternalUUID TEXT,
  guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))), UNIQUE(guid));
CREATE TABLE ABGroupMembers (
  UID INTEGER PRIMARY KEY, group_id INTEGER, member_type INTEGER, member_id INTEGER,
  UNIQUE(group_id, member_type, member_id));
CREATE TABLE ABPersonLink (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, PreferredImagePersonID INTEGER DEFAULT -1,
  PreferredNamePersonID INTEGER DEFAULT -1, guid TEXT NOT NULL DEFAULT (lower(hex(randomblob(16)))),
  UNIQUE(guid));
CREATE TABLE ABPersonFullTextSearch_content (
  docid INTEGER PRIMARY KEY, c0First, c1Last, c2Middle, c3FirstPhonetic, c4MiddlePhonetic,
  c5LastPhonetic, c6Organization, c7OrganizationPhonetic, c8Department, c9Note, c10Birthday,
  c11JobTitle, c12Nickname, c13Prefix, c14Suffix, c15DisplayName, c16Phone, c17Email, c18Address,
  c19SocialProfile, c20URL, c21RelatedNames, c22IM, c23Date, c24SupplementalCompositeNameTerms);
CREATE TABLE ABPersonMultiValueDeletes (record_id INTEGER, property_id INTEGER, identifier INTEGER);
CREATE TABLE ABPersonSearchKey (person_id INTEGER, value BLOB, UNIQUE(person_id));
CREATE TABLE ABPhoneLastFour (multivalue_id INTEGER PRIMARY KEY, value TEXT);
CREATE TABLE ABRecent (date INTEGER, name, property INTEGER, value);
CREATE TABLE FirstSortSectionCount (
  LanguageIndex INTEGER, Section TEXT, StoreID INTEGER, number INTEGER,
  UNIQUE(LanguageIndex, Section, StoreID));
CREATE TABLE LastSortSectionCount (
  LanguageIndex INTEGER, Section TEXT, StoreID INTEGER, number INTEGER,
  UNIQUE(LanguageIndex, Section, StoreID));
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
CREATE TABLE ABPersonChanges (
  record INTEGER, type INTEGER, sequence_number INTEGER, Image INTEGER, ExternalIdentifier TEXT,
  StoreID INTEGER);
CREATE TABLE ABPersonBasicChanges (record INTEGER, type INTEGER);
CREATE TABLE FirstSortSectionCountTotal (StoreID INTEGER, number INTEGER);
CREATE TABLE LastSortSectionCountTotal (StoreID INTEGER, number INTEGER);
CREATE TABLE ABGroupChanges (
  record INTEGER, type INTEGER, sequence_number INTEGER, ExternalIdentifier TEXT, StoreID INTEGER,
  guid TEXT);
CREATE TABLE ABPersonFullTextSearch_segments (blockid INTEGER PRIMARY KEY, block BLOB);
CREATE TABLE ABPersonFullTextSearch_segdir (
  level INTEGER, idx INTEGER, start_block INTEGER, leaves_end_block INTEGER, end_block INTEGER,
  root BLOB, PRIMARY KEY(level, idx));
CREATE TABLE ABPersonFullTextSearch_docsize (docid INTEGER PRIMARY KEY, size BLOB);
CREATE TABLE ABPersonFullTextSearch_stat (id INTEGER PRIMARY KEY, value BLOB);
CREATE TABLE ABPersonSmartDialerFullTextSearch_content (
  docid INTEGER PRIMARY KEY, c0FirstEncoding, c1MiddleEncoding, c2LastEncoding,
  c3OrganizationEncoding, c4NicknameEncoding);
CREATE TABLE ABAvatarRecipe (record_id, data);

CREATE INDEX ABFirstSortIndex ON ABPerson (FirstSortLanguageIndex, FirstSortSection, FirstSort);
CREATE INDEX ABLastSortIndex ON ABPerson (LastSortLanguageIndex, LastSortSection, LastSort);
CREATE INDEX ABMultiValueEntryKeyIndex ON ABMultiValueEntry (key);
CREATE INDEX ABMultiValueLabelIndex ON ABMultiValue (label);
CREATE INDEX ABMultiValueRecordIDIndex ON ABMultiValue (record_id);
CREATE INDEX ABPhoneLastFourIndex ON ABPhoneLastFour (value);
CREATE INDEX ABRecent_date_index ON ABRecent (property, date);
CREATE INDEX ABRecent_value_index ON ABRecent (property, value);
