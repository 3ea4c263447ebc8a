// Output files that appear whole or not at all: written under a temporary name in the target's own folder and
// renamed when they are complete. An interrupt removes what is unfinished.
#pragma once

#include <string>

namespace files {

class TempFile {
 public:
  // Creates an empty file beside the target, whose folder is made if it is missing, or in the system's
  // temporary folder for an empty target. suffix is kept at its end. Throws Failure if the folder cannot be
  // written.
  TempFile(const std::string& target, const std::string& suffix);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }

  // Gives the file its name; without replace it fails if that name is taken meanwhile. Throws Failure.
  void commit(bool replace);

 private:
  std::string target_, path_;
  int slot_;
};

// Makes SIGINT, SIGTERM and SIGHUP remove unfinished files and end the program with 128 + the signal's
// number.
void clean_up_on_signals();

}  // namespace files
