#pragma once

#include "platform/Bytes.h"
#include "platform/PropertyList.h"
#include "samples/Device.h"

/// How a backup is locked.
struct PDXSampleLock {
  bool isEncrypted = false;
  PDXBytes keyBag = {};

  /// The record of the key that the manifest is enciphered with; empty when it is not.
  PDXBytes manifestKey = {};
};

/// The property lists at the root of a backup, which say whose backup it is and how it is kept.
namespace PDXSampleDeviceLists {

/// "Info.plist", which is XML on a disk.
PDXPropertyList info(const PDXSampleDevice& device);

/// "Status.plist" of a whole, finished backup.
PDXPropertyList status(const PDXSampleDevice& device);

/// "Manifest.plist".
PDXPropertyList manifest(const PDXSampleDevice& device, const PDXSampleLock& lock);

}  // namespace PDXSampleDeviceLists
