#include <CoreServices/CoreServices.h>

const CFStringRef kMDItemCreator = CFSTR("kMDItemCreator");
const CFStringRef kMDItemComment = CFSTR("kMDItemComment");
const CFStringRef kMDItemDescription = CFSTR("kMDItemDescription");
