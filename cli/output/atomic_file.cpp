// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: atomic_file.cpp

#include "cli/output/atomic_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <utility>

namespace vesk {
namespace cli {
namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

// Tries before giving up on finding a free temporary name.
constexpr int kNameAttempts = 100;

std::string reason(int error) { return std::strerror(error); }

std::string write_failed(int error) {
  return "expected to be able to write the report, but writing failed (" +
         reason(error) + ")";
}

// The folder of `path` ("." for a bare name) and its last part.
std::filesystem::path folder_of(std::string const& path) {
  std::filesystem::path const parent =
      std::filesystem::path(path).parent_path();
  return parent.empty() ? std::filesystem::path(".") : parent;
}

std::string random_suffix(std::mt19937& random) {
  static constexpr char kAlphabet[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::uniform_int_distribution<std::size_t> pick(0, sizeof(kAlphabet) - 2);
  std::string suffix;
  for (int i = 0; i < 6; ++i) suffix += kAlphabet[pick(random)];
  return suffix;
}

// Makes the folder entries (the renames) durable. Best effort: the files
// themselves are already on the disk.
void sync_folder(std::filesystem::path const& folder) {
  int const fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  (void)::fsync(fd);
  ::close(fd);
}

}  // namespace

FdStreamBuf::FdStreamBuf(int fd) : fd_(fd), buffer_(kBufferSize) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

bool FdStreamBuf::write_all(char const* data, std::size_t size) {
  while (size > 0 && error_ == 0) {
    ssize_t const written = ::write(fd_, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      error_ = errno;
    } else if (written == 0) {
      error_ = EIO;
    } else {
      data += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  return error_ == 0;
}

bool FdStreamBuf::drain() {
  bool const ok =
      write_all(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return ok;
}

FdStreamBuf::int_type FdStreamBuf::overflow(int_type ch) {
  if (!drain()) return traits_type::eof();
  if (traits_type::eq_int_type(ch, traits_type::eof())) {
    return traits_type::not_eof(ch);
  }
  *pptr() = traits_type::to_char_type(ch);
  pbump(1);
  return ch;
}

int FdStreamBuf::sync() { return drain() ? 0 : -1; }

std::streamsize FdStreamBuf::xsputn(char const* data, std::streamsize size) {
  auto const room = static_cast<std::streamsize>(epptr() - pptr());
  if (size <= room) {
    std::memcpy(pptr(), data, static_cast<std::size_t>(size));
    pbump(static_cast<int>(size));
    return size;
  }
  // Larger than what is left: out with the buffer, then the data itself.
  if (!drain() || !write_all(data, static_cast<std::size_t>(size))) return 0;
  return size;
}

AtomicFile::AtomicFile(std::string path, std::string temp_path, int fd)
    : path_(std::move(path)),
      temp_path_(std::move(temp_path)),
      fd_(fd),
      buffer_(fd),
      stream_(&buffer_) {}

AtomicFile::~AtomicFile() { discard(); }

void AtomicFile::finish() {
  if (fd_ < 0) return;
  stream_.flush();
  int error = buffer_.error();
  if (error == 0 && !stream_) error = EIO;
  if (error == 0 && ::fsync(fd_) != 0) error = errno;
  if (::close(fd_) != 0 && error == 0) error = errno;
  fd_ = -1;
  if (error != 0) throw ReportFileError(path_, write_failed(error));
}

void AtomicFile::discard() {
  if (fd_ >= 0) {
    ::close(fd_);
    fd_ = -1;
  }
  if (present_) {
    ::unlink(temp_path_.c_str());
    present_ = false;
  }
}

void AtomicFile::rename_over_path() {
  if (::rename(temp_path_.c_str(), path_.c_str()) != 0) {
    int const error = errno;
    throw ReportFileError(path_, "expected to be able to replace the file (" +
                                     reason(error) + ")");
  }
  present_ = false;
}

AtomicFileSet::~AtomicFileSet() {
  for (auto& file : files_) file->discard();
}

AtomicFile& AtomicFileSet::open(std::string const& path) {
  std::filesystem::path const name = std::filesystem::path(path).filename();
  if (name.empty() || name == "." || name == "..") {
    throw ReportFileError(path, "expected a file name, found a folder");
  }
  // An existing PATH must be a file: a folder cannot be renamed over, and
  // a device or pipe (/dev/null) must never be replaced.
  struct stat existing {};
  if (::stat(path.c_str(), &existing) == 0) {
    if (S_ISDIR(existing.st_mode)) {
      throw ReportFileError(path, "expected a file, found a directory");
    }
    if (!S_ISREG(existing.st_mode)) {
      throw ReportFileError(path,
                            "expected a regular file, found a special file");
    }
  }
  std::filesystem::path const folder = folder_of(path);
  std::random_device seed;
  std::mt19937 random(seed());
  int error = EEXIST;
  for (int attempt = 0; attempt < kNameAttempts && error == EEXIST; ++attempt) {
    // Appended rather than joined with "." + ...: GCC 12 at -O3 warns
    // falsely (-Wrestrict) about that form.
    std::string temp_name = ".";
    temp_name += name.string();
    temp_name += ".tmp";
    temp_name += random_suffix(random);
    std::string const temp_path = (folder / temp_name).string();
    // 0666 less the umask, as for any new file.
    int const fd =
        ::open(temp_path.c_str(),
               O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0) {
      files_.push_back(std::make_unique<AtomicFile>(path, temp_path, fd));
      return *files_.back();
    }
    error = errno;
  }
  throw ReportFileError(path,
                        "expected to be able to create a file in its folder (" +
                            reason(error) + ")");
}

void AtomicFileSet::finish_all() {
  for (auto& file : files_) file->finish();
  finished_ = true;
}

void AtomicFileSet::commit() {
  if (!finished_) finish_all();
  std::set<std::filesystem::path> folders;
  for (auto& file : files_) {
    file->rename_over_path();
    folders.insert(folder_of(file->path()));
  }
  for (auto const& folder : folders) sync_folder(folder);
}

}  // namespace cli
}  // namespace vesk
