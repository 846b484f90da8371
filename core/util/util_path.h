// Helpers over paths, whose separator is always "/". Nothing here keeps state; no argument may be null.
#pragma once

namespace core {

// Returns the text after the last "/", inside `path`; the whole path when there is none.
const char* getfilename(const char* path);
const wchar_t* getfilename(const wchar_t* path);

// Returns the text after the last "." of the last path element, inside `path`; null when that element
// has none. A leading dot counts: ".profile" gives "profile".
const wchar_t* getfileext(const wchar_t* path);

// Removes trailing slashes in place and returns `path`.
// On purpose: a path never becomes shorter than 3 characters.
wchar_t* striplastsep(wchar_t* path);

// Cuts `path` in place just before its last "/" and returns it; without a slash nothing changes.
// On purpose: a slash among the first three characters is kept, and the path ends behind it.
wchar_t* stripfilename(wchar_t* path);

// Returns where `path` goes on behind the folder `prefix` and the slashes that follow it; null when it
// does not lie there. ASCII case is ignored. Without a final "/" in `prefix` the path must end behind
// it or go on with "/". An empty prefix is no folder and gives null.
const wchar_t* DirHasPrefix(const wchar_t* path, const wchar_t* prefix);

// True when the canonical form of `inner` begins with that of `outer`; see GetCanonicalPath in
// core/base/host.h, as for IsSamePath.
// On purpose: plain text, so "/a" contains "/ab".
bool PathContains(const wchar_t* outer, const wchar_t* inner);

// True when both paths have the same canonical form, in the same case.
bool IsSamePath(const wchar_t* a, const wchar_t* b);

}  // namespace core
