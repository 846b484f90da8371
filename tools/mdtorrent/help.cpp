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

  A first argument "dump" asks for everything that is in one file; see mdtorrent dump --help.
  Use ./dump for a file of that name.

Formats:
  mdls     keys in a column, arrays in parentheses, for people. Failures go to standard error, as
           "mdtorrent: PATH: reason".
  json     one array of objects {"path", "imported", "attributes", "error"}. At a terminal it leaves
           no line for the progress of the run.
  ndjson   the same objects, one a line, each written without waiting for files further on.
  plist    the same as an XML property list.
  In the last three "error" is there only when "imported" is false, and "attributes" is then empty;
  bytes of a file name that are no UTF-8 become U+FFFD.
  Characters that control a terminal or the direction of text are escaped in all formats. Those that
  XML cannot hold become U+FFFD in plist, which leaves line feeds and tabs as they are.

Exit codes:
  0    all files were imported
  1    some file is not a usable torrent
  2    the command line is wrong
  3    some file could not be read (missing, no permission, a folder, a pipe, over 256 MiB), even if
       others are no usable torrents; or the output could not be written
  4    the importer bundle could not be loaded
  130  interrupted; what was finished until then is printed. Likewise 129 after a hang-up (SIGHUP)
       and 143 when asked to end (SIGTERM)

Encodings:
  Text in a torrent is read as UTF-8, and text that is no UTF-8 by the locale's encoding. Where a
  torrent declares UTF-8, other text is lost; where it declares another encoding that the importer
  knows, such as Windows-1251 or Big5, all text is read by the locale's, whichever it is, but for
  the fields name.utf-8 and path.utf-8. What the locale cannot read is lost. See --locale: locale -a
  lists what is installed, and on Debian "sudo dpkg-reconfigure locales" installs more (package
  locales).

Examples:
  mdtorrent ubuntu.torrent
  mdtorrent -r -j 4 --format ndjson ~/Downloads
  find . -name '*.torrent' -print0 | mdtorrent -0 --format json - > torrents.json
  mdtorrent dump --format json x.torrent
  mdtorrent --format json x.torrent; test $? -eq 1 && echo "readable, but no torrent"
)";

constexpr char kDumpStart[] =
    R"(mdtorrent dump prints everything that is in a bencoded FILE, a torrent or another, as it is
decoded for import.

Usage: mdtorrent dump [OPTIONS] FILE
)";

constexpr char kDumpEnd[] = R"(Formats:
  json     one line. Bytes that do not have the form of UTF-8 come out as \uffff; overlong forms,
           surrogates and values above U+10FFFF are taken as they are. A character above U+FFFF
           comes out as two escapes that are no surrogate pair: U+1F600 as \ufbce\udd00.
  ascii    a line "path=value" for each number and string, such as info.files.0.length=5. In a
           value a backslash stands before each line end and backslash; other bytes are written as
           they are: at a terminal, pipe them to cat -v. A path is cut to 63 bytes with its "=".
  bencode  bencoding, with sorted keys. Of a file that is encoded strictly it is a copy, save for
           keys with a zero byte and for integers beyond 64 bits.
  xml      keys are tags, cut to 127 bytes with their brackets. Keys and strings are URL-encoded,
           which makes no XML name of a key with a space or a digit in front. Strings that take more
           than about a sixth of the stack limit are refused.
  Lines of ascii and xml end in CR LF. In all but json keys end at their first zero byte. Integers
  beyond 64 bits become the nearest one within. What follows the first value of a file is left out,
  and standard error says so.

Exit codes:
  0    the file was printed
  1    the file holds no bencoded list or dictionary, or has no text in this format
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
