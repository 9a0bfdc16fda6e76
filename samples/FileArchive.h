#pragma once

#include "platform/Bytes.h"
#include "samples/BackupEntry.h"

/// The metadata that a manifest keeps with each of its rows.
namespace PDXSampleFileArchive {

/// The entry as a keyed archive in a binary property list, as the manifest's "file" column holds it. The
/// archived object is the element at index 1 of "$objects".
PDXBytes archive(const PDXSampleEntry& entry);

}  // namespace PDXSampleFileArchive
