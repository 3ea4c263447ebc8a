// Output files that appear whole or not at all: written under a temporary name in the target's own folder and
// renamed when they are complete. An interrupt removes what is unfinished.
#pragma once

#include <string>

#include "files/failure.h"

namespace files {

// How a finished file takes its place.
struct Delivery {
  bool replace = false;   // an existing file may be replaced
  bool in_place = false;  // the target is the source: its owner, rights and names stay
  std::string time_of;    // the file whose time the result gets; empty: now
};

// The target's name was taken while the result was made.
struct Taken : Failure {
  using Failure::Failure;
};

class TempFile {
 public:
  // Creates an empty file beside the target, whose folder is made if it is missing, or in the system's
  // temporary folder where the target is a stream (targets.h) or empty. suffix is kept at its end. Throws
  // Failure if the folder cannot be written.
  TempFile(const std::string& target, const std::string& suffix);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }

  // Gives the file its name, or writes it into a stream. Throws Taken if nothing may be replaced and the name
  // is in use, Failure if it cannot be done; the target is then as it was.
  void commit(const Delivery& delivery);

 private:
  bool replace_in_place(const Delivery& delivery);
  void write_into_target();

  std::string target_, path_;
  bool stream_ = false;
  int slot_ = -1;
};

// Copies the bytes of a file into one that exists, or to standard output for "-". Throws Failure.
void copy_bytes(const std::string& from, const std::string& to);

// Makes SIGINT, SIGTERM and SIGHUP remove unfinished files and end the program with 128 + the signal's
// number. Those that are ignored stay ignored.
void clean_up_on_signals();

}  // namespace files
