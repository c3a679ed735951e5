// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prepare_test.cpp
//
// The stage that prepares the output data, on its own.

#include "cli/model/prepare.hpp"

#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "cli/input/document_loader.hpp"
#include "cli/library_output.hpp"
#include "support/sink.hpp"
#include "vesk/common/analysis_output.hpp"
#include "vesk/log/error_log.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

// A document of tests/cli/inputs/, loaded.
Config document(std::string const& name) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warnings;
  std::string const path = std::string(VESK_CLI_TEST_DIR) + "/inputs/" + name;
  load_file(path, name, config, settings, warnings);
  return config;
}

// SOURCE_DATE_EPOCH for the test's span; puts back what was there.
class ScopedEpoch {
 public:
  explicit ScopedEpoch(char const* value) {
    if (char const* old = std::getenv("SOURCE_DATE_EPOCH")) saved_ = old;
    ::setenv("SOURCE_DATE_EPOCH", value, 1);
  }
  ~ScopedEpoch() {
    if (saved_) {
      ::setenv("SOURCE_DATE_EPOCH", saved_->c_str(), 1);
    } else {
      ::unsetenv("SOURCE_DATE_EPOCH");
    }
  }
  ScopedEpoch(ScopedEpoch const&) = delete;
  ScopedEpoch& operator=(ScopedEpoch const&) = delete;

 private:
  std::optional<std::string> saved_;
};

TEST(PrepareOutputData, ApiExamples) {
  testing::ScopedSink const sink;
  testing::ScopedLogSettings const log(log::LOG_LEVEL, log::LOG_OUTPUT);
  ScopedEpoch const epoch("1795438800");
  Config const config = document("passing.json");
  PrepareSettings settings;
  settings.log_level = "debug";
  settings.reports["json"] = templates::Reports_t{"json", "/tmp/r.json"};
  LibraryErrorLines lines;
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  EXPECT_FALSE(prepare_output_data(uf, config, settings, lines, data));
  EXPECT_EQ(data.log_level, "debug");
  EXPECT_EQ(log::LOG_LEVEL, 7);  // debug, as the log level table has it
  ASSERT_NE(data.reports, nullptr);
  ASSERT_EQ(data.reports->size(), 1u);
  EXPECT_EQ(data.reports->at("json").path, "/tmp/r.json");
  EXPECT_EQ(data.timestamp, 1795438800);
  ASSERT_NE(data.node_list, nullptr);
  EXPECT_EQ(data.node_list->size(), 3u);  // the document's three nodes
  EXPECT_EQ(lines.text(), "");
  EXPECT_EQ(sink.text(), "");  // preparing prints nothing
}

// A result no rule produced: the library's line is held, not written.
TEST(PrepareOutputData, KeepsTheLineOfAResultItCannotMap) {
  testing::ScopedSink const sink;
  Config const config = document("unmapped.json");
  LibraryErrorLines lines;
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  EXPECT_TRUE(prepare_output_data(uf, config, {}, lines, data));
  EXPECT_EQ(lines.text(),
            "Error mapping observationorphan to the rule/Framework Definition "
            "that triggered it.\n");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
