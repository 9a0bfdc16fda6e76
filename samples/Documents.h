#pragma once

#include "platform/Bytes.h"

/// The small files, other than pictures, that people of a sample send.
namespace PDXSampleDocuments {

PDXBytes pdf();       ///< One page with a heading and a few lines.
PDXBytes card();      ///< A contact, as vCard 3.0.
PDXBytes location();  ///< A place on the map, as the device shares one: a vCard with a map's address.
PDXBytes text();      ///< Plain text with markup characters.
PDXBytes clip();      ///< A video of 2.4 seconds: a ball that bounces.

}  // namespace PDXSampleDocuments
