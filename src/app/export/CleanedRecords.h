#pragma once

#include <vector>

#include "calendars/CalendarDetail.h"
#include "contacts/ContactEntry.h"

/// Records for formats that end a value with its line and have no escape for that: a line break in a name
/// would end its card and let the rest of the name begin another, with a number of a stranger's choice. Every
/// character that some reader takes for the end of a line becomes a blank.
namespace PDXCleanedRecords {

/// For cards. The line breaks of its note stay, which a card writes as "\n".
PDXContactEntry forCard(PDXContactEntry contact);

/// For the table: as above, without what a spreadsheet would run. A note keeps its line breaks where the
/// table puts it into quotes.
std::vector<PDXContactEntry> forTable(std::vector<PDXContactEntry> contacts);

/// The title and what else heads a calendar; without the events.
PDXCalendarDetail forHeader(const PDXCalendarDetail& calendar);

/// In place: events are many, and nobody needs them afterwards.
void clean(PDXCalendarEvent& event);

}  // namespace PDXCleanedRecords
