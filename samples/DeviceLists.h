#pragma once

#include "platform/PropertyList.h"
#include "samples/Device.h"

/// The property lists at the root of a backup, which say whose backup it is and how it is kept.
namespace PDXSampleDeviceLists {

/// "Info.plist", which is XML on a disk.
PDXPropertyList info(const PDXSampleDevice& device);

/// "Status.plist" of a whole, finished backup.
PDXPropertyList status(const PDXSampleDevice& device);

/// "Manifest.plist" of a backup without encryption.
PDXPropertyList manifest(const PDXSampleDevice& device);

}  // namespace PDXSampleDeviceLists
