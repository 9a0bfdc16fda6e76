#pragma once

#include <string>

#include "tests/support/SampleDatabase.h"

/// An address book without people. The labels are 1 "Mobile", 2 "WorkFax", 3 "HomeFAX" and 4 "Last".
inline PDXSampleDatabase addressBook() {
  return PDXSampleDatabase()
      .table("ABPerson",
             "ROWID INTEGER PRIMARY KEY, First, Middle, Last, Prefix, Suffix, Organization, JobTitle, Note")
      .table("ABMultiValue", "UID INTEGER PRIMARY KEY, record_id, property, label, value")
      .table("ABMultiValueLabel", "value TEXT, UNIQUE(value)")
      .table("ABMultiValueEntry", "parent_id, key, value")
      .table("ABMultiValueEntryKey", "value")
      .row("ABMultiValueLabel", "_$!<Mobile>!$_")
      .row("ABMultiValueLabel", "_$!<WorkFax>!$_")
      .row("ABMultiValueLabel", "_$!<HomeFAX>!$_")
      .row("ABMultiValueLabel", "Last");
}

/// The texts by which the address book searches, in the older layout or the newer with one more column.
inline PDXSampleDatabase searchTexts(PDXSampleDatabase book, bool isNewer) {
  return std::move(book).table(
      "ABPersonFullTextSearch_content",
      isNewer ? "c0First, c1Last, c2Middle, c6Organization, c16Phone, c17Email, c15Phone, c16Email"
              : "c0First, c1Last, c2Middle, c6Organization, c15Phone, c16Email");
}
