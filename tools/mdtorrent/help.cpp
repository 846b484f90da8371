#include "tools/mdtorrent/help.h"

#include "tools/mdtorrent/program_name.h"

namespace mdtorrent {
namespace {

constexpr char kImportStart[] = R"(Prints what Spotlight learns about torrent files: it loads the importer bundle as the
metadata service does, imports each PATH and prints the attributes.

Usage: mdtorrent [OPTIONS] PATH...
       mdtorrent dump [OPTIONS] FILE
)";

constexpr char kImportEnd[] = R"(Paths:
  PATH is a torrent file; with -r also a folder, in which all *.torrent files (in any case) are
  imported. Links to folders are not followed below PATH. The path - stands for a list of paths
  on standard input, one a line. Use ./- for a file of that name, and -- before names that begin
  with -.

  A first argument "dump" asks for everything that is in one file; see mdtorrent dump --help. Use
  ./dump for a file of that name.

Formats:
  mdls     keys in a column, arrays in parentheses, for people. Control characters are escaped.
           Failures go to standard error, as "mdtorrent: PATH: reason".
  json     one array of objects {"path", "imported", "attributes", "error"}.
  ndjson   the same objects, one a line, written as soon as each file is done.
  plist    the same as an XML property list.
  "error" is there only when "imported" is false; "attributes" is then empty.
  Bytes of a file name that are no UTF-8 are printed as U+FFFD.

Exit codes:
  0    all files were imported
  1    some file is not a usable torrent
  2    the command line is wrong
  3    some file could not be read (missing, no permission, a folder, a pipe, over 256 MiB), even if
       others are no usable torrents; or the output could not be written
  4    the importer bundle could not be loaded
  130  interrupted; what was finished until then is printed

Text in a torrent that is no UTF-8 is read by the locale's encoding; see --locale.

Examples:
  mdtorrent ubuntu.torrent
  mdtorrent -r -j 4 --format ndjson ~/Downloads
  find . -name '*.torrent' -print0 | mdtorrent -0 --format json - > torrents.json
  mdtorrent dump --format json x.torrent
  mdtorrent --format json x.torrent; test $? -eq 1 && echo "readable, but no torrent"
)";

constexpr char kDumpStart[] =
    R"(Prints everything that is in a bencoded FILE, a torrent or another, as it is decoded for import.

Usage: mdtorrent dump [OPTIONS] FILE
)";

constexpr char kDumpEnd[] = R"(Formats:
  json     one line. Bytes that are no UTF-8 come out as \uffff, and characters above U+FFFF lose digits.
  ascii    a line "path=value" for each number and string, such as info.files.0.length=5. A backslash
           stands before line ends and backslashes in a value, other bytes are written as they are:
           at a terminal, pipe them to cat -v. Paths are cut to 63 bytes.
  bencode  bencoding, with sorted keys. Of a file that is encoded strictly it is a copy.
  xml      names and strings are URL-encoded; strings that take more than about a sixth of the stack
           limit are refused.
  Lines of ascii and xml end in CR LF.

Exit codes:
  0    the file was printed
  1    the file is not bencoded, or has no text in this format
  2    the command line is wrong
  3    the file could not be read, or the output could not be written
)";

std::string Help(std::string_view start, std::string_view options, std::string_view end) {
  return WithProgramName(std::string(start).append(options).append(end));
}

}  // namespace

std::string ImportHelp(std::string_view options) { return Help(kImportStart, options, kImportEnd); }

std::string DumpHelp(std::string_view options) { return Help(kDumpStart, options, kDumpEnd); }

}  // namespace mdtorrent
