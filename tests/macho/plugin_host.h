// The plug-in functions of CoreFoundation for bundles of macOS.
//
// A program that links this gets CFPlugInCreate, CFPlugInFindFactoriesForPlugInTypeInPlugIn and
// CFPlugInInstanceCreate from here in place of the platform library's, so that sources written for
// either open Contents/MacOS of a bundle. The bundle is loaded at once and for good.
#pragma once

#include "tests/macho/image.h"

namespace macho {

// The executable of the plug-in that was created last; null before that.
Image* PlugInImage();

}  // namespace macho
