// What file extensions and content types say about files: lookups in fixed tables.
//
// Extensions are given without the dot, and case is ignored: of extensions in ASCII, of content types,
// and of all that GuessContentTypeFromFileName looks up, as the locale's tolower has it. Null is an
// extension or a type that no table holds. No state but the calling thread's last to_ansi result, which
// GuessContentTypeFromFileName replaces. Safe to call from any thread.
//
// Cost: linear in the table's rows, none of which is longer than 24 characters; what goes on behind
// them is not read.
#pragma once

namespace core {

// True unless files with this extension run code, or are opened by programs that can be made to.
bool IsSafeFileExtension(const wchar_t* extension);

// True when files with this extension are media that can be played while they arrive.
bool IsStreamableFileExtension(const wchar_t* extension);

// True when the content type is that of such media. A type with parameters is none.
bool IsStreamableContentType(const char* type);

// True when servers give this content type to files of any kind: "text/plain", also with parameters
// when the ";" follows at once.
bool IsAmbiguousContentType(const char* type);

// Returns the content type that goes with what follows the last "." of the name; null when there is
// no "." or nothing is known. The result is static. Null gives null.
//
// On purpose: the extensions and types are one list, where the string behind the first match is
// returned: the type of "au" ends in a blank, and "x.image/gif" gives "bmp", the extension that comes
// next.
// On purpose: where "I" is no capital "i", as in Turkish, the extension "GIF" is unknown.
// Requires: no other thread changes the locale meanwhile.
// Cost: also a conversion of the extension to the locale's encoding.
const char* GuessContentTypeFromFileName(const wchar_t* name);

}  // namespace core
