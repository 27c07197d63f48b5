// A directory of its own for one test, gone with the object.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace kiv::test {

class TempDir {
 public:
  TempDir() {
    std::random_device random;
    do {
      path_ = std::filesystem::temp_directory_path() / ("kiv_base_" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string path() const { return path_.string(); }
  std::string file(const std::string& name) const { return (path_ / name).string(); }

  // Every byte of a file; "(missing)" when there is none.
  std::string content(const std::string& name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    if (!in) return "(missing)";
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path path_;
};

}  // namespace kiv::test
