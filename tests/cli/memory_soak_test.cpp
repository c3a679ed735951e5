// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: memory_soak_test.cpp
//
// A host that runs many reports in one process must not grow: the
// provenance links of a report form reference cycles, and release_links
// breaks them. Each test runs 1,000 reports of the bundled demo, as
// vesk-report makes them (load_text, fillOutputData, the text report into a
// stream that drops it), and compares the resident set size after report
// 100 with the size after report 1,000. With release_links after each
// report it stays within 1 MiB; without it, the same loop grows by more than
// that, which shows the measurement can fail.
//
// Under AddressSanitizer the tests are skipped: its quarantine holds freed
// memory back instead of reusing it, so the resident size grows whatever
// the program frees, and the leak the second test makes on purpose would
// be reported at exit.

#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

#include "cli/demo_document.hpp"
#include "cli/input/document_loader.hpp"
#include "cli/output/text_writer.hpp"
#include "support/sink.hpp"
#include "vesk/vesk.hpp"

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#define VESK_SOAK_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_SOAK_UNDER_ASAN 1
#endif
#endif

namespace vesk {
namespace cli {
namespace {

constexpr int kReports = 1000;
constexpr int kWarmUp = 100;
constexpr long kSlack = 1L << 20;  // 1 MiB

// A stream that accepts everything and keeps nothing.
class NullBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(char const*, std::streamsize n) override { return n; }
};

// The resident set size of this process in bytes (/proc/self/statm, second
// field, in pages).
long resident_bytes() {
  std::ifstream statm("/proc/self/statm");
  long size = 0;
  long resident = 0;
  statm >> size >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

// One report of the demo, as vesk-report makes it; release_links after it
// when `release`.
void demo_report(bool release) {
  Config config;
  LoadedSettings settings;
  std::ostream warnings(nullptr);
  load_text(std::string_view(reinterpret_cast<char const*>(kDemoDocument),
                             kDemoDocumentSize),
            "demo-cluster.json", config, settings, warnings);
  postprocessor::PostprocessorExtensionData data;
  data.reports =
      std::make_shared<std::map<std::string, templates::Reports_t>>();
  (*data.reports)["text"] = templates::Reports_t{"text", ""};
  postprocessor::UtilityFunctions uf;
  ASSERT_EQ(uf.fillOutputData(config, data), 0);
  data.terminal_width = 80;
  ASSERT_EQ(write_text_report(uf, data), 0);
  if (release) postprocessor::release_links(data);
}

// The growth of the resident size from report kWarmUp to report kReports.
long growth(bool release) {
  NullBuffer null_buffer;
  std::ostream null_stream(&null_buffer);
  testing::ScopedSink sink(false);
  log::OutputLog::singleton_obj->streams.push_back({&null_stream, false});
  long after_warm_up = 0;
  for (int i = 1; i <= kReports; ++i) {
    demo_report(release);
    if (::testing::Test::HasFatalFailure()) return 0;
    if (i == kWarmUp) after_warm_up = resident_bytes();
  }
  return resident_bytes() - after_warm_up;
}

TEST(MemorySoakTest, StaysFlatWithReleaseLinksAfterEachReport) {
#ifdef VESK_SOAK_UNDER_ASAN
  GTEST_SKIP() << "resident size is not meaningful under AddressSanitizer";
#endif
  long const grown = growth(true);
  RecordProperty("grown_bytes", std::to_string(grown));
  EXPECT_LE(grown, kSlack) << "grew by " << grown << " bytes";
}

TEST(MemorySoakTest, GrowsWithoutReleaseLinks) {
#ifdef VESK_SOAK_UNDER_ASAN
  GTEST_SKIP() << "resident size is not meaningful under AddressSanitizer";
#endif
  long const grown = growth(false);
  RecordProperty("grown_bytes", std::to_string(grown));
  EXPECT_GT(grown, kSlack) << "grew by " << grown << " bytes";
}

}  // namespace
}  // namespace cli
}  // namespace vesk
