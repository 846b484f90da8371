// The tables of extensions and content types once more, written down apart from the library's own.
#pragma once

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace content_tables {

inline const std::vector<std::string>& UnsafeExtensions() {
  static const std::vector<std::string> names = [] {
    std::istringstream text(
        "exe vbs com pif doc msi bat cmd vbs vbe js jse wsf wsh scr cpl scf dll zip rar cab iso pdf "
        "accda accdb accdc accde accdp accdr accdt accdu "
        "acl ade adp asd cnv doc docm docx dot dotm dotx grv iaf laccdb "
        "maf mam maq mar mat mda mdb mde mdt mdw mpd mpp mpt "
        "oab obi oft olm one onepkg ops ost pa pip pot potm potx ppa ppam pps ppsm ppsx ppt pptm pptx prf pst pub puz "
        "rpmsg sldm sldx slk snp svd thmx vdx vsd vss vst vsx vtx wbk wll xar "
        "xl xla xlam xlb xlc xll xlm xls xlsb xlsm xlsx xlt xltm xltx xlw xsf xsn");
    return std::vector<std::string>(std::istream_iterator<std::string>(text), {});
  }();
  return names;
}

inline const std::vector<std::string>& StreamableExtensions() {
  static const std::vector<std::string> names = {
      "3gp", "3g2", "aac", "aif", "aiff", "asf", "au",  "avi", "divx", "flv", "m1v",  "m2v", "m4v",
      "mkv", "mka", "mp1", "mp2", "mp3",  "mp4", "m4a", "mpa", "mpe",  "mpg", "mpeg", "mov", "moov",
      "qt",  "ogg", "ogm", "ogv", "oga",  "ogx", "ram", "rm",  "swa",  "vob", "wav",  "wma", "wmv"};
  return names;
}

inline constexpr const char* kStreamableContentTypes[] = {"video/x-ms-wmv", "video/mp4", "video/mpeg", "audio/mpeg",
                                                          "video/x-m4v"};

// An extension and the type to guess from it.
struct Guess {
  std::string extension;
  std::string type;
};

inline const std::vector<Guess>& Guesses() {
  static const std::vector<Guess> guesses = {
      {"gif", "image/gif"},
      {"bmp", "image/bmp"},
      {"htm", "text/html"},
      {"html", "text/html"},
      {"jpeg", "image/jpeg"},
      {"jpg", "image/jpeg"},
      {"png", "image/png"},
      {"txt", "text/plain"},
      {"css", "text/css"},
      {"js", "text/javascript"},
      {"ico", "image/vnd.microsoft.icon"},
      {"mp3", "audio/mpeg"},
      {"aac", "audio/aac"},
      {"aif", "audio/aiff"},
      {"aiff", "audio/aiff"},
      {"au", "audio/basic "},
      {"mka", "audio/x-matroska"},
      {"mp1", "audio/mp1"},
      {"mp2", "audio/mpeg"},
      {"m4a", "audio/mp4a-latm"},
      {"mpa", "audio/mpeg"},
      {"ogg", "audio/ogg"},
      {"oga", "audio/ogg"},
      {"ram", "audio/x-pn-realaudio"},
      {"wav", "audio/wav"},
      {"wma", "audio/x-ms-wma"},
      {"asf", "video/x-ms-asf"},
      {"mp2", "video/mpeg"},
      {"mp4", "video/mp4"},
      {"mpg", "video/mpeg"},
      {"mpe", "video/mpeg"},
      {"mpeg", "video/mpeg"},
      {"mov", "video/quicktime"},
      {"moov", "video/quicktime"},
      {"qt", "video/quicktime"},
      {"avi", "video/avi"},
      {"divx", "video/divx"},
      {"flv", "video/x-flv"},
      {"m1v", "video/mpeg"},
      {"m2v", "video/mpeg"},
      {"m4v", "video/x-m4v"},
      {"mkv", "video/x-matroska"},
      {"ogm", "video/ogg"},
      {"ogv", "video/ogg"},
      {"vob", "video/vob"},
      {"wmv", "video/x-ms-wmv"},
      {"3gp", "video/3gpp"},
      {"qt", "video/quicktime"},
      {"asf", "video/x-ms-asf"},
      {"avi", "video/x-msvideo"},
      {"ogx", "application/ogg"},
      {"swa", "application/x-director"},
  };
  return guesses;
}

}  // namespace content_tables
