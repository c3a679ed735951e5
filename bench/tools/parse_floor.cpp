// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The parse floor of bench/e2e.sh: what reading and walking an analysis
// result document costs before any report work. The file is read the way
// vesk-report reads a regular file (into an anonymous mapping with the
// parser's padding, the part already walked given back every 4,096 array
// elements), then every value is walked with simdjson On-Demand: every
// string (keys included) is unescaped and its length summed, every number
// and literal is read, and every string value is copied into a string of
// its own that is kept to the end, as any loader that keeps the text must
// (left to the process's exit, as vesk-report leaves its results). The
// checksum printed
// keeps the walk from being optimized away and lets two runs be compared.
//
//   parse_floor [--views] [--mmap] FILE
//       // prints "strings N bytes N numbers N checksum N"
//
// --views leaves the string values as views into the parser's buffer (no
// copy, nothing kept): the bare walk, the floor as first measured.
// --mmap maps the file itself (private, over an anonymous reservation that
// supplies the padding) instead of reading it: the cost of the copy that
// read() makes, for comparison.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

#include <simdjson.h>

namespace {

namespace ondemand = simdjson::ondemand;

struct Totals {
  std::uint64_t strings = 0;
  std::uint64_t bytes = 0;
  std::uint64_t numbers = 0;
  std::uint64_t checksum = 0;
};

[[noreturn]] void die(char const* what, simdjson::error_code error) {
  std::fprintf(stderr, "parse_floor: %s: %s\n", what,
               simdjson::error_message(error));
  std::exit(2);
}

class Walker {
 public:
  Walker(char* bytes, std::size_t size, bool copy_strings)
      : bytes_(bytes), size_(size), copy_strings_(copy_strings) {}

  void run(simdjson::padded_string_view json) {
    ondemand::parser parser;
    ondemand::document doc;
    if (auto e = parser.iterate(json).get(doc)) die("iterate", e);
    doc_ = &doc;
    ondemand::value root;
    if (auto e = doc.get_value().get(root)) die("root", e);
    walk(root);
    doc_ = nullptr;
  }

  Totals const& totals() const { return totals_; }

 private:
  void add_string(std::string_view text) {
    ++totals_.strings;
    totals_.bytes += text.size();
    totals_.checksum = totals_.checksum * 31 + text.size() +
                       (text.empty() ? 0 : static_cast<unsigned char>(text[0]));
  }

  void walk(ondemand::value value) {
    ondemand::json_type type;
    if (auto e = value.type().get(type)) die("type", e);
    switch (type) {
      case ondemand::json_type::array: {
        ondemand::array array;
        if (auto e = value.get_array().get(array)) die("array", e);
        std::size_t index = 0;
        for (auto element : array) {
          if (++index % 4096 == 0) release_read_part();
          ondemand::value item;
          if (auto e = std::move(element).get(item)) die("element", e);
          walk(item);
        }
        break;
      }
      case ondemand::json_type::object: {
        ondemand::object object;
        if (auto e = value.get_object().get(object)) die("object", e);
        for (auto member : object) {
          ondemand::field field;
          if (auto e = std::move(member).get(field)) die("member", e);
          std::string_view key;
          if (auto e = field.unescaped_key().get(key)) die("key", e);
          add_string(key);
          walk(field.value());
        }
        break;
      }
      case ondemand::json_type::string: {
        std::string_view text;
        if (auto e = value.get_string().get(text)) die("string", e);
        if (copy_strings_) {
          // A string of its own per value, kept.
          kept_->emplace_back(text);
          add_string(kept_->back());
        } else {
          add_string(text);
        }
        break;
      }
      case ondemand::json_type::number: {
        double number = 0;
        if (auto e = value.get_double().get(number)) die("number", e);
        ++totals_.numbers;
        totals_.checksum += static_cast<std::uint64_t>(number);
        break;
      }
      case ondemand::json_type::boolean: {
        bool flag = false;
        if (auto e = value.get_bool().get(flag)) die("bool", e);
        totals_.checksum += flag ? 1 : 0;
        break;
      }
      default: {
        bool null = false;
        if (auto e = value.is_null().get(null)) die("null", e);
        break;
      }
    }
  }

  // As vesk-report: the pages before the current position, less a margin,
  // are given back once 4 MiB more have been walked.
  void release_read_part() {
    char const* here = nullptr;
    if (doc_ == nullptr || doc_->current_location().get(here)) return;
    constexpr std::size_t kMargin = 256 << 10;
    constexpr std::size_t kStep = 4 << 20;
    auto const offset = static_cast<std::size_t>(here - bytes_);
    if (offset > size_ || offset < released_ + kMargin + kStep) return;
    std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::size_t const until = (offset - kMargin) / page * page;
    ::madvise(bytes_ + released_, until - released_, MADV_DONTNEED);
    released_ = until;
  }

  char* bytes_;
  std::size_t size_;
  bool copy_strings_;
  // The copies; never freed (see the file comment).
  std::deque<std::string>* kept_ = new std::deque<std::string>();
  std::size_t released_ = 0;
  ondemand::document* doc_ = nullptr;
  Totals totals_;
};

}  // namespace

int main(int argc, char** argv) {
  bool use_mmap = false;
  bool copy_strings = true;
  char const* path = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--mmap") == 0) {
      use_mmap = true;
    } else if (std::strcmp(argv[i], "--views") == 0) {
      copy_strings = false;
    } else {
      path = argv[i];
    }
  }
  if (path == nullptr) {
    std::fprintf(stderr, "usage: parse_floor [--views] [--mmap] FILE\n");
    return 2;
  }
  int const fd = ::open(path, O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    std::fprintf(stderr, "parse_floor: %s: not a readable regular file\n",
                 path);
    return 2;
  }
  // The same reading as vesk-report: an anonymous mapping with room for
  // the parser's padding, filled with read().
  std::size_t size = static_cast<std::size_t>(info.st_size);
  std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t const capacity =
      (size + simdjson::SIMDJSON_PADDING + page) / page * page;
  void* const base = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (base == MAP_FAILED) {
    std::fprintf(stderr, "parse_floor: out of memory\n");
    return 2;
  }
  auto* const bytes = static_cast<char*>(base);
  std::size_t used = 0;
  if (use_mmap && size > 0) {
    // The file's pages replace the start of the reservation; the rest of
    // its last page reads as zeros, and the pages after it are the
    // reservation's own.
    if (::mmap(base, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_FIXED, fd,
               0) == MAP_FAILED) {
      std::fprintf(stderr, "parse_floor: %s: %s\n", path, std::strerror(errno));
      return 2;
    }
    used = size;
  }
  while (used < size) {
    ssize_t const got = ::read(fd, bytes + used, size - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      std::fprintf(stderr, "parse_floor: %s: %s\n", path, std::strerror(errno));
      return 2;
    }
    used += static_cast<std::size_t>(got);
  }
  ::close(fd);
  size = used;

  Walker walker(bytes, size, copy_strings);
  walker.run(simdjson::padded_string_view(bytes, size, capacity));
  Totals const& t = walker.totals();
  std::printf("strings %llu bytes %llu numbers %llu checksum %llu\n",
              static_cast<unsigned long long>(t.strings),
              static_cast<unsigned long long>(t.bytes),
              static_cast<unsigned long long>(t.numbers),
              static_cast<unsigned long long>(t.checksum));
  ::munmap(base, capacity);
  return 0;
}
