// The process's character encoding, set for one test and put back.
#pragma once

#include <locale.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

class ScopedLocale {
 public:
  // Sets the named locale.
  explicit ScopedLocale(const char* name) { ok_ = setlocale(LC_CTYPE, name) != nullptr; }

  // Sets a locale of the given encoding: the system's `name`, else one made now by localedef from
  // the character classes of `source` and the character map `charmap`.
  ScopedLocale(const char* name, const char* source, const char* charmap) {
    ok_ = setlocale(LC_CTYPE, name) != nullptr || SetNew(source, charmap);
  }

  ~ScopedLocale() {
    setlocale(LC_CTYPE, saved_.c_str());
    if (!folder_.empty()) {
      unsetenv("LOCPATH");
      std::error_code ignored;
      std::filesystem::remove_all(folder_, ignored);
    }
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

  // False when the machine has no such locale and cannot make it: skip the test, loudly.
  bool ok() const { return ok_; }

 private:
  bool SetNew(const char* source, const char* charmap) {
    std::string folder = (std::filesystem::temp_directory_path() / "locale-XXXXXX").string();
    if (getenv("LOCPATH") != nullptr || mkdtemp(folder.data()) == nullptr) {
      return false;
    }
    folder_ = folder;
    std::ofstream(folder_ / "source") << "LC_CTYPE\ncopy \"" << source << "\"\nEND LC_CTYPE\n";
    const std::string command = "localedef --no-archive -c -f " + std::string(charmap) + " -i '" + folder +
                                "/source' '" + folder + "/made' >'" + folder + "/log' 2>&1";
    // Its exit status tells of warnings; whether the locale can be set tells of success.
    [[maybe_unused]] const int status = system(command.c_str());
    setenv("LOCPATH", folder.c_str(), 1);
    return setlocale(LC_CTYPE, "made") != nullptr;
  }

  std::string saved_ = setlocale(LC_CTYPE, nullptr);
  std::filesystem::path folder_;
  bool ok_ = false;
};

// The legacy encodings that the tests use.
struct Latin1Locale : ScopedLocale {
  Latin1Locale() : ScopedLocale("en_US.ISO8859-1", "i18n", "ISO-8859-1") {}
};
struct CyrillicLocale : ScopedLocale {
  CyrillicLocale() : ScopedLocale("ru_RU.CP1251", "i18n", "CP1251") {}
};
// Here the letter I has a small form without a dot.
struct TurkishLocale : ScopedLocale {
  TurkishLocale() : ScopedLocale("tr_TR.ISO8859-9", "tr_TR", "ISO-8859-9") {}
};
struct ShiftJisLocale : ScopedLocale {
  ShiftJisLocale() : ScopedLocale("ja_JP.SJIS", "i18n", "SHIFT_JIS") {}
};
// Here letters wait for the accent that may follow them.
struct VietnameseLocale : ScopedLocale {
  VietnameseLocale() : ScopedLocale("vi_VN.TCVN", "i18n", "TCVN5712-1") {}
};
// Here one byte may be several characters.
struct TamilLocale : ScopedLocale {
  TamilLocale() : ScopedLocale("ta_IN.TSCII", "i18n", "TSCII") {}
};
