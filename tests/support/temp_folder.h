// A folder that exists as long as the object, with helpers that fill it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "sorrel-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    path_ = std::filesystem::canonical(name);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::filesystem::path path() const { return path_; }

  // Writes a file, with the folders above it, and returns its absolute path.
  std::string Write(const std::string& relative, std::string_view bytes) const {
    const std::filesystem::path file = path_ / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file.string();
  }

 private:
  std::filesystem::path path_;
};
