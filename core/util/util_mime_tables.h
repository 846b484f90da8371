// The tables behind core/util/util_mime.h, apart from their lookups so that tests see every row. What the
// rows say twice stays: it is what was gathered, and the first match counts.
#pragma once

namespace core {

// Extensions of files that run code, or are opened by programs that can be made to.
inline constexpr const wchar_t* kUnsafeExtensions[] = {
    L"exe",    L"vbs",   L"com",   L"pif",   L"doc",   L"msi",   L"bat",   L"cmd",   L"vbs",    L"vbe",  L"js",
    L"jse",    L"wsf",   L"wsh",   L"scr",   L"cpl",   L"scf",   L"dll",   L"zip",   L"rar",    L"cab",  L"iso",
    L"pdf",    L"accda", L"accdb", L"accdc", L"accde", L"accdp", L"accdr", L"accdt", L"accdu",  L"acl",  L"ade",
    L"adp",    L"asd",   L"cnv",   L"doc",   L"docm",  L"docx",  L"dot",   L"dotm",  L"dotx",   L"grv",  L"iaf",
    L"laccdb", L"maf",   L"mam",   L"maq",   L"mar",   L"mat",   L"mda",   L"mdb",   L"mde",    L"mdt",  L"mdw",
    L"mpd",    L"mpp",   L"mpt",   L"oab",   L"obi",   L"oft",   L"olm",   L"one",   L"onepkg", L"ops",  L"ost",
    L"pa",     L"pip",   L"pot",   L"potm",  L"potx",  L"ppa",   L"ppam",  L"pps",   L"ppsm",   L"ppsx", L"ppt",
    L"pptm",   L"pptx",  L"prf",   L"pst",   L"pub",   L"puz",   L"rpmsg", L"sldm",  L"sldx",   L"slk",  L"snp",
    L"svd",    L"thmx",  L"vdx",   L"vsd",   L"vss",   L"vst",   L"vsx",   L"vtx",   L"wbk",    L"wll",  L"xar",
    L"xl",     L"xla",   L"xlam",  L"xlb",   L"xlc",   L"xll",   L"xlm",   L"xls",   L"xlsb",   L"xlsm", L"xlsx",
    L"xlt",    L"xltm",  L"xltx",  L"xlw",   L"xsf",   L"xsn",
};

// Extensions of media that can be played while they arrive.
inline constexpr wchar_t kStreamableExtensions[][5] = {
    L"3gp", L"3g2", L"aac", L"aif", L"aiff", L"asf", L"au",  L"avi", L"divx", L"flv", L"m1v",  L"m2v", L"m4v",
    L"mkv", L"mka", L"mp1", L"mp2", L"mp3",  L"mp4", L"m4a", L"mpa", L"mpe",  L"mpg", L"mpeg", L"mov", L"moov",
    L"qt",  L"ogg", L"ogm", L"ogv", L"oga",  L"ogx", L"ram", L"rm",  L"swa",  L"vob", L"wav",  L"wma", L"wmv",
};

// The types of such media.
inline constexpr char kStreamableTypes[][15] = {
    "video/x-ms-wmv", "video/mp4", "video/mpeg", "audio/mpeg", "video/x-m4v",
};

// Types that servers give to files of any kind.
inline constexpr char kAmbiguousTypes[][15] = {"text/plain"};

// Extensions and the types to guess from them: a zero-terminated list (see core/text/nustr.h) of both by
// turns.
// On purpose: the type of "au" ends in a blank, and the later rows of mp2, qt, asf and avi are never
// reached.
inline constexpr char kExtensionTypes[] =
    "gif\0image/gif\0"
    "bmp\0image/bmp\0"
    "htm\0text/html\0"
    "html\0text/html\0"
    "jpeg\0image/jpeg\0"
    "jpg\0image/jpeg\0"
    "png\0image/png\0"
    "txt\0text/plain\0"
    "css\0text/css\0"
    "js\0text/javascript\0"
    "ico\0image/vnd.microsoft.icon\0"
    "mp3\0audio/mpeg\0"
    "aac\0audio/aac\0"
    "aif\0audio/aiff\0"
    "aiff\0audio/aiff\0"
    "au\0audio/basic \0"
    "mka\0audio/x-matroska\0"
    "mp1\0audio/mp1\0"
    "mp2\0audio/mpeg\0"
    "m4a\0audio/mp4a-latm\0"
    "mpa\0audio/mpeg\0"
    "ogg\0audio/ogg\0"
    "oga\0audio/ogg\0"
    "ram\0audio/x-pn-realaudio\0"
    "wav\0audio/wav\0"
    "wma\0audio/x-ms-wma\0"
    "asf\0video/x-ms-asf\0"
    "mp2\0video/mpeg\0"
    "mp4\0video/mp4\0"
    "mpg\0video/mpeg\0"
    "mpe\0video/mpeg\0"
    "mpeg\0video/mpeg\0"
    "mov\0video/quicktime\0"
    "moov\0video/quicktime\0"
    "qt\0video/quicktime\0"
    "avi\0video/avi\0"
    "divx\0video/divx\0"
    "flv\0video/x-flv\0"
    "m1v\0video/mpeg\0"
    "m2v\0video/mpeg\0"
    "m4v\0video/x-m4v\0"
    "mkv\0video/x-matroska\0"
    "ogm\0video/ogg\0"
    "ogv\0video/ogg\0"
    "vob\0video/vob\0"
    "wmv\0video/x-ms-wmv\0"
    "3gp\0video/3gpp\0"
    "qt\0video/quicktime\0"
    "asf\0video/x-ms-asf\0"
    "avi\0video/x-msvideo\0"
    "ogx\0application/ogg\0"
    "swa\0application/x-director\0";

}  // namespace core
