// Relative file paths out of a torrent's lists of path components.
#pragma once

#include "core/bencode/bencoding.h"

// Joins the components of a path with '/', each decoded by `code_page` and cleaned by SanitizeCopy.
// Empty components, "." and ".." are left out.
//
// Returns a new terminated string, freed with MyFree; it is empty when every component was left out
// or when the path has more than 16 MiB. Null when the list is null or empty or holds anything but
// strings. A component of which the decoder makes nothing is an empty one.
wchar_t* CombinePath(const core::BencodedList* list, int code_page);

// Copies exactly `count` units and stores no terminator. Slashes, zero units and the spaces at the
// end become '_'; everything else stays. Does nothing for a count of 0 or less.
// Requires: the ranges are the same or do not overlap.
void SanitizeCopy(wchar_t* dst, const wchar_t* src, int count);
