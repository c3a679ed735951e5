// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: atomic_file.hpp
//
// Report files that appear whole or not at all. Each file of a run is
// written into a temporary file in the folder of its path (created
// exclusively, named ".<name>.tmp<six random characters>" so that no
// collector matching "*.prom" or "*.json" picks it up, with the mode of a
// new file: 0666 less the umask), flushed to the disk, and renamed over its
// path only when every file of the run has been written: the caller opens
// them all, renders into them all, then commits the set. A set destroyed
// before commit() removes every temporary file and leaves every path as it
// was.
//
// Failures are thrown as ReportFileError, whose path() is the report's PATH
// as given and whose what() is the message after it ("expected ... (reason)").
//
// Example:
//
//   AtomicFileSet files;
//   AtomicFile& report = files.open("out/report.txt");
//   report.stream() << "Overall Result: PASS\n";
//   files.commit();  // out/report.txt replaced, or nothing changed

#ifndef VESK_CLI_OUTPUT_ATOMIC_FILE_HPP_
#define VESK_CLI_OUTPUT_ATOMIC_FILE_HPP_

#include <cstddef>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace vesk {
namespace cli {

// A report file that could not be written. path() is the report's PATH.
class ReportFileError : public std::runtime_error {
 public:
  ReportFileError(std::string path, std::string const& message)
      : std::runtime_error(message), path_(std::move(path)) {}
  std::string const& path() const { return path_; }

 private:
  std::string path_;
};

// The stream buffer of a temporary file: buffered writes straight to the
// descriptor, keeping the first failure's errno so the message can name it.
class FdStreamBuf : public std::streambuf {
 public:
  explicit FdStreamBuf(int fd);
  int error() const { return error_; }

 protected:
  int_type overflow(int_type ch) override;
  int sync() override;
  std::streamsize xsputn(char const* data, std::streamsize size) override;

 private:
  bool drain();
  bool write_all(char const* data, std::size_t size);

  int fd_;
  int error_ = 0;
  std::vector<char> buffer_;
};

// AtomicFile
//
// One report file being written: its temporary file is open until the set
// finishes it.
class AtomicFile {
 public:
  AtomicFile(std::string path, std::string temp_path, int fd);
  ~AtomicFile();
  AtomicFile(AtomicFile const&) = delete;
  AtomicFile& operator=(AtomicFile const&) = delete;

  // The report's PATH as given, and the temporary file's path.
  std::string const& path() const { return path_; }
  std::string const& temp_path() const { return temp_path_; }

  // Where the report is rendered to. Its state turns bad when a write
  // fails; finish() names the reason.
  std::ostream& stream() { return stream_; }

  // finish()
  //
  // Flushes the stream, fsyncs and closes the temporary file. Throws
  // ReportFileError when anything written did not reach the disk.
  void finish();

  // Removes the temporary file, if it is still there.
  void discard();

  // Renames the finished temporary file over PATH.
  void rename_over_path();

 private:
  std::string path_;
  std::string temp_path_;
  int fd_;
  FdStreamBuf buffer_;
  std::ostream stream_;
  bool present_ = true;  // the temporary file exists
};

// AtomicFileSet
//
// The report files of one run. open() creates each one's temporary file at
// once (so a folder that is missing or cannot be written to ends the run
// before anything is rendered); commit() finishes them all and only then
// renames them all. Destroyed without commit(), it removes every temporary
// file.
class AtomicFileSet {
 public:
  AtomicFileSet() = default;
  ~AtomicFileSet();
  AtomicFileSet(AtomicFileSet const&) = delete;
  AtomicFileSet& operator=(AtomicFileSet const&) = delete;

  // Creates the temporary file for `path`. Throws ReportFileError when it
  // cannot be created, or when `path` names a folder.
  AtomicFile& open(std::string const& path);

  bool empty() const { return files_.empty(); }

  // finish_all()
  //
  // finish() for every file, in the order opened. Throws ReportFileError for
  // the first that fails (every temporary file is removed with the set).
  void finish_all();

  // commit()
  //
  // finish_all() unless done, then renames every temporary file over its
  // path, in the order opened, and syncs each folder. A rename can only fail
  // when the folder changed under the run (the checks of open() passed);
  // then the files renamed before it stay replaced and the rest are removed.
  void commit();

 private:
  std::vector<std::unique_ptr<AtomicFile>> files_;
  bool finished_ = false;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_ATOMIC_FILE_HPP_
